// Mutexes with explicit POSIX attributes.
#ifndef KTSIP_KT_MUTEX_H
#define KTSIP_KT_MUTEX_H

#include <pthread.h>

#include <atomic>

#include "TorvaneMemAllocator.h"

/// A non-recursive mutex created with the attributes: not shared between processes,
/// protocol 0 (no priority inheritance), priority ceiling sched_get_priority_max(2).
/// The attribute object is built once per process; every failing call is reported with
/// KtSystemError naming it ("pthread_mutexattr_init", "pthread_mutexattr_setpshared",
/// "pthread_mutexattr_setprotocol", "pthread_mutexattr_setprioceiling",
/// "pthread_mutex_init", "pthread_mutexattr_destroy"). Memory comes from the "KtMutex" pool.
class KtMutex {
public:
    void* operator new(std::size_t size) { return pool().allocateSized(size); }
    void operator delete(void* p, std::size_t size) noexcept { pool().deallocateSized(p, size); }

    KtMutex();
    ~KtMutex();
    KtMutex(const KtMutex&) = delete;
    KtMutex& operator=(const KtMutex&) = delete;

    /// Takes the mutex; throws KtSystemError("pthread_mutex_lock") on failure. Inline: the
    /// parameter lists take their mutex for every read and write.
    void lock() {
        const int rc = pthread_mutex_lock(&m_Mutex);
        if (rc != 0) sThrowLockFailed(rc);
    }
    /// Releases the mutex.
    void unlock() noexcept { pthread_mutex_unlock(&m_Mutex); }

    /// The attribute object every mutex is created with (for tests and diagnostics).
    static const pthread_mutexattr_t& sAttributes();

private:
    [[noreturn]] static void sThrowLockFailed(int rc);
    static TORVANE_POOL("KtMutex") pool() { return {}; }
    pthread_mutex_t m_Mutex;
};

/// A KtMutex made on its first use. Objects mostly used by the one thread that made them (a
/// parsed message, a parameter list) then pay for a mutex only once one is locked. get() may
/// run in several threads at once: the first mutex stored wins, the others are deleted.
class KtLazyMutex {
public:
    KtLazyMutex() noexcept : m_pMutex(nullptr) {}
    ~KtLazyMutex() { delete m_pMutex.load(std::memory_order_acquire); }
    KtLazyMutex(const KtLazyMutex&) = delete;
    KtLazyMutex& operator=(const KtLazyMutex&) = delete;

    /// The mutex, created if needed (throws as KtMutex's constructor does).
    KtMutex& get() const {
        KtMutex* m = m_pMutex.load(std::memory_order_acquire);
        return m ? *m : create();
    }

private:
    KtMutex& create() const;
    mutable std::atomic<KtMutex*> m_pMutex;
};

/// Holds a KtMutex for the lifetime of the guard.
class KtMutexGuard {
public:
    explicit KtMutexGuard(KtMutex& mutex) : m_Mutex(mutex) { m_Mutex.lock(); }
    ~KtMutexGuard() { m_Mutex.unlock(); }
    KtMutexGuard(const KtMutexGuard&) = delete;
    KtMutexGuard& operator=(const KtMutexGuard&) = delete;

private:
    KtMutex& m_Mutex;
};

#endif
