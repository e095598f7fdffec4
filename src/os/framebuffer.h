// The picture of a window's client area, which the program draws into and the window shows.
#pragma once

#include <stddef.h>
#include <stdint.h>

// A colour is a 32-bit 0xAARRGGBB, so a pixel's bytes in memory are blue, green, red, alpha; alpha 0xFF is
// opaque. Rows follow each other without gaps, the top row first.
struct Framebuffer {
    int32_t width;     // pixels in a row; also from one row to the next
    int32_t height;    // rows
    uint32_t *pixels;  // width * height, the owner's; may be null when there are none
    uint64_t capacity; // bytes allocated for pixels
};

static_assert(sizeof(Framebuffer) == 24 && offsetof(Framebuffer, height) == 4 &&
              offsetof(Framebuffer, pixels) == 8 && offsetof(Framebuffer, capacity) == 16);
