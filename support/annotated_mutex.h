// A mutex, lock and wait that carry clang's thread-safety annotations; plain std types elsewhere.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#if defined(__clang__)
#define KESTREL_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define KESTREL_THREAD_ANNOTATION(x)
#endif

#define GUARDED_BY(x) KESTREL_THREAD_ANNOTATION(guarded_by(x))
#define PT_GUARDED_BY(x) KESTREL_THREAD_ANNOTATION(pt_guarded_by(x))
#define REQUIRES(...) KESTREL_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) KESTREL_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRED_AFTER(...) KESTREL_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))

namespace support {

class KESTREL_THREAD_ANNOTATION(capability("mutex")) Mutex {
public:
    void Lock() KESTREL_THREAD_ANNOTATION(acquire_capability()) { mutex.lock(); }
    void Unlock() KESTREL_THREAD_ANNOTATION(release_capability()) { mutex.unlock(); }

private:
    friend class Condition;
    std::mutex mutex;
};

// Holds a mutex for its scope; may be released early.
class KESTREL_THREAD_ANNOTATION(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex& toLock) KESTREL_THREAD_ANNOTATION(acquire_capability(toLock)) : mutex(&toLock) {
        toLock.Lock();
    }
    ~MutexLock() KESTREL_THREAD_ANNOTATION(release_capability()) {
        if (mutex != nullptr) mutex->Unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void Unlock() KESTREL_THREAD_ANNOTATION(release_capability()) {
        mutex->Unlock();
        mutex = nullptr;
    }

private:
    Mutex* mutex;
};

class Condition {
public:
    void Wait(Mutex& mutex) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex, std::adopt_lock);
        condition.wait(lock);
        lock.release();
    }
    // False when the deadline passed first.
    bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mutex, std::adopt_lock);
        const bool inTime = condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
        lock.release();
        return inTime;
    }
    void NotifyOne() { condition.notify_one(); }
    void NotifyAll() { condition.notify_all(); }

private:
    std::condition_variable condition;
};

}  // namespace support
