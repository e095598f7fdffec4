// The process heap, and blocks that are given back late.
//
// Every allocation of the program goes through the calls below. Sizes are what the system's 32-bit heap
// calls can take: a request of 4 GiB or more is refused, never cut.
#pragma once

#include <stdint.h>

// ---- Heap (each system) ----

// Returns a block of size bytes with undefined contents, or null when the system refuses it. Free with
// os_free.
void *os_alloc(uint64_t size);

// The same, every byte zero.
void *os_alloc_zero(uint64_t size);

// Resizes a block, moving it when it must; returns the block's new place, or null on failure. On failure, and
// for a null ptr, the old block stays as it is.
void *os_realloc(void *ptr, uint64_t size);

// Gives a block back; null is allowed.
void os_free(void *ptr);

// Bytes usable in a block: at least the size it was asked for with.
uint64_t os_alloc_size(void *ptr);

// ---- Refusals (one version for all systems) ----

// Tests set it: asked before each os_alloc, os_alloc_zero and os_realloc, and for each block handed to the
// clipboard, a zero answer makes that call fail. Null in the program.
typedef bool HeapHook(uint64_t size);
extern HeapHook *os_heap_hook;

// Whether the heap may be asked for size bytes at all: it fits 32 bits, and the hook does not refuse it.
bool os_heap_allows(uint64_t size);

// ---- Blocks another thread may still be reading (one version for all systems) ----

// A thread that replaces a block which the other thread reads without a lock retires the old one instead of
// freeing it. The reader counts its passes: its counter goes up at a point where it holds no pointer into
// shared blocks (the top of a frame, of a turn of the poll loop). A block goes back to the heap once two such
// points have been passed since it was retired: by then a whole pass has run that can only have seen the new
// block.

struct RetiredBlock {
    RetiredBlock *next;
    void *block;
    uint32_t reader_pass; // the reader's counter when the block was retired
};

struct RetiredBlocks {
    RetiredBlock *first;
    const volatile uint32_t *reader_pass; // the reader's counter; 0 while no thread reads the blocks
};

// Whether another thread reads the blocks at all.
bool retired_has_reader(const RetiredBlocks *list);

// Takes ownership of block: frees it now when nobody reads, later otherwise. The new block must be published
// first. When memory for the note is refused the block is never freed.
void retire_block(RetiredBlocks *list, void *block);

// Frees what nobody can be reading any more.
void release_retired(RetiredBlocks *list);
