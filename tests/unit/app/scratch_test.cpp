#include "app/scratch.h"

#include <gtest/gtest.h>

#include <string>

#include "app/app_scope.h"
#include "support/heap_hook.h"

TEST(Scratch, JoinsTwoTextsWithAZeroAfterThem) {
    AppScope app;
    Str text = scratch_join(str_from("C:/Tools/"), str_from("x.ttf"));
    EXPECT_EQ(to_string(text), "C:/Tools/x.ttf");
    EXPECT_EQ(text.data[text.count], 0);
    Str other = scratch_join({}, {});
    EXPECT_EQ(other.count, 0u);
    EXPECT_EQ(other.data[0], 0);
    EXPECT_EQ(to_string(text), "C:/Tools/x.ttf");
    EXPECT_EQ(scratch->used, 16u);
}

TEST(Scratch, Holds1000000BytesUntilItIsEmptied) {
    AppScope app;
    std::string half(499999, 'x');
    EXPECT_EQ(scratch_join(str_over(half), {}).count, 499999u);
    EXPECT_EQ(scratch_join(str_over(half), str_from("y")).data, nullptr); // one byte too many
    EXPECT_EQ(scratch_join(str_over(half), {}).count, 499999u);           // fits to the byte
    EXPECT_EQ(scratch->used, 1000000u);
    Str none = scratch_join({}, {});
    EXPECT_EQ(none.count, 0u);
    EXPECT_EQ(none.data, nullptr);
    scratch_empty();
    Str text = scratch_join(str_from("a"), str_from("b"));
    EXPECT_EQ(to_string(text), "ab");
    EXPECT_EQ(text.data[2], 0); // over the old bytes
}

TEST(Scratch, WithoutMemoryForOneOfItsPartsEveryTextIsEmpty) {
    for (uint64_t failing : {uint64_t{1000000}, uint64_t{sizeof(Scratch)}}) {
        {
            HeapHookScope hook([&](uint64_t size) { return size != failing; });
            scratch_create();
        }
        if (scratch) {
            EXPECT_EQ(scratch->capacity, 0u);
        }
        EXPECT_EQ(scratch_join(str_from("a"), str_from("b")).data, nullptr);
        EXPECT_EQ(scratch_join({}, {}).data, nullptr);
        scratch_empty();
        os_free(scratch);
        scratch = nullptr;
    }
}
