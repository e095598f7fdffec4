#include "render/glyphs.h"

#include <gtest/gtest.h>

#include <string.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "render/font_scope.h"
#include "render/font_sizes.h"
#include "render/plain_text.h"
#include "support/heap_hook.h"
#include "support/never_returns.h"

namespace {

// A cmap with one table.
std::string cmap_of(const std::string &table) {
    return two_bytes(0) + two_bytes(1) + two_bytes(0) + two_bytes(3) + four_bytes(12) + table;
}

// A cmap that maps first to glyph 1, and the codepoints after it, last included, to the glyphs after that.
std::string cmap_of_range(size_t first, size_t last) {
    return cmap_of(two_bytes(12) + two_bytes(0) + four_bytes(28) + four_bytes(0) + four_bytes(1) +
                   four_bytes(first) + four_bytes(last) + four_bytes(1));
}

// The default font as a collection that begins with a cmap of format 0, which maps each byte below 128 to the
// glyph of the same number.
std::string font_with_byte_map() {
    std::string bytes = default_font_bytes();
    constexpr size_t head_size = 16; // of a collection of one font
    std::string tables = bytes.substr(0, 12 + 16 * 14);
    std::string map = two_bytes(0) + two_bytes(6 + 128) + two_bytes(0);
    for (int codepoint = 0; codepoint < 128; codepoint++) {
        map += static_cast<char>(codepoint);
    }
    const std::string cmap = cmap_of(map);
    tables.replace(tables.find("cmap") + 8, 8, four_bytes(head_size) + four_bytes(cmap.size()));
    bytes.replace(0, head_size, "ttcf" + four_bytes(0x00010000) + four_bytes(1) + four_bytes(bytes.size()));
    bytes.replace(head_size, cmap.size(), cmap); // in place of the list of tables
    return bytes + tables;
}

// A font whose only glyph has a box half as wide and high as the font, and no outline.
std::string font_without_outlines() {
    const std::pair<const char *, std::string> tables[] = {
        {"cmap", cmap_of(two_bytes(0) + two_bytes(6) + two_bytes(0))}, // maps nothing
        {"glyf", two_bytes(0) + two_bytes(0) + two_bytes(0) + two_bytes(500) + two_bytes(500)},
        {"head", std::string(54, '\0')},
        {"hhea", four_bytes(0x00010000) + two_bytes(1000) + std::string(28, '\0') + two_bytes(1)},
        {"hmtx", two_bytes(600) + two_bytes(0)},
        {"loca", two_bytes(0) + two_bytes(5)}, // counts in two bytes
        {"maxp", four_bytes(0x00010000) + two_bytes(1)},
    };
    std::string list = four_bytes(0x00010000) + two_bytes(std::size(tables)) + std::string(6, '\0');
    std::string bytes;
    for (const auto &[tag, table] : tables) {
        size_t place = 12 + 16 * std::size(tables) + bytes.size();
        list += tag + four_bytes(0) + four_bytes(place) + four_bytes(table.size());
        bytes += table;
    }
    return list + bytes;
}

} // namespace

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

// ---- Glyphs ----

TEST(Glyphs, AreWhatStbTruetypeMakesWithMoreContrast) {
    FontScope scope;
    for (int32_t height : {9, 14, 20, 64}) {
        PlainFont plain(scope.file(), height);
        SizedFont *sized = font_get_size(height);
        for (uint32_t codepoint = 32; codepoint < 128; codepoint++) {
            expect_glyph(glyph_at(sized, codepoint), plain.glyphs[codepoint]);
        }
    }
}

TEST(Glyphs, ControlCodepointsHaveNothing) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    for (uint32_t codepoint = 0; codepoint < 32; codepoint++) {
        const Glyph &glyph = glyph_at(sized, codepoint);
        Glyph nothing = {};
        nothing.codepoint = codepoint;
        EXPECT_EQ(memcmp(&glyph, &nothing, offsetof(Glyph, height) + sizeof(glyph.height)), 0);
        EXPECT_EQ(glyph.bitmap, nullptr);
    }
}

TEST(Glyphs, ASpaceHasABitmapOfNoSizeAndARealAdvance) {
    FontScope scope;
    const Glyph &space = glyph_at(font_get_size(14), ' ');
    EXPECT_TRUE(space.bitmap);
    EXPECT_EQ(space.width, 0);
    EXPECT_EQ(space.height, 0);
    EXPECT_EQ(space.advance, 6); // 600 * 14 / 1257 = 6.68
}

TEST(Glyphs, Codepoint127IsTheMissingGlyphShape) {
    FontScope scope;
    const Glyph &last = glyph_at(font_get_size(14), 127);
    EXPECT_TRUE(last.bitmap);
    EXPECT_EQ(last.glyph_index, 0u);
    EXPECT_GT(last.width, 0);
}

// stb_truetype would look up to 128 bytes before such a map, which begins 28 bytes into this file.
TEST(Glyphs, CodepointsOutsideUnicodeHaveGlyph0WhateverTheFontMapsThemTo) {
    TestTree tree;
    tree.file("font", font_with_byte_map());
    FontScope scope(tree.path("font"));
    SizedFont *sized = font_get_size(14);
    ASSERT_TRUE(sized);
    for (uint32_t codepoint = 32; codepoint < 128; codepoint++) {
        EXPECT_EQ(glyph_at(sized, codepoint).glyph_index, codepoint);
    }
    for (uint32_t codepoint = 0xFFFFFF80; codepoint != 0; codepoint++) {
        EXPECT_EQ(glyph_create(sized, codepoint)->glyph_index, 0u) << codepoint;
    }
    EXPECT_EQ(glyph_create(sized, 0x110000)->glyph_index, 0u);
}

TEST(Glyphs, TheLastUnicodeCodePointIsLookedUpInTheFont) {
    TestTree tree;
    tree.file("font", with_table(default_font_bytes(), "cmap", "cmap", cmap_of_range(0x10FFFF, 0x110000)));
    FontScope scope(tree.path("font"));
    SizedFont *sized = font_get_size(14);
    ASSERT_TRUE(sized);
    EXPECT_EQ(glyph_create(sized, 0x10FFFF)->glyph_index, 1u);
    EXPECT_EQ(glyph_create(sized, 0x110000)->glyph_index, 0u);
}

TEST(Glyphs, AreInAscendingOrderOfUnsignedCodepoints) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    for (uint32_t codepoint : {0xFFFFFFC3u, 0x20ACu, 0xFFFFFFA9u, 0xE9u, 128u}) {
        Glyph *glyph = glyph_create(sized, codepoint);
        ASSERT_TRUE(glyph);
        EXPECT_EQ(glyph->codepoint, codepoint);
    }
    ASSERT_EQ(sized->glyphs.count, 133u);
    const uint32_t expected[] = {127, 128, 0xE9, 0x20AC, 0xFFFFFFA9, 0xFFFFFFC3};
    for (uint64_t i = 0; i < 6; i++) {
        EXPECT_EQ(glyph_at(sized, 127 + i).codepoint, expected[i]);
    }
    EXPECT_EQ(glyph_at(sized, 129).glyph_index,
              static_cast<uint32_t>(stbtt_FindGlyphIndex(&font.info, 0xE9)));
    EXPECT_NE(glyph_at(sized, 129).glyph_index, 0u);
    EXPECT_EQ(glyph_at(sized, 131).glyph_index, 0u);
}

TEST(Glyphs, AreFoundAndMadeOnce) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    EXPECT_EQ(glyph_find(sized, 'A'), &glyph_at(sized, 'A'));
    for (uint32_t codepoint : {0xE9u, 0xFFFFFFE9u, 0x20ACu, 0xE9u, 0xFFFFFFE9u}) {
        EXPECT_EQ(glyph_find(sized, codepoint)->codepoint, codepoint);
    }
    EXPECT_EQ(sized->glyphs.count, 131u);
}

TEST(Glyphs, KeepTheirBitmapsWhenTheArenaMoves) {
    FontScope scope;
    std::vector<uint64_t> sizes;
    std::vector<void *> blocks;
    std::set<char *> places;
    SizedFont *sized;
    {
        HeapHookScope hook([&](uint64_t size) {
            if (size % 0x20000 == 1) {
                if (!sizes.empty()) {
                    places.insert(+reinterpret_cast<SizedFont *>(font.sizes.data)->bitmaps.data);
                }
                sizes.push_back(size);
                // Follows the arena, so that it cannot grow in place.
                for (uint64_t obstacle : {0x10u, 0x1000u, 0x10000u, 0x20000u, 0x80000u}) {
                    blocks.push_back(os_alloc(obstacle));
                }
            }
            return true;
        });
        sized = font_get_size(200);
    }
    for (void *block : blocks) {
        os_free(block);
    }
    places.insert(+sized->bitmaps.data);
    EXPECT_GE(places.size(), 2u);
    // Doubled from its first capacity on, a byte more each time.
    EXPECT_GE(sizes.size(), 3u);
    for (size_t i = 0; i < sizes.size(); i++) {
        EXPECT_EQ(sizes[i], (uint64_t{0x20000} << i) + 1);
    }
    EXPECT_EQ(sized->bitmaps.capacity + 1, sizes.back());
    PlainFont plain(scope.file(), 200);
    for (uint32_t codepoint = 0; codepoint < 32; codepoint++) {
        EXPECT_EQ(glyph_at(sized, codepoint).bitmap, nullptr); // no bitmap stays no bitmap
    }
    for (uint32_t codepoint = 32; codepoint < 128; codepoint++) {
        expect_glyph(glyph_at(sized, codepoint), plain.glyphs[codepoint]);
    }
}

TEST(Glyphs, AnArenaWithoutMemoryHasCapacityZeroAndGlyphsWithoutABitmap) {
    HeapHookScope hook([](uint64_t size) { return size != 0x20001; });
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    EXPECT_EQ(sized->bitmaps.capacity, 0u);
    EXPECT_EQ(sized->glyphs.count, 128u);
    EXPECT_EQ(glyph_at(sized, 'A').bitmap, nullptr);
    EXPECT_EQ(glyph_at(sized, ' ').bitmap, nullptr);
    EXPECT_EQ(glyph_find(sized, 0xE9)->bitmap, nullptr);
}

TEST(Glyphs, AFailedGrowthOfTheArenaKeepsItsGlyphsAndAddsNone) {
    LeakScope leaks; // the old block, which glyphs still use
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    PlainFont plain(scope.file(), 14);
    sized->bitmaps.count = sized->bitmaps.capacity; // as if full
    {
        HeapHookScope hook([](uint64_t size) { return size != 0x40001; });
        EXPECT_EQ(glyph_find(sized, 0xE9)->bitmap, nullptr);
    }
    EXPECT_EQ(sized->bitmaps.capacity, 0u);
    EXPECT_EQ(glyph_find(sized, 0xEA)->bitmap, nullptr); // nor later, with enough memory
    expect_glyph(glyph_at(sized, 'A'), plain.glyphs['A']);
}

TEST(Glyphs, ABitmapOf2GiBOrMoreIsNotMade) {
    constexpr uint64_t gib = 1 << 30;
    const struct {
        float factor;  // of the scale
        uint64_t gibs; // of the bitmap, rounded down
    } rows[] = {{6900, 1}, {6950, 2}, {9700, 3}, {10000, 4}};
    LeakScope leaks; // the old block, which glyphs still use
    for (const auto &large : rows) {
        FontScope scope;
        SizedFont *sized = font_get_size(14);
        sized->scale *= large.factor;
        int left, top, right, bottom;
        stbtt_GetCodepointBitmapBox(&font.info, 0xC9, sized->scale, sized->scale, &left, &top, &right,
                                    &bottom);
        const uint64_t count = static_cast<uint64_t>(int64_t{right - left} * (bottom - top));
        EXPECT_EQ(count / gib, large.gibs);
        uint64_t largest = 0;
        HeapHookScope hook([&](uint64_t size) {
            largest = std::max(largest, size);
            return size < gib / 4;
        });
        const Glyph *glyph = glyph_create(sized, 0xC9);
        ASSERT_TRUE(glyph);
        EXPECT_EQ(glyph->bitmap, nullptr);
        EXPECT_EQ(largest >= count, large.gibs < 2); // otherwise not requested
        EXPECT_EQ(sized->bitmaps.capacity > 0, large.gibs >= 2);
    }
}

TEST(Glyphs, ATableWithoutMemoryHasNone) {
    HeapHookScope hook([](uint64_t size) { return size != 128 * sizeof(Glyph); });
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    EXPECT_EQ(sized->glyphs.capacity, 0u);
    EXPECT_EQ(glyph_find(sized, 'A'), nullptr);
    EXPECT_EQ(glyph_create(sized, 'A'), nullptr);
}

TEST(Glyphs, AFailedGrowthOfTheTableLeavesNone) {
    FontScope scope;
    SizedFont *sized = font_get_size(14);
    HeapHookScope hook([](uint64_t size) { return size != 256 * sizeof(Glyph); });
    EXPECT_EQ(glyph_find(sized, 0xE9), nullptr);
    EXPECT_EQ(sized->glyphs.count, 0u);
    EXPECT_EQ(sized->glyphs.capacity, 0u);
    EXPECT_EQ(glyph_find(sized, 'A'), nullptr);
    EXPECT_EQ(glyph_find(nullptr, 'A'), nullptr);
}

// stb_truetype does not write the bitmap of a glyph without an outline.
TEST(Glyphs, OneWithoutAnOutlineIsEmpty) {
    TestTree tree;
    tree.file("font", font_without_outlines());
    FontScope scope(tree.path("font"));
    SizedFont *sized = font_get_size(14);
    memset(sized->bitmaps.data, 0x55, sized->bitmaps.capacity); // as uninitialised memory
    const Glyph *glyph = glyph_create(sized, 0xE9);
    ASSERT_EQ(glyph->width, 7);
    ASSERT_EQ(glyph->height, 7);
    EXPECT_EQ(std::vector<uint8_t>(glyph->bitmap, glyph->bitmap + 49), std::vector<uint8_t>(49));
}

// Without an outline or a row of pixels stb_truetype would write through null.
TEST(Glyphs, AreTheSameWhenAllAllocationsOfRasterisingFail) {
    FontScope scope;
    PlainFont plain(scope.file(), 14);
    const PlainGlyph expected = plain.glyph_of(0xE9);
    SizedFont *sized = font_get_size(14);
    glyph_create(sized, 0xE8); // grows the table
    // Often enough for the spare block to run out if it were not reused.
    for (int round = 0; round < 100; round++) {
        HeapHookScope hook([](uint64_t) { return false; });
        const Glyph *glyph = glyph_create(sized, 0xE9);
        ASSERT_TRUE(glyph);
        ASSERT_NO_FATAL_FAILURE(expect_glyph(*glyph, expected)) << round;
    }
}

TEST(Glyphs, AreTheSameWhenOneAllocationOfRasterisingFails) {
    FontScope scope;
    PlainFont plain(scope.file(), 200);
    const PlainGlyph expected = plain.glyph_of(0xC6);
    ASSERT_GT(expected.width, 64); // so wide that a row of pixels is on the heap
    SizedFont *sized = font_get_size(200);
    glyph_create(sized, 0xC5); // grows the table
    const auto is_growth = [](uint64_t size) { return size % 0x20000 == 1; };
    uint32_t asked = 0;
    for (uint32_t failing = 0; failing <= asked; failing++) {
        asked = 0;
        HeapHookScope hook([&](uint64_t size) { return is_growth(size) || asked++ != failing; });
        const Glyph *glyph = glyph_create(sized, 0xC6);
        ASSERT_TRUE(glyph);
        ASSERT_NO_FATAL_FAILURE(expect_glyph(*glyph, expected)) << failing;
    }
    EXPECT_GE(asked, 5u); // outline, contours, points, edges, a row, edges at work
}

TEST(Glyphs, TheSpareBlockStaysUsableAfterAnAllocationTooLargeForIt) {
    FontScope scope;
    const int index = stbtt_FindGlyphIndex(&font.info, 'H');
    const auto bitmap_at = [&](int32_t pixel_height) {
        HeapHookScope hook([](uint64_t) { return false; });
        float scale = stbtt_ScaleForPixelHeight(&font.info, static_cast<float>(pixel_height));
        int width, height;
        uint8_t *bitmap =
            stbtt_GetGlyphBitmap(&font.info, scale, scale, index, &width, &height, nullptr, nullptr);
        std::vector<uint8_t> bytes;
        if (bitmap) {
            bytes.assign(bitmap, bitmap + width * height);
        }
        stbtt_FreeBitmap(bitmap, nullptr);
        return bytes;
    };
    const std::vector<uint8_t> small = bitmap_at(40);
    EXPECT_GT(small.size(), 0u);
    for (int round = 0; round < 100; round++) {
        ASSERT_TRUE(bitmap_at(2000).empty());
        ASSERT_EQ(bitmap_at(40), small);
    }
}

TEST(Contrast, IsRaisedInTheMiddleAndKeptAtTheEnds) {
    EXPECT_EQ(glyph_contrast(0), 0);
    EXPECT_EQ(glyph_contrast(128), 191);
    EXPECT_EQ(glyph_contrast(255), 255);
    for (int coverage = 1; coverage < 255; coverage++) {
        EXPECT_GE(glyph_contrast(static_cast<uint8_t>(coverage)), coverage);
    }
}

// ---- Kerning ----

TEST(Kerning, TheDefaultFontHasNone) {
    FontScope scope;
    EXPECT_FALSE(font.has_kerning);
    SizedFont *sized = font_get_size(20);
    EXPECT_EQ(glyph_kerning(sized, glyph_find(sized, 'A')->glyph_index, glyph_find(sized, 'V')->glyph_index),
              0);
}

TEST(Kerning, IsFoundInAnyOfSeveralLookups) {
    TestTree tree;
    int a, v;
    {
        FontScope scope;
        a = stbtt_FindGlyphIndex(&font.info, 'A');
        v = stbtt_FindGlyphIndex(&font.info, 'V');
    }
    tree.file("font", with_table(default_font_bytes(), "GPOS", "GPOS", gpos_table_of_two(a, v, -200)));
    FontScope scope(tree.path("font"));
    EXPECT_TRUE(font.has_kerning);
    EXPECT_EQ(glyph_kerning(font_get_size(20), static_cast<uint32_t>(a), static_cast<uint32_t>(v)), -3);
}

TEST(Kerning, ThereIsNoneInATableCutShortBeforeItsFirstLookup) {
    TestTree tree;
    const std::string table = gpos_table(1, 2, -200);
    constexpr size_t first_lookup = 14, type_size = 2;
    for (size_t length = 0; length < first_lookup + type_size; length++) {
        tree.file("font", with_table(padded_before(default_font_bytes(), length), "GPOS", "GPOS",
                                     table.substr(0, length)));
        FontScope scope(tree.path("font"));
        EXPECT_TRUE(font.file.data) << length;
        EXPECT_FALSE(font.has_kerning) << length;
    }
}

TEST(Kerning, IsTruncatedFromEitherTable) {
    TestTree tree;
    int a, v;
    {
        FontScope scope;
        a = stbtt_FindGlyphIndex(&font.info, 'A');
        v = stbtt_FindGlyphIndex(&font.info, 'V');
    }
    const auto kerning = [&](const std::string &tag, const std::string &table, int left, int right) {
        tree.file("font", with_table(default_font_bytes(), "GPOS", tag, table));
        FontScope scope(tree.path("font"));
        EXPECT_TRUE(font.has_kerning);
        return glyph_kerning(font_get_size(20), static_cast<uint32_t>(left), static_cast<uint32_t>(right));
    };
    // 200 units are 3.18 pixels at 20.
    EXPECT_EQ(kerning("kern", kern_table(a, v, -200), a, v), -3);
    EXPECT_EQ(kerning("kern", kern_table(a, v, 200), a, v), 3);
    EXPECT_EQ(kerning("kern", kern_table(a, v, -200), v, a), 0);
    EXPECT_EQ(kerning("GPOS", gpos_table(a, v, -200), a, v), -3);
    EXPECT_EQ(kerning("GPOS", gpos_table(a, v, 60), a, v), 0);
    EXPECT_EQ(kerning("GPOS", gpos_table(a, v, -200), v, a), 0);
}
