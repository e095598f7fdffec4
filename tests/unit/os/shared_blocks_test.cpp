#include "os/shared_blocks.h"

#include <gtest/gtest.h>

#include <string.h>

#include "os/arrays.h"
#include "os/memory.h"
#include "os/strings.h"
#include "support/each_step.h"
#include "support/heap_hook.h"

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

// ---- What the other thread sees ----

#ifndef _WIN32
TEST(SharedOrder, ATextIsReadWithTheCountOfItsOwnBlockOrAnEarlierOne) {
    static char short_block[] = "ab", long_block[] = "abcdef";
    static StrBuf buf;
    static Str text;
    change_after_each_step(
        [] {
            buf.data = short_block;
            buf.count = 2;
        },
        [] { text = strbuf_text(&buf); },
        [] {
            buf.data = long_block;
            buf.count = 6;
        },
        [] { EXPECT_TRUE(text.data == long_block || text.count == 2); });
    EXPECT_EQ(text.data, short_block);
}

TEST(SharedOrder, AnOldBlockIsRetiredOnceTheNewOneIsThere) {
    static volatile uint32_t pass;
    static RetiredBlocks readers;
    static StrBuf buf;
    static DynArray array;
    static char *old_block;
    pass = 1;
    readers = {nullptr, &pass};
    strbuf_init(&buf, 4);
    old_block = buf.data;
    EXPECT_EQ(states_while([] { strbuf_make_room(&buf, 5, &readers); }, 2,
                           [] {
                               return each_step::State{{buf.data != old_block, readers.first != nullptr}};
                           }),
              "0 0\n"
              "1 0\n"
              "1 1\n");
    pass = 3;
    release_retired(&readers);
    dynarray_init(&array, 4, 1);
    dynarray_push_shared(&array, 4, "abcd", &readers);
    old_block = array.data;
    EXPECT_EQ(states_while([] { dynarray_push_shared(&array, 4, "efgh", &readers); }, 3,
                           [] {
                               return each_step::State{{array.data != old_block, readers.first != nullptr,
                                                        static_cast<int64_t>(array.count)}};
                           }),
              "0 0 1\n"
              "1 0 1\n"
              "1 1 1\n"
              "1 1 2\n");
    pass = 5;
    release_retired(&readers);
    os_free(buf.data);
    os_free(array.data);
}

TEST(SharedOrder, ANewEndHasItsZeroByteBeforeItIsCounted) {
    static StrBuf buf;
    strbuf_init(&buf, 16);
    memset(buf.data, '.', 16); // left by an earlier, longer text
    const auto count_and_byte = [] {
        uint64_t count = buf.count;
        return each_step::State{{static_cast<int64_t>(count), buf.data[count]}};
    };
    strbuf_set_end(&buf, 0, str_from("ab"), nullptr);
    EXPECT_EQ(states_while([] { strbuf_set_end(&buf, 2, str_from("xyz"), nullptr); }, 2, count_and_byte),
              "2 0\n"
              "2 120\n"
              "5 0\n");
    EXPECT_EQ(states_while([] { strbuf_set_end(&buf, 1, {}, nullptr); }, 2, count_and_byte), "5 0\n"
                                                                                             "1 0\n");
    os_free(buf.data);
}
#endif
