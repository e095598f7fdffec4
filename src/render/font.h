// The program's font, and a record for every pixel height that has been used. Interface thread only.
//
// How to use it: font = font_load(path) at start-up, once or more; the last one stays. draw_text
// (render/text.h) then gets sizes here, and a size's glyphs from render/glyph.h.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <stb_truetype.h>

#include "os/strings.h"

// The font at one height. After bitmaps has run out of memory, new glyphs have a null bitmap; the others keep
// theirs.
struct SizedFont {
    const stbtt_fontinfo *font; // the info of the Font
    float scale;                // pixels per font unit
    int32_t pixel_height;       // from the highest ascender to the lowest descender
    StrBuf bitmaps;             // the glyphs' bytes, one after another; a StrBuf only for its growth
    DynArray glyphs;            // Glyph (glyph.h), by ascending codepoint; the first 128 are 0 to 127
};

struct Font {
    Str file;            // the whole file, owned, read in place by info; never freed
    stbtt_fontinfo info; // of font 0 of the file
    DynArray sizes;      // SizedFont, by ascending pixel height
    bool has_kerning;    // whether any pair of glyphs may have kerning
};

// All zero until start-up assigns what font_load returns.
extern Font font;

// Has the glyphs that font lacks, for text drawn as UTF-8 (render/glyph_cache.h); all zero without one. Its
// sizes are not used.
extern Font fallback_font;

// Loads a TrueType or OpenType file, with an empty list of sizes. Returns a Font that is all zero when the
// file cannot be read, is cut short or is not a font; beyond that only stb_truetype checks it. The bytes of a
// file that is not a font intentionally stay allocated.
Font font_load(Str path);

// The record for a height in pixels, made with its first 128 glyphs on first use; valid until a new height is
// used. Null, with the list of sizes empty, when out of memory for the list. Never returns when the list has
// no storage, as for a font that is all zero: its growth doubles a capacity of 0. Intentional, as nothing is
// ever drawn without a font.
SizedFont *font_get_size(int32_t pixel_height);

static_assert(sizeof(SizedFont) == 64 && offsetof(SizedFont, scale) == 8 &&
              offsetof(SizedFont, pixel_height) == 12 && offsetof(SizedFont, bitmaps) == 16 &&
              offsetof(SizedFont, glyphs) == 40); // the list's growth counts in records of 64 bytes
static_assert(offsetof(Font, info) == 16);
