// Filling lazy handles.
#include "KtLazyHandle.h"

#include <pthread.h>

namespace {
// One lock for every fill: it is taken only the first time a handle's object is made, never
// to read one, and held while one pointer is checked and stored. Statically initialised and
// never destroyed, so that a handle can be filled at any time, during static initialisation
// and destruction included.
pthread_mutex_t gFillLock = PTHREAD_MUTEX_INITIALIZER;
}  // namespace

void KtHandleBase::fillOnce(const KtObject* made) noexcept {
    if (made == nullptr) return;
    pthread_mutex_lock(&gFillLock);
    if (m_pObject == nullptr) {
        made->addRefInline();
        __atomic_store_n(&m_pObject, made, __ATOMIC_RELEASE);
    }
    pthread_mutex_unlock(&gFillLock);
}
