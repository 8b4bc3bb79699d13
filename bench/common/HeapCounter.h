// Counting of heap calls. HeapCounter.cpp replaces malloc, calloc, realloc, free and the
// aligned allocation functions of the C library for the whole process (every shared library
// included, and operator new, which calls malloc); each call bumps a per-thread counter and
// goes on to the C library's own allocator. Link HeapCounter.cpp into the executable.
#ifndef KTSIP_BENCH_HEAP_COUNTER_H
#define KTSIP_BENCH_HEAP_COUNTER_H

namespace ktbench {

/// Heap calls made by the calling thread since it started.
struct HeapCounts {
    unsigned long long allocs = 0;  ///< malloc, calloc, realloc and aligned allocations
    unsigned long long frees = 0;   ///< free of a non-null pointer (and realloc to size 0)
};

/// The calling thread's counters.
HeapCounts heapCounts() noexcept;

/// True when the replacement is the allocator in use (a malloc call moved the counter).
bool heapCounterActive() noexcept;

}  // namespace ktbench

#endif
