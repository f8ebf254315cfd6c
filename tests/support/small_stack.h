// Threads with little room.

#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

namespace rle::test {

// Runs an action on a thread whose stack has so many bytes.
inline void onAStackOf(size_t bytes, std::function<void()> action) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, bytes);
  const auto run = [](void* what) -> void* {
    (*static_cast<std::function<void()>*>(what))();
    return nullptr;
  };
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace rle::test
