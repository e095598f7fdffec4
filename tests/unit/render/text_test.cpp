#include "render/text.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <memory>
#include <random>
#include <string>

#include "render/draw.h"
#include "render/font_scope.h"
#include "render/glyphs.h"
#include "render/plain_text.h"
#include "support/heap_hook.h"
#include "support/never_returns.h"
#include "support/picture.h"

namespace {

constexpr uint32_t grey = 0xFF1A1A1A, white = 0xFFFFFFFF;

struct Extent {
    int32_t width, height;
    bool operator==(const Extent &) const = default;
};

std::ostream &operator<<(std::ostream &out, Extent extent) {
    return out << extent.width << " x " << extent.height;
}

Extent draw(Canvas *canvas, Point position, int32_t pixel_height, int32_t line_height, uint32_t colour,
            const std::string &text) {
    uint64_t extent =
        draw_text(&canvas->framebuffer, position, pixel_height, line_height, colour, str_over(text));
    return {static_cast<int32_t>(extent & 0xFFFFFFFF), static_cast<int32_t>(extent >> 32)};
}

// At 14 pixels, where every glyph's advance is 6.
Extent measure(const std::string &text, int32_t line_height = 14) {
    Canvas canvas(1, 1, grey);
    return draw(&canvas, {0, 0}, 14, line_height, white, text);
}

std::string pixels_of(const Canvas &canvas) {
    return {reinterpret_cast<char *>(canvas.framebuffer.pixels), canvas.framebuffer.capacity};
}

} // namespace

TEST(DrawText, AnEmptyTextIsOneLineHigh) {
    FontScope scope;
    EXPECT_EQ(measure("", 17), (Extent{0, 17}));
    EXPECT_EQ(font.sizes.count, 0u);
}

TEST(DrawText, AnEmptyTextReturnsEvenWithoutAFont) {
    ASSERT_FALSE(font.file.data);
    ASSERT_EQ(font.sizes.capacity, 0u);
    EXPECT_EQ(measure("", 17), (Extent{0, 17}));
}

#ifndef _WIN32
TEST(DrawText, AnyOtherTextWithoutAFontNeverReturns) {
    ASSERT_EQ(font.sizes.capacity, 0u);
    EXPECT_TRUE(never_returns([] { measure("a"); }));
    EXPECT_TRUE(never_returns([] { measure("\n"); })); // even without a glyph it needs the size
}
#endif

TEST(DrawText, ALineIsAsWideAsItsAdvances) {
    FontScope scope;
    EXPECT_EQ(measure("a"), (Extent{6, 14}));
    EXPECT_EQ(measure("abc"), (Extent{18, 14}));
    EXPECT_EQ(measure("a b "), (Extent{24, 14}));
}

TEST(DrawText, TheWidestLineCountsAndEveryLineFeedOpensOne) {
    FontScope scope;
    EXPECT_EQ(measure("ab\ncd", 20), (Extent{12, 40}));
    EXPECT_EQ(measure("a\nbcd", 20), (Extent{18, 40}));
    EXPECT_EQ(measure("abc\nd", 20), (Extent{18, 40}));
    EXPECT_EQ(measure("ab\n", 20), (Extent{12, 40}));
    EXPECT_EQ(measure("\n", 20), (Extent{0, 40}));
    EXPECT_EQ(measure("\n\n\nabc", 20), (Extent{18, 80}));
    EXPECT_EQ(measure("a\n\n", -3), (Extent{6, -9}));
}

TEST(DrawText, ATabIsTwicePixelHeightWideWithoutStops) {
    FontScope scope;
    EXPECT_EQ(measure("\t"), (Extent{28, 14}));
    EXPECT_EQ(measure("a\tb"), (Extent{6 + 28 + 6, 14}));
    EXPECT_EQ(measure("\t\t"), (Extent{56, 14}));
}

TEST(DrawText, AControlByteAdvancesByAQuarterAndOneAndDrawsNothing) {
    FontScope scope;
    Canvas canvas(40, 20, grey), untouched(40, 20, grey);
    EXPECT_EQ(draw(&canvas, {2, 15}, 14, 14, white, "\x01"), (Extent{14 / 4 + 1, 14}));
    EXPECT_EQ(draw(&canvas, {2, 15}, 14, 14, white, std::string("\0\r\x1F", 3)), (Extent{3 * 4, 14}));
    EXPECT_EQ(pixels_of(canvas), pixels_of(untouched));
    EXPECT_EQ(measure("a\rb"), (Extent{6 + 4 + 6, 14})); // a control byte
}

TEST(DrawText, EveryByteFrom0x80OnIsAMissingGlyphShape) {
    FontScope scope;
    Canvas canvas(40, 20, grey), missing(40, 20, grey);
    EXPECT_EQ(draw(&canvas, {2, 15}, 14, 14, white, "\xC3\xA9"), (Extent{12, 14}));
    draw(&missing, {2, 15}, 14, 14, white, "\x7F\x7F"); // missing in the font, too
    EXPECT_EQ(pixels_of(canvas), pixels_of(missing));
    SizedFont *sized = font_get_size(14);
    ASSERT_EQ(sized->glyphs.count, 130u);
    EXPECT_EQ(reinterpret_cast<Glyph *>(sized->glyphs.data)[128].codepoint, 0xFFFFFFA9u);
    EXPECT_EQ(reinterpret_cast<Glyph *>(sized->glyphs.data)[129].codepoint, 0xFFFFFFC3u);
}

TEST(DrawText, OutsideTheBufferNothingIsDrawnAndTheExtentIsTheSame) {
    FontScope scope;
    Canvas canvas(40, 20, grey), untouched(40, 20, grey);
    const std::string text = "ab\tc\nd\x80";
    Extent inside = measure(text);
    for (Point position : {Point{-500, 10}, Point{500, 10}, Point{5, -500}, Point{5, 500}, Point{INT_MIN, 0},
                           Point{INT_MAX, INT_MAX}}) {
        EXPECT_EQ(draw(&canvas, position, 14, 14, white, text), inside);
    }
    EXPECT_EQ(pixels_of(canvas), pixels_of(untouched));
}

TEST(DrawText, AFramebufferWithoutPixelsMeasuresToo) {
    FontScope scope;
    Framebuffer nothing = {};
    EXPECT_EQ(draw_text(&nothing, {0, 0}, 14, 14, white, str_from("abc")), (uint64_t{14} << 32 | 18));
}

TEST(DrawText, YIsTheBaseline) {
    FontScope scope;
    Canvas canvas(10, 20, grey);
    draw(&canvas, {1, 10}, 14, 14, white, "H");
    const auto row_is_empty = [&](int32_t y) {
        for (int32_t x = 0; x < 10; x++) {
            if (canvas.framebuffer.pixels[y * 10 + x] != grey) {
                return false;
            }
        }
        return true;
    };
    EXPECT_FALSE(row_is_empty(9));
    EXPECT_TRUE(row_is_empty(10));
    EXPECT_FALSE(row_is_empty(2));
    EXPECT_TRUE(row_is_empty(1));
}

TEST(DrawText, AllocatesNothingOnceItsGlyphsAreThere) {
    FontScope scope;
    Canvas canvas(300, 40, grey);
    const std::string text = "Every visible byte, \x80\xFF\tand\nthe others";
    draw(&canvas, {2, 15}, 14, 14, white, text);
    HeapHookScope hook([](uint64_t) {
        ADD_FAILURE() << "an allocation";
        return true;
    });
    draw(&canvas, {2, 15}, 14, 14, white, text);
}

TEST(DrawText, OutOfMemoryForGlyphsItMeasuresThemAsControlBytes) {
    LeakScope leaks;
    Canvas canvas(40, 20, grey), untouched(40, 20, grey);
    for (uint64_t failing : {uint64_t{0x20001}, 128 * sizeof(Glyph)}) {
        FontScope scope;
        HeapHookScope hook([=](uint64_t size) { return size != failing; });
        EXPECT_EQ(draw(&canvas, {2, 15}, 14, 14, white, "a\x80\n"), (Extent{8, 28}));
    }
    FontScope scope;
    font_get_size(14);
    HeapHookScope hook([=](uint64_t size) { return size != 256 * sizeof(Glyph); });
    EXPECT_EQ(draw(&canvas, {2, 15}, 14, 14, grey, "a\x80z"),
              (Extent{6 + 4 + 4, 14})); // the second makes the table empty
    EXPECT_EQ(pixels_of(canvas), pixels_of(untouched));
}

TEST(DrawText, KerningIsAddedBetweenGlyphsAndNotAfterTheLast) {
    TestTree tree;
    int a, v;
    {
        FontScope scope;
        a = stbtt_FindGlyphIndex(&font.info, 'A');
        v = stbtt_FindGlyphIndex(&font.info, 'V');
    }
    tree.file("font", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(a, v, -200)));
    FontScope scope(tree.path("font"));
    EXPECT_EQ(measure("AV"), (Extent{6 - 2 + 6, 14})); // 2.2 pixels
    EXPECT_EQ(measure("VA"), (Extent{12, 14}));
    EXPECT_EQ(measure("AVAV"), (Extent{20, 14}));
    EXPECT_EQ(measure("A\nV"), (Extent{6, 28}));
    EXPECT_EQ(measure("A\x01V"), (Extent{16, 14}));
    // A text ends at its count, whatever follows.
    Canvas canvas(1, 1, grey);
    EXPECT_EQ(draw_text(&canvas.framebuffer, {0, 0}, 14, 14, white, {1, str_from("AV").data}),
              (uint64_t{14} << 32 | 6));
}

TEST(DrawText, ThereIsNoKerningBeforeAGlyphWithoutMemory) {
    LeakScope leaks;
    TestTree tree;
    tree.file("font", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(0, 0, 300)));
    FontScope scope(tree.path("font"));
    ASSERT_TRUE(font.has_kerning);
    font_get_size(14);
    HeapHookScope hook([=](uint64_t size) { return size != 256 * sizeof(Glyph); });
    EXPECT_EQ(measure("a\x80"), (Extent{6 + 4, 14}));
}

// In a block without spare bytes, so that AddressSanitizer sees a read past the end.
TEST(DrawText, NothingAfterATextIsRead) {
    TestTree tree;
    tree.file("font", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(0, 0, 300)));
    FontScope scope(tree.path("font"));
    ASSERT_TRUE(font.has_kerning);
    const std::string text = "a\nb\tc\x01"
                             "d\xE9";
    for (size_t count = 1; count <= text.size(); count++) {
        std::unique_ptr<char[]> exact(new char[count]);
        memcpy(exact.get(), text.data(), count);
        Canvas canvas(1, 1, grey);
        uint64_t extent = draw_text(&canvas.framebuffer, {0, 0}, 14, 14, white, {count, exact.get()});
        Extent expected = measure(text.substr(0, count));
        EXPECT_EQ(extent, uint64_t(expected.height) << 32 | uint64_t(expected.width));
    }
}

// Compares texts of any bytes, at any place, height and colour, with the plain rules.
TEST(DrawText, EqualsThePlainRulesForRandomTexts) {
    TestTree tree;
    int a;
    {
        FontScope scope;
        a = stbtt_FindGlyphIndex(&font.info, 'A');
    }
    // Kerning after a missing glyph: the second glyph is made while the first is being drawn.
    tree.file("kern_0_0", with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(0, 0, 300)));
    tree.file("kern_0_a", with_table(bytes_of(default_font_path()), "GPOS", "GPOS", gpos_table(0, a, -250)));
    std::mt19937 random(17);
    const auto below = [&](int32_t limit) {
        return static_cast<int32_t>(static_cast<uint32_t>(random()) % static_cast<uint32_t>(limit));
    };
    for (const std::string &path : {default_font_path(), tree.path("kern_0_0"), tree.path("kern_0_a")}) {
        for (int32_t pixel_height : {7, 14, 20, 33}) {
            FontScope scope(path);
            PlainFont plain_font(scope.file(), pixel_height);
            for (int round = 0; round < 400; round++) {
                std::string text;
                for (int32_t length = below(60); length > 0; length--) {
                    switch (below(8)) {
                    case 0:
                        text += static_cast<char>(below(256));
                        break;
                    case 1:
                        text += "\n\t\r\x80\xC3\xA9\xFF\0A"[below(9)];
                        break;
                    default:
                        text += static_cast<char>(32 + below(95));
                    }
                }
                uint32_t clear = below(3) ? grey : static_cast<uint32_t>(random());
                Canvas drawn(1 + below(200), 1 + below(80), clear);
                Canvas plain(drawn.framebuffer.width, drawn.framebuffer.height, clear);
                Point position = {below(260) - 40, below(120) - 20};
                int32_t line_height = below(40) - 5;
                uint32_t colour = static_cast<uint32_t>(random()) | (below(2) ? 0xFF000000 : 0);
                Extent extent = draw(&drawn, position, pixel_height, line_height, colour, text);
                PlainExtent expected = plain_draw_text(plain_font, &plain.framebuffer, position, line_height,
                                                       colour, str_over(text));
                ASSERT_EQ(extent, (Extent{expected.width, expected.height})) << "round " << round;
                ASSERT_EQ(pixels_of(drawn), pixels_of(plain)) << "round " << round;
            }
        }
    }
}

// ---- Pictures ----

namespace {

// Letters, digits and punctuation, pairs that a font may kern, a tab, a control byte, bytes outside ASCII,
// text cut at the edges, and a translucent colour.
void expect_lines(int32_t pixel_height, const std::string &name) {
    FontScope scope;
    Canvas canvas(28 * pixel_height, 7 * pixel_height, grey);
    const std::string text = "The quick brown fox jumps over the lazy dog 0123456789\n"
                             "AV To Wa LT fi ffl || {x[i] += (a != b) ? *p : &q;}\n"
                             "tab:\there, control:\x01"
                             "byte, caf\xC3\xA9 \xFF | `~!@#$%^&-_=\"'<>,./\\";
    draw(&canvas, {4, pixel_height + 2}, pixel_height, pixel_height + 2, 0xFFE0E0E0, text);
    draw(&canvas, {4, 5 * pixel_height}, pixel_height, pixel_height, 0xFFFF8040, "opaque ");
    draw(&canvas, {4 + 8 * pixel_height, 5 * pixel_height}, pixel_height, pixel_height, 0x80FF8040,
         "half of it");
    draw(&canvas, {-pixel_height / 4, 7 * pixel_height + 2}, pixel_height, pixel_height, 0xFF80C0FF,
         "gjpqy cut at the left and at the bottom and at the right side of the picture");
    expect_picture(canvas.framebuffer, name);
}

} // namespace

TEST(TextPicture, At14Pixels) {
    expect_lines(14, "text_14");
}

TEST(TextPicture, At20Pixels) {
    expect_lines(20, "text_20");
}
