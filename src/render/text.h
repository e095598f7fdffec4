// Text, drawn and measured by the same code in the same pass. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/strings.h"

// Draws text in the program's font and returns its extent in pixels: the widest line's width in the low 32
// bits, the height in the high 32. position is the pen's start on the first line's baseline; pixel_height
// chooses the size of the font; line_height is the way from one line to the next, and the extent's height is
// as many of it as there are lines, of which an empty text has one and each line feed opens another. Glyphs
// end at the framebuffer's edges, and the extent is the same wherever the text stands.
//
// Bytes are characters: one from 0x80 on is drawn as the font's shape for what is missing, and that is meant.
// A tab is twice pixel_height wide, other control bytes pixel_height / 4 + 1. Between two glyphs of a line
// the font's kerning is added, none behind the last. Allocates only for a height's first text and for glyphs
// that are drawn for the first time. Without a font any text but an empty one never returns (font_get_size).
uint64_t draw_text(Framebuffer *framebuffer, Point position, int32_t pixel_height, int32_t line_height,
                   uint32_t colour, Str text);
