#include "render/font.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "render/font_scope.h"
#include "render/glyphs.h"
#include "render/plain_text.h"
#include "support/heap_hook.h"
#include "support/never_returns.h"

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

std::vector<int32_t> heights() {
    std::vector<int32_t> all;
    for (uint64_t i = 0; i < font.sizes.count; i++) {
        all.push_back(reinterpret_cast<SizedFont *>(font.sizes.data)[i].pixel_height);
    }
    return all;
}

} // namespace

// ---- font_load ----

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

// ---- font_get_size ----

TEST(FontGetSize, MakesARecordWithTheFirst128Glyphs) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    ASSERT_TRUE(sized);
    EXPECT_EQ(sized->font, &font.info);
    EXPECT_EQ(sized->pixel_height, 14);
    EXPECT_EQ(sized->scale, 14.0f / (984 + 273)); // the font's ascender and descender
    EXPECT_EQ(sized->scale, stbtt_ScaleForPixelHeight(&font.info, 14));
    EXPECT_EQ(sized->bitmaps.capacity, 0x20000u);
    EXPECT_EQ(sized->glyphs.count, 128u);
    EXPECT_EQ(sized->glyphs.capacity, 128u);
    uint64_t used = 0;
    for (uint32_t i = 0; i < 128; i++) {
        const Glyph &glyph = glyph_at(sized, i);
        EXPECT_EQ(glyph.codepoint, i);
        if (glyph.bitmap) {
            EXPECT_EQ(glyph.bitmap, reinterpret_cast<uint8_t *>(sized->bitmaps.data) + used);
        }
        used += static_cast<uint64_t>(glyph.width * glyph.height);
    }
    EXPECT_EQ(sized->bitmaps.count, used);
}

TEST(FontGetSize, TheSameHeightTwiceIsTheSameRecordAndRasterisesNothing) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    HeapHookScope hook([](uint64_t) {
        ADD_FAILURE() << "an allocation";
        return true;
    });
    EXPECT_EQ(font_get_size(14), sized);
    EXPECT_EQ(sized->glyphs.count, 128u);
}

TEST(FontGetSize, RecordsAreInAscendingOrderOfHeight) {
    FontScope scope;
    font_get_size(20);
    font_get_size(12);
    SizedFont *sized = font_get_size(16);
    EXPECT_EQ(sized->pixel_height, 16);
    EXPECT_EQ(heights(), (std::vector<int32_t>{12, 16, 20}));
    EXPECT_EQ(font_get_size(20)->pixel_height, 20);
    EXPECT_EQ(font_get_size(12)->pixel_height, 12);
    EXPECT_EQ(font.sizes.count, 3u);
}

TEST(FontGetSize, TheListGrowsBeyondEightAndRecordsKeepTheirGlyphs) {
    FontScope scope;
    std::vector<int32_t> expected;
    for (int32_t height = 9; height < 27; height++) {
        font_get_size(height % 2 ? height : 36 - height);
        expected.push_back(height);
    }
    EXPECT_EQ(heights(), expected);
    EXPECT_EQ(font.sizes.capacity, 32u);
    for (int32_t height : {9, 18, 26}) {
        PlainFont plain(scope.file(), height);
        expect_glyph(glyph_at(font_get_size(height), 'g'), plain.glyphs['g']);
    }
}

TEST(FontGetSize, AFailedGrowthEmptiesTheList) {
    LeakScope leaks; // the records' storage is lost with the list
    FontScope scope;
    for (int32_t height = 10; height < 18; height++) {
        font_get_size(height);
    }
    HeapHookScope hook([](uint64_t size) { return size != 16 * sizeof(SizedFont); });
    EXPECT_EQ(font_get_size(12)->pixel_height, 12);
    EXPECT_EQ(font_get_size(9), nullptr);
    EXPECT_EQ(font.sizes.count, 0u);
    EXPECT_EQ(font.sizes.capacity, 0u);
}

TEST(FontGetSize, HeightsBelowOneHaveGlyphsWithoutPixels) {
    FontScope scope;
    for (int32_t height : {0, -14}) {
        SizedFont *sized = font_get_size(height);
        EXPECT_EQ(sized->glyphs.count, 128u);
        for (uint32_t codepoint = 0; codepoint < 128; codepoint++) {
            const Glyph &glyph = glyph_at(sized, codepoint);
            EXPECT_GE(glyph.width, 0);
            EXPECT_GE(glyph.height, 0);
            EXPECT_EQ(glyph.width * glyph.height, 0);
        }
    }
    EXPECT_EQ(heights(), (std::vector<int32_t>{-14, 0}));
}

#ifndef _WIN32
TEST(FontGetSize, WithoutAFontNeverReturns) {
    ASSERT_EQ(font.sizes.capacity, 0u);
    EXPECT_TRUE(never_returns([] { font_get_size(14); }));
    EXPECT_FALSE(never_returns([] {
        FontScope scope;
        font_get_size(14);
    }));
}
#endif
