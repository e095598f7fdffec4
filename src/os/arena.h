// Storage for the strings of a search.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/strings.h"

struct ArenaBlock {
    uint64_t capacity; // bytes
    uint64_t used;     // bytes; 0 once the block has become current, not kept up to date
    char *base;
};

// A chain of large blocks that strings are allocated from and that are rewound together. Strings are never
// freed one by one. Once out of memory, every allocation fails until the next rewind.
struct StringArena {
    uint64_t capacity;  // bytes of the current block
    uint64_t used;      // bytes used in the current block
    char *base;         // the current block; null once out of memory
    ArenaBlock *blocks; // block_count rows
    uint64_t index;     // where the last search for a block stopped; not always the current block's row
    uint64_t block_count;
    uint64_t default_block_size; // bytes
    ArenaBlock first_block;      // the block table while it has one row
};

// Allocates the first block. When out of memory every later allocation fails, too.
void arena_init(StringArena *arena, uint64_t default_block_size);

// Makes block 0 current and empty. The other blocks stay allocated.
void arena_rewind(StringArena *arena);

// Returns size bytes, or null when out of memory. The 64-bit word before them holds size + 8.
void *arena_alloc(StringArena *arena, uint64_t size);

// Copies text into the arena, with a zero byte after it. Returns the copy, or the empty Str when out of
// memory.
Str arena_push_string(StringArena *arena, Str text);

static_assert(sizeof(ArenaBlock) == 24 && offsetof(ArenaBlock, used) == 8 &&
              offsetof(ArenaBlock, base) == 16);
static_assert(offsetof(StringArena, used) == 8 && offsetof(StringArena, base) == 16 &&
              offsetof(StringArena, blocks) == 24 && offsetof(StringArena, index) == 32 &&
              offsetof(StringArena, block_count) == 40 && offsetof(StringArena, default_block_size) == 48);
