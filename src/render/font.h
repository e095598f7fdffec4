// The program's font, and its glyphs as bitmaps of coverage for every pixel height that was ever asked for.
//
// Glyphs are rasterised on first use and kept for the life of the font, at the price of never shrinking.
// Interface thread only.
//
// How to use it: font = font_load(path) once or more at start-up, the last one stays; then text is drawn by
// draw_text (render/text.h), which asks for sizes and glyphs here.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <stb_truetype.h>

#include "os/strings.h"

// One character at one height. Pixels; y goes downwards.
struct Glyph {
    uint32_t codepoint;
    int32_t y_offset;     // from the baseline to the bitmap's top, negative above it
    int32_t x_offset;     // from the pen to the bitmap's left
    uint32_t glyph_index; // the font's number for it; 0: the shape for what is missing
    int32_t advance;      // to the next pen position, cut towards zero
    int32_t width;        // of the bitmap; 0 when there is nothing to see
    int32_t height;       // of the bitmap; 0 when there is nothing to see
    uint8_t *bitmap;      // width * height bytes in the size's bitmaps; null: no drawing and no metrics
};

// The font at one height. What a refused allocation left without storage draws nothing: glyphs made from then
// on have a null bitmap, those that are there keep theirs.
struct SizedFont {
    const stbtt_fontinfo *font; // the info of the Font
    float scale;                // pixels for one unit of the font
    int32_t pixel_height;       // from the highest ascender to the lowest descender
    StrBuf bitmaps;             // the glyphs' bytes, one behind the other; nothing of a text but its growth
    DynArray glyphs;            // Glyph, by ascending codepoint; the first 128 are the codepoints 0 to 127
};

struct Font {
    Str file;            // the whole file, owned, read in place by info; kept for good
    stbtt_fontinfo info; // of font 0 of the file
    DynArray sizes;      // SizedFont, by ascending pixel height
    uint8_t has_kerning; // whether any two glyphs may have some
};

// Set at start-up by assigning what font_load returned. All zero until then.
extern Font font;

// Reads a font file, TrueType or OpenType. Returns a Font that is all zero when it cannot be read, is cut
// short or is no font; otherwise a font is trusted as far as stb_truetype can be. The bytes of a file that is
// no font stay allocated, and that is meant. Sizes that were made from an earlier font are not taken over.
Font font_load(Str path);

// Returns the record for a height in pixels, made with its first 128 glyphs when it is asked for the first
// time; valid until another height is. Null, with the list of sizes empty, when memory for the list is
// refused. With a font that is all zero or whose list is empty of storage this never returns: a list of
// capacity 0 grows without end, and that is meant, as nothing is ever drawn without a font.
SizedFont *font_get_size(int32_t pixel_height);

// The contrast curve that every byte of a rasterised bitmap goes through once: coverage in, coverage out.
// Thickens the strokes: 0 stays 0, 255 stays 255, 128 becomes 191.
uint8_t glyph_contrast(uint8_t coverage);

// Rasterises one codepoint (glyph 0 for one above 0x10FFFF, outside Unicode) and inserts it before the first
// greater one. Returns the new record, valid until the next call. Null when out of memory for the table,
// which is then empty and stays so.
Glyph *glyph_create(SizedFont *sized, uint32_t codepoint);

// The glyph of a codepoint, made when there is none yet; valid until the next is made. Null when sized is, or
// when its table is gone.
const Glyph *glyph_find(SizedFont *sized, uint32_t codepoint);

// The pixels to add to the pen between two of the font's glyphs at a size, cut towards zero.
int32_t glyph_kerning(const SizedFont *sized, uint32_t left_index, uint32_t right_index);

static_assert(sizeof(Glyph) == 40 && offsetof(Glyph, y_offset) == 4 && offsetof(Glyph, x_offset) == 8 &&
              offsetof(Glyph, glyph_index) == 12 && offsetof(Glyph, advance) == 16 &&
              offsetof(Glyph, width) == 20 && offsetof(Glyph, height) == 24 && offsetof(Glyph, bitmap) == 32);
static_assert(sizeof(SizedFont) == 64 && offsetof(SizedFont, scale) == 8 &&
              offsetof(SizedFont, pixel_height) == 12 && offsetof(SizedFont, bitmaps) == 16 &&
              offsetof(SizedFont, glyphs) == 40); // the list's growth counts in records of 64 bytes
static_assert(offsetof(Font, info) == 16);
