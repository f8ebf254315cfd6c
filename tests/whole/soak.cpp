// rle_soak SECONDS: works on pages of many seeds round after round, and watches that results stay
// those of the first round and that the process does not grow.

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/workout.h"

namespace {

constexpr uint32_t kSeeds = 50;
constexpr size_t kSettlingRounds = 3;  // the allocator finds its size
constexpr double kGrowth = 1.05;

// Pages of memory that the process holds.
long residentPages() {
  long all = 0;
  long resident = 0;
  std::FILE* const file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr || std::fscanf(file, "%ld %ld", &all, &resident) != 2) resident = 0;
  if (file != nullptr) std::fclose(file);
  return resident;
}

int complain(const char* what, size_t round) {
  std::fprintf(stderr, "rle_soak: round %zu: %s\n", round, what);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: rle_soak SECONDS\n", stderr), 2;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  std::vector<uint64_t> first;
  for (uint32_t seed = 0; seed < kSeeds; ++seed) first.push_back(rle::test::workOut(seed));
  long settled = 0;
  size_t round = 1;
  for (; std::chrono::steady_clock::now() < end || round <= kSettlingRounds; ++round) {
    for (uint32_t seed = 0; seed < kSeeds; ++seed)
      if (first[seed] == 0 || rle::test::workOut(seed) != first[seed])
        return complain("a result is not that of the first round", round);
    if (round == kSettlingRounds) settled = residentPages();
    if (round > kSettlingRounds && double(residentPages()) > kGrowth * double(settled))
      return complain("the process has grown", round);
  }
  std::printf("%zu rounds of %u pages, %ld KB held throughout\n", round, kSeeds,
              settled * (sysconf(_SC_PAGESIZE) / 1024));
  return 0;
}
