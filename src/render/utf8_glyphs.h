// The glyphs of characters beyond ASCII, for text that is drawn as UTF-8: the font's, or those of the
// fallback font for what the font lacks, scaled to the same em size.
//
// Bounded, unlike the font's own glyphs: to make room for a new one, the least recently used are dropped.
// Interface thread only.
#pragma once

#include <stdint.h>

#include "render/glyphs.h"

constexpr uint32_t most_cached_glyphs = 8192;                      // of all heights together
constexpr uint64_t most_cached_bytes = uint64_t{16} * 1024 * 1024; // of bitmaps; a larger one is kept alone

// The glyph_index of the fallback font's glyphs, which have no kerning.
constexpr uint32_t unkerned_glyph = UINT32_MAX;

// The glyph of a code point at a size of font, rasterised on first use; valid until the next call. The font's
// shape for missing characters when neither font has the glyph, its bitmap is 2 GiB or larger, or memory for
// it runs out; this is remembered as well. Null for a null sized, and when out of memory for that shape.
const Glyph *cached_glyph(SizedFont *sized, uint32_t code_point);

// Drops all glyphs, as tests do when they change a font.
void glyph_cache_empty();
