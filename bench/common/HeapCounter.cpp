#include "HeapCounter.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's allocator under its exported internal names (glibc).
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* p, std::size_t size);
void __libc_free(void* p);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void* __libc_valloc(std::size_t size);
void* __libc_pvalloc(std::size_t size);
}

namespace {
// Initial-exec TLS of the executable: no allocation and no lock on first use.
thread_local unsigned long long tAllocs = 0;
thread_local unsigned long long tFrees = 0;
}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    ++tAllocs;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    ++tAllocs;
    return __libc_calloc(count, size);
}

void* realloc(void* p, std::size_t size) {
    if (p != nullptr && size == 0)
        ++tFrees;
    else
        ++tAllocs;
    return __libc_realloc(p, size);
}

void free(void* p) {
    if (p != nullptr) ++tFrees;
    __libc_free(p);
}

void* memalign(std::size_t alignment, std::size_t size) {
    ++tAllocs;
    return __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    ++tAllocs;
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
    if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
    ++tAllocs;
    void* p = __libc_memalign(alignment, size);
    if (p == nullptr) return ENOMEM;
    *out = p;
    return 0;
}

void* valloc(std::size_t size) {
    ++tAllocs;
    return __libc_valloc(size);
}

void* pvalloc(std::size_t size) {
    ++tAllocs;
    return __libc_pvalloc(size);
}

}  // extern "C"

namespace ktbench {

HeapCounts heapCounts() noexcept {
    HeapCounts c;
    c.allocs = tAllocs;
    c.frees = tFrees;
    return c;
}

bool heapCounterActive() noexcept {
    const unsigned long long before = tAllocs;
    void* volatile p = std::malloc(16);
    const bool moved = tAllocs != before;
    std::free(p);
    return moved;
}

}  // namespace ktbench
