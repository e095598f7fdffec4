// The font's sizes, one for every pixel height that has been used, and their glyphs, as bitmaps of coverage.
//
// Glyphs are rasterised on first use and kept for the life of the font, at the price of never shrinking.
// Interface thread only.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <stb_truetype.h>

#include "os/arrays.h"
#include "os/strings.h"

// The font at one height. After bitmaps has run out of memory, new glyphs have a null bitmap; the others keep
// theirs.
struct SizedFont {
    const stbtt_fontinfo *font; // the info of the Font
    float scale;                // pixels per font unit
    int32_t pixel_height;       // from the highest ascender to the lowest descender
    StrBuf bitmaps;             // the glyphs' bytes, one after another; a StrBuf only for its growth
    DynArray glyphs;            // Glyph, by ascending codepoint; the first 128 are 0 to 127
};

// The record for a height in pixels, made with its first 128 glyphs on first use; valid until a new height is
// used. Null, with the list of sizes empty, when out of memory for the list. Never returns when the list has
// no storage, as for a font that is all zero: its growth doubles a capacity of 0. Intentional, as nothing is
// ever drawn without a font.
SizedFont *font_get_size(int32_t pixel_height);

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

static_assert(sizeof(SizedFont) == 64 && offsetof(SizedFont, scale) == 8 &&
              offsetof(SizedFont, pixel_height) == 12 && offsetof(SizedFont, bitmaps) == 16 &&
              offsetof(SizedFont, glyphs) == 40); // the list's growth counts in records of 64 bytes
static_assert(sizeof(Glyph) == 40 && offsetof(Glyph, y_offset) == 4 && offsetof(Glyph, x_offset) == 8 &&
              offsetof(Glyph, glyph_index) == 12 && offsetof(Glyph, advance) == 16 &&
              offsetof(Glyph, width) == 20 && offsetof(Glyph, height) == 24 && offsetof(Glyph, bitmap) == 32);
