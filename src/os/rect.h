// Positions, sizes and rectangles in whole pixels; x grows to the right and y downwards.
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

// The left and upper edges belong to a rectangle, the right and lower ones do not.
inline bool is_inside(const Rect &rect, Point point) {
    return point.x >= rect.x && point.x < rect.x + rect.width && point.y >= rect.y &&
           point.y < rect.y + rect.height;
}
