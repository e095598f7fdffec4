// Text drawn as UTF-8, and the cache of its glyphs.

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <random>
#include <string>

#include "render/draw.h"
#include "render/font_scope.h"
#include "render/plain_utf8_text.h"
#include "render/utf8_scope.h"
#include "support/heap_hook.h"
#include "support/picture.h"

namespace {

constexpr uint32_t grey = 0xFF1A1A1A, white = 0xFFFFFFFF;

uint64_t draw(Canvas *canvas, const std::string &text, int32_t pixel_height = 14) {
    return draw_text(&canvas->framebuffer, {2, pixel_height}, pixel_height, pixel_height, white,
                     str_over(text));
}

int32_t width(const std::string &text, int32_t pixel_height = 14) {
    Canvas canvas(1, 1, grey);
    return static_cast<int32_t>(draw(&canvas, text, pixel_height));
}

std::string drawn(const std::string &text, int32_t pixel_height = 14) {
    Canvas canvas(80, 20, grey);
    draw(&canvas, text, pixel_height);
    return {reinterpret_cast<char *>(canvas.framebuffer.pixels), canvas.framebuffer.capacity};
}

// Text of count characters from first on.
std::string characters(uint32_t first, uint32_t count) {
    std::string text;
    for (uint32_t i = 0; i < count; i++) {
        text += plain_encoded(first + i);
    }
    return text;
}

// How many allocations drawing makes: one for each glyph that is rasterised.
int allocations_of(const std::string &text, int32_t pixel_height = 14) {
    static int count;
    count = 0;
    font_get_size(pixel_height);
    width("\xFF", pixel_height);
    {
        HeapHookScope hook([](uint64_t) {
            count++;
            return true;
        });
        width(text, pixel_height);
    }
    return count;
}

// A small font with code points from U+4E00 on. Few contours, so that rasterising allocates the same each
// time.
const std::string &many_ideographs() {
    static const std::string file = TestFont::file({{0x4E00, 0x4E00 + 20000}});
    return file;
}

} // namespace

// ---- Characters ----

TEST(DrawUtf8Text, ACharacterIsItsGlyphInThePlaceOfItsBytes) {
    FontScope scope;
    const int32_t missing_twice = width("\xC3\xA9");
    Utf8Scope utf8;
    EXPECT_EQ(missing_twice, 12);
    EXPECT_EQ(width("\xC3\xA9"), 6);      // é, of the font
    EXPECT_EQ(width("\xE4\xBD\xA0"), 11); // of the fallback font, as wide as its em
    EXPECT_EQ(width("a\xE4\xBD\xA0z\xF0\x9F\x98\x80"), 6 + 11 + 6 + 11);
    EXPECT_NE(drawn("\xC3\xA9"), drawn("\xC3\xA8"));
    EXPECT_NE(drawn("\xE4\xBD\xA0"), drawn("\xE4\xBD\xA1"));
}

TEST(DrawUtf8Text, AnAsciiTextIsDrawnAsWithoutIt) {
    FontScope scope;
    std::string text;
    for (int byte = 0; byte < 128; byte++) {
        text += static_cast<char>(byte);
    }
    const std::string before = drawn(text) + std::to_string(width(text));
    Utf8Scope utf8;
    EXPECT_EQ(drawn(text) + std::to_string(width(text)), before);
}

TEST(DrawUtf8Text, EachInvalidByteIsTheMissingGlyphShape) {
    FontScope scope;
    const std::string box = drawn("\x7F"), three_boxes = drawn("\x7F\x7F\x7F");
    Utf8Scope utf8;
    EXPECT_EQ(drawn("\xFF"), box);
    EXPECT_EQ(drawn("\xED\xA0\x80"), three_boxes); // a surrogate
    EXPECT_EQ(drawn("\xE0\x80\x80"), three_boxes); // overlong
    EXPECT_EQ(drawn("\xE4\xBD\x7F"), three_boxes);
}

TEST(DrawUtf8Text, WithoutAGlyphInEitherFontItIsOneMissingGlyphShape) {
    FontScope scope;
    const std::string box = drawn("\x7F");
    {
        Utf8Scope utf8;
        EXPECT_EQ(drawn("\xEA\xB0\x80"), box);
        EXPECT_EQ(drawn("\xEA\xB0\x80"), box);
        EXPECT_NE(drawn("\xE4\xBD\xA0"), box);
    }
    LeakScope a_file_that_is_no_font_stays;
    Utf8Scope without_fallback("not a font");
    ASSERT_FALSE(fallback_font.file.data);
    EXPECT_EQ(drawn("\xE4\xBD\xA0"), box);
}

TEST(DrawUtf8Text, TheFallbackFontHasTheSameEm) {
    FontScope scope;
    Utf8Scope utf8;
    for (int32_t pixel_height : {7, 14, 28, 100}) {
        const float em = font_get_size(pixel_height)->scale * 1000;
        EXPECT_EQ(width("\xE4\xBD\xA0", pixel_height), static_cast<int32_t>(em));
    }
}

TEST(DrawUtf8Text, AFallbackFontWithoutAnEmHasTheSmallestOne) {
    FontScope scope;
    Utf8Scope utf8(TestFont::file(ideographs, 0));
    EXPECT_EQ(width("\xE4\xBD\xA0"), static_cast<int32_t>(font_get_size(14)->scale * 1000 / 16 * 1000));
}

TEST(DrawUtf8Text, KerningIsTheFontsOwnOnly) {
    TestTree tree;
    int a, e;
    {
        FontScope scope;
        a = stbtt_FindGlyphIndex(&font.info, 'A');
        e = stbtt_FindGlyphIndex(&font.info, 0xC9);
    }
    tree.file("font", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(a, e, -200)));
    FontScope scope(tree.path("font"));
    Utf8Scope utf8;
    EXPECT_EQ(width("A\xC3\x89"), 6 - 2 + 6);
    EXPECT_EQ(width("A\xE4\xBD\xA0\xC3\x89"), 6 + 11 + 6);
    EXPECT_EQ(width("A\n\xC3\x89"), 6);
    EXPECT_EQ(width("A\t\xC3\x89"), 6 + 28 + 6);
    EXPECT_EQ(width("A\x01\xC3\x89"), 6 + 4 + 6);
}

// Compares any texts at any place, height and colour with the plain rules.
TEST(DrawUtf8Text, EqualsThePlainRulesForRandomTexts) {
    TestTree tree;
    tree.file("kern_0_0", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(0, 0, 300)));
    std::mt19937 random(29);
    const auto below = [&](uint32_t limit) { return static_cast<int32_t>(random() % limit); };
    static const char *const pieces[] = {"\n",
                                         "\t",
                                         "\x01",
                                         "\x80",
                                         "\xE4\xBD",
                                         "\xC3\xA9",
                                         "\xE3\x80\x80",
                                         "\xF0\x9F\x98\x80",
                                         "\xEA\xB0\x80",
                                         "\xCC\x81",
                                         "AV"};
    for (const std::string &path : {default_font_path(), tree.path("kern_0_0")}) {
        for (int32_t pixel_height : {7, 14, 33}) {
            FontScope scope(path);
            Utf8Scope utf8;
            PlainFont plain_font(scope.file(), pixel_height);
            for (int round = 0; round < 200; round++) {
                std::string text;
                for (int32_t length = below(30); length > 0; length--) {
                    text += below(3) == 0   ? pieces[random() % std::size(pieces)]
                            : below(3) == 0 ? std::string(1, static_cast<char>(random()))
                                            : plain_encoded(0x4E00 + static_cast<uint32_t>(below(0x5000)));
                }
                Canvas real(1 + below(200), 1 + below(80), grey);
                Canvas plain(real.framebuffer.width, real.framebuffer.height, grey);
                const Point position = {below(260) - 40, below(120) - 20};
                const int32_t line_height = below(40) - 5;
                const uint32_t colour = static_cast<uint32_t>(random());
                const uint64_t extent =
                    draw_text(&real.framebuffer, position, pixel_height, line_height, colour, str_over(text));
                const PlainExtent expected = plain_draw_utf8_text(
                    plain_font, &fallback_font.info, &plain.framebuffer, position, line_height, colour, text);
                ASSERT_EQ(static_cast<int32_t>(extent), expected.width) << "round " << round;
                ASSERT_EQ(static_cast<int32_t>(extent >> 32), expected.height) << "round " << round;
                ASSERT_EQ(
                    memcmp(real.framebuffer.pixels, plain.framebuffer.pixels, real.framebuffer.capacity), 0)
                    << "round " << round;
            }
        }
    }
}

// ---- The cache ----

TEST(GlyphCache, AGlyphIsRasterisedOnce) {
    FontScope scope;
    Utf8Scope utf8;
    EXPECT_GT(allocations_of("\xC3\xA9\xE4\xBD\xA0\xEA\xB0\x80"), 0);
    EXPECT_EQ(allocations_of("\xC3\xA9\xE4\xBD\xA0\xEA\xB0\x80\xE4\xBD\xA0"), 0);
    EXPECT_GT(allocations_of("\xE4\xBD\xA0", 20), 0); // another height
    EXPECT_EQ(allocations_of("\xE4\xBD\xA0", 20), 0);
    EXPECT_EQ(allocations_of("\xE4\xBD\xA0"), 0);
}

TEST(GlyphCache, KeepsTheMostRecentlyUsedGlyphs) {
    FontScope scope;
    Utf8Scope utf8(many_ideographs());
    const std::string first = plain_encoded(0x4E00), second = plain_encoded(0x4E01);
    width(characters(0x4E00, most_cached_glyphs));
    EXPECT_EQ(allocations_of(characters(0x4E00, most_cached_glyphs)), 0); // all fit
    width(first); // now the second is the least recently used
    EXPECT_GT(allocations_of(plain_encoded(0x4E00 + most_cached_glyphs)), 0);
    EXPECT_EQ(allocations_of(first), 0);
    EXPECT_GT(allocations_of(second), 0);
    EXPECT_EQ(allocations_of(first), 0);
}

TEST(GlyphCache, MissingGlyphsAreKeptAndDroppedLikeOthers) {
    FontScope scope;
    Utf8Scope utf8(many_ideographs());
    const std::string missing = drawn("\x7F");
    width(characters(0x20000, 3 * most_cached_glyphs)); // in no font
    EXPECT_EQ(drawn(plain_encoded(0x20000)), missing);
    width(characters(0x4E00, most_cached_glyphs));
    EXPECT_EQ(allocations_of(characters(0x4E00, most_cached_glyphs)), 0);
}

TEST(GlyphCache, ItsBitmapsAreBounded) {
    FontScope scope;
    Utf8Scope utf8(many_ideographs());
    // At 2000 pixels an ideograph has a little more than 2 MiB.
    width(characters(0x4E00, 8), 2000);
    EXPECT_EQ(allocations_of(characters(0x4E01, 7), 2000), 0);
    EXPECT_GT(allocations_of(plain_encoded(0x4E00), 2000), 0);
    // One that is larger than all of them may be is kept alone.
    width(plain_encoded(0x4E00), 6000);
    EXPECT_EQ(allocations_of(plain_encoded(0x4E00), 6000), 0);
    EXPECT_GT(allocations_of(plain_encoded(0x4E01), 6000), 0);
    EXPECT_GT(allocations_of(plain_encoded(0x4E00), 6000), 0);
}

// More glyphs than the cache keeps, at two heights.
TEST(GlyphCache, RandomGlyphsAreAlwaysTheRightOnes) {
    FontScope scope;
    Utf8Scope utf8(many_ideographs());
    std::mt19937 random(31);
    PlainFont plain_14(scope.file(), 14), plain_20(scope.file(), 20);
    for (int round = 0; round < 60000; round++) {
        const bool is_14 = random() % 2;
        const uint32_t code = 0x4E00 + static_cast<uint32_t>(random() % 9000);
        const Glyph *glyph = cached_glyph(font_get_size(is_14 ? 14 : 20), code);
        ASSERT_EQ(glyph->codepoint, code);
        if (round % 50 == 0) {
            bool is_fallback;
            const PlainGlyph plain = plain_utf8_glyph(is_14 ? plain_14 : plain_20, &fallback_font.info,
                                                      {plain_encoded(code), code, true}, &is_fallback);
            ASSERT_EQ(glyph->width, plain.width);
            ASSERT_EQ(glyph->height, plain.height);
            ASSERT_EQ(memcmp(glyph->bitmap, plain.bitmap.data(), plain.bitmap.size()), 0);
        }
    }
}

TEST(GlyphCache, OutOfMemoryAGlyphIsTheMissingGlyphShape) {
    FontScope scope;
    Utf8Scope utf8;
    const std::string box = drawn("\xFF");
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(drawn("\xE4\xBD\xA0"), box);
    }
    glyph_cache_empty();
    EXPECT_NE(drawn("\xE4\xBD\xA0"), box);
}

TEST(GlyphCache, WithoutASizeThereIsNone) {
    EXPECT_EQ(cached_glyph(nullptr, 0xE9), nullptr);
}

TEST(GlyphCache, ABitmapOf2GiBOrMoreIsTheMissingGlyphShape) {
    FontScope scope;
    Utf8Scope utf8(many_ideographs());
    SizedFont *sized = font_get_size(14);
    const SizedFont as_made = *sized;
    width("\xFF");        // rasterised at a size that fits
    sized->scale = 60.0f; // pixels per font unit
    sized->pixel_height = 15;
    const Glyph *glyph = cached_glyph(sized, 0x4E00);
    EXPECT_EQ(glyph->glyph_index, 0u);
    sized->scale = as_made.scale;
    sized->pixel_height = as_made.pixel_height;
}

// ---- Pictures ----

TEST(Utf8TextPicture, At14And20Pixels) {
    FontScope scope;
    Utf8Scope utf8;
    Canvas canvas(340, 130, grey);
    const std::string text = "na\u00EFve caf\u00E9, \u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC, "
                             "\u0420\u0443\u0441\u0441\u043A\u0438\u0439\n"
                             "\u4F60\u597D\u3000ab\u4E16\u754C! \U0001F600\U0001F642, no glyph: \uAC00\n"
                             "invalid: \xC3 \xFF\x80 \xED\xA0\x80, e\u0301 combining";
    draw_text(&canvas.framebuffer, {4, 14}, 14, 16, white, str_over(text));
    draw_text(&canvas.framebuffer, {4, 76}, 20, 24, 0xC080C0FF, str_over(text));
    expect_picture(canvas.framebuffer, "text_utf8");
}
