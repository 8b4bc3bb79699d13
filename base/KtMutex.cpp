// Mutexes with explicit POSIX attributes.
#include "KtMutex.h"

#include <cerrno>
#include <sched.h>

#include "KtException.h"
#include "TorvaneAceCleanup.h"

namespace {

// The attribute object is built once: every mutex of the process uses the same attributes,
// and building them per mutex would cost five system-library calls on every creation.
struct MutexAttributes {
    pthread_mutexattr_t attr;

    MutexAttributes() {
        int rc = pthread_mutexattr_init(&attr);
        if (rc != 0) KtSystemError::sThrow("pthread_mutexattr_init", rc);
        rc = pthread_mutexattr_setpshared(&attr, 0);
        if (rc != 0) fail("pthread_mutexattr_setpshared", rc);
        rc = pthread_mutexattr_setprotocol(&attr, 0);
        if (rc != 0) fail("pthread_mutexattr_setprotocol", rc);
        rc = pthread_mutexattr_setprioceiling(&attr, sched_get_priority_max(2));
        if (rc != 0) fail("pthread_mutexattr_setprioceiling", rc);
    }

    [[noreturn]] void fail(const char* call, int rc) {
        pthread_mutexattr_destroy(&attr);
        KtSystemError::sThrow(call, rc);
    }

    // Runs at process exit (ACE's object manager); a failure cannot be thrown from there.
    static void destroy(void* p) { pthread_mutexattr_destroy(&static_cast<MutexAttributes*>(p)->attr); }
};

MutexAttributes* createAttributes() {
    MutexAttributes* attributes = new MutexAttributes();  // kept for the life of the process
    Torvane::AceCleanupLogger("KtMutex").registerCleanup(&MutexAttributes::destroy, attributes);
    return attributes;
}

// Built by the first caller (a function-local static: thread-safe, and afterwards one load
// and one branch per mutex, where std::call_once sets thread-local state on every call).
// A failure throws and leaves the static unset, so the next creation tries again.
const pthread_mutexattr_t& attributes() {
    static MutexAttributes* const sAttributes = createAttributes();
    return sAttributes->attr;
}

}  // namespace

const pthread_mutexattr_t& KtMutex::sAttributes() { return attributes(); }

KtMutex::KtMutex() {
    int rc = pthread_mutex_init(&m_Mutex, &attributes());
    if (rc != 0) KtSystemError::sThrow("pthread_mutex_init", rc);
}

KtMutex::~KtMutex() { pthread_mutex_destroy(&m_Mutex); }

KtMutex& KtLazyMutex::create() const {
    KtMutex* created = new KtMutex();
    KtMutex* expected = nullptr;
    if (m_pMutex.compare_exchange_strong(expected, created, std::memory_order_acq_rel, std::memory_order_acquire))
        return *created;
    delete created;  // another thread stored one first
    return *expected;
}

void KtMutex::sThrowLockFailed(int rc) { KtSystemError::sThrow("pthread_mutex_lock", rc); }
