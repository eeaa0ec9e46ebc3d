// Clang's thread-safety attributes and a mutex that carries them. Other compilers see plain code.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define KOR_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KOR_THREAD_ATTRIBUTE(x)
#endif

#define KOR_CAPABILITY(x) KOR_THREAD_ATTRIBUTE(capability(x))
#define KOR_SCOPED_CAPABILITY KOR_THREAD_ATTRIBUTE(scoped_lockable)
#define KOR_GUARDED_BY(x) KOR_THREAD_ATTRIBUTE(guarded_by(x))
#define KOR_REQUIRES(...) KOR_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define KOR_ACQUIRE(...) KOR_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define KOR_RELEASE(...) KOR_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

namespace kor {

class KOR_CAPABILITY("mutex") Mutex {
 public:
  void lock() KOR_ACQUIRE() { mutex.lock(); }
  void unlock() KOR_RELEASE() { mutex.unlock(); }

 private:
  std::mutex mutex;
};

class KOR_SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(Mutex& toHold) KOR_ACQUIRE(toHold) : held(toHold) { held.lock(); }
  ~Lock() KOR_RELEASE() { held.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  Mutex& held;
};

} // namespace kor
