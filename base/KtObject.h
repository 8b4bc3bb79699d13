// The reference-counted root of every object the library hands out.
#ifndef KTSIP_KT_OBJECT_H
#define KTSIP_KT_OBJECT_H

#include <atomic>
#include <typeinfo>

class KtOutputStream;

/// Reference-counted base object. Counts may change from any thread; an object
/// is deleted when its last handle lets go of it.
class KtObject {
public:
    KtObject() noexcept : m_RefCount(0) {}
    /// Copies start with no references of their own.
    KtObject(const KtObject&) noexcept : m_RefCount(0) {}
    KtObject& operator=(const KtObject&) noexcept { return *this; }
    virtual ~KtObject() {}

    /// A new object equal to this one. The base version throws KtException:
    /// classes that can be copied override it.
    virtual KtObject* clone() const;
    /// Orders two objects; the base compares identities (negative, 0, positive).
    virtual int compareWith(const KtObject* other) const;
    /// A hash of the object; the base hashes its identity.
    virtual unsigned hashCode() const;
    /// Writes a description for humans; `verbose` asks for more detail.
    virtual void display(KtOutputStream& out, bool verbose) const;
    /// Takes a reference.
    virtual void AddRef() const final;
    /// Drops a reference; when it was the last one the object is deleted if `destroy` is true.
    virtual void Release(bool destroy = true) const final;

    /// The current number of references (for tests and diagnostics).
    int getRefCount() const noexcept { return m_RefCount.load(std::memory_order_relaxed); }

    /// Makes the object live until the process ends: references are no longer counted and
    /// it is never deleted. For the library's shared constants (header names and the like),
    /// which every thread references on every message: their count would otherwise be one
    /// cache line written by all threads. Call before the object is shared.
    void makeImmortal() const noexcept { m_RefCount.store(kImmortal, std::memory_order_relaxed); }

    /// Inline forms used by handles on hot paths.
    void addRefInline() const noexcept {
        if (m_RefCount.load(std::memory_order_relaxed) < kImmortal) m_RefCount.fetch_add(1, std::memory_order_relaxed);
    }
    void releaseInline() const noexcept {
        // Holding the only reference, no other thread can change the count (taking one needs
        // a reference), so the locked decrement is skipped; the acquire load still orders the
        // earlier releases of other threads before the deletion.
        const int count = m_RefCount.load(std::memory_order_acquire);
        if (count >= kImmortal) return;
        if (count == 1 || m_RefCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

private:
    static constexpr int kImmortal = 1 << 30;
    mutable std::atomic<int> m_RefCount;
};

/// dynamic_cast<T*>(p), with a shortcut for the usual case of `p` being exactly a T (one
/// comparison of type identities instead of a walk of the class hierarchy).
template <class T, class U>
inline T* ktCast(U* p) noexcept {
    if (p == nullptr) return nullptr;
    if (typeid(*p) == typeid(T)) return static_cast<T*>(p);
    return dynamic_cast<T*>(p);
}

#endif
