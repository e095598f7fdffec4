// Plain drawing, pixel by pixel, to check and measure the real primitives with.
#pragma once

#include <stdint.h>

#include <algorithm>

#include "os/framebuffer.h"
#include "os/rect.h"

inline uint8_t plain_byte(float value) {
    return value > 255.0f ? 255 : static_cast<uint8_t>(value);
}

// Blends red, green and blue (the bytes of rgb) over a pixel by alpha.
inline void plain_blend_pixel(uint32_t *pixel, uint32_t rgb, uint8_t alpha) {
    uint8_t *to = reinterpret_cast<uint8_t *>(pixel); // blue, green, red, alpha
    uint8_t blue = static_cast<uint8_t>(rgb), green = static_cast<uint8_t>(rgb >> 8),
            red = static_cast<uint8_t>(rgb >> 16);
    float a = static_cast<float>(alpha) / 255.0f;
    if (to[3] == 0) {
        *pixel = (rgb & 0xFFFFFF) | static_cast<uint32_t>(alpha) << 24;
    } else if (to[3] == 255) {
        to[0] = static_cast<uint8_t>(static_cast<float>(blue) * a + static_cast<float>(to[0]) * (1 - a));
        to[1] = static_cast<uint8_t>(static_cast<float>(green) * a + static_cast<float>(to[1]) * (1 - a));
        to[2] = static_cast<uint8_t>(static_cast<float>(red) * a + static_cast<float>(to[2]) * (1 - a));
    } else {
        double kept =
            static_cast<double>(static_cast<float>(to[3]) / 255.0f) * (1.0 - static_cast<double>(a));
        float out = static_cast<float>(kept + static_cast<double>(a));
        float t = a / out;
        to[0] = plain_byte(static_cast<float>(blue) * t + static_cast<float>(to[0]) * (1 - t));
        to[1] = plain_byte(static_cast<float>(green) * t + static_cast<float>(to[1]) * (1 - t));
        to[2] = plain_byte(static_cast<float>(red) * t + static_cast<float>(to[2]) * (1 - t));
        to[3] = plain_byte(out * 255.0f);
    }
}

// One byte of coverage over one pixel; scale is the colour's alpha / 255.
inline void plain_cover_pixel(uint32_t *pixel, uint32_t rgb, float scale, uint8_t coverage) {
    uint8_t s = static_cast<uint8_t>(static_cast<float>(coverage) * scale);
    if (s == 255 || *pixel >> 24 == 0) {
        *pixel = (rgb & 0xFFFFFF) | static_cast<uint32_t>(s) << 24;
    } else if (s != 0) {
        plain_blend_pixel(pixel, rgb, s);
    }
}

// Calls draw(pixel, column, row) for every pixel of the rectangle that lies in the framebuffer and the clip;
// column and row count from the rectangle's own top left.
template <typename Draw> void plain_for_each_pixel(Framebuffer *target, Rect clip, Rect rect, Draw draw) {
    int64_t right = std::min<int64_t>({int64_t{rect.x} + rect.width, clip.width, target->width});
    int64_t bottom = std::min<int64_t>({int64_t{rect.y} + rect.height, clip.height, target->height});
    for (int64_t y = std::max(rect.y, 0); y < bottom; y++) {
        uint32_t *row = target->pixels + y * target->width;
        for (int64_t x = std::max(rect.x, 0); x < right; x++) {
            draw(&row[x], x - rect.x, y - rect.y);
        }
    }
}

inline void plain_fill_rect(Framebuffer *target, Rect clip, Rect rect, uint32_t colour) {
    plain_for_each_pixel(target, clip, rect, [&](uint32_t *pixel, int64_t, int64_t) { *pixel = colour; });
}

inline void plain_blend_rect(Framebuffer *target, Rect clip, Rect rect, uint32_t colour) {
    uint8_t alpha = static_cast<uint8_t>(colour >> 24);
    if (alpha == 255) {
        plain_fill_rect(target, clip, rect, colour);
    } else if (alpha != 0) {
        plain_for_each_pixel(target, clip, rect, [&](uint32_t *pixel, int64_t, int64_t) {
            plain_blend_pixel(pixel, colour, alpha);
        });
    }
}

inline void plain_blit_coverage(Framebuffer *target, Rect clip, const uint8_t *coverage, Size bitmap,
                                Rect limit, Point position, uint32_t colour) {
    if (colour >> 24 == 0) {
        return;
    }
    float scale = static_cast<float>(colour >> 24) / 255.0f;
    Rect rect = {position.x, position.y, std::min(bitmap.width, limit.width),
                 std::min(bitmap.height, limit.height)};
    plain_for_each_pixel(target, clip, rect, [&](uint32_t *pixel, int64_t column, int64_t row) {
        plain_cover_pixel(pixel, colour, scale, coverage[row * bitmap.width + column]);
    });
}
