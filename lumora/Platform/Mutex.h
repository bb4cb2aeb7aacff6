#pragma once

#include <mutex>

/// Thread-safety annotations, checked by clang (-Wthread-safety) and empty for other compilers.
#if defined(__clang__)
#define LUMORA_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define LUMORA_THREAD_ANNOTATION(attribute)
#endif

#define LUMORA_GUARDED_BY(mutex) LUMORA_THREAD_ANNOTATION(guarded_by(mutex))
#define LUMORA_REQUIRES(mutex) LUMORA_THREAD_ANNOTATION(requires_capability(mutex))

namespace lumora {

/// A plain mutex that the thread-safety analysis knows. Locking it cannot fail.
class LUMORA_THREAD_ANNOTATION(capability("mutex")) Mutex {
 public:
  void lock() noexcept LUMORA_THREAD_ANNOTATION(acquire_capability()) { mutex_.lock(); }
  void unlock() noexcept LUMORA_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }

 private:
  std::mutex mutex_;
};

/// A mutex that its holder may take again.
class LUMORA_THREAD_ANNOTATION(capability("recursive mutex")) RecursiveMutex {
 public:
  void lock() noexcept LUMORA_THREAD_ANNOTATION(acquire_capability()) { mutex_.lock(); }
  /// Waits for nobody; false when another thread holds it.
  bool tryLock() LUMORA_THREAD_ANNOTATION(try_acquire_capability(true)) { return mutex_.try_lock(); }
  void unlock() noexcept LUMORA_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

/// Holds a mutex for the length of a scope.
template <typename MutexType>
class LUMORA_THREAD_ANNOTATION(scoped_lockable) Lock {
 public:
  explicit Lock(MutexType& mutex) noexcept LUMORA_THREAD_ANNOTATION(acquire_capability(mutex))
      : mutex_(mutex) {
    mutex_.lock();
  }
  ~Lock() LUMORA_THREAD_ANNOTATION(release_capability()) { mutex_.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  MutexType& mutex_;
};

template <typename MutexType>
Lock(MutexType&) -> Lock<MutexType>;

}  // namespace lumora
