// The process heap.
//
// Every allocation of the program goes through these calls. Sizes must fit the system's 32-bit heap calls: a
// request of 4 GiB or more fails and is never truncated.
#pragma once

#include <stdint.h>

// ---- Heap (each system) ----

// Returns size bytes with undefined contents, or null when out of memory. Free with os_free.
void *os_alloc(uint64_t size);

// The same, every byte zero.
void *os_alloc_zero(uint64_t size);

// Resizes a block and returns its address, which may be a new one. Returns null when out of memory, with the
// old block unchanged, and for a null ptr.
void *os_realloc(void *ptr, uint64_t size);

// Frees a block; null is allowed.
void os_free(void *ptr);

// The usable bytes of a block: at least the size it was allocated with.
uint64_t os_alloc_size(void *ptr);

// ---- Allocation failures (one version for all systems) ----

// Set by tests, null in the program. Called before each os_alloc, os_alloc_zero and os_realloc, and for each
// block given to the clipboard; returning false makes that call fail.
typedef bool HeapHook(uint64_t size);
extern HeapHook *os_heap_hook;

// Whether an allocation of that size may be tried: it fits 32 bits and the hook allows it.
bool os_heap_allows(uint64_t size);
