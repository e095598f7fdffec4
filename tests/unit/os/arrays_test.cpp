#include "os/arrays.h"

#include <gtest/gtest.h>

#include <string.h>

#include <random>
#include <string>
#include <vector>

#include "os/memory.h"
#include "support/heap_hook.h"
#include "support/never_returns.h"

namespace {

struct Row16 {
    uint64_t a, b;
};

} // namespace

TEST(DynArrayPush, CopiesTheElementAndReturnsItsSlot) {
    DynArray array;
    dynarray_init(&array, sizeof(Row16), 2);
    for (uint64_t i = 0; i < 100; i++) {
        Row16 row = {i, i * i};
        Row16 *slot = static_cast<Row16 *>(dynarray_push(&array, sizeof(Row16), &row));
        ASSERT_NE(slot, nullptr);
        EXPECT_EQ(slot->b, i * i);
        EXPECT_EQ(array.count, i + 1);
    }
    EXPECT_EQ(array.capacity, 128u);
    for (uint64_t i = 0; i < 100; i++) {
        ASSERT_EQ(reinterpret_cast<Row16 *>(array.data)[i].b, i * i);
    }
    os_free(array.data);
}

TEST(DynArrayPush, WithoutAnElementTheSlotKeepsItsBytes) {
    DynArray array;
    dynarray_init(&array, 4, 4);
    memcpy(array.data, "abcdefgh", 8);
    EXPECT_EQ(dynarray_push(&array, 4, nullptr), array.data);
    char *slot = static_cast<char *>(dynarray_push(&array, 4, nullptr));
    EXPECT_EQ(std::string(slot, 4), "efgh");
    EXPECT_EQ(array.count, 2u);
    os_free(array.data);
}

TEST(DynArrayGrowth, DoublesBelowOneMiBAndAddsElementsFromThere) {
    EXPECT_EQ(dynarray_next_capacity(16, 65535), 131070u);
    EXPECT_EQ(dynarray_next_capacity(16, 65536), 65536u + 1048576u); // 1 MiB exactly
    EXPECT_EQ(dynarray_next_capacity(40, 100000), 1148576u);
    EXPECT_EQ(dynarray_next_capacity(32, 10000), 20000u);
    EXPECT_EQ(dynarray_next_capacity(16, 128), 256u);
    EXPECT_EQ(dynarray_next_capacity(1, 0xFFFFF), 0x1FFFFEu);
    EXPECT_EQ(dynarray_next_capacity(1, 0x100000), 0x200000u);
}

TEST(DynArrayGrowth, SixteenByteRowsAt65536GrowBy1048576) {
    DynArray array;
    dynarray_init(&array, 16, 65536);
    array.count = 65536;
    std::vector<uint64_t> sizes;
    Row16 row = {1, 2};
    {
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return true;
        });
        ASSERT_NE(dynarray_push(&array, 16, &row), nullptr);
    }
    EXPECT_EQ(array.capacity, 1114112u);
    EXPECT_EQ(sizes, std::vector<uint64_t>{1114112u * 16});
    os_free(array.data);
}

TEST(DynArrayGrowth, AFailedOneEmptiesTheArray) {
    DynArray array;
    dynarray_init(&array, 4, 1);
    ASSERT_NE(dynarray_push(&array, 4, "abcd"), nullptr);
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(dynarray_push(&array, 4, "efgh"), nullptr);
    }
    EXPECT_EQ(array.count, 0u);
    EXPECT_EQ(array.capacity, 0u);
    EXPECT_EQ(array.data, nullptr);
}

TEST(DynArrayGrowth, MoreThanTheHeapCanGiveFailsAndIsNotTruncated) {
    DynArray array;
    dynarray_init(&array, 40, 4);
    array.count = 107000000; // another 1048576 rows of 40 bytes do not fit 32 bits
    array.capacity = 107000000;
    EXPECT_EQ(dynarray_push(&array, 40, nullptr), nullptr);
    EXPECT_EQ(array.data, nullptr);
}

TEST(DynArrayGrowth, AFailedInitLeavesCapacityZero) {
    HeapHookScope hook([](uint64_t) { return false; });
    DynArray array;
    dynarray_init(&array, 40, 100000);
    EXPECT_EQ(array.capacity, 0u);
    EXPECT_EQ(array.data, nullptr);
}

TEST(DynArrayGrowth, APushOntoCapacityZeroIntentionallyNeverReturns) {
    EXPECT_EQ(dynarray_next_capacity(40, 0), 0u);
#ifndef _WIN32
    EXPECT_TRUE(never_returns([] {
        DynArray array = {};
        dynarray_push(&array, 4, "abcd");
    }));
#endif
}

TEST(DynArrayGrowth, AnArrayThatIsBeingReadKeepsItsOldStorageForTheReader) {
    volatile uint32_t pass = 1;
    RetiredBlocks readers = {nullptr, &pass};
    DynArray array;
    dynarray_init(&array, 4, 1);
    dynarray_push_shared(&array, 4, "abcd", &readers);
    const char *seen = array.data;
    dynarray_push_shared(&array, 4, "efgh", &readers);
    EXPECT_NE(array.data, seen);
    EXPECT_EQ(std::string(seen, 4), "abcd");
    EXPECT_EQ(std::string(array.data, 8), "abcdefgh");

    // The same when growth fails: the array is emptied, what the reader sees stays.
    seen = array.data;
    {
        HeapHookScope hook([](uint64_t size) { return size < 100; }); // the note on the old block is small
        array.capacity = 1000;
        array.count = 1000;
        EXPECT_EQ(dynarray_push_shared(&array, 4, "ijkl", &readers), nullptr);
    }
    EXPECT_EQ(std::string(seen, 8), "abcdefgh");
    pass = 3;
    release_retired(&readers);
    EXPECT_EQ(readers.first, nullptr);
}

TEST(DynArrayGrowth, AReaderThatAppearsWhileABlockIsReplacedChangesNothing) {
    volatile uint32_t pass = 0;
    RetiredBlocks readers = {nullptr, &pass};
    DynArray array;
    dynarray_init(&array, 4, 1);
    dynarray_push_shared(&array, 4, "abcd", &readers);
    {
        HeapHookScope hook([&](uint64_t) {
            pass = 1;
            return true;
        });
        dynarray_push_shared(&array, 4, "efgh", &readers);
    }
    EXPECT_EQ(std::string(array.data, 8), "abcdefgh"); // and one owner for each block
    EXPECT_EQ(readers.first, nullptr);
    os_free(array.data);
}

// ---- dynarray_insert ----

namespace {

struct Numbers : DynArray {
    explicit Numbers(uint64_t wanted_capacity) : DynArray() {
        dynarray_init(this, sizeof(uint32_t), wanted_capacity);
    }
    ~Numbers() {
        os_free(data);
    }
    Numbers(const Numbers &) = delete;
    Numbers &operator=(const Numbers &) = delete;

    void *insert(uint64_t index, uint32_t number) {
        return dynarray_insert(this, sizeof(number), index, &number);
    }
    std::vector<uint32_t> all() const {
        std::vector<uint32_t> numbers(count);
        memcpy(numbers.data(), data, count * sizeof(uint32_t));
        return numbers;
    }
};

} // namespace

TEST(DynArrayInsert, PutsTheElementBeforeTheOneAtTheIndex) {
    Numbers numbers(8);
    numbers.insert(0, 30);
    EXPECT_EQ(numbers.insert(0, 10), numbers.data);
    EXPECT_EQ(numbers.insert(1, 20), numbers.data + 4);
    EXPECT_EQ(numbers.all(), (std::vector<uint32_t>{10, 20, 30}));
}

TEST(DynArrayInsert, AtOrPastTheEndIsAPush) {
    Numbers numbers(8);
    EXPECT_EQ(numbers.insert(5, 1), numbers.data);
    EXPECT_EQ(numbers.insert(1, 2), numbers.data + 4);
    EXPECT_EQ(numbers.insert(UINT64_MAX, 3), numbers.data + 8);
    EXPECT_EQ(numbers.all(), (std::vector<uint32_t>{1, 2, 3}));
}

TEST(DynArrayInsert, WithoutAnElementTheSlotIsLeftAsItWas) {
    Numbers numbers(8);
    numbers.insert(0, 1);
    numbers.insert(1, 2);
    EXPECT_EQ(dynarray_insert(&numbers, 4, 0, nullptr), numbers.data);
    EXPECT_EQ(numbers.all(), (std::vector<uint32_t>{1, 1, 2}));
}

TEST(DynArrayInsert, GrowsAsAPushDoes) {
    Numbers numbers(2);
    numbers.insert(0, 2);
    numbers.insert(0, 1);
    std::vector<uint64_t> sizes;
    {
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return true;
        });
        numbers.insert(0, 0);
        numbers.insert(0, 7);
        numbers.insert(2, 9);
    }
    EXPECT_EQ(numbers.all(), (std::vector<uint32_t>{7, 0, 9, 1, 2}));
    EXPECT_EQ(sizes, (std::vector<uint64_t>{4 * 4, 8 * 4}));
    EXPECT_EQ(numbers.capacity, 8u);
}

TEST(DynArrayInsert, AFailedGrowthEmptiesTheArray) {
    for (uint64_t index : {0u, 1u, 2u}) {
        Numbers numbers(2);
        numbers.insert(0, 2);
        numbers.insert(0, 1);
        {
            HeapHookScope hook([](uint64_t) { return false; });
            EXPECT_EQ(numbers.insert(index, 3), nullptr);
        }
        EXPECT_EQ(numbers.count, 0u);
        EXPECT_EQ(numbers.capacity, 0u);
        EXPECT_EQ(numbers.data, nullptr);
    }
}

TEST(DynArrayInsert, KeepsAVectorsOrderAtRandomPlaces) {
    std::mt19937 random(3);
    Numbers numbers(1);
    std::vector<uint32_t> expected;
    for (uint32_t i = 0; i < 1000; i++) {
        size_t index = random() % (expected.size() + 1);
        numbers.insert(index, i);
        expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(index), i);
    }
    EXPECT_EQ(numbers.all(), expected);
}
