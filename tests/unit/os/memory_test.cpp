#include "os/memory.h"

#include <gtest/gtest.h>

#include <string.h>

#include <vector>

#include "support/heap_hook.h"

TEST(Heap, ABlockHasAtLeastTheRequestedSize) {
    char *block = static_cast<char *>(os_alloc(100));
    ASSERT_NE(block, nullptr);
    EXPECT_GE(os_alloc_size(block), 100u);
    memset(block, 7, 100);
    block = static_cast<char *>(os_realloc(block, 100000));
    ASSERT_NE(block, nullptr);
    EXPECT_GE(os_alloc_size(block), 100000u);
    for (int i = 0; i < 100; i++) {
        ASSERT_EQ(block[i], 7);
    }
    os_free(block);
}

TEST(Heap, ZeroedBlocksAreZero) {
    for (int round = 0; round < 3; round++) {
        char *block = static_cast<char *>(os_alloc_zero(5000));
        ASSERT_NE(block, nullptr);
        for (int i = 0; i < 5000; i++) {
            ASSERT_EQ(block[i], 0);
        }
        memset(block, 0xFF, 5000);
        os_free(block);
    }
}

TEST(Heap, FourGigabytesFailAndAreNotTruncated) {
    EXPECT_EQ(os_alloc(uint64_t{1} << 32), nullptr);
    EXPECT_EQ(os_alloc((uint64_t{1} << 32) + 16), nullptr);
    EXPECT_EQ(os_alloc_zero(UINT64_MAX), nullptr);
    void *block = os_alloc(16);
    EXPECT_EQ(os_realloc(block, (uint64_t{1} << 32) + 16), nullptr);
    EXPECT_GE(os_alloc_size(block), 16u); // still there
    os_free(block);
}

TEST(Heap, ReallocOfNothingFails) {
    EXPECT_EQ(os_realloc(nullptr, 16), nullptr);
}

TEST(Heap, FreeOfNothingIsAllowed) {
    os_free(nullptr);
}

TEST(Heap, ShrinkingToNothingKeepsABlock) {
    void *block = os_realloc(os_alloc(64), 0);
    EXPECT_NE(block, nullptr);
    os_free(block);
}

TEST(Heap, TheHookSeesEverySizeAndCanMakeItFail) {
    std::vector<uint64_t> sizes;
    void *kept = os_alloc(8);
    {
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return size != 24;
        });
        os_free(os_alloc(23));
        EXPECT_EQ(os_alloc(24), nullptr);
        EXPECT_EQ(os_alloc_zero(24), nullptr);
        EXPECT_EQ(os_realloc(kept, 24), nullptr);
        EXPECT_EQ(os_alloc(uint64_t{1} << 32), nullptr); // the hook is not called
    }
    EXPECT_EQ(sizes, (std::vector<uint64_t>{23, 24, 24, 24}));
    os_free(os_alloc(24));
    os_free(kept);
}

// The blocks below are watched through their contents: under the address sanitizer a read of a freed one
// fails.

TEST(Retired, WithoutAReaderABlockIsFreedAtOnce) {
    volatile uint32_t pass = 0;
    RetiredBlocks list = {nullptr, &pass};
    EXPECT_FALSE(retired_has_reader(&list));
    retire_block(&list, os_alloc(64));
    EXPECT_EQ(list.first, nullptr);
}

TEST(Retired, ABlockStaysUntilTheReaderHasPassedTwice) {
    volatile uint32_t pass = 7;
    RetiredBlocks list = {nullptr, &pass};
    EXPECT_TRUE(retired_has_reader(&list));
    char *block = static_cast<char *>(os_alloc(64));
    block[0] = 'x';
    retire_block(&list, block);
    release_retired(&list);
    pass = 8;
    release_retired(&list);
    ASSERT_NE(list.first, nullptr);
    EXPECT_EQ(static_cast<char *>(list.first->block)[0], 'x');
    pass = 9;
    release_retired(&list);
    EXPECT_EQ(list.first, nullptr);
}

TEST(Retired, EachBlockWaitsForItsOwnPasses) {
    volatile uint32_t pass = UINT32_MAX; // the counter wraps in between
    RetiredBlocks list = {nullptr, &pass};
    char *early = static_cast<char *>(os_alloc(64));
    char *late = static_cast<char *>(os_alloc(64));
    late[0] = 'l';
    retire_block(&list, early);
    pass = 1; // 0 would mean that nobody reads
    retire_block(&list, late);
    ASSERT_NE(list.first, nullptr);
    EXPECT_EQ(list.first->block, late);
    EXPECT_EQ(list.first->next, nullptr);
    EXPECT_EQ(late[0], 'l');
    pass = 3;
    release_retired(&list);
    EXPECT_EQ(list.first, nullptr);
}

TEST(Retired, WithoutMemoryForItsRecordABlockIsNeverFreed) {
    volatile uint32_t pass = 1;
    RetiredBlocks list = {nullptr, &pass};
    char *block = static_cast<char *>(os_alloc(64));
    block[0] = 'x';
    {
        HeapHookScope hook([](uint64_t) { return false; });
        retire_block(&list, block);
    }
    pass = 100;
    release_retired(&list);
    EXPECT_EQ(block[0], 'x');
    os_free(block);
}
