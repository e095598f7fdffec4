// The font's sizes and their glyphs for a test.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "render/font.h"
#include "render/glyphs.h"
#include "render/plain_text.h"

inline std::vector<int32_t> heights() {
    std::vector<int32_t> all;
    for (uint64_t i = 0; i < font.sizes.count; i++) {
        all.push_back(reinterpret_cast<SizedFont *>(font.sizes.data)[i].pixel_height);
    }
    return all;
}

inline const Glyph &glyph_at(const SizedFont *sized, uint64_t index) {
    return reinterpret_cast<Glyph *>(sized->glyphs.data)[index];
}

// Expects everything but the codepoint to be as in the plain one.
inline void expect_glyph(const Glyph &glyph, const PlainGlyph &plain) {
    ASSERT_TRUE(glyph.bitmap);
    EXPECT_EQ(glyph.glyph_index, static_cast<uint32_t>(plain.index));
    EXPECT_EQ(glyph.advance, plain.advance);
    EXPECT_EQ(glyph.x_offset, plain.left);
    EXPECT_EQ(glyph.y_offset, plain.top);
    ASSERT_EQ(glyph.width, plain.width);
    ASSERT_EQ(glyph.height, plain.height);
    EXPECT_EQ(std::vector<uint8_t>(glyph.bitmap, glyph.bitmap + glyph.width * glyph.height), plain.bitmap)
        << "codepoint " << glyph.codepoint;
}
