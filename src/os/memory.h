// The process heap, and deferred freeing of shared blocks.
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

// ---- Blocks another thread may still be reading (one version for all systems) ----

// A thread that replaces a block which the other thread reads without a lock retires the old one instead of
// freeing it. The reader counts its passes: it increments its counter where it holds no pointer into shared
// blocks, at the top of a frame or of a turn of the poll loop. A retired block is freed once the counter has
// gone up twice: by then a whole pass has run that can only have seen the new block.

struct RetiredBlock {
    RetiredBlock *next;
    void *block;
    uint32_t reader_pass; // the reader's counter when the block was retired
};

struct RetiredBlocks {
    RetiredBlock *first;
    const volatile uint32_t *reader_pass; // the reader's counter; 0 while no thread reads the blocks
};

// Whether another thread reads the blocks.
bool retired_has_reader(const RetiredBlocks *list);

// Takes ownership of block: frees it now if no thread reads, later otherwise. The new block must be
// published first. When out of memory for the RetiredBlock the block is never freed.
void retire_block(RetiredBlocks *list, void *block);

// Frees the blocks that no thread can still be reading.
void release_retired(RetiredBlocks *list);
