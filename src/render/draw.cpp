#include "render/draw.h"

#include <algorithm>

#include "os/processor.h"

BlitCoverageRows *blit_coverage_rows = os_has_avx2() ? blit_coverage_rows_avx2 : blit_coverage_rows_sse2;

namespace {

// The part of a rectangle that is left after clipping.
struct Clipped {
    int64_t x, y;                 // within the framebuffer
    int64_t width, height;        // below 1: nothing is left
    int64_t skipped_x, skipped_y; // columns cut off at the left, rows at the top
};

// In 64 bits, as sums of the callers' numbers may overflow 32.
Clipped clip_rect(const Framebuffer *framebuffer, ClipSize clip, Rect rect) {
    int64_t right = std::min(clip.width, framebuffer->width);
    int64_t bottom = std::min(clip.height, framebuffer->height);
    Clipped left = {rect.x, rect.y, rect.width, rect.height, 0, 0};
    if (left.x < 0) {
        left.skipped_x = -left.x;
        left.width += left.x;
        left.x = 0;
    }
    if (left.y < 0) {
        left.skipped_y = -left.y;
        left.height += left.y;
        left.y = 0;
    }
    if (left.x + left.width > right) {
        left.width = right - left.x;
    }
    if (left.y + left.height > bottom) {
        left.height = bottom - left.y;
    }
    return left;
}

bool is_empty(const Clipped &part) {
    return part.width < 1 || part.height < 1;
}

uint32_t *pixel_at(const Framebuffer *framebuffer, int64_t x, int64_t y) {
    return framebuffer->pixels + y * framebuffer->width + x;
}

constexpr uint32_t alpha_of(uint32_t colour) {
    return colour >> 24;
}

// A channel's value, truncated.
uint32_t cut(float value) {
    return static_cast<uint32_t>(static_cast<int32_t>(value));
}

uint32_t cut_to_byte(float value) {
    return value > 255.0f ? 255 : cut(value);
}

} // namespace

void fill_rect(Framebuffer *framebuffer, ClipSize clip, Rect rect, uint32_t colour) {
    Clipped part = clip_rect(framebuffer, clip, rect);
    if (is_empty(part)) {
        return;
    }
    uint32_t *row = pixel_at(framebuffer, part.x, part.y);
    for (int64_t y = 0; y < part.height; y++) {
        // The compiler stores four pixels at a time.
        for (int64_t x = 0; x < part.width; x++) {
            row[x] = colour;
        }
        row += framebuffer->width;
    }
}

void blend_rect(Framebuffer *framebuffer, ClipSize clip, Rect rect, uint32_t colour) {
    if (alpha_of(colour) == 0xFF) {
        fill_rect(framebuffer, clip, rect, colour);
        return;
    }
    Clipped part = clip_rect(framebuffer, clip, rect);
    if (alpha_of(colour) == 0 || is_empty(part)) {
        return;
    }
    uint32_t *row = pixel_at(framebuffer, part.x, part.y);
    for (int64_t y = 0; y < part.height; y++) {
        for (int64_t x = 0; x < part.width; x++) {
            row[x] = blend_pixel(row[x], colour);
        }
        row += framebuffer->width;
    }
}

void blit_coverage(Framebuffer *framebuffer, ClipSize clip, const uint8_t *coverage, Size bitmap_size,
                   Rect limit, Point position, uint32_t colour) {
    Rect drawn = {position.x, position.y, std::min(bitmap_size.width, limit.width),
                  std::min(bitmap_size.height, limit.height)};
    Clipped part = clip_rect(framebuffer, clip, drawn);
    if (alpha_of(colour) == 0 || is_empty(part)) {
        return;
    }
    blit_coverage_rows({pixel_at(framebuffer, part.x, part.y), framebuffer->width,
                        coverage + part.skipped_y * bitmap_size.width + part.skipped_x, bitmap_size.width,
                        part.width, part.height, colour});
}

void fill_outline(Framebuffer *framebuffer, ClipSize clip, Rect rect, int32_t thickness, uint32_t colour) {
    thickness = std::min(thickness, rect.height);
    fill_rect(framebuffer, clip, {rect.x, rect.y, rect.width, thickness}, colour);
    fill_rect(framebuffer, clip, {rect.x, rect.y + rect.height - thickness, rect.width, thickness}, colour);
    fill_rect(framebuffer, clip, {rect.x, rect.y, thickness, rect.height}, colour);
    fill_rect(framebuffer, clip, {rect.x + rect.width - thickness, rect.y, thickness, rect.height}, colour);
}

uint32_t blend_pixel(uint32_t pixel, uint32_t colour) {
    uint32_t pixel_alpha = alpha_of(pixel);
    if (pixel_alpha == 0) {
        return colour;
    }
    float part = static_cast<float>(alpha_of(colour)) / 255.0f;
    uint32_t alpha = 255;
    if (pixel_alpha != 255) {
        // The only double precision, narrowed again at once.
        float whole = static_cast<float>(static_cast<double>(static_cast<float>(pixel_alpha) / 255.0f) *
                                             (1.0 - static_cast<double>(part)) +
                                         static_cast<double>(part));
        alpha = cut_to_byte(whole * 255.0f);
        part = part / whole;
    }
    uint32_t result = alpha << 24;
    for (int shift = 0; shift < 24; shift += 8) {
        float over = static_cast<float>(colour >> shift & 0xFF);
        float under = static_cast<float>(pixel >> shift & 0xFF);
        result |= cut_to_byte(over * part + under * (1.0f - part)) << shift;
    }
    return result;
}

void blit_coverage_rows_scalar(const CoverageBlit &blit) {
    float scale = static_cast<float>(alpha_of(blit.colour)) / 255.0f;
    for (int64_t y = 0; y < blit.height; y++) {
        uint32_t *pixels = blit.pixels + y * blit.pixel_stride;
        const uint8_t *coverage = blit.coverage + y * blit.coverage_stride;
        for (int64_t x = 0; x < blit.width; x++) {
            uint32_t alpha = cut(static_cast<float>(coverage[x]) * scale);
            uint32_t colour = (blit.colour & 0xFFFFFF) | alpha << 24;
            if (alpha == 255 || alpha_of(pixels[x]) == 0) {
                pixels[x] = colour;
            } else if (alpha != 0) {
                pixels[x] = blend_pixel(pixels[x], colour);
            }
        }
    }
}
