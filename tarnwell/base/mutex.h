// A mutex that clang's thread-safety analysis understands (-Wthread-safety): the clang build fails
// where a guarded member is used, or a function that requires the mutex is called, without it.
#pragma once

#include <mutex>

// The only macro: other compilers warn about these attributes.
#ifdef __clang__
#define TARNWELL_THREAD_SAFETY(...) __attribute__((__VA_ARGS__))
#else
#define TARNWELL_THREAD_SAFETY(...)
#endif

namespace tarnwell {

// Not recursive. A member is annotated after its name:
//
//   Mutex mutex_;
//   int count_ TARNWELL_THREAD_SAFETY(guarded_by(mutex_)){};
class TARNWELL_THREAD_SAFETY(capability("mutex")) Mutex {
 public:
  void lock() TARNWELL_THREAD_SAFETY(acquire_capability()) { mutex_.lock(); }
  void unlock() TARNWELL_THREAD_SAFETY(release_capability()) { mutex_.unlock(); }

  // Tells the analysis that the caller holds the mutex. Checks nothing when the program runs.
  void assertHeld() const TARNWELL_THREAD_SAFETY(assert_capability(this)) {}

 private:
  std::mutex mutex_;
};

// Holds a mutex for the life of the object.
class TARNWELL_THREAD_SAFETY(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) TARNWELL_THREAD_SAFETY(acquire_capability(mutex))
      : mutex_(mutex) {
    mutex_.lock();
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock() TARNWELL_THREAD_SAFETY(release_capability()) { mutex_.unlock(); }

 private:
  Mutex& mutex_;
};

}  // namespace tarnwell
