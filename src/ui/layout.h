// How far the drawing of a frame has got.
#pragma once

#include <stdint.h>

#include "os/rect.h"

// Made for each frame and handed to everything that draws; in pixels of the client area.
struct Layout {
    int32_t x;
    int32_t y;             // of the next row's top
    int32_t width;         // of a row
    int32_t row_advance;   // height of a field's row
    int32_t font_size;     // of glyphs
    int32_t line_height;   // of a row of text
    int32_t text_y_offset; // from a row's top to its baseline
    bool stop;             // an open drop-down covers the rest of the frame, which is not drawn
    bool click_consumed;   // a click of this frame has been acted on; drawing goes on
    Point mouse;           // the pointer
};
