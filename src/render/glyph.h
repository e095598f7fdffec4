// The glyphs of a size of the font, as bitmaps of coverage.
//
// Glyphs are rasterised on first use and kept for the life of the font, at the price of never shrinking.
// Interface thread only.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <stb_truetype.h>

#include "render/font.h"

// One character at one height. Pixels; y goes downwards.
struct Glyph {
    uint32_t codepoint;
    int32_t y_offset;     // from the baseline to the bitmap's top, negative above it
    int32_t x_offset;     // from the pen to the bitmap's left
    uint32_t glyph_index; // the font's number for it; 0: the missing-glyph shape
    int32_t advance;      // to the next pen position, truncated
    int32_t width;        // of the bitmap; 0 for an empty glyph
    int32_t height;       // of the bitmap; 0 for an empty glyph
    uint8_t *bitmap;      // width * height bytes in the size's bitmaps; null: no drawing and no metrics
};

// The contrast curve for each byte of coverage in a rasterised bitmap. Thickens strokes: 0 stays 0, 255 stays
// 255, 128 becomes 191.
uint8_t glyph_contrast(uint8_t coverage);

// A font's glyph at a scale in pixels per font unit, with neither codepoint nor bitmap.
Glyph glyph_measure(const stbtt_fontinfo *info, float scale, int index);

inline uint64_t glyph_bytes(const Glyph &glyph) { // of its bitmap
    return static_cast<uint64_t>(int64_t{glyph.width} * glyph.height);
}

// Whether it can be rasterised: stb_truetype counts a bitmap's bytes in signed 32 bits.
inline bool glyph_fits(const Glyph &glyph) {
    return glyph_bytes(glyph) <= INT32_MAX;
}

// Draws a measured glyph into its bitmap, which the caller has allocated.
void glyph_rasterise(const stbtt_fontinfo *info, float scale, const Glyph &glyph);

// Rasterises one codepoint (glyph 0 for one above 0x10FFFF, outside Unicode) and inserts it before the first
// greater one. Returns the new record, valid until the next call. Null when out of memory for the table,
// which is empty from then on.
Glyph *glyph_create(SizedFont *sized, uint32_t codepoint);

// The glyph of a codepoint, made on first use; valid until the next is made. Null for a null sized, or when
// its table is out of memory.
const Glyph *glyph_find(SizedFont *sized, uint32_t codepoint);

// The pixels to add to the pen between two glyphs of the font at a size, truncated.
int32_t glyph_kerning(const SizedFont *sized, uint32_t left_index, uint32_t right_index);

static_assert(sizeof(Glyph) == 40 && offsetof(Glyph, y_offset) == 4 && offsetof(Glyph, x_offset) == 8 &&
              offsetof(Glyph, glyph_index) == 12 && offsetof(Glyph, advance) == 16 &&
              offsetof(Glyph, width) == 20 && offsetof(Glyph, height) == 24 && offsetof(Glyph, bitmap) == 32);
