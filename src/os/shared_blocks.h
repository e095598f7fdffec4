// Blocks of the heap that another thread may still be reading.
//
// Members that the interface and the worker share without a lock are volatile, so that the compiler keeps
// each load and store and their order. A reader takes the count first and the pointer second; a writer stores
// the pointer first and the count last.
//
// A thread that replaces a block which the other thread reads without a lock retires the old one instead of
// freeing it. The reader counts its passes: it increments its counter where it holds no pointer into shared
// blocks, at the top of a frame or of a turn of the poll loop. A retired block is freed once the counter has
// gone up twice: by then a whole pass has run that can only have seen the new block.
#pragma once

#include <stdint.h>

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

// ---- Replacing a block by one of another size ----

struct ReplacedBlock {
    char *new_block; // starts with the old contents; null when out of memory
    char *old_block; // for retire_replaced once new_block is published; null when already freed
};

// Allocates size bytes for the used bytes of block. readers: null for a block that no other thread reads.
ReplacedBlock replace_block(char *block, uint64_t used, uint64_t size, const RetiredBlocks *readers);

// Takes ownership of old_block: retires it to readers, or frees it when readers is null.
void retire_replaced(char *old_block, RetiredBlocks *readers);
