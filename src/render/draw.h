// The primitives that write into a framebuffer: an opaque rectangle, a translucent one, and a bitmap of
// coverage in one colour. Outlines and carets are thin rectangles.
//
// Colours are 0xAARRGGBB. Blending is single-precision float, truncated and never rounded; every variant
// below gives the same bits. All primitives draw from row and column 0 up to the clip's width and height, and
// never past the framebuffer's own. Rectangles may have any place and size, and a framebuffer may have no
// pixels.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"

// Where drawing ends: at the width and the height. x and y are ignored.
using ClipSize = Rect;

// The framebuffer's own size.
inline ClipSize whole_of(const Framebuffer *framebuffer) {
    return {0, 0, framebuffer->width, framebuffer->height};
}

// Writes colour, its alpha included, into every pixel of rect. Blends nothing, whatever the alpha.
void fill_rect(Framebuffer *framebuffer, ClipSize clip, Rect rect, uint32_t colour);

// Blends colour over every pixel of rect by its alpha; 0xFF is fill_rect, and 0 draws nothing.
void blend_rect(Framebuffer *framebuffer, ClipSize clip, Rect rect, uint32_t colour);

// Fills a frame of that thickness inside rect, at most as thick as rect is high.
void fill_outline(Framebuffer *framebuffer, ClipSize clip, Rect rect, int32_t thickness, uint32_t colour);

// Blends colour over the framebuffer, each pixel by its byte of coverage scaled by the colour's alpha. The
// bitmap's rows are bitmap_size.width bytes; limit's width and height cut off what is drawn of it (x and y
// are ignored), and its top left pixel is drawn at position. An alpha of 0 draws nothing. The colour replaces
// a pixel of alpha 0, even where the coverage is 0.
void blit_coverage(Framebuffer *framebuffer, ClipSize clip, const uint8_t *coverage, Size bitmap_size,
                   Rect limit, Point position, uint32_t colour);

// Colour blended over one pixel by colour's alpha; colour itself over a pixel of alpha 0.
uint32_t blend_pixel(uint32_t pixel, uint32_t colour);

// ---- The processor's variants ----

// The part of a bitmap that is to be drawn, after clipping.
struct CoverageBlit {
    uint32_t *pixels;        // the first pixel to draw on
    int64_t pixel_stride;    // pixels from one row to the next
    const uint8_t *coverage; // the first pixel's byte
    int64_t coverage_stride; // bytes from one row to the next
    int64_t width;           // pixels, at least 1
    int64_t height;          // rows, at least 1
    uint32_t colour;         // with an alpha above 0
};

// Draws it. Reads and writes no other pixels, and reads no other coverage.
typedef void BlitCoverageRows(const CoverageBlit &blit);

BlitCoverageRows blit_coverage_rows_scalar; // pixel by pixel
BlitCoverageRows blit_coverage_rows_sse2;   // every x86-64 processor
BlitCoverageRows blit_coverage_rows_avx2;   // only with os_has_avx2

// The variant in use: the processor's best, chosen at start-up.
extern BlitCoverageRows *blit_coverage_rows;
