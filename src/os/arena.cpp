#include "os/arena.h"

#include <string.h>

#include <algorithm>

#include "os/memory.h"

namespace {

constexpr uint64_t arena_header_size = sizeof(uint64_t);

void arena_enter(StringArena *arena, ArenaBlock *block) {
    block->used = 0;
    arena->capacity = block->capacity;
    arena->used = 0;
    arena->base = block->base;
}

// Appends a row to the block table; null when the table cannot grow.
ArenaBlock *arena_push_row(StringArena *arena, const ArenaBlock &row) {
    uint64_t size = (arena->block_count + 1) * sizeof(ArenaBlock);
    ArenaBlock *rows = nullptr;
    if (arena->blocks == &arena->first_block) {
        rows = static_cast<ArenaBlock *>(os_alloc(size));
        if (rows) {
            rows[0] = arena->first_block;
        }
    } else {
        rows = static_cast<ArenaBlock *>(os_realloc(arena->blocks, size));
    }
    if (!rows) {
        return nullptr;
    }
    arena->blocks = rows;
    rows[arena->block_count] = row;
    return &rows[arena->block_count++];
}

// Makes a block with room for need bytes current; base is null when out of memory.
void arena_next_block(StringArena *arena, uint64_t need) {
    uint64_t want = std::max(need, arena->default_block_size);
    // The search begins with the current block itself, which is then emptied, and never looks at the last
    // row. A new block does not move the index. All of this is intentional, though it may overwrite strings
    // of this search.
    while (arena->index + 1 < arena->block_count) {
        ArenaBlock *block = &arena->blocks[arena->index];
        if (block->capacity >= want) {
            arena_enter(arena, block);
            return;
        }
        arena->index++;
    }
    char *base = static_cast<char *>(os_alloc(want));
    ArenaBlock *row = base ? arena_push_row(arena, {want, 0, base}) : nullptr;
    if (row) {
        arena_enter(arena, row);
    } else {
        os_free(base);
        arena->capacity = want;
        arena->base = nullptr;
    }
}

} // namespace

void arena_init(StringArena *arena, uint64_t default_block_size) {
    *arena = {};
    arena->default_block_size = default_block_size;
    arena->first_block = {default_block_size, 0, static_cast<char *>(os_alloc(default_block_size))};
    arena->blocks = &arena->first_block;
    arena->block_count = 1;
    arena_rewind(arena);
}

void arena_rewind(StringArena *arena) {
    arena_enter(arena, &arena->blocks[0]);
    arena->index = 0;
}

void *arena_alloc(StringArena *arena, uint64_t size) {
    uint64_t need = size + arena_header_size < size ? UINT64_MAX : size + arena_header_size;
    if (arena->base && arena->capacity - arena->used < need) {
        arena_next_block(arena, need);
    }
    if (!arena->base) {
        return nullptr;
    }
    char *header = arena->base + arena->used;
    memcpy(header, &need, arena_header_size); // strings are packed, so the word is rarely aligned
    arena->used += need;
    return header + arena_header_size;
}

Str arena_push_string(StringArena *arena, Str text) {
    return str_copy_to(static_cast<char *>(arena_alloc(arena, text.count + 1)), text);
}
