// Threads that work at the same time, on small stacks, and that come and go.

#include <gtest/gtest.h>
#include <malloc.h>

#include <thread>
#include <vector>

#include "support/small_stack.h"
#include "support/workout.h"

namespace rle::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kStack = 1 << 20;  // sanitizers widen every frame
#else
constexpr size_t kStack = 128 << 10;
#endif

TEST(Threads, EachDoAsTheyWouldAlone) {
  constexpr uint32_t kThreads = 4, kSeeds = 6;
  std::vector<uint64_t> alone;
  for (uint32_t seed = 0; seed < kSeeds; ++seed) alone.push_back(workOut(seed));
  EXPECT_EQ(std::count(alone.begin(), alone.end(), 0U), 0);
  std::vector<std::vector<uint64_t>> together(kThreads, std::vector<uint64_t>(kSeeds));
  std::vector<std::thread> threads;
  for (uint32_t t = 0; t < kThreads; ++t)
    threads.emplace_back([&own = together[t], t] {
      for (uint32_t i = 0; i < kSeeds; ++i) own[(i + t) % kSeeds] = workOut((i + t) % kSeeds);
    });
  for (std::thread& thread : threads) thread.join();
  for (const auto& own : together) EXPECT_EQ(own, alone);
}

TEST(Threads, NeedASmallStackAndLeaveNothingBehind) {
  uint64_t answer = 0;
  const auto work = [&] { onAStackOf(kStack, [&] { answer = workOut(7); }); };
  work();
  EXPECT_NE(answer, 0U);
  for (int i = 0; i < 8; ++i) work();  // the allocator's own records settle
  const size_t before = mallinfo2().uordblks;
  for (int i = 0; i < 40; ++i) work();
  EXPECT_LT(mallinfo2().uordblks, before + 4096);  // one scratch array of a thread is larger
}

}  // namespace
}  // namespace rle::test
