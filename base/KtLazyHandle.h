// A handle member whose object is made on first use.
#ifndef KTSIP_KT_LAZY_HANDLE_H
#define KTSIP_KT_LAZY_HANDLE_H

#include "KtHandle.h"

/// A member handle that starts nil and is filled by `Make()` the first time anyone asks for
/// it, so that an object parsed from text does not build (and later free) parts the text
/// never had: the parameter list of a URL without parameters, the placeholder URI of a
/// name-address that is about to be parsed. Readers that only look use peek(), which never
/// makes the object; get() and operator-> make it. The object is made outside any lock and
/// stored under a process-wide one, so two threads asking at once both end up with the
/// same object (the other one is freed); once stored it is read with one acquire load.
template <class T, T* (*Make)()>
class KtLazyHandle : private KtHandle<T> {
public:
    KtLazyHandle() noexcept {}
    /// Holds `object` (nil: made on first use).
    KtLazyHandle(const KtHandle<T>& object) noexcept : KtHandle<T>(object) {}
    KtLazyHandle(const KtLazyHandle& other) noexcept : KtHandle<T>(other) {}
    KtLazyHandle& operator=(const KtLazyHandle& other) noexcept {
        KtHandle<T>::operator=(other);
        return *this;
    }
    /// Replaces the object (nil: made again on next use).
    KtLazyHandle& operator=(const KtHandle<T>& object) noexcept {
        KtHandle<T>::operator=(object);
        return *this;
    }
    KtLazyHandle& operator=(KtHandle<T>&& object) noexcept {
        KtHandle<T>::operator=(std::move(object));
        return *this;
    }

    /// The handle, its object made first when there is none yet.
    const KtHandle<T>& get() const {
        if (this->loadAcquire() == nullptr) const_cast<KtLazyHandle*>(this)->fill();
        return *this;
    }
    T* operator->() const { return get().get(); }
    /// As get(), without the fill lock: for an owner that no other thread can reach yet, such
    /// as an object being parsed (the parsers' convention, like the lists' owner forms, KtParameters::sOwner).
    T& unshared() {
        if (this->loadAcquire() == nullptr) KtHandle<T>::operator=(KtHandle<T>(Make()));
        return *KtHandle<T>::get();
    }
    /// The object when it has been made or set, else null; never makes it.
    T* peek() const noexcept { return const_cast<T*>(static_cast<const T*>(this->loadAcquire())); }

private:
    void fill() {
        const KtHandle<T> made(Make());  // freed on return unless stored
        this->fillOnce(made.get());
    }
};

#endif
