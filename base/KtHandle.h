// The reference-counting smart pointer used for every owned or shared object.
#ifndef KTSIP_KT_HANDLE_H
#define KTSIP_KT_HANDLE_H

#include <cstddef>
#include <utility>

#include "KtObject.h"

/// Untyped handle: holds one reference to a KtObject, or nothing (nil).
class KtHandleBase {
public:
    KtHandleBase() noexcept : m_pObject(nullptr) {}
    /// Takes a reference on `object` (which may be null).
    explicit KtHandleBase(const KtObject* object) noexcept : m_pObject(object) {
        if (m_pObject) m_pObject->addRefInline();
    }
    KtHandleBase(const KtHandleBase& other) noexcept : m_pObject(other.m_pObject) {
        if (m_pObject) m_pObject->addRefInline();
    }
    KtHandleBase(KtHandleBase&& other) noexcept : m_pObject(other.m_pObject) { other.m_pObject = nullptr; }
    ~KtHandleBase() {
        if (m_pObject) m_pObject->releaseInline();
    }
    KtHandleBase& operator=(const KtHandleBase& other) noexcept {
        assignObject(other.m_pObject);
        return *this;
    }
    KtHandleBase& operator=(KtHandleBase&& other) noexcept {
        if (this != &other) {
            const KtObject* old = m_pObject;
            m_pObject = other.m_pObject;
            other.m_pObject = nullptr;
            if (old) old->releaseInline();
        }
        return *this;
    }
    /// True when the handle holds nothing.
    bool isNil() const noexcept { return m_pObject == nullptr; }
    /// Lets go of the object.
    void clear() noexcept { assignObject(nullptr); }

protected:
    /// The object, read with acquire ordering: for a nil handle that another thread may fill
    /// through fillOnce.
    const KtObject* loadAcquire() const noexcept { return __atomic_load_n(&m_pObject, __ATOMIC_ACQUIRE); }
    /// Fills the handle with `made` (taking a reference) if it is still nil, else leaves it
    /// as it is; the store has release ordering and all fills share one lock, so threads
    /// filling one handle at once agree on one object (see KtLazyHandle, which defines it).
    void fillOnce(const KtObject* made) noexcept;
    /// Releases the old object and takes a reference on the new one.
    void assignObject(const KtObject* object) noexcept {
        if (object) object->addRefInline();
        const KtObject* old = m_pObject;
        m_pObject = object;
        if (old) old->releaseInline();
    }
    const KtObject* m_pObject;
};

/// Typed handle to a T derived from KtObject.
template <class T>
class KtHandle : public KtHandleBase {
public:
    KtHandle() noexcept {}
    KtHandle(std::nullptr_t) noexcept {}
    /// Takes a reference on `object`.
    KtHandle(const T* object) noexcept : KtHandleBase(object) {}
    KtHandle(const KtHandle& other) noexcept : KtHandleBase(other) {}
    KtHandle(KtHandle&& other) noexcept : KtHandleBase(std::move(other)) {}
    /// Converts from a handle to a derived class.
    template <class U, class = decltype(static_cast<T*>(static_cast<U*>(nullptr)))>
    KtHandle(const KtHandle<U>& other) noexcept : KtHandleBase(static_cast<const T*>(other.get())) {}
    KtHandle& operator=(const KtHandle& other) noexcept {
        KtHandleBase::operator=(other);
        return *this;
    }
    KtHandle& operator=(KtHandle&& other) noexcept {
        KtHandleBase::operator=(std::move(other));
        return *this;
    }
    KtHandle& operator=(const T* object) noexcept {
        assignObject(object);
        return *this;
    }
    /// Releases the old object and takes a reference on `object`.
    void assign(const T* object) noexcept { assignObject(object); }

    /// The object, or null.
    T* get() const noexcept { return const_cast<T*>(static_cast<const T*>(m_pObject)); }
    T* operator->() const noexcept { return get(); }
    T& operator*() const noexcept { return *get(); }
    explicit operator bool() const noexcept { return m_pObject != nullptr; }

    /// A handle to the same object as U, nil when it is not a U.
    template <class U>
    KtHandle<U> dynamicCast() const noexcept {
        return KtHandle<U>(ktCast<const U>(get()));
    }
    bool operator==(const KtHandle& o) const noexcept { return m_pObject == o.m_pObject; }
    bool operator!=(const KtHandle& o) const noexcept { return m_pObject != o.m_pObject; }
};

#endif
