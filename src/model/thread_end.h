// What a thread keeps from call to call is given back when the thread ends.
//
// A thread_local object with a destructor would see to that too, but touching it for the first time
// allocates, and ends the process when there is no memory. So such objects are plain, and the
// library is compiled for thread-local storage that is there when a thread begins.

#pragma once

#include <pthread.h>

namespace rle {

class ThreadEnd {
 public:
  explicit ThreadEnd(void (*giveBack)(void* kept))
      : hasKey_(pthread_key_create(&key_, giveBack) == 0) {}
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;
  ~ThreadEnd() {
    if (hasKey_) pthread_key_delete(key_);
  }

  // From now on giveBack(kept) is called when this thread ends. Where the system has no room to
  // remember that, what is kept stays until the process ends.
  void expect(void* kept) const {
    if (hasKey_) pthread_setspecific(key_, kept);
  }

 private:
  pthread_key_t key_ = 0;
  bool hasKey_;
};

}  // namespace rle
