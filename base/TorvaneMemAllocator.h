// Pooled allocators behind every object of the library.
//
// Memory is handed out from per-tag pools ("KtSipHeader", "KtSipMessage",
// "KtParameters", "KtMutex", ...). Each pool keeps size-class free lists; each
// thread keeps a small cache per pool and size class, so the common allocate /
// deallocate pair takes no lock and makes no heap call once the pool is warm.
// Every pool counts its live objects and live bytes; tests and tools read the
// counters to prove that everything handed out came back.
//
// Built with KTSIP_POOL_PASSTHROUGH defined, every request goes straight to
// malloc/free (counters still kept), so that AddressSanitizer sees each object.
#ifndef KTSIP_TORVANE_MEM_ALLOCATOR_H
#define KTSIP_TORVANE_MEM_ALLOCATOR_H

#include <cstddef>
#include <new>
#include <string>
#include <vector>

namespace Torvane {

/// Counters of one pool, as read by MemPool::sStats.
struct PoolStats {
    std::string tag;                 ///< pool name
    long long liveObjects = 0;       ///< blocks handed out and not yet returned
    long long liveBytes = 0;         ///< bytes requested by those blocks
    unsigned long long allocations = 0;  ///< blocks handed out since start
    unsigned long long systemAllocations = 0;  ///< calls to malloc made to feed the pool
};

/// One named pool. Pools are created on first use and live until the process ends.
class MemPool {
public:
    /// The pool named `tag` (created on first use). Thread-safe; the reference stays valid.
    static MemPool& sGet(const char* tag);
    /// Counters of every pool created so far, ordered by creation.
    static std::vector<PoolStats> sStats();
    /// Counters of one pool (zeros when it does not exist yet).
    static PoolStats sStatsFor(const char* tag);

    /// Allocates `size` bytes whose size is remembered (for deallocate without size).
    void* allocate(std::size_t size);
    /// Returns a block obtained from allocate.
    void deallocate(void* p) noexcept;
    /// Allocates `size` bytes; the caller passes the same size back to deallocateSized.
    void* allocateSized(std::size_t size);
    /// Returns a block obtained from allocateSized(size).
    void deallocateSized(void* p, std::size_t size) noexcept;

    /// The pool's name.
    const char* tag() const { return m_Tag; }
    /// Index of the pool in the process-wide table.
    unsigned index() const { return m_Index; }

    MemPool(const MemPool&) = delete;
    MemPool& operator=(const MemPool&) = delete;

private:
    MemPool(const char* tag, unsigned index, void* shared);
    void* allocateSlow(std::size_t size, unsigned sizeClass, bool prefixed);
    void deallocateSlow(void* block, std::size_t size, unsigned sizeClass) noexcept;
    friend struct PoolRegistry;
    const char* m_Tag;
    unsigned m_Index;
    void* m_pShared;  // the pool's shared free lists and counters
};

/// Allocation by size; deallocation needs only the pointer and the tag.
class NoSizeMemAllocator {
public:
    /// Allocates `size` bytes from the pool named `tag`.
    static void* allocate(unsigned size, const char* tag) { return MemPool::sGet(tag).allocate(size); }
    /// Returns memory obtained from allocate with the same tag.
    static void deallocate(void* p, const char* tag) noexcept { MemPool::sGet(tag).deallocate(p); }
};

/// Allocation by size where the caller also knows the size on deallocation.
class StaticMemAllocator {
public:
    /// Allocates `size` bytes from the pool named `tag`.
    static void* allocate(unsigned size, const char* tag) { return MemPool::sGet(tag).allocateSized(size); }
    /// Returns `size` bytes obtained from allocate with the same tag.
    static void deallocate(void* p, unsigned size, const char* tag) noexcept {
        MemPool::sGet(tag).deallocateSized(p, size);
    }
};

/// Standard-library allocator drawing from a pool; used for the library's small vectors.
template <class T>
class PoolAllocator {
public:
    using value_type = T;
    PoolAllocator() noexcept : m_pPool(&MemPool::sGet("KtContainer")) {}
    explicit PoolAllocator(MemPool& pool) noexcept : m_pPool(&pool) {}
    template <class U>
    PoolAllocator(const PoolAllocator<U>& other) noexcept : m_pPool(other.pool()) {}
    T* allocate(std::size_t n) { return static_cast<T*>(m_pPool->allocateSized(n * sizeof(T))); }
    void deallocate(T* p, std::size_t n) noexcept { m_pPool->deallocateSized(p, n * sizeof(T)); }
    MemPool* pool() const noexcept { return m_pPool; }
    template <class U>
    bool operator==(const PoolAllocator<U>& o) const noexcept { return m_pPool == o.pool(); }
    template <class U>
    bool operator!=(const PoolAllocator<U>& o) const noexcept { return m_pPool != o.pool(); }

private:
    MemPool* m_pPool;
};

}  // namespace Torvane

/// Declares class-level operator new/delete that draw from the pool named TAG.
/// The pool reference is looked up once per class.
#define TORVANE_POOLED_OBJECT(TAG)                                                  \
public:                                                                             \
    static void* operator new(std::size_t size) {                                  \
        static Torvane::MemPool& pool = Torvane::MemPool::sGet(TAG);              \
        return pool.allocate(size);                                                 \
    }                                                                               \
    static void operator delete(void* p) noexcept {                                \
        static Torvane::MemPool& pool = Torvane::MemPool::sGet(TAG);              \
        pool.deallocate(p);                                                         \
    }                                                                               \
    static void* operator new(std::size_t, void* where) noexcept { return where; } \
    static void operator delete(void*, void*) noexcept {}

#endif
