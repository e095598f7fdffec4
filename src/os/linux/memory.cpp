#include "os/memory.h"

#include <malloc.h>
#include <stdlib.h>
#include <sys/mman.h>

// ---- Heap ----

namespace {

constexpr int no_map_below = 32 << 20; // bytes; the C library's upper bound for this setting
constexpr int keep_on_top = 64 << 20;  // bytes of free memory not returned to the system

// A search allocates and frees one block for each file. By default the C library would map, fault in and
// unmap each larger one, which costs more than reading the file.
const int heap_is_tuned = [] {
    mallopt(M_MMAP_THRESHOLD, no_map_below);
    mallopt(M_TRIM_THRESHOLD, keep_on_top);
    mallopt(M_ARENA_MAX, 1); // so that this applies to the worker's allocations too
    return 1;
}();

// Requests huge pages for a block that the C library maps separately: one page fault for every 2 MB instead
// of every 4 KB. Has no effect if the system declines. Returns block.
void *with_large_pages(void *block, uint64_t size) {
    if (block && size >= no_map_below) {
        constexpr uintptr_t page = 4096;
        madvise(reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(block) & ~(page - 1)), size,
                MADV_HUGEPAGE);
    }
    return block;
}

} // namespace

void *os_alloc(uint64_t size) {
    return os_heap_allows(size) ? with_large_pages(malloc(size), size) : nullptr;
}

void *os_alloc_zero(uint64_t size) {
    return os_heap_allows(size) ? calloc(1, size) : nullptr;
}

void *os_realloc(void *ptr, uint64_t size) {
    if (!ptr || !os_heap_allows(size)) {
        return nullptr;
    }
    return with_large_pages(realloc(ptr, size ? size : 1), size); // a size of 0 would free the block
}

void os_free(void *ptr) {
    free(ptr);
}

uint64_t os_alloc_size(void *ptr) {
    return malloc_usable_size(ptr);
}
