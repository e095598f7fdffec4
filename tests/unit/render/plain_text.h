// Plain text drawing, straight from stb_truetype without a glyph cache, to check and measure the real one
// with.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <vector>

#include <stb_truetype.h>

#include "os/strings.h"
#include "render/plain_draw.h"

// The glyph of one byte.
struct PlainGlyph {
    bool has_shape; // false: a control byte
    int index, advance, left, top, width, height;
    std::vector<uint8_t> bitmap;
};

// A font's 256 glyphs at one height. The file's bytes stay the caller's.
struct PlainFont {
    stbtt_fontinfo info;
    int32_t pixel_height;
    float scale;
    PlainGlyph glyphs[256];

    PlainFont(const uint8_t *file, int32_t wanted_height) : info(), pixel_height(wanted_height) {
        stbtt_InitFont(&info, file, stbtt_GetFontOffsetForIndex(file, 0));
        scale = stbtt_ScaleForPixelHeight(&info, static_cast<float>(pixel_height));
        for (int byte = 0; byte < 256; byte++) {
            glyphs[byte] = glyph_of(byte < 128 ? byte : byte - 256);
        }
    }

    PlainGlyph glyph_of(int codepoint) const {
        if (codepoint >= 0 && codepoint < 32) {
            return {};
        }
        return shape_of(info, scale, codepoint >= 0 ? stbtt_FindGlyphIndex(&info, codepoint) : 0);
    }

    static PlainGlyph shape_of(const stbtt_fontinfo &info, float scale, int index) {
        PlainGlyph glyph = {};
        glyph.has_shape = true;
        glyph.index = index;
        int advance, bearing, right, bottom;
        stbtt_GetGlyphHMetrics(&info, glyph.index, &advance, &bearing);
        glyph.advance = static_cast<int>(static_cast<float>(advance) * scale);
        stbtt_GetGlyphBitmapBox(&info, glyph.index, scale, scale, &glyph.left, &glyph.top, &right, &bottom);
        glyph.width = right - glyph.left;
        glyph.height = bottom - glyph.top;
        glyph.bitmap.resize(static_cast<size_t>(glyph.width * glyph.height));
        stbtt_MakeGlyphBitmap(&info, glyph.bitmap.data(), glyph.width, glyph.height, glyph.width, scale,
                              scale, glyph.index);
        for (uint8_t &c : glyph.bitmap) {
            float t = 1 - static_cast<float>(c) / 255;
            c = static_cast<uint8_t>((1 - t * t) * 255);
        }
        return glyph;
    }
};

struct PlainExtent {
    int32_t width, height;
};

inline PlainExtent plain_draw_text(const PlainFont &plain, Framebuffer *target, Point position,
                                   int32_t line_height, uint32_t colour, Str text) {
    Rect clip = {0, 0, target->width, target->height};
    int32_t x = position.x, y = position.y, widest = 0, height = line_height;
    for (uint64_t i = 0; i < text.count; i++) {
        uint8_t byte = static_cast<uint8_t>(text.data[i]);
        const PlainGlyph &glyph = plain.glyphs[byte];
        if (byte == '\n') {
            widest = std::max(widest, x - position.x);
            height += line_height;
            x = position.x;
            y += line_height;
        } else if (byte == '\t') {
            x += 2 * plain.pixel_height;
        } else if (!glyph.has_shape) {
            x += plain.pixel_height / 4 + 1;
        } else {
            if (glyph.width > 0 && glyph.height > 0) {
                plain_blit_coverage(target, clip, glyph.bitmap.data(), {glyph.width, glyph.height},
                                    {0, 0, glyph.width, glyph.height}, {x + glyph.left, y + glyph.top},
                                    colour);
            }
            if (i + 1 == text.count) {
                return {std::max(x + glyph.advance - position.x, widest), height};
            }
            const PlainGlyph &next = plain.glyphs[static_cast<uint8_t>(text.data[i + 1])];
            if (next.has_shape) {
                int kerning = stbtt_GetGlyphKernAdvance(&plain.info, glyph.index, next.index);
                x += static_cast<int32_t>(static_cast<float>(kerning) * plain.scale);
            }
            x += glyph.advance;
        }
    }
    return {std::max(x - position.x, widest), height};
}
