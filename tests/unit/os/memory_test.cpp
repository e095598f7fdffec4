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
