// Pools with size classes, per-thread caches and per-tag counters.
//
// Layout of a pool: one free list per size class, guarded by the pool's mutex
// and fed from 64 KiB slabs taken from malloc. Each thread keeps, per pool and
// size class, a private list of up to kCacheLimit blocks; allocation and
// deallocation touch only that list until it runs empty or full, and then move
// kBatch blocks at a time to or from the shared list. Blocks larger than the
// largest class go straight to malloc (still counted).
//
// Counters live in the thread caches (written only by their owner, read by
// anyone through relaxed atomics) and are folded into the pool when a thread
// ends, so counting costs no shared cache line traffic.
//
// Blocks of `allocate` carry a 16-byte prefix holding their size class, so
// `deallocate` needs no size. Pools and slabs are never returned to the system:
// they live until the process ends.
#include "TorvaneMemAllocator.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Torvane {

namespace {

const unsigned kMaxPools = 64;
const std::size_t kPrefix = 16;
const unsigned kCacheLimit = 256;
const unsigned kBatch = 64;
const std::size_t kSlabSize = 64 * 1024;

// Size classes: multiples of 16 up to 512, then powers of two up to 64 KiB.
const unsigned kSmallClasses = 32;  // 16 .. 512
const unsigned kLargeClasses = 7;   // 1K .. 64K
const unsigned kClasses = kSmallClasses + kLargeClasses;
const unsigned kDirect = kClasses;  // marker of a block taken straight from malloc

inline unsigned classOf(std::size_t size) {
    if (size <= 512) return size == 0 ? 0 : static_cast<unsigned>((size - 1) >> 4);
    std::size_t c = 1024;
    for (unsigned i = 0; i < kLargeClasses; ++i, c <<= 1)
        if (size <= c) return kSmallClasses + i;
    return kDirect;
}

inline std::size_t classSize(unsigned cls) {
    return cls < kSmallClasses ? (cls + 1) * 16u : std::size_t(1024) << (cls - kSmallClasses);
}

struct FreeBlock {
    FreeBlock* next;
};

// Shared state of one pool.
struct PoolShared {
    char tag[48];
    std::mutex mutex;
    FreeBlock* lists[kClasses] = {};
    unsigned counts[kClasses] = {};
    // Counters of threads that have ended, and of blocks freed with no cache.
    std::atomic<long long> retiredObjects{0};
    std::atomic<long long> retiredBytes{0};
    std::atomic<unsigned long long> retiredAllocations{0};
    std::atomic<unsigned long long> systemAllocations{0};
};

struct ThreadCounters {
    std::atomic<long long> objects{0};
    std::atomic<long long> bytes{0};
    std::atomic<unsigned long long> allocations{0};
};

// Adds `d` to an atomic that only the owning thread writes: no locked instruction needed.
template <class A, class V>
inline void ownerAdd(A& a, V d) {
    a.store(a.load(std::memory_order_relaxed) + d, std::memory_order_relaxed);
}

struct ThreadCache;

}  // namespace

struct PoolRegistry {
    std::mutex mutex;
    std::atomic<unsigned> count{0};
    PoolShared* shared[kMaxPools] = {};
    MemPool* pools[kMaxPools] = {};
    ThreadCache* caches = nullptr;  // list of live thread caches, guarded by mutex

    static PoolRegistry& get() {
        static PoolRegistry* registry = new PoolRegistry();  // never destroyed: outlives every static
        return *registry;
    }

    MemPool& find(const char* tag) {
        unsigned n = count.load(std::memory_order_acquire);
        for (unsigned i = 0; i < n; ++i)
            if (std::strcmp(shared[i]->tag, tag) == 0) return *pools[i];
        std::lock_guard<std::mutex> lock(mutex);
        n = count.load(std::memory_order_relaxed);
        for (unsigned i = 0; i < n; ++i)
            if (std::strcmp(shared[i]->tag, tag) == 0) return *pools[i];
        if (n == kMaxPools) std::abort();  // a fixed, small set of tags is a design invariant
        PoolShared* s = new PoolShared();
        std::strncpy(s->tag, tag, sizeof(s->tag) - 1);
        shared[n] = s;
        pools[n] = new MemPool(s->tag, n);
        count.store(n + 1, std::memory_order_release);
        return *pools[n];
    }
};

namespace {

struct ThreadCache {
    FreeBlock* lists[kMaxPools][kClasses] = {};
    unsigned counts[kMaxPools][kClasses] = {};
    ThreadCounters counters[kMaxPools];
    ThreadCache* next = nullptr;
    ThreadCache* prev = nullptr;

    ThreadCache() {
        PoolRegistry& r = PoolRegistry::get();
        std::lock_guard<std::mutex> lock(r.mutex);
        next = r.caches;
        if (next) next->prev = this;
        r.caches = this;
    }

    ~ThreadCache() {
        PoolRegistry& r = PoolRegistry::get();
        std::lock_guard<std::mutex> lock(r.mutex);
        unsigned n = r.count.load(std::memory_order_relaxed);
        for (unsigned p = 0; p < n; ++p) {
            PoolShared& s = *r.shared[p];
            s.retiredObjects.fetch_add(counters[p].objects.load(std::memory_order_relaxed));
            s.retiredBytes.fetch_add(counters[p].bytes.load(std::memory_order_relaxed));
            s.retiredAllocations.fetch_add(counters[p].allocations.load(std::memory_order_relaxed));
            std::lock_guard<std::mutex> poolLock(s.mutex);
            for (unsigned c = 0; c < kClasses; ++c) {
                while (FreeBlock* b = lists[p][c]) {
                    lists[p][c] = b->next;
                    b->next = s.lists[c];
                    s.lists[c] = b;
                    ++s.counts[c];
                }
            }
        }
        if (prev) prev->next = next;
        else r.caches = next;
        if (next) next->prev = prev;
    }
};

// The calling thread's cache; null once the thread's thread-local storage is being torn down.
thread_local bool tCacheDead = false;
struct CacheHolder {
    ThreadCache* cache = nullptr;
    ~CacheHolder() {
        tCacheDead = true;
        delete cache;
        cache = nullptr;
    }
};
thread_local CacheHolder tHolder;

inline ThreadCache* threadCache() {
    ThreadCache* c = tHolder.cache;
    if (c != nullptr) return c;
    if (tCacheDead) return nullptr;
    c = new ThreadCache();
    tHolder.cache = c;
    return c;
}

// Refills the thread list of `cls` from the shared list, carving a new slab when it is empty.
[[maybe_unused]] FreeBlock* refillFromShared(PoolShared& s, unsigned cls, FreeBlock*& list, unsigned& count) {
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.lists[cls] == nullptr) {
        std::size_t bsize = classSize(cls);
        std::size_t slab = bsize >= kSlabSize ? bsize * 4 : kSlabSize;
        char* mem = static_cast<char*>(std::malloc(slab));
        if (mem == nullptr) throw std::bad_alloc();
        s.systemAllocations.fetch_add(1, std::memory_order_relaxed);
        for (std::size_t off = 0; off + bsize <= slab; off += bsize) {
            FreeBlock* b = reinterpret_cast<FreeBlock*>(mem + off);
            b->next = s.lists[cls];
            s.lists[cls] = b;
            ++s.counts[cls];
        }
    }
    for (unsigned i = 0; i < kBatch && s.lists[cls]; ++i) {
        FreeBlock* b = s.lists[cls];
        s.lists[cls] = b->next;
        --s.counts[cls];
        b->next = list;
        list = b;
        ++count;
    }
    return list;
}

[[maybe_unused]] void flushToShared(PoolShared& s, unsigned cls, FreeBlock*& list, unsigned& count) {
    std::lock_guard<std::mutex> lock(s.mutex);
    for (unsigned i = 0; i < kBatch && list; ++i) {
        FreeBlock* b = list;
        list = b->next;
        --count;
        b->next = s.lists[cls];
        s.lists[cls] = b;
        ++s.counts[cls];
    }
}

inline void count(unsigned pool, long long objects, long long bytes) {
    PoolRegistry& r = PoolRegistry::get();
    ThreadCache* c = threadCache();
    if (c) {
        ThreadCounters& t = c->counters[pool];
        ownerAdd(t.objects, objects);
        ownerAdd(t.bytes, bytes);
        if (objects > 0) ownerAdd(t.allocations, 1ull);
    } else {
        PoolShared& s = *r.shared[pool];
        s.retiredObjects.fetch_add(objects, std::memory_order_relaxed);
        s.retiredBytes.fetch_add(bytes, std::memory_order_relaxed);
        if (objects > 0) s.retiredAllocations.fetch_add(1, std::memory_order_relaxed);
    }
}

// Takes one block of class `cls` (or a direct malloc block) for pool `p`.
void* takeBlock(unsigned p, unsigned cls, std::size_t size) {
    PoolRegistry& r = PoolRegistry::get();
    PoolShared& s = *r.shared[p];
#ifdef KTSIP_POOL_PASSTHROUGH
    (void)cls;
    void* m = std::malloc(size == 0 ? 1 : size);
    if (!m) throw std::bad_alloc();
    s.systemAllocations.fetch_add(1, std::memory_order_relaxed);
    return m;
#else
    if (cls == kDirect) {
        void* m = std::malloc(size);
        if (!m) throw std::bad_alloc();
        s.systemAllocations.fetch_add(1, std::memory_order_relaxed);
        return m;
    }
    ThreadCache* c = threadCache();
    if (c == nullptr) {
        FreeBlock* list = nullptr;
        unsigned n = 0;
        refillFromShared(s, cls, list, n);
        FreeBlock* b = list;
        list = list->next;
        if (list) {
            std::lock_guard<std::mutex> lock(s.mutex);
            while (list) {
                FreeBlock* x = list;
                list = x->next;
                x->next = s.lists[cls];
                s.lists[cls] = x;
                ++s.counts[cls];
            }
        }
        return b;
    }
    FreeBlock*& list = c->lists[p][cls];
    if (list == nullptr) refillFromShared(s, cls, list, c->counts[p][cls]);
    FreeBlock* b = list;
    list = b->next;
    --c->counts[p][cls];
    return b;
#endif
}

void giveBlock(unsigned p, unsigned cls, void* block) {
    PoolRegistry& r = PoolRegistry::get();
    PoolShared& s = *r.shared[p];
#ifdef KTSIP_POOL_PASSTHROUGH
    (void)cls;
    (void)s;
    std::free(block);
#else
    if (cls == kDirect) {
        std::free(block);
        return;
    }
    FreeBlock* b = static_cast<FreeBlock*>(block);
    ThreadCache* c = threadCache();
    if (c == nullptr) {
        std::lock_guard<std::mutex> lock(s.mutex);
        b->next = s.lists[cls];
        s.lists[cls] = b;
        ++s.counts[cls];
        return;
    }
    FreeBlock*& list = c->lists[p][cls];
    b->next = list;
    list = b;
    if (++c->counts[p][cls] > kCacheLimit) flushToShared(s, cls, list, c->counts[p][cls]);
#endif
}

}  // namespace

MemPool::MemPool(const char* tag, unsigned index) : m_Tag(tag), m_Index(index) {}

MemPool& MemPool::sGet(const char* tag) { return PoolRegistry::get().find(tag ? tag : "(none)"); }

void* MemPool::allocate(std::size_t size) {
    unsigned cls = classOf(size + kPrefix);
    char* block = static_cast<char*>(takeBlock(m_Index, cls, size + kPrefix));
    *reinterpret_cast<std::size_t*>(block) = size;
    count(m_Index, 1, static_cast<long long>(size));
    return block + kPrefix;
}

void MemPool::deallocate(void* p) noexcept {
    if (p == nullptr) return;
    char* block = static_cast<char*>(p) - kPrefix;
    std::size_t size = *reinterpret_cast<std::size_t*>(block);
    count(m_Index, -1, -static_cast<long long>(size));
    giveBlock(m_Index, classOf(size + kPrefix), block);
}

void* MemPool::allocateSized(std::size_t size) {
    void* block = takeBlock(m_Index, classOf(size), size);
    count(m_Index, 1, static_cast<long long>(size));
    return block;
}

void MemPool::deallocateSized(void* p, std::size_t size) noexcept {
    if (p == nullptr) return;
    count(m_Index, -1, -static_cast<long long>(size));
    giveBlock(m_Index, classOf(size), p);
}

std::vector<PoolStats> MemPool::sStats() {
    PoolRegistry& r = PoolRegistry::get();
    std::lock_guard<std::mutex> lock(r.mutex);
    unsigned n = r.count.load(std::memory_order_relaxed);
    std::vector<PoolStats> out(n);
    for (unsigned p = 0; p < n; ++p) {
        PoolShared& s = *r.shared[p];
        out[p].tag = s.tag;
        out[p].liveObjects = s.retiredObjects.load();
        out[p].liveBytes = s.retiredBytes.load();
        out[p].allocations = s.retiredAllocations.load();
        out[p].systemAllocations = s.systemAllocations.load();
    }
    for (ThreadCache* c = r.caches; c; c = c->next) {
        for (unsigned p = 0; p < n; ++p) {
            out[p].liveObjects += c->counters[p].objects.load(std::memory_order_relaxed);
            out[p].liveBytes += c->counters[p].bytes.load(std::memory_order_relaxed);
            out[p].allocations += c->counters[p].allocations.load(std::memory_order_relaxed);
        }
    }
    return out;
}

PoolStats MemPool::sStatsFor(const char* tag) {
    for (const PoolStats& s : sStats())
        if (s.tag == tag) return s;
    PoolStats none;
    none.tag = tag;
    return none;
}

}  // namespace Torvane
