#include "os/strings.h"

#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "support/heap_hook.h"
#include "support/test_tree.h"

namespace {

struct Text : StrBuf {
    explicit Text(const char *text = "", uint64_t wanted_capacity = 16) : StrBuf() {
        strbuf_init(this, wanted_capacity);
        strbuf_append(this, strlen(text), text);
    }
    ~Text() {
        os_free(data);
    }
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;

    std::string str() const {
        return to_string(strbuf_text(this));
    }
};

// A text that only claims its capacity, for growth steps that need no bytes.
Text *text_of_capacity(Text *text, uint64_t capacity) {
    text->capacity = capacity;
    text->count = capacity;
    return text;
}

} // namespace

// ---- Str ----

TEST(Strings, EqualMeansTheSameBytes) {
    EXPECT_TRUE(str_equal(str_from("abc"), str_from("abc")));
    EXPECT_FALSE(str_equal(str_from("abc"), str_from("abd")));
    EXPECT_FALSE(str_equal(str_from("abc"), str_from("ab")));
    EXPECT_TRUE(str_equal({}, str_from("")));
}

TEST(Strings, LowerCaseAndWhitespaceAreAsciiOnly) {
    for (int value = 0; value < 256; value++) {
        const char byte = static_cast<char>(value);
        const bool is_upper = value >= 65 && value <= 90;
        EXPECT_EQ(lower_case(byte), static_cast<char>(is_upper ? value + 32 : value));
        EXPECT_EQ(is_whitespace(byte), value == 9 || value == 10 || value == 13 || value == 32) << value;
    }
}

TEST(Strings, ANumberIsWrittenInDecimal) {
    const struct {
        int32_t number;
        const char *text;
    } rows[] = {
        {0, "0"},
        {1, "1"},
        {-1, "-1"},
        {9, "9"},
        {10, "10"},
        {-10, "-10"},
        {99, "99"},
        {100, "100"},
        {1000000000, "1000000000"},
        {-1000000000, "-1000000000"},
        {INT32_MAX, "2147483647"},
        {INT32_MIN, "-2147483648"},
        {INT32_MIN + 1, "-2147483647"},
    };
    for (const auto &written : rows) {
        char digits[11];
        Str text = str_from_number(written.number, digits);
        EXPECT_EQ(to_string(text), written.text);
        EXPECT_GE(text.data, digits);
        EXPECT_LE(text.data + text.count, digits + sizeof(digits));
    }
}

TEST(Strings, SpacesAndTabsAtTheEndAreTrailingWhitespace) {
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over("a b  "))), "a b");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over("  a"))), "  a");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over("a\tb\t \t"))), "a\tb");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over("    "))), "");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over(" \t"))), "");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over("a\n\r\v"))), "a\n\r\v");
    EXPECT_EQ(to_string(str_cut_trailing_whitespace(str_over(""))), "");
}

TEST(Strings, ACopyHasItsOwnBytesAndAZeroAfterThem) {
    char bytes[] = "a\0bc";
    Str copy = str_copy({3, bytes});
    bytes[0] = 'x';
    EXPECT_EQ(to_string(copy), std::string("a\0b", 3));
    EXPECT_EQ(copy.data[3], 0);
    os_free(copy.data);
    Str empty = str_copy({});
    EXPECT_EQ(empty.count, 0u);
    EXPECT_STREQ(empty.data, "");
    os_free(empty.data);
}

TEST(Strings, ACopyIsTheEmptyStrWhenOutOfMemory) {
    HeapHookScope hook([](uint64_t) { return false; });
    Str copy = str_copy(str_from("abc"));
    EXPECT_EQ(copy.count, 0u);
    EXPECT_EQ(copy.data, nullptr);
}

// ---- StrBuf ----

TEST(StrBufInsert, InitAllocatesAnEmptyText) {
    Text text("", 1024);
    EXPECT_EQ(text.count, 0u);
    EXPECT_EQ(text.capacity, 1024u);
    EXPECT_EQ(text.data[0], 0);
}

TEST(StrBufInsert, AFailedInitLeavesCapacityZero) {
    HeapHookScope hook([](uint64_t) { return false; });
    Text text;
    EXPECT_EQ(text.capacity, 0u);
    EXPECT_EQ(text.data, nullptr);
    strbuf_append(&text, 3, "abc"); // stays empty
    EXPECT_EQ(text.count, 0u);
    EXPECT_FALSE(strbuf_make_room(&text, 1, nullptr));
}

TEST(StrBufInsert, AtTheStartInTheMiddleAtTheEnd) {
    Text text("bd");
    memset(text.data + 3, '!', 14); // so that the zero byte has to be written
    strbuf_insert(&text, 0, 1, "a");
    strbuf_insert(&text, 2, 1, "c");
    strbuf_insert(&text, 4, 1, "e");
    EXPECT_EQ(text.str(), "abcde");
    EXPECT_STREQ(text.data, "abcde");
}

TEST(StrBufInsert, BeyondTheEndAppends) {
    Text text("ab");
    strbuf_insert(&text, 100, 2, "cd");
    EXPECT_EQ(text.str(), "abcd");
    strbuf_insert(&text, UINT64_MAX, 1, "e");
    EXPECT_EQ(text.str(), "abcde");
}

TEST(StrBufInsert, AtZeroIntoAnEmptyTextAppends) {
    Text text;
    strbuf_insert(&text, 0, 3, "abc");
    EXPECT_EQ(text.str(), "abc");
}

TEST(StrBufInsert, ZeroBytesChangeNothingNotEvenTheTerminator) {
    Text text("abc");
    text.data[3] = '!';
    strbuf_insert(&text, 1, 0, "xyz");
    strbuf_append(&text, 0, nullptr);
    EXPECT_EQ(text.count, 3u);
    EXPECT_EQ(text.data[3], '!');
}

TEST(StrBufInsert, NullBytesLeaveTheGapAsItIs) {
    Text text("abcd");
    strbuf_insert(&text, 1, 2, nullptr);
    EXPECT_EQ(text.count, 6u);
    EXPECT_EQ(text.str(), "abcbcd"); // the moved bytes' old places
}

TEST(StrBufInsert, ZeroBytesAreTextLikeOthers) {
    Text text("ad");
    strbuf_insert(&text, 1, 2, "\0b");
    EXPECT_EQ(text.str(), std::string("a\0bd", 4));
}

TEST(StrBufGrowth, DoublesUntilItFits) {
    Text text("", 16);
    std::string long_text(100, 'x');
    strbuf_append(&text, 16, long_text.data());
    EXPECT_EQ(text.capacity, 16u); // a full text has room for its terminator still
    strbuf_append(&text, 1, "x");
    EXPECT_EQ(text.capacity, 32u);
    strbuf_append(&text, 100, long_text.data());
    EXPECT_EQ(text.capacity, 128u);
    EXPECT_EQ(text.str(), std::string(117, 'x'));
    Text from_nothing("", 0);
    strbuf_append(&from_nothing, 3, "abc");
    EXPECT_EQ(from_nothing.capacity, 4u);
    EXPECT_EQ(from_nothing.str(), "abc");
}

TEST(StrBufGrowth, DoublesUpTo0x3FFFFFFAndStepsBy64MiBFromThere) {
    const auto grown = [](uint64_t capacity, uint64_t more) {
        std::vector<uint64_t> sizes;
        Text text;
        char *old_block = text.data;
        {
            HeapHookScope hook([&](uint64_t size) {
                sizes.push_back(size);
                return false;
            });
            strbuf_insert(text_of_capacity(&text, capacity), capacity, more, nullptr);
        }
        os_free(old_block);
        EXPECT_EQ(sizes, std::vector<uint64_t>{text.capacity + 1});
        return uint64_t{text.capacity};
    };
    EXPECT_EQ(grown(0x3FFFFFF, 1), 0x7FFFFFEu);
    EXPECT_EQ(grown(0x4000000, 1), 0x8000000u);
    EXPECT_EQ(grown(0x7FFFFFE, 1), 0xBFFFFFEu);
    EXPECT_EQ(grown(0x4000000, 0x4000001), 0xC000000u);
    EXPECT_EQ(grown(1024, 1), 2048u);
}

TEST(StrBufGrowth, AFailedInsertionIntentionallyLosesTheText) {
    Text text("abc");
    char *old_block = text.data;
    {
        HeapHookScope hook([](uint64_t) { return false; });
        strbuf_append(&text, 20, "xxxxxxxxxxxxxxxxxxxx");
    }
    EXPECT_EQ(text.data, nullptr);
    EXPECT_EQ(text.capacity, 32u);
    strbuf_append(&text, 1, "x"); // does nothing until the text is set up again
    EXPECT_EQ(text.data, nullptr);
    os_free(old_block);
}

TEST(StrBufGrowth, ATextWithoutStorageReadsAsEmpty) {
    Text text("abc");
    char *old_block = text.data;
    text.data = nullptr;
    EXPECT_EQ(strbuf_text(&text).count, 0u);
    os_free(old_block);
}

TEST(StrBufGrowth, MakingRoomFirstKeepsTheTextWhenItFails) {
    Text text("abc");
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_TRUE(strbuf_make_room(&text, 13, nullptr)); // fits
        EXPECT_FALSE(strbuf_make_room(&text, 14, nullptr));
    }
    EXPECT_EQ(text.str(), "abc");
    EXPECT_EQ(text.capacity, 16u);
    EXPECT_TRUE(strbuf_make_room(&text, 14, nullptr));
    EXPECT_EQ(text.capacity, 32u);
    EXPECT_EQ(text.str(), "abc");
    EXPECT_EQ(text.data[3], 0);
}

TEST(StrBufGrowth, TryingToAppendKeepsTheTextWhenItFails) {
    Text text("abc");
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_TRUE(strbuf_try_append(&text, str_from("0123456789012"))); // fits
        EXPECT_FALSE(strbuf_try_append(&text, str_from("x")));
    }
    EXPECT_EQ(text.str(), "abc0123456789012");
    EXPECT_EQ(text.capacity, 16u);
    EXPECT_TRUE(strbuf_try_append(&text, str_from("x")));
    EXPECT_EQ(text.str(), "abc0123456789012x");
    EXPECT_EQ(text.data[17], 0);
}

TEST(StrBufGrowth, ASizeThatDoesNotFitTheHeapFailsAndIsNotTruncated) {
    Text text("abc");
    EXPECT_FALSE(strbuf_make_room(&text, (uint64_t{1} << 32) - 8, nullptr));
    EXPECT_FALSE(strbuf_make_room(&text, UINT64_MAX - 3, nullptr));
    EXPECT_FALSE(strbuf_make_room(&text, UINT64_MAX, nullptr));
    EXPECT_EQ(text.str(), "abc");
    char *old_block = text.data;
    strbuf_append(&text, UINT64_MAX, nullptr);
    EXPECT_EQ(text.data, nullptr);
    os_free(old_block);
}

TEST(StrBufGrowth, ATextThatIsBeingReadKeepsItsOldStorageForTheReader) {
    volatile uint32_t pass = 1;
    RetiredBlocks readers = {nullptr, &pass};
    Text text("abc");
    char *seen = text.data;
    ASSERT_TRUE(strbuf_make_room(&text, 20, &readers));
    EXPECT_NE(text.data, seen);
    EXPECT_STREQ(seen, "abc");
    EXPECT_EQ(text.str(), "abc");
    pass = 3;
    release_retired(&readers);
    EXPECT_EQ(readers.first, nullptr);
}
