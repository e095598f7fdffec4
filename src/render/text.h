// Text is drawn and measured by the same code in the same pass. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/strings.h"

// Whether texts are drawn and edited as UTF-8, character by character, instead of byte by byte. Set at
// start-up from the setting utf8_text, before anything is drawn.
extern bool text_is_utf8;

// Draws text in the program's font and returns its extent in pixels: the widest line's width in the low 32
// bits, the height in the high 32. position: the pen's start on the first line's baseline. pixel_height: the
// size of the font. line_height: the distance between lines; the extent's height is line_height for each
// line, of which there is one more than line feeds. Glyphs are clipped at the framebuffer's edges, which does
// not change the extent.
//
// Each byte is a character; those from 0x80 on are intentionally drawn as the font's missing-glyph shape. A
// tab is twice pixel_height wide, other control bytes pixel_height / 4 + 1. The font's kerning is added
// between two glyphs of a line, not after the last. Allocates only for the first text of a height and the
// first use of a glyph. With text_is_utf8, a valid UTF-8 character beyond ASCII is drawn as its glyph, which
// may have to be made again (render/utf8_glyphs.h); only invalid bytes are missing-glyph shapes. There is no
// kerning next to glyphs of the fallback font. Without a font never returns, except for an empty text
// (font_get_size).
uint64_t draw_text(Framebuffer *framebuffer, Point position, int32_t pixel_height, int32_t line_height,
                   uint32_t colour, Str text);
