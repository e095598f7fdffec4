#include "render/font.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "render/font_scope.h"
#include "render/font_sizes.h"
#include "support/heap_hook.h"

namespace {

Font loaded(const TestTree &tree, const std::string &bytes) {
    tree.file("font", bytes);
    std::string path = tree.path("font");
    return font_load(str_over(path));
}

// A file's block has up to 64 spare bytes, in which AddressSanitizer does not see reads past the end. It has
// none when the file ends one byte before a multiple of 64.
std::string padded(std::string bytes) {
    return padded_before(std::move(bytes), 0);
}

bool is_all_zero(const Font &f) {
    return !f.file.data && f.file.count == 0 && !f.info.data && f.info.hhea == 0 && f.info.index_map == 0 &&
           f.sizes.count == 0 && f.sizes.capacity == 0 && !f.sizes.data && !f.has_kerning;
}

} // namespace

TEST(FontLoad, TheDefaultFontIsThereAndHasAnEmptyListOfSizes) {
    FontScope scope;
    ASSERT_TRUE(font.file.data);
    EXPECT_EQ(font.file.count, default_font_bytes().size());
    EXPECT_EQ(font.info.data, scope.file());
    EXPECT_EQ(font.sizes.count, 0u);
    EXPECT_EQ(font.sizes.capacity, 8u);
    EXPECT_TRUE(font.sizes.data);
}

TEST(FontLoad, AFileThatCannotBeReadGivesAnAllZeroFont) {
    TestTree tree;
    std::string path = tree.path("missing.otf");
    EXPECT_TRUE(is_all_zero(font_load(str_over(path))));
    EXPECT_TRUE(is_all_zero(font_load({})));
    std::string folder = tree.path();
    EXPECT_TRUE(is_all_zero(font_load(str_over(folder))));
}

TEST(FontLoad, AnInvalidFontFileGivesAnAllZeroFont) {
    LeakScope leaks; // the bytes intentionally stay allocated
    TestTree tree;
    EXPECT_TRUE(is_all_zero(loaded(tree, "")));
    EXPECT_TRUE(is_all_zero(loaded(tree, "O")));
    EXPECT_TRUE(is_all_zero(loaded(tree, std::string("\0\1\0\0", 4))));
    EXPECT_TRUE(is_all_zero(loaded(tree, "OTTO")));
    EXPECT_TRUE(is_all_zero(loaded(tree, "ttcf")));
    EXPECT_TRUE(is_all_zero(loaded(tree, padded(""))));
    EXPECT_TRUE(is_all_zero(loaded(tree, padded("OTTO"))));
    EXPECT_TRUE(is_all_zero(loaded(tree, padded("ttcf"))));
    EXPECT_TRUE(is_all_zero(loaded(tree, padded("OTTO" + two_bytes(4))))); // the fourth row is cut
    EXPECT_TRUE(is_all_zero(loaded(tree, padded("OTTO" + two_bytes(0xFFFF)))));
    for (size_t start : {48u, 51u, 52u, 59u, 62u, 63u}) { // of a list of tables at or after the end
        EXPECT_TRUE(is_all_zero(
            loaded(tree, padded("ttcf" + four_bytes(0x00010000) + four_bytes(1) + four_bytes(start)))));
        EXPECT_TRUE(is_all_zero(
            loaded(tree, padded("ttcf" + four_bytes(0x00020000) + four_bytes(1) + four_bytes(start)))));
    }
    EXPECT_TRUE(is_all_zero(loaded(tree, "just a text, and a long one, of which no table can be made")));
    EXPECT_TRUE(is_all_zero(loaded(tree, std::string(1000, '\0'))));
    EXPECT_TRUE(is_all_zero(loaded(tree, "OTTO" + std::string(1000, '\0')))); // no table
    EXPECT_TRUE(is_all_zero(loaded(tree, "OTTO" + std::string(1000, '\xFF'))));
    EXPECT_TRUE(is_all_zero(loaded(tree, default_font_bytes().replace(0, 4, "OTTX"))));
}

TEST(FontLoad, AFontWithoutATableItNeedsGivesAnAllZeroFont) {
    LeakScope leaks;
    TestTree tree;
    for (const char *tag : {"cmap", "head", "hhea", "hmtx", "CFF "}) {
        std::string bytes = default_font_bytes();
        bytes.replace(bytes.find(tag), 4, "none");
        EXPECT_TRUE(is_all_zero(loaded(tree, bytes))) << tag;
    }
    for (const char *tag : {"cmap", "head", "hhea", "maxp", "CFF "}) {
        EXPECT_TRUE(
            is_all_zero(loaded(tree, with_table(padded_before(default_font_bytes(), 1), tag, tag, "x"))))
            << tag;
    }
}

TEST(FontLoad, AFontTruncatedAnywhereGivesAnAllZeroFont) {
    LeakScope leaks;
    TestTree tree;
    std::string bytes = default_font_bytes();
    for (size_t length = 0; length < bytes.size(); length += length < 319 ? 1 : 960) { // as padded() makes it
        ASSERT_TRUE(is_all_zero(loaded(tree, bytes.substr(0, length)))) << length << " bytes";
    }
    EXPECT_TRUE(is_all_zero(loaded(tree, bytes.substr(0, bytes.size() - 1))));
    EXPECT_TRUE(is_all_zero(loaded(tree, bytes.substr(0, bytes.size() / 64 * 64 - 1))));
    Font whole = loaded(tree, bytes);
    EXPECT_FALSE(is_all_zero(whole));
}

TEST(FontLoad, OfACollectionTheFirstFontIsLoaded) {
    TestTree tree;
    LeakScope leaks;
    // The tables' offsets count from the file's start, so only the list of tables moves.
    std::string bytes = default_font_bytes();
    size_t list = 12 + 16 * 14;
    std::string head = "ttcf" + four_bytes(0x00010000) + four_bytes(1);
    Font first = loaded(tree, head + four_bytes(bytes.size()) + bytes.substr(16) + bytes.substr(0, list));
    EXPECT_TRUE(first.file.data);
    EXPECT_EQ(first.info.fontstart, static_cast<int>(bytes.size()));
    // None, one beyond the end, and one at a negative offset.
    EXPECT_TRUE(is_all_zero(loaded(tree, "ttcf" + four_bytes(0x00010000) + four_bytes(0) + bytes)));
    EXPECT_TRUE(is_all_zero(loaded(tree, head + four_bytes(bytes.size() + 100) + bytes)));
    EXPECT_TRUE(is_all_zero(loaded(tree, head + four_bytes(0xFFFFFFF0) + bytes)));
}

TEST(FontLoad, ASecondFontHasNoSizesOfTheFirst) {
    LeakScope leaks; // the first font is kept for good
    FontScope scope;
    font_get_size(14);
    font_get_size(20);
    const char *first_file = font.file.data;
    std::string path = default_font_path();
    font = font_load(str_over(path));
    EXPECT_NE(font.file.data, first_file);
    EXPECT_EQ(font.sizes.count, 0u);
    EXPECT_EQ(font.sizes.capacity, 8u);
    font_get_size(16);
    EXPECT_EQ(heights(), (std::vector<int32_t>{16}));
}

TEST(FontLoad, AListOfSizesWithoutMemoryHasCapacityZero) {
    HeapHookScope hook([](uint64_t size) { return size != 8 * sizeof(SizedFont); });
    FontScope scope;
    EXPECT_TRUE(font.file.data);
    EXPECT_EQ(font.sizes.capacity, 0u);
}

// The first text with such a font intentionally never returns: the list grows by this step until its capacity
// is enough. Other tests show that it does not return, where a process can be stopped.
TEST(FontLoad, WithoutAFontTheListOfSizesNeverGetsRoomForOne) {
    Font nothing = font_load({});
    EXPECT_LT(nothing.sizes.capacity, nothing.sizes.count + 1);
    EXPECT_EQ(dynarray_next_capacity(sizeof(SizedFont), nothing.sizes.capacity), nothing.sizes.capacity);
}
