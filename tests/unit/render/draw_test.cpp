#include "render/draw.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "os/processor.h"
#include "render/plain_draw.h"

namespace {

struct Picture : Framebuffer {
    std::vector<uint32_t> storage;

    Picture(int32_t wanted_width, int32_t wanted_height, uint32_t colour)
        : Framebuffer(),
          storage(static_cast<size_t>(wanted_width) * static_cast<size_t>(wanted_height), colour) {
        width = wanted_width;
        height = wanted_height;
        pixels = storage.data();
        capacity = storage.size() * sizeof(uint32_t);
    }
    Rect size() const {
        return {0, 0, width, height};
    }
    uint32_t at(int32_t x, int32_t y) const {
        return storage[static_cast<size_t>(y * width + x)];
    }
    // One character per pixel: '.' for the background, '#' for others.
    std::string drawn(uint32_t nothing) const {
        std::string text;
        for (int32_t y = 0; y < height; y++) {
            for (int32_t x = 0; x < width; x++) {
                text += at(x, y) == nothing ? '.' : '#';
            }
            text += '\n';
        }
        return text;
    }
};

constexpr uint32_t black = 0xFF000000;

std::string filled(Rect rect, Rect clip = {0, 0, 5, 3}) {
    Picture picture(5, 3, black);
    fill_rect(&picture, clip, rect, 0xFF102030);
    return picture.drawn(black);
}

struct NamedVariant {
    const char *name;
    BlitCoverageRows *draw;
};

// Those that this processor supports.
std::vector<NamedVariant> variants() {
    std::vector<NamedVariant> all = {{"scalar", blit_coverage_rows_scalar},
                                     {"SSE2", blit_coverage_rows_sse2}};
    if (os_has_avx2()) {
        all.push_back({"AVX2", blit_coverage_rows_avx2});
    }
    return all;
}

class VariantScope {
public:
    explicit VariantScope(BlitCoverageRows *variant) : before(blit_coverage_rows) {
        blit_coverage_rows = variant;
    }
    ~VariantScope() {
        blit_coverage_rows = before;
    }
    VariantScope(const VariantScope &) = delete;
    VariantScope &operator=(const VariantScope &) = delete;

private:
    BlitCoverageRows *before;
};

// The result for one pixel. Blits rows of equal pixels that take single pixels, half a vector, a whole one
// and several: all pixels must become the same.
uint32_t covered(uint32_t pixel, uint8_t coverage, uint32_t colour) {
    uint32_t first = 0;
    for (int32_t width : {1, 5, 9, 40}) {
        Picture picture(width, 1, pixel);
        const std::vector<uint8_t> row(static_cast<size_t>(width), coverage);
        blit_coverage(&picture, picture.size(), row.data(), {width, 1}, {0, 0, width, 1}, {0, 0}, colour);
        first = width == 1 ? picture.at(0, 0) : first;
        for (int32_t x = 0; x < width; x++) {
            EXPECT_EQ(picture.at(x, 0), first) << "pixel " << x << " of " << width;
        }
    }
    return first;
}

uint32_t blended(uint32_t pixel, uint32_t colour) {
    Picture picture(1, 1, pixel);
    blend_rect(&picture, picture.size(), picture.size(), colour);
    return picture.at(0, 0);
}

} // namespace

// ---- fill_rect ----

TEST(FillRect, WritesTheColourWithItsAlphaAndBlendsNothing) {
    Picture picture(2, 1, 0xFF112233);
    fill_rect(&picture, picture.size(), {0, 0, 1, 1}, 0x00445566);
    EXPECT_EQ(picture.at(0, 0), 0x00445566u);
    EXPECT_EQ(picture.at(1, 0), 0xFF112233u);
}

TEST(FillRect, APixelIsBlueGreenRedAlphaInMemory) {
    Picture picture(1, 1, 0);
    fill_rect(&picture, picture.size(), picture.size(), 0x11223344);
    EXPECT_EQ(memcmp(picture.pixels, "\x44\x33\x22\x11", 4), 0);
}

TEST(FillRect, IsClippedAtEverySide) {
    EXPECT_EQ(filled({1, 1, 2, 1}), ".....\n.##..\n.....\n");
    EXPECT_EQ(filled({-2, -1, 4, 2}), "##...\n.....\n.....\n");
    EXPECT_EQ(filled({3, 2, 100, 100}), ".....\n.....\n...##\n");
    EXPECT_EQ(filled({-1, -1, 7, 5}), "#####\n#####\n#####\n");
}

TEST(FillRect, ARectangleOutsideDrawsNothing) {
    std::string nothing = ".....\n.....\n.....\n";
    EXPECT_EQ(filled({-4, 0, 4, 3}), nothing); // ends at the buffer's edge
    EXPECT_EQ(filled({-9, 0, 4, 3}), nothing);
    EXPECT_EQ(filled({0, -3, 5, 3}), nothing);
    EXPECT_EQ(filled({5, 0, 4, 3}), nothing);
    EXPECT_EQ(filled({0, 3, 5, 3}), nothing);
    EXPECT_EQ(filled({1, 1, 0, 1}), nothing);
    EXPECT_EQ(filled({1, 1, 1, 0}), nothing);
    EXPECT_EQ(filled({4, 1, -2, 1}), nothing);
    EXPECT_EQ(filled({-1, 0, -2, 3}), nothing);
}

TEST(FillRect, TheClipCutsOnlyAtTheRightAndBottomAndItsPlaceIsIgnored) {
    EXPECT_EQ(filled({0, 0, 5, 3}, {3, 2, 4, 2}), "####.\n####.\n.....\n");
    EXPECT_EQ(filled({4, 0, 1, 3}, {0, 0, 4, 3}), ".....\n.....\n.....\n");
    EXPECT_EQ(filled({0, 0, 5, 3}, {0, 0, 0, 3}), ".....\n.....\n.....\n");
    EXPECT_EQ(filled({0, 0, 5, 3}, {0, 0, -1, -1}), ".....\n.....\n.....\n");
}

TEST(FillRect, AClipLargerThanTheBufferEndsWithTheBuffer) {
    EXPECT_EQ(filled({3, 1, 9, 9}, {0, 0, 100, 100}), ".....\n...##\n...##\n");
}

TEST(FillRect, NumbersWhoseSumsOverflowAreClippedCorrectly) {
    std::string all = "#####\n#####\n#####\n", nothing = ".....\n.....\n.....\n";
    EXPECT_EQ(filled({0, 0, INT_MAX, INT_MAX}), all);
    EXPECT_EQ(filled({1, 1, INT_MAX, INT_MAX}), ".....\n.####\n.####\n");
    EXPECT_EQ(filled({INT_MIN, INT_MIN, INT_MAX, INT_MAX}), nothing);
    EXPECT_EQ(filled({INT_MAX, INT_MAX, INT_MAX, INT_MAX}), nothing);
    EXPECT_EQ(filled({INT_MIN, 0, INT_MIN, 3}), nothing);
    EXPECT_EQ(filled({-1, -1, INT_MAX, INT_MAX}), all);
}

TEST(FillRect, EveryWidthIsFilledToItsLastPixelAndNoFurther) {
    for (int32_t width = 1; width <= 40; width++) {
        for (int32_t x = 0; x < 5; x++) {
            Picture picture(48, 3, black);
            fill_rect(&picture, picture.size(), {x, 1, width, 1}, 0xFFFFFFFF);
            for (int32_t i = 0; i < 48 * 3; i++) {
                bool inside = i >= 48 + x && i < 48 + x + width;
                ASSERT_EQ(picture.storage[static_cast<size_t>(i)], inside ? 0xFFFFFFFFu : black);
            }
        }
    }
}

TEST(Draw, AFramebufferWithoutPixelsIsAcceptedByAll) {
    Framebuffer nothing = {};
    uint8_t coverage[4] = {1, 2, 3, 4};
    for (Rect clip : {Rect{0, 0, 0, 0}, Rect{0, 0, 10, 10}}) {
        for (Rect rect : {Rect{0, 0, 5, 5}, Rect{-3, -3, 5, 5}, Rect{0, 0, 0, 0}}) {
            fill_rect(&nothing, clip, rect, 0xFFFFFFFF);
            blend_rect(&nothing, clip, rect, 0x80FFFFFF);
            blit_coverage(&nothing, clip, coverage, {2, 2}, {0, 0, 2, 2}, {rect.x, rect.y}, 0xFFFFFFFF);
        }
    }
    EXPECT_EQ(nothing.pixels, nullptr);
}

// ---- blend_rect ----

TEST(BlendRect, AnOpaqueColourIsFilledItsAlphaIncluded) {
    for (uint32_t pixel : {0xFF123456u, 0x80123456u, 0x00123456u}) {
        EXPECT_EQ(blended(pixel, 0xFFABCDEF), 0xFFABCDEFu);
    }
}

TEST(BlendRect, AnAlphaOfZeroChangesNothing) {
    for (uint32_t pixel : {0xFF123456u, 0x80123456u, 0x00123456u}) {
        EXPECT_EQ(blended(pixel, 0x00ABCDEF), pixel);
    }
}

TEST(BlendRect, HalfRedOverBlackIs128) {
    EXPECT_EQ(blended(0xFF000000, 0x80FF0000), 0xFF800000u);
}

TEST(BlendRect, OverATransparentPixelTheColourIsCopied) {
    EXPECT_EQ(blended(0x00FFFFFF, 0x40123456), 0x40123456u);
    EXPECT_EQ(blended(0x00000000, 0x01000000), 0x01000000u);
}

TEST(BlendRect, OverATranslucentPixelTheAlphasAdd) {
    // 128/255 under 128/255: 0.50196 * 0.49804 + 0.50196 = 0.75196, which is 191.75 of 255, truncated to 191.
    EXPECT_EQ(blended(0x80000000, 0x80FF0000) >> 24, 191u);
    EXPECT_EQ(blended(0x80000000, 0x80FF0000) >> 16 & 0xFF, 170u); // 255 * 0.50196 / 0.75196 = 170.2
}

TEST(BlendRect, IsClippedLikeAFill) {
    Picture picture(5, 3, black);
    blend_rect(&picture, {0, 0, 4, 3}, {-1, 1, 100, 100}, 0x80FFFFFF);
    EXPECT_EQ(picture.drawn(black), ".....\n####.\n####.\n");
    blend_rect(&picture, {0, 0, 5, 3}, {INT_MIN, 0, INT_MAX, 3}, 0x80FFFFFF);
    blend_rect(&picture, {0, 0, 5, 3}, {5, 0, INT_MAX, 3}, 0x80FFFFFF);
    EXPECT_EQ(picture.drawn(black), ".....\n####.\n####.\n");
}

TEST(BlendPixel, EqualsThePlainRulesForEveryAlphaOfBoth) {
    const uint32_t channels[] = {0x000000, 0xFFFFFF, 0x1A1A1A, 0xFF8000, 0x010203, 0xFEFDFC, 0x7F8081};
    for (uint32_t under_alpha = 0; under_alpha < 256; under_alpha++) {
        for (uint32_t alpha = 0; alpha < 256; alpha++) {
            for (uint32_t under : channels) {
                for (uint32_t over : channels) {
                    uint32_t pixel = under | under_alpha << 24, plain = pixel;
                    plain_blend_pixel(&plain, over, static_cast<uint8_t>(alpha));
                    ASSERT_EQ(blend_pixel(pixel, over | alpha << 24), plain)
                        << std::hex << pixel << " " << over << " " << alpha;
                }
            }
        }
    }
}

// ---- blit_coverage ----

TEST(BlitCoverage, FullCoverageWithAnOpaqueColourIsTheColour) {
    for (const NamedVariant &variant : variants()) {
        VariantScope scope(variant.draw);
        EXPECT_EQ(covered(0xFF112233, 255, 0xFFABCDEF), 0xFFABCDEFu);
        EXPECT_EQ(covered(0x80112233, 255, 0xFFABCDEF), 0xFFABCDEFu);
    }
}

TEST(BlitCoverage, NoCoverageOverAnOpaquePixelChangesNothing) {
    for (const NamedVariant &variant : variants()) {
        VariantScope scope(variant.draw);
        EXPECT_EQ(covered(0xFF112233, 0, 0xFFABCDEF), 0xFF112233u);
        EXPECT_EQ(covered(0x80112233, 0, 0xFFABCDEF), 0x80112233u);
        EXPECT_EQ(covered(0xFF112233, 1, 0x80ABCDEF), 0xFF112233u); // scaled to 0
    }
}

TEST(BlitCoverage, OverATransparentPixelEvenNoCoverageIsWritten) {
    for (const NamedVariant &variant : variants()) {
        VariantScope scope(variant.draw);
        EXPECT_EQ(covered(0x00112233, 0, 0xFFABCDEF), 0x00ABCDEFu);
        EXPECT_EQ(covered(0x00112233, 100, 0xFFABCDEF), 0x64ABCDEFu);
        EXPECT_EQ(covered(0x00112233, 100, 0x80ABCDEF), 0x32ABCDEFu);
    }
}

TEST(BlitCoverage, AColourOfNoAlphaDrawsNothing) {
    EXPECT_EQ(covered(0xFF112233, 255, 0x00ABCDEF), 0xFF112233u);
    EXPECT_EQ(covered(0x00112233, 255, 0x00ABCDEF), 0x00112233u);
}

TEST(BlitCoverage, SkippedColumnsAndRowsShiftTheSourceAndTheStrideStays) {
    const uint8_t coverage[3 * 3] = {255, 0, 0, 0, 255, 0, 0, 0, 255};
    const auto drawn = [&](Point position, Rect limit) {
        Picture picture(4, 4, black);
        blit_coverage(&picture, picture.size(), coverage, {3, 3}, limit, position, 0xFFFFFFFF);
        return picture.drawn(black);
    };
    EXPECT_EQ(drawn({0, 0}, {0, 0, 3, 3}), "#...\n.#..\n..#.\n....\n");
    EXPECT_EQ(drawn({-1, 0}, {0, 0, 3, 3}), "....\n#...\n.#..\n....\n");
    EXPECT_EQ(drawn({0, -2}, {0, 0, 3, 3}), "..#.\n....\n....\n....\n");
    EXPECT_EQ(drawn({2, 2}, {0, 0, 3, 3}), "....\n....\n..#.\n...#\n");
    EXPECT_EQ(drawn({0, 0}, {9, 9, 2, 100}), "#...\n.#..\n....\n....\n"); // cut to two columns
    EXPECT_EQ(drawn({0, 0}, {0, 0, 3, 1}), "#...\n....\n....\n....\n");
    EXPECT_EQ(drawn({-1, -1}, {0, 0, 2, 2}), "#...\n....\n....\n....\n");
    EXPECT_EQ(drawn({0, 0}, {0, 0, 0, 3}), "....\n....\n....\n....\n");
    EXPECT_EQ(drawn({INT_MAX, INT_MAX}, {0, 0, 3, 3}), "....\n....\n....\n....\n");
    EXPECT_EQ(drawn({INT_MIN, INT_MIN}, {0, 0, 3, 3}), "....\n....\n....\n....\n");
    EXPECT_EQ(drawn({-3, 0}, {0, 0, 3, 3}), "....\n....\n....\n....\n");
}

TEST(BlitCoverage, TheBestVariantIsInUse) {
    EXPECT_EQ(blit_coverage_rows, os_has_avx2() ? &blit_coverage_rows_avx2 : &blit_coverage_rows_sse2);
}

// Every byte of coverage in one row, with every alpha, for a grid of colours over a grid of pixels.
TEST(BlitCoverage, EveryVariantEqualsThePlainRulesForEveryCoverageAndEveryAlpha) {
    std::vector<uint8_t> coverage(256);
    for (size_t i = 0; i < 256; i++) {
        coverage[i] = static_cast<uint8_t>(i);
    }
    const uint32_t colours[] = {0x000000, 0xFFFFFF, 0x80C0FF, 0x1A1A1A, 0xE0E0E0, 0x010305, 0xFEFA7F};
    const uint32_t unders[] = {0xFF000000, 0xFFFFFFFF, 0xFF1A1A1A, 0xFF6F40FE, 0xFF010203,
                               0x00000000, 0x00FFFFFF, 0x01FF8040, 0x80204060, 0xFE7F8081};
    for (const NamedVariant &variant : variants()) {
        for (uint32_t under : unders) {
            for (uint32_t rgb : colours) {
                for (uint32_t alpha = 1; alpha < 256; alpha++) {
                    Picture drawn(256, 1, under), plain(256, 1, under);
                    variant.draw({drawn.pixels, 256, coverage.data(), 256, 256, 1, rgb | alpha << 24});
                    plain_blit_coverage(&plain, plain.size(), coverage.data(), {256, 1}, {0, 0, 256, 1},
                                        {0, 0}, rgb | alpha << 24);
                    ASSERT_EQ(drawn.storage, plain.storage)
                        << variant.name << std::hex << " " << under << " " << rgb << " " << alpha;
                }
            }
        }
    }
}

// Channel by channel, every pair of values: over opaque pixels, with every alpha that coverage can give.
TEST(BlitCoverage, EveryVariantEqualsThePlainRulesForEveryPairOfChannels) {
    std::vector<uint8_t> coverage(256);
    std::vector<uint32_t> unders(256);
    for (uint32_t i = 0; i < 256; i++) {
        unders[i] = 0xFF000000 | i << 16 | (255 - i) << 8 | (i ^ 0x55);
    }
    for (const NamedVariant &variant : variants()) {
        for (uint32_t over = 0; over < 256; over++) {
            for (uint32_t alpha = 0; alpha < 256; alpha++) {
                std::fill(coverage.begin(), coverage.end(), static_cast<uint8_t>(alpha));
                Picture drawn(256, 1, 0), plain(256, 1, 0);
                drawn.storage = unders;
                plain.storage = unders;
                drawn.pixels = drawn.storage.data();
                plain.pixels = plain.storage.data();
                uint32_t colour = 0xFF000000 | over << 16 | over << 8 | over;
                variant.draw({drawn.pixels, 256, coverage.data(), 256, 256, 1, colour});
                plain_blit_coverage(&plain, plain.size(), coverage.data(), {256, 1}, {0, 0, 256, 1}, {0, 0},
                                    colour);
                ASSERT_EQ(drawn.storage, plain.storage) << variant.name << " " << over << " " << alpha;
            }
        }
    }
}

// All widths and places, with rows that mix opaque pixels with others. Bitmaps and framebuffers are in blocks
// of their exact size, so that AddressSanitizer sees every access outside.
TEST(BlitCoverage, EveryVariantEqualsThePlainRulesForEveryWidthPlaceAndCut) {
    std::mt19937 random(11);
    const auto any = [&] { return static_cast<uint32_t>(random()); };
    const auto below = [&](int32_t limit) {
        return static_cast<int32_t>(any() % static_cast<uint32_t>(limit));
    };
    for (const NamedVariant &variant : variants()) {
        VariantScope scope(variant.draw);
        for (int round = 0; round < 20000; round++) {
            Size bitmap = {1 + round % 40, 1 + below(6)};
            size_t count = static_cast<size_t>(bitmap.width * bitmap.height);
            std::unique_ptr<uint8_t[]> coverage(new uint8_t[count]);
            for (size_t i = 0; i < count; i++) {
                coverage[i] = static_cast<uint8_t>(below(3) ? below(256) : below(2) * 255);
            }
            int32_t width = 1 + below(50), height = 1 + below(8);
            Picture drawn(width, height, 0);
            int32_t not_opaque = below(4) ? 0 : 1 + below(20); // one in that number
            for (uint32_t &pixel : drawn.storage) {
                pixel = any() | 0xFF000000;
                if (not_opaque && below(not_opaque) == 0) {
                    pixel = below(2) ? any() : pixel & 0xFFFFFF;
                }
            }
            Picture plain = drawn;
            plain.pixels = plain.storage.data();
            Rect clip = {below(9), below(9), width - (below(3) ? 0 : below(6)),
                         height - (below(3) ? 0 : below(3))};
            Rect limit = {0, 0, below(3) ? bitmap.width : below(50), below(3) ? bitmap.height : below(8)};
            Point position = {below(width + 60) - 50, below(height + 8) - 7};
            uint32_t colour = any() | (below(2) ? 0xFF000000 : 0);
            // Draws into a block without spare bytes.
            std::unique_ptr<uint32_t[]> exact(new uint32_t[drawn.storage.size()]);
            memcpy(exact.get(), drawn.pixels, drawn.capacity);
            drawn.pixels = exact.get();
            blit_coverage(&drawn, clip, coverage.get(), bitmap, limit, position, colour);
            plain_blit_coverage(&plain, clip, coverage.get(), bitmap, limit, position, colour);
            ASSERT_EQ(memcmp(exact.get(), plain.pixels, plain.capacity), 0)
                << variant.name << " round " << round << ": " << bitmap.width << "x" << bitmap.height
                << " at " << position.x << "," << position.y;
        }
    }
}

TEST(BlitCoverage, NothingBesideTheRectangleIsWritten) {
    const std::vector<uint8_t> coverage(40 * 3, 200);
    for (const NamedVariant &variant : variants()) {
        VariantScope scope(variant.draw);
        for (int32_t width = 1; width <= 40; width++) {
            Picture picture(50, 5, black);
            blit_coverage(&picture, picture.size(), coverage.data(), {width, 3}, {0, 0, width, 3}, {3, 1},
                          0xFFFFFFFF);
            for (int32_t i = 0; i < 50 * 5; i++) {
                bool inside = i % 50 >= 3 && i % 50 < 3 + width && i / 50 >= 1 && i / 50 < 4;
                ASSERT_EQ(picture.storage[static_cast<size_t>(i)] != black, inside) << variant.name << width;
            }
        }
    }
}
