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

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "KtInline.h"

namespace Torvane {

// The per-thread cache layout, shared with the inline fast paths below. A thread's cache
// holds, per pool and size class, a free list of up to kCacheLimit blocks, and per pool the
// counters the thread has changed (written only by their owner, read by anyone).
namespace pooldetail {
constexpr unsigned kMaxPools = 64;
constexpr std::size_t kPrefix = 16;    // size header of the blocks of allocate()
constexpr unsigned kCacheLimit = 256;
constexpr unsigned kSmallClasses = 32;  // 16 .. 512 bytes in steps of 16
constexpr unsigned kLargeClasses = 7;   // 1K .. 64K
constexpr unsigned kClasses = kSmallClasses + kLargeClasses;
constexpr unsigned kDirect = kClasses;  // marker of a block taken straight from malloc

struct FreeBlock {
    FreeBlock* next;
};
struct CacheBin {
    FreeBlock* head = nullptr;
    unsigned count = 0;
};
// Live objects are counted as allocations minus frees, so that handing out a block updates
// two counters, not three.
struct CacheCounters {
    std::atomic<unsigned long long> frees{0};
    std::atomic<long long> bytes{0};
    std::atomic<unsigned long long> allocations{0};
};
struct ThreadCacheData {
    CacheBin bins[kMaxPools][kClasses];
    CacheCounters counters[kMaxPools];
};

// The calling thread's cache: null before its first allocation and in pass-through builds,
// the value 1 while the thread is ending. Plain __thread with the initial-exec model: one
// load from the thread pointer, no wrapper call.
extern __thread ThreadCacheData* tPoolCache __attribute__((tls_model("initial-exec")));

inline unsigned classOf(std::size_t size) {
    if (size <= 512) return size == 0 ? 0 : static_cast<unsigned>((size - 1) >> 4);
    std::size_t c = 1024;
    for (unsigned i = 0; i < kLargeClasses; ++i, c <<= 1)
        if (size <= c) return kSmallClasses + i;
    return kDirect;
}

// Adds `d` to a counter only its owning thread writes: no locked instruction needed. On
// x86-64 one add to memory does it (an aligned 8-byte store, which readers on other cores
// see whole); elsewhere (i386 included), and under ThreadSanitizer (which must see the
// write), a relaxed load and store, lock-free on every architecture the library builds for.
template <class A, class V>
KT_ALWAYS_INLINE void ownerAdd(A& a, V d) {
    static_assert(sizeof(A) == 8 && A::is_always_lock_free, "counters are lock-free 8-byte words");
#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
    __asm__("addq %1, %0" : "+m"(a) : "er"(static_cast<long long>(d)));
#else
    a.store(a.load(std::memory_order_relaxed) + d, std::memory_order_relaxed);
#endif
}

// The pools of the library's own object families. Each has a fixed index, known when the
// code is compiled, so that the inline allocation of their classes reaches the thread's
// cache at constant offsets, without looking the pool up. Other tags get the indices after
// these, in the order of their first use.
constexpr const char* kKnownTags[] = {"KtString",   "KtSipHeader", "KtURI",    "KtParameters", "KtSipMessage",
                                      "KtStream",   "KtByteArray", "KtSipAuth", "KtMutex",      "KtContainer"};
constexpr unsigned kKnownPools = sizeof kKnownTags / sizeof kKnownTags[0];
constexpr unsigned kNotKnown = ~0u;

constexpr bool sameTag(const char* a, const char* b) {
    while (*a != '\0' && *a == *b) ++a, ++b;
    return *a == *b;
}
// The fixed index of `tag`, or kNotKnown.
constexpr unsigned knownIndex(const char* tag) {
    for (unsigned i = 0; i < kKnownPools; ++i)
        if (sameTag(tag, kKnownTags[i])) return i;
    return kNotKnown;
}

// A block of class `cls` from the thread's list, counted; null when the slow path must run.
KT_ALWAYS_INLINE FreeBlock* popFast(unsigned pool, unsigned cls, std::size_t size) {
    ThreadCacheData* c = tPoolCache;
    if (reinterpret_cast<std::uintptr_t>(c) <= 1 || cls >= kClasses) return nullptr;
    CacheBin& bin = c->bins[pool][cls];
    FreeBlock* b = bin.head;
    if (b == nullptr) return nullptr;
    bin.head = b->next;
    --bin.count;
    CacheCounters& t = c->counters[pool];
    ownerAdd(t.bytes, static_cast<long long>(size));
    ownerAdd(t.allocations, 1ull);
    return b;
}

// Puts a block on the thread's list, counted; false when the slow path must run.
KT_ALWAYS_INLINE bool pushFast(unsigned pool, unsigned cls, void* block, std::size_t size) {
    ThreadCacheData* c = tPoolCache;
    if (reinterpret_cast<std::uintptr_t>(c) <= 1 || cls >= kClasses) return false;
    CacheBin& bin = c->bins[pool][cls];
    if (bin.count >= kCacheLimit) return false;
    FreeBlock* b = static_cast<FreeBlock*>(block);
    b->next = bin.head;
    bin.head = b;
    ++bin.count;
    CacheCounters& t = c->counters[pool];
    ownerAdd(t.frees, 1ull);
    ownerAdd(t.bytes, -static_cast<long long>(size));
    return true;
}
}  // namespace pooldetail

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
    void* allocate(std::size_t size) {
        const unsigned cls = pooldetail::classOf(size + pooldetail::kPrefix);
        return writePrefix(sTake(m_Index, cls, size, size + pooldetail::kPrefix), size, cls);
    }
    /// Returns a block obtained from allocate.
    void deallocate(void* p) noexcept {
        if (p == nullptr) return;
        char* block = static_cast<char*>(p) - pooldetail::kPrefix;
        const std::size_t size = *reinterpret_cast<std::size_t*>(block);
        const unsigned cls = *reinterpret_cast<unsigned*>(block + sizeof(std::size_t));
        sGive(m_Index, cls, block, size);
    }
    /// Allocates `size` bytes; the caller passes the same size back to deallocateSized.
    void* allocateSized(std::size_t size) { return sAllocateSizedAt(m_Index, size); }
    /// Returns a block obtained from allocateSized(size).
    void deallocateSized(void* p, std::size_t size) noexcept { sDeallocateSizedAt(m_Index, p, size); }

    /// The pool of the known tag of index `index` (below pooldetail::kKnownPools), made on
    /// first use.
    static MemPool& sKnown(unsigned index);
    /// allocateSized on the pool of index `index`: with a constant index, the fast path is a
    /// few instructions at fixed offsets of the thread's cache.
    KT_ALWAYS_INLINE static void* sAllocateSizedAt(unsigned index, std::size_t size) {
        return sTake(index, pooldetail::classOf(size), size, size);
    }
    /// deallocateSized on the pool of index `index`.
    KT_ALWAYS_INLINE static void sDeallocateSizedAt(unsigned index, void* p, std::size_t size) noexcept {
        if (p != nullptr) sGive(index, pooldetail::classOf(size), p, size);
    }

    /// The pool's name.
    const char* tag() const { return m_Tag; }
    /// Index of the pool in the process-wide table.
    unsigned index() const { return m_Index; }

    MemPool(const MemPool&) = delete;
    MemPool& operator=(const MemPool&) = delete;

private:
    // The prefix of a block of allocate(): the requested size, then the size class, so that
    // deallocate reads both instead of computing the class again.
    static void* writePrefix(void* block, std::size_t size, unsigned cls) noexcept {
        char* b = static_cast<char*>(block);
        *reinterpret_cast<std::size_t*>(b) = size;
        *reinterpret_cast<unsigned*>(b + sizeof(std::size_t)) = cls;
        return b + pooldetail::kPrefix;
    }
    // The one take and return path behind every entry point: a block of class `cls` (its
    // requested size `size`, counted; `bytes` with the prefix of allocate, if any) from the
    // thread's list of pool `index`, or from the slow path when that list cannot serve.
    KT_ALWAYS_INLINE static void* sTake(unsigned index, unsigned cls, std::size_t size, std::size_t bytes) {
        if (pooldetail::FreeBlock* b = pooldetail::popFast(index, cls, size)) return b;
        return sTakeSlow(index, cls, size, bytes);
    }
    KT_ALWAYS_INLINE static void sGive(unsigned index, unsigned cls, void* block, std::size_t size) noexcept {
        if (!pooldetail::pushFast(index, cls, block, size)) sGiveSlow(index, cls, block, size);
    }
    // The slow paths: a thread cache to create, an empty or full list, a block too large for
    // the classes, a thread that is ending, or a pass-through build.
    static void* sTakeSlow(unsigned index, unsigned cls, std::size_t size, std::size_t bytes);
    static void sGiveSlow(unsigned index, unsigned cls, void* block, std::size_t size) noexcept;
    MemPool(const char* tag, unsigned index);
    friend struct PoolRegistry;
    const char* m_Tag;
    unsigned m_Index;
};

/// The pool of a known tag, by its index: the sized calls of MemPool at constant offsets of
/// the thread's cache, for code whose tag is fixed when it is compiled. Named by its tag with
/// TORVANE_POOL.
template <unsigned Index>
struct KnownPool {
    static_assert(Index < pooldetail::kKnownPools, "KnownPool needs a known tag");
    /// MemPool::allocateSized on this pool.
    void* allocateSized(std::size_t size) const { return MemPool::sAllocateSizedAt(Index, size); }
    /// MemPool::deallocateSized on this pool.
    void deallocateSized(void* p, std::size_t size) const noexcept { MemPool::sDeallocateSizedAt(Index, p, size); }
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

/// The type of the pool of the library's tag TAG (one of pooldetail::kKnownTags; another
/// does not compile), e.g. `TORVANE_POOL("KtByteArray")().allocateSized(n)`.
#define TORVANE_POOL(TAG) Torvane::KnownPool<Torvane::pooldetail::knownIndex(TAG)>

/// Declares class-level operator new/delete that draw from the pool named TAG. A known
/// tag's pool is reached by its fixed index; another is looked up once per class. The delete
/// is the sized one: the deleting destructor of the object's own class passes that class's
/// size (the size its new was given), so blocks carry no size header and neither call works
/// out the size class at run time where the size is a constant.
#define TORVANE_POOLED_OBJECT(TAG)                                                          \
public:                                                                                     \
    static void* operator new(std::size_t size) {                                          \
        constexpr unsigned known = Torvane::pooldetail::knownIndex(TAG);                   \
        if (known != Torvane::pooldetail::kNotKnown)                                       \
            return Torvane::MemPool::sAllocateSizedAt(known, size);                         \
        static const unsigned index = Torvane::MemPool::sGet(TAG).index();                 \
        return Torvane::MemPool::sAllocateSizedAt(index, size);                             \
    }                                                                                       \
    static void operator delete(void* p, std::size_t size) noexcept {                      \
        constexpr unsigned known = Torvane::pooldetail::knownIndex(TAG);                   \
        if (known != Torvane::pooldetail::kNotKnown)                                       \
            return Torvane::MemPool::sDeallocateSizedAt(known, p, size);                    \
        static const unsigned index = Torvane::MemPool::sGet(TAG).index();                 \
        Torvane::MemPool::sDeallocateSizedAt(index, p, size);                               \
    }                                                                                       \
    static void* operator new(std::size_t, void* where) noexcept { return where; }         \
    static void operator delete(void*, void*) noexcept {}

#endif
