// Plain drawing of UTF-8 text without a glyph cache, to check the real one with.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "os/plain_utf8.h"
#include "render/plain_text.h"

// The glyph of a character beyond ASCII; missing ones have that of byte 0xFF. fallback: the second font's
// info, or null.
inline PlainGlyph plain_utf8_glyph(const PlainFont &plain, const stbtt_fontinfo *fallback,
                                   const PlainCharacter &character, bool *is_fallback) {
    const int code = static_cast<int>(character.code);
    *is_fallback = false;
    if (character.is_valid && stbtt_FindGlyphIndex(&plain.info, code) > 0) {
        return plain.glyph_of(code);
    }
    if (character.is_valid && fallback && stbtt_FindGlyphIndex(fallback, code) > 0) {
        *is_fallback = true;
        const auto em_of = [](const stbtt_fontinfo &info) {
            const uint8_t *head = info.data + info.head;
            return static_cast<float>(head[18] * 256 + head[19]);
        };
        const float scale = plain.scale * (em_of(plain.info) / em_of(*fallback));
        return PlainFont::shape_of(*fallback, scale, stbtt_FindGlyphIndex(fallback, code));
    }
    return plain.glyphs[255];
}

inline PlainExtent plain_draw_utf8_text(const PlainFont &plain, const stbtt_fontinfo *fallback,
                                        Framebuffer *target, Point position, int32_t line_height,
                                        uint32_t colour, const std::string &text) {
    Rect clip = {0, 0, target->width, target->height};
    int32_t x = position.x, y = position.y, widest = 0, height = line_height;
    int kerned_left = -1; // the glyph before, if it is of the first font
    for (const PlainCharacter &character : plain_characters(text)) {
        const uint8_t byte = static_cast<uint8_t>(character.bytes[0]);
        bool is_fallback = false;
        const PlainGlyph glyph =
            byte < 128 ? plain.glyphs[byte] : plain_utf8_glyph(plain, fallback, character, &is_fallback);
        const int left = kerned_left;
        kerned_left = glyph.has_shape && !is_fallback ? glyph.index : -1;
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
            if (left >= 0 && kerned_left >= 0) {
                int kerning = stbtt_GetGlyphKernAdvance(&plain.info, left, glyph.index);
                x += static_cast<int32_t>(static_cast<float>(kerning) * plain.scale);
            }
            if (glyph.width > 0 && glyph.height > 0) {
                plain_blit_coverage(target, clip, glyph.bitmap.data(), {glyph.width, glyph.height},
                                    {0, 0, glyph.width, glyph.height}, {x + glyph.left, y + glyph.top},
                                    colour);
            }
            x += glyph.advance;
        }
    }
    return {std::max(x - position.x, widest), height};
}
