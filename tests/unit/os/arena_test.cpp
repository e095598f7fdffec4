#include "os/arena.h"

#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <utility>

#include "os/memory.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

namespace {

constexpr uint64_t block_size = 1000;

struct Arena : StringArena {
    explicit Arena(uint64_t size = block_size) : StringArena() {
        arena_init(this, size);
    }
    ~Arena() {
        for (uint64_t i = 0; i < block_count; i++) {
            os_free(blocks[i].base);
        }
        if (blocks != &first_block) {
            os_free(blocks);
        }
    }
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;

    // The row whose base is current.
    int64_t current_row() const {
        for (uint64_t i = 0; i < block_count; i++) {
            if (blocks[i].base == base) {
                return static_cast<int64_t>(i);
            }
        }
        return -1;
    }
};

uint64_t header_of(const void *allocation) {
    uint64_t header;
    memcpy(&header, static_cast<const char *>(allocation) - 8, 8);
    return header;
}

} // namespace

TEST(Arena, StartsWithOneBlockAndAOneRowTable) {
    Arena arena;
    EXPECT_EQ(arena.capacity, block_size);
    EXPECT_EQ(arena.used, 0u);
    EXPECT_EQ(arena.index, 0u);
    EXPECT_EQ(arena.block_count, 1u);
    EXPECT_EQ(arena.default_block_size, block_size);
    EXPECT_EQ(arena.blocks[0].base, arena.base);
}

TEST(Arena, AnAllocationFollowsItsSizeWord) {
    Arena arena;
    char *first = static_cast<char *>(arena_alloc(&arena, 10));
    char *second = static_cast<char *>(arena_alloc(&arena, 0));
    EXPECT_EQ(first, arena.base + 8);
    EXPECT_EQ(header_of(first), 18u);
    EXPECT_EQ(second, arena.base + 18 + 8); // packed, not aligned
    EXPECT_EQ(header_of(second), 8u);
    EXPECT_EQ(arena.used, 26u);
}

TEST(Arena, AStringIsCopiedWithAZeroByteAfterIt) {
    Arena arena;
    memset(arena.base, '!', block_size);
    Str copy = arena_push_string(&arena, str_from("abc"));
    EXPECT_EQ(copy.count, 3u);
    EXPECT_EQ(copy.data, arena.base + 8);
    EXPECT_STREQ(copy.data, "abc");
    EXPECT_EQ(header_of(copy.data), 12u);
    EXPECT_EQ(arena.used, 12u);
    Str empty = arena_push_string(&arena, {});
    EXPECT_EQ(empty.count, 0u);
    ASSERT_NE(empty.data, nullptr);
    EXPECT_EQ(empty.data[0], 0);
    EXPECT_EQ(arena.used, 21u);
}

TEST(Arena, ABlockIsFilledToItsLastByte) {
    Arena arena;
    ASSERT_NE(arena_alloc(&arena, block_size - 8), nullptr);
    EXPECT_EQ(arena.used, block_size);
    EXPECT_EQ(arena.block_count, 1u);
    ASSERT_NE(arena_alloc(&arena, 0), nullptr);
    EXPECT_EQ(arena.block_count, 2u);
}

TEST(Arena, WhatDoesNotFitGetsASecondBlockOfAtLeastTheDefaultSize) {
    Arena arena;
    arena_alloc(&arena, 900);
    Str text = arena_push_string(&arena, str_over(std::string(300, 'x')));
    EXPECT_EQ(arena.block_count, 2u);
    EXPECT_EQ(arena.capacity, block_size);
    EXPECT_EQ(arena.base, arena.blocks[1].base);
    EXPECT_EQ(text.data, arena.base + 8);
    EXPECT_EQ(arena.used, 309u);
}

TEST(Arena, AnOversizeAllocationGetsABlockOfExactlyItsSizePlus8) {
    Arena arena;
    ASSERT_NE(arena_alloc(&arena, block_size), nullptr);
    EXPECT_EQ(arena.blocks[1].capacity, block_size + 8);
    EXPECT_EQ(arena.capacity, block_size + 8);
    EXPECT_EQ(arena.used, block_size + 8);
}

TEST(Arena, ANewBlockLeavesTheIndexWhereTheSearchStopped) {
    Arena arena;
    arena_alloc(&arena, 900);
    arena_alloc(&arena, 900); // block 1; the index stays
    EXPECT_EQ(arena.index, 0u);
    EXPECT_EQ(arena.current_row(), 1);
}

TEST(Arena, WhatNeedsAThirdBlockIntentionallyRestartsInBlockZero) {
    Arena arena;
    char *first = static_cast<char *>(arena_alloc(&arena, 900));
    arena_alloc(&arena, 900);
    char *third = static_cast<char *>(arena_alloc(&arena, 900));
    EXPECT_EQ(third, first); // the search began at index 0 and found block 0, which is overwritten
    EXPECT_EQ(arena.block_count, 2u);
    EXPECT_EQ(arena.current_row(), 0);
    char *fourth = static_cast<char *>(arena_alloc(&arena, 900));
    EXPECT_EQ(fourth, first); // and again: the search begins with the current block itself
    EXPECT_EQ(arena.block_count, 2u);
}

TEST(Arena, AfterARewindBlockZeroIsReusedNotBlockOne) {
    Arena arena;
    char *first = static_cast<char *>(arena_alloc(&arena, 900));
    arena_alloc(&arena, 900);
    arena.blocks[0].used = 908;
    arena_rewind(&arena);
    EXPECT_EQ(arena.blocks[0].used, 0u);
    EXPECT_EQ(arena.used, 0u);
    EXPECT_EQ(arena.index, 0u);
    EXPECT_EQ(arena.base, arena.blocks[0].base);
    EXPECT_EQ(arena_alloc(&arena, 900), first);
    // Block 0 is full: it is emptied and written again from its start.
    EXPECT_EQ(arena_alloc(&arena, 900), first);
    EXPECT_EQ(arena.used, 908u);
    EXPECT_EQ(arena.block_count, 2u);
}

TEST(Arena, TheLastRowIsNeverFoundEvenWhenOversized) {
    Arena arena;
    ASSERT_NE(arena_alloc(&arena, 3000), nullptr); // block 1: 3008 bytes, index 0
    ASSERT_NE(arena_alloc(&arena, 3000), nullptr); // block 0 is too small, block 1 the last row: block 2
    EXPECT_EQ(arena.block_count, 3u);
    EXPECT_EQ(arena.index, 1u);                    // where the search stopped
    ASSERT_NE(arena_alloc(&arena, 3000), nullptr); // begins at 1: block 1 fits
    EXPECT_EQ(arena.block_count, 3u);
    EXPECT_EQ(arena.current_row(), 1);
    ASSERT_NE(arena_alloc(&arena, 5000), nullptr);
    EXPECT_EQ(arena.block_count, 4u);
    EXPECT_EQ(arena.index, 2u);
    EXPECT_EQ(arena.current_row(), 3);
}

TEST(Arena, OnceOutOfMemoryEveryAllocationFailsUntilTheRewind) {
    Arena arena;
    char *first = static_cast<char *>(arena_alloc(&arena, 900));
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(arena_alloc(&arena, 2000), nullptr);
    }
    EXPECT_EQ(arena.capacity, 2008u);
    EXPECT_EQ(arena.base, nullptr);
    EXPECT_EQ(arena_alloc(&arena, 1), nullptr); // though the heap would succeed now
    Str text = arena_push_string(&arena, str_from("abc"));
    EXPECT_EQ(text.count, 0u);
    EXPECT_EQ(text.data, nullptr);
    EXPECT_EQ(arena.block_count, 1u);
    arena_rewind(&arena);
    EXPECT_EQ(arena.capacity, block_size);
    EXPECT_EQ(arena_alloc(&arena, 900), first);
}

TEST(Arena, OutOfMemoryForTheBlockTableIsOutOfMemoryForTheBlock) {
    Arena arena;
    arena_alloc(&arena, 900);
    {
        HeapHookScope hook([](uint64_t size) { return size != 2 * sizeof(ArenaBlock); });
        EXPECT_EQ(arena_alloc(&arena, 900), nullptr);
    }
    EXPECT_EQ(arena.base, nullptr);
    EXPECT_EQ(arena.block_count, 1u);
    arena_rewind(&arena);
    EXPECT_NE(arena_alloc(&arena, 900), nullptr);
}

TEST(Arena, WithoutAFirstBlockAllStringsAreEmptyForGood) {
    HeapHookScope hook([first = true](uint64_t) mutable { return !std::exchange(first, false); });
    Arena arena;
    EXPECT_EQ(arena_alloc(&arena, 1), nullptr);
    arena_rewind(&arena);
    EXPECT_EQ(arena_alloc(&arena, 1), nullptr);
    EXPECT_EQ(arena_push_string(&arena, str_from("abc")).data, nullptr);
    EXPECT_EQ(arena.block_count, 1u);
}

TEST(Arena, SizesThatWouldWrapFail) {
    Arena arena;
    EXPECT_EQ(arena_alloc(&arena, UINT64_MAX), nullptr);
    arena_rewind(&arena);
    EXPECT_EQ(arena_alloc(&arena, UINT64_MAX - 8), nullptr);
    arena_rewind(&arena);
    EXPECT_EQ(arena_alloc(&arena, uint64_t{1} << 32), nullptr);
    arena_rewind(&arena);
    EXPECT_NE(arena_alloc(&arena, 900), nullptr);
}
