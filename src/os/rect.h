// Places, sizes and rectangles in whole pixels, x to the right and y downwards.
#pragma once

#include <stdint.h>

struct Point {
    int32_t x;
    int32_t y;
};

struct Size {
    int32_t width;
    int32_t height;
};

struct Rect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};
