// The program's font and its fallback. Interface thread only.
//
// How to use it: font = font_load(path) at start-up, once or more; the last one stays. draw_text
// (render/text.h) then gets the font's sizes and their glyphs from render/glyphs.h.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <stb_truetype.h>

#include "os/arrays.h"
#include "os/strings.h"

struct Font {
    Str file;            // the whole file, owned, read in place by info; never freed
    stbtt_fontinfo info; // of font 0 of the file
    DynArray sizes;      // SizedFont (glyphs.h), by ascending pixel height
    bool has_kerning;    // whether any pair of glyphs may have kerning
};

// All zero until start-up assigns what font_load returns.
extern Font font;

// Has the glyphs that font lacks, for text drawn as UTF-8 (render/utf8_glyphs.h); all zero without one. Its
// sizes are not used.
extern Font fallback_font;

// Loads a TrueType or OpenType file, with an empty list of sizes. Returns a Font that is all zero when the
// file cannot be read, is cut short or is not a font; beyond that only stb_truetype checks it. The bytes of a
// file that is not a font intentionally stay allocated.
Font font_load(Str path);

static_assert(offsetof(Font, info) == 16);
