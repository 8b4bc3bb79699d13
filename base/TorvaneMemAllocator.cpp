// Pools with size classes, per-thread caches and per-tag counters.
//
// Layout of a pool: one free list per size class, guarded by the pool's mutex
// and fed from 64 KiB slabs taken from malloc. Each thread keeps, per pool and
// size class, a private list of up to kCacheLimit blocks; allocation and
// deallocation touch only that list until it runs empty or full, and then move
// kBatch blocks at a time to or from the shared list. Blocks larger than the
// largest class go straight to malloc (still counted).
//
// The fast path, inline in the header, is one thread-local load (initial-exec
// model), a pop or push on the thread's list and two unlocked adds to the
// thread's counters: no call, no lock, no atomic read-modify-write, no lookup by
// name. The pools of the library's own tags have fixed indices (kKnownTags), so
// for their classes the list and the counters sit at constant offsets of the
// cache. This file holds the slow paths, the registry and the statistics.
//
// Counters live in the thread caches (written only by their owner, read by
// anyone through relaxed atomics) and are folded into the pool when a thread
// ends, so counting costs no shared cache-line traffic. The cache of an ended
// thread, blocks and all, is adopted by the next thread that starts (see
// ThreadCache), so two threads' blocks do not end up side by side in a line.
//
// Blocks of `allocate` carry a 16-byte prefix holding their requested size, so
// `deallocate` needs no size. Pools and slabs are never returned to the system:
// they live until the process ends.
#include "TorvaneMemAllocator.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace Torvane {

namespace pooldetail {
__thread ThreadCacheData* tPoolCache __attribute__((tls_model("initial-exec"))) = nullptr;
}  // namespace pooldetail

using namespace pooldetail;

namespace {

const unsigned kBatch = 64;
const std::size_t kSlabSize = 64 * 1024;

[[maybe_unused]] inline std::size_t classSize(unsigned cls) {
    return cls < kSmallClasses ? (cls + 1) * 16u : std::size_t(1024) << (cls - kSmallClasses);
}

// Shared state of one pool.
struct PoolShared {
    char tag[48];
    std::mutex mutex;
    FreeBlock* lists[kClasses] = {};
    unsigned counts[kClasses] = {};
    // Counters of threads that have ended, and of blocks handled with no thread cache.
    std::atomic<unsigned long long> retiredFrees{0};
    std::atomic<long long> retiredBytes{0};
    std::atomic<unsigned long long> retiredAllocations{0};
    std::atomic<unsigned long long> systemAllocations{0};
};

}  // namespace

struct ThreadCache;

// The pools by index. The known tags (kKnownTags) own the first kKnownPools indices, each
// pool made on first use; other tags take the following ones in the order of their first
// use. `count` is one past the highest index in use: the slots of known pools not made yet
// are null below it. `order` lists the indices in the order the pools were made.
struct PoolRegistry {
    std::mutex mutex;
    std::atomic<unsigned> count{0};
    PoolShared* shared[kMaxPools] = {};
    MemPool* pools[kMaxPools] = {};
    unsigned order[kMaxPools] = {};
    unsigned made = 0;                 // entries of `order` (mutex)
    unsigned nextOther = kKnownPools;  // next index for a tag that is not known (mutex)
    ThreadCache* caches = nullptr;   // list of live thread caches, guarded by mutex
    ThreadCache* orphans = nullptr;  // caches of ended threads waiting for adoption (mutex)
    unsigned orphanCount = 0;

    static PoolRegistry& get() {
        static PoolRegistry* registry = new PoolRegistry();  // never destroyed: outlives every static
        return *registry;
    }

    // Makes the pool `tag` at `index`; the mutex is held. The pool pointer is published last
    // (release), for readers that look without the lock.
    MemPool& makeLocked(unsigned index, const char* tag) {
        PoolShared* s = new PoolShared();
        std::strncpy(s->tag, tag, sizeof(s->tag) - 1);
        shared[index] = s;
        MemPool* pool = new MemPool(s->tag, index);
        order[made++] = index;
        if (index >= count.load(std::memory_order_relaxed)) count.store(index + 1, std::memory_order_release);
        __atomic_store_n(&pools[index], pool, __ATOMIC_RELEASE);
        return *pool;
    }

    // The pool of the known tag of index `index`.
    MemPool& known(unsigned index) {
        if (MemPool* pool = __atomic_load_n(&pools[index], __ATOMIC_ACQUIRE)) return *pool;
        std::lock_guard<std::mutex> lock(mutex);
        return pools[index] != nullptr ? *pools[index] : makeLocked(index, kKnownTags[index]);
    }

    // The pool of index `index`: a known one (made on first use), or one made by find.
    PoolShared& sharedAt(unsigned index) {
        if (index < kKnownPools) known(index);
        return *__atomic_load_n(&shared[index], __ATOMIC_ACQUIRE);
    }

    MemPool& find(const char* tag) {
        const unsigned index = knownIndex(tag);
        if (index != kNotKnown) return known(index);
        unsigned n = count.load(std::memory_order_acquire);
        for (unsigned i = kKnownPools; i < n; ++i) {
            MemPool* pool = __atomic_load_n(&pools[i], __ATOMIC_ACQUIRE);
            if (pool != nullptr && std::strcmp(pool->tag(), tag) == 0) return *pool;
        }
        std::lock_guard<std::mutex> lock(mutex);
        for (unsigned i = kKnownPools; i < nextOther; ++i)
            if (std::strcmp(pools[i]->tag(), tag) == 0) return *pools[i];
        if (nextOther == kMaxPools) std::abort();  // a fixed, small set of tags is a design invariant
        return makeLocked(nextOther++, tag);
    }
};

// A thread's cache. When its thread ends, the cache keeps its blocks and waits, as an
// orphan, for the next thread that starts allocating, which adopts it whole. Handing the
// blocks back one by one to the shared lists instead would deal them out afterwards in
// batches that interleave two threads' blocks within cache lines, and the threads would
// then slow each other down writing to lines they share without sharing any object.
// At most kMaxOrphans wait; the caches of further ending threads return their blocks to
// the shared lists.
struct ThreadCache : ThreadCacheData {
    using Bin = CacheBin;
    static const unsigned kMaxOrphans = 8;
    ThreadCache* next = nullptr;
    ThreadCache* prev = nullptr;

    // A cache for the calling thread: an orphan when one waits, else a new one.
    static ThreadCache* sAcquire() {
        PoolRegistry& r = PoolRegistry::get();
        std::lock_guard<std::mutex> lock(r.mutex);
        ThreadCache* c = r.orphans;
        if (c != nullptr) {
            r.orphans = c->next;
            --r.orphanCount;
        } else {
            c = new ThreadCache();
        }
        c->prev = nullptr;
        c->next = r.caches;
        if (c->next) c->next->prev = c;
        r.caches = c;
        return c;
    }

    // Called when the owning thread ends: folds the counters into the pools, then keeps the
    // blocks as an orphan or hands them back to the shared lists.
    static void sRetire(ThreadCache* c) {
        PoolRegistry& r = PoolRegistry::get();
        std::lock_guard<std::mutex> lock(r.mutex);
        unsigned n = r.count.load(std::memory_order_relaxed);
        const bool orphan = r.orphanCount < kMaxOrphans;
        for (unsigned p = 0; p < n; ++p) {
            if (r.shared[p] == nullptr) continue;  // a known pool not made yet
            PoolShared& s = *r.shared[p];
            CacheCounters& t = c->counters[p];
            s.retiredFrees.fetch_add(t.frees.exchange(0, std::memory_order_relaxed));
            s.retiredBytes.fetch_add(t.bytes.exchange(0, std::memory_order_relaxed));
            s.retiredAllocations.fetch_add(t.allocations.exchange(0, std::memory_order_relaxed));
            if (orphan) continue;
            std::lock_guard<std::mutex> poolLock(s.mutex);
            for (unsigned k = 0; k < kClasses; ++k) {
                CacheBin& bin = c->bins[p][k];
                while (FreeBlock* b = bin.head) {
                    bin.head = b->next;
                    b->next = s.lists[k];
                    s.lists[k] = b;
                    ++s.counts[k];
                }
                bin.count = 0;
            }
        }
        if (c->prev) c->prev->next = c->next;
        else r.caches = c->next;
        if (c->next) c->next->prev = c->prev;
        if (orphan) {
            c->next = r.orphans;
            r.orphans = c;
            ++r.orphanCount;
        } else {
            delete c;
        }
    }
};

namespace {

// The calling thread's cache: null before first use, kDeadCache once the thread's
// thread-local storage is being torn down (frees after that go to the shared lists).
ThreadCache* const kDeadCache = reinterpret_cast<ThreadCache*>(1);

// Owns the cache; its destructor runs when the thread ends.
struct CacheOwner {
    ~CacheOwner() {
        ThreadCache* c = static_cast<ThreadCache*>(tPoolCache);
        tPoolCache = kDeadCache;
        if (c != nullptr && c != kDeadCache) ThreadCache::sRetire(c);
    }
};
thread_local CacheOwner tOwner;

// The calling thread's cache, created on first use; null when the thread is ending.
[[maybe_unused]] ThreadCache* threadCacheSlow() {
    if (tPoolCache == kDeadCache) return nullptr;
    (void)&tOwner;  // touching it registers its destructor for this thread
    ThreadCache* c = ThreadCache::sAcquire();
    tPoolCache = c;
    return c;
}

[[maybe_unused]] inline ThreadCache* liveCache() {
    ThreadCache* c = static_cast<ThreadCache*>(tPoolCache);
    return c > kDeadCache ? c : nullptr;
}

// Refills `bin` from the shared list, carving a new slab when the shared list is empty.
[[maybe_unused]] void refillFromShared(PoolShared& s, unsigned cls, ThreadCache::Bin& bin) {
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
        b->next = bin.head;
        bin.head = b;
        ++bin.count;
    }
}

[[maybe_unused]] void flushToShared(PoolShared& s, unsigned cls, ThreadCache::Bin& bin) {
    std::lock_guard<std::mutex> lock(s.mutex);
    for (unsigned i = 0; i < kBatch && bin.head; ++i) {
        FreeBlock* b = bin.head;
        bin.head = b->next;
        --bin.count;
        b->next = s.lists[cls];
        s.lists[cls] = b;
        ++s.counts[cls];
    }
}

[[maybe_unused]] void pushShared(PoolShared& s, unsigned cls, void* block) {
    std::lock_guard<std::mutex> lock(s.mutex);
    FreeBlock* b = static_cast<FreeBlock*>(block);
    b->next = s.lists[cls];
    s.lists[cls] = b;
    ++s.counts[cls];
}

[[maybe_unused]] void* popShared(PoolShared& s, unsigned cls) {
    ThreadCache::Bin bin;
    refillFromShared(s, cls, bin);
    FreeBlock* b = bin.head;
    bin.head = b->next;
    std::lock_guard<std::mutex> lock(s.mutex);
    while (FreeBlock* x = bin.head) {
        bin.head = x->next;
        x->next = s.lists[cls];
        s.lists[cls] = x;
        ++s.counts[cls];
    }
    return b;
}

inline void countIn(ThreadCache* c, PoolShared& s, unsigned pool, long long objects, long long bytes) {
    if (c != nullptr) {
        CacheCounters& t = c->counters[pool];
        ownerAdd(t.bytes, bytes);
        if (objects > 0)
            ownerAdd(t.allocations, 1ull);
        else
            ownerAdd(t.frees, 1ull);
    } else {
        s.retiredBytes.fetch_add(bytes, std::memory_order_relaxed);
        if (objects > 0)
            s.retiredAllocations.fetch_add(1, std::memory_order_relaxed);
        else
            s.retiredFrees.fetch_add(1, std::memory_order_relaxed);
    }
}

}  // namespace

MemPool::MemPool(const char* tag, unsigned index) : m_Tag(tag), m_Index(index) {}

MemPool& MemPool::sGet(const char* tag) { return PoolRegistry::get().find(tag ? tag : "(none)"); }

MemPool& MemPool::sKnown(unsigned index) { return PoolRegistry::get().known(index); }

#ifdef KTSIP_POOL_PASSTHROUGH

// Every block comes from malloc so that AddressSanitizer sees each object; counters are kept.
// No thread cache is ever made, so the inline fast paths always land here.
void* MemPool::sTakeSlow(unsigned index, unsigned, std::size_t size, std::size_t bytes) {
    PoolShared& s = PoolRegistry::get().sharedAt(index);
    void* block = std::malloc(bytes == 0 ? 1 : bytes);
    if (!block) throw std::bad_alloc();
    s.systemAllocations.fetch_add(1, std::memory_order_relaxed);
    countIn(nullptr, s, index, 1, static_cast<long long>(size));
    return block;
}

void MemPool::sGiveSlow(unsigned index, unsigned, void* block, std::size_t size) noexcept {
    countIn(nullptr, PoolRegistry::get().sharedAt(index), index, -1, -static_cast<long long>(size));
    std::free(block);
}

#else

// Slow path of the take: a thread cache to create, an empty bin to refill, a block too large
// for the classes, or a thread that is ending.
void* MemPool::sTakeSlow(unsigned index, unsigned cls, std::size_t size, std::size_t bytes) {
    PoolShared& s = PoolRegistry::get().sharedAt(index);
    void* block;
    ThreadCache* c = liveCache();
    if (c == nullptr && tPoolCache == nullptr) c = threadCacheSlow();
    if (cls == kDirect) {
        block = std::malloc(bytes);
        if (!block) throw std::bad_alloc();
        s.systemAllocations.fetch_add(1, std::memory_order_relaxed);
    } else if (c == nullptr) {
        block = popShared(s, cls);
    } else {
        ThreadCache::Bin& bin = c->bins[index][cls];
        if (bin.head == nullptr) refillFromShared(s, cls, bin);
        FreeBlock* b = bin.head;
        bin.head = b->next;
        --bin.count;
        block = b;
    }
    countIn(c, s, index, 1, static_cast<long long>(size));
    return block;
}

void MemPool::sGiveSlow(unsigned index, unsigned cls, void* block, std::size_t size) noexcept {
    PoolShared& s = PoolRegistry::get().sharedAt(index);
    ThreadCache* c = liveCache();
    countIn(c, s, index, -1, -static_cast<long long>(size));
    if (cls == kDirect) {
        std::free(block);
    } else if (c == nullptr) {
        pushShared(s, cls, block);
    } else {
        ThreadCache::Bin& bin = c->bins[index][cls];
        FreeBlock* b = static_cast<FreeBlock*>(block);
        b->next = bin.head;
        bin.head = b;
        if (++bin.count > kCacheLimit) flushToShared(s, cls, bin);
    }
}

#endif

std::vector<PoolStats> MemPool::sStats() {
    PoolRegistry& r = PoolRegistry::get();
    std::lock_guard<std::mutex> lock(r.mutex);
    const unsigned n = r.made;
    std::vector<PoolStats> out(n);
    std::vector<unsigned long long> frees(n);
    for (unsigned i = 0; i < n; ++i) {
        PoolShared& s = *r.shared[r.order[i]];
        out[i].tag = s.tag;
        // Live objects are allocations minus frees. Read while other threads work, the counts
        // are approximate (each counter is read at its own moment); once they are quiet, exact.
        frees[i] = s.retiredFrees.load();
        out[i].liveBytes = s.retiredBytes.load();
        out[i].allocations = s.retiredAllocations.load();
        out[i].systemAllocations = s.systemAllocations.load();
    }
    for (ThreadCache* c = r.caches; c; c = c->next) {
        for (unsigned i = 0; i < n; ++i) {
            const CacheCounters& t = c->counters[r.order[i]];
            frees[i] += t.frees.load(std::memory_order_relaxed);
            out[i].liveBytes += t.bytes.load(std::memory_order_relaxed);
            out[i].allocations += t.allocations.load(std::memory_order_relaxed);
        }
    }
    for (unsigned i = 0; i < n; ++i) out[i].liveObjects = static_cast<long long>(out[i].allocations - frees[i]);
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
