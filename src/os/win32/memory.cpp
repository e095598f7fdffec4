#include "os/memory.h"

#include <windows.h>

// ---- Heap ----

void *os_alloc(uint64_t size) {
    return os_heap_allows(size) ? HeapAlloc(GetProcessHeap(), 0, size) : nullptr;
}

void *os_alloc_zero(uint64_t size) {
    return os_heap_allows(size) ? HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size) : nullptr;
}

void *os_realloc(void *ptr, uint64_t size) {
    return ptr && os_heap_allows(size) ? HeapReAlloc(GetProcessHeap(), 0, ptr, size) : nullptr;
}

void os_free(void *ptr) {
    HeapFree(GetProcessHeap(), 0, ptr);
}

uint64_t os_alloc_size(void *ptr) {
    return HeapSize(GetProcessHeap(), 0, ptr);
}
