#include "os/memory.h"

HeapHook *os_heap_hook;

bool os_heap_allows(uint64_t size) {
    return size <= UINT32_MAX && (!os_heap_hook || os_heap_hook(size));
}
