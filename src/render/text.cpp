#include "render/text.h"

#include <algorithm>

#include "os/utf8.h"
#include "render/draw.h"
#include "render/font.h"
#include "render/glyphs.h"
#include "render/utf8_glyphs.h"

bool text_is_utf8;

namespace {

uint64_t extent_of(int32_t width, int32_t height) {
    return uint64_t{static_cast<uint32_t>(height)} << 32 | static_cast<uint32_t>(width);
}

// A byte is its own codepoint. Intentionally no UTF-8: bytes from 0x80 on are sign-extended to codepoints
// outside Unicode, which have glyph 0.
const Glyph *glyph_of(SizedFont *sized, char byte) {
    return glyph_find(sized, static_cast<uint32_t>(static_cast<int32_t>(static_cast<int8_t>(byte))));
}

// draw_text with text_is_utf8, for a text that is not empty. Not inlined, as it would take registers from
// draw_text's loop.
[[gnu::noinline]] uint64_t draw_utf8_text(Framebuffer *framebuffer, Point position, int32_t pixel_height,
                                          int32_t line_height, uint32_t colour, Str text) {
    SizedFont *sized = font_get_size(pixel_height);
    const ClipSize clip = whole_of(framebuffer);
    Point pen = position;
    int32_t widest = 0;
    int32_t height = line_height;
    uint32_t left_index = unkerned_glyph; // of the glyph before the pen
    uint32_t length = 0;
    for (uint64_t i = 0; i < text.count; i += length) {
        char byte = text.data[i];
        length = 1;
        if (byte == '\n') {
            widest = std::max(widest, pen.x - position.x);
            height += line_height;
            pen = {position.x, pen.y + line_height};
            left_index = unkerned_glyph;
            continue;
        }
        if (byte == '\t') {
            pen.x += 2 * pixel_height;
            left_index = unkerned_glyph;
            continue;
        }
        const Glyph *glyph;
        if (static_cast<uint8_t>(byte) < 0x80) {
            glyph = glyph_of(sized, byte);
        } else {
            Utf8Character character = utf8_at(text, i);
            length = character.length;
            glyph = character.is_valid ? cached_glyph(sized, character.code) : glyph_of(sized, byte);
        }
        if (!glyph || !glyph->bitmap) {
            pen.x += pixel_height / 4 + 1;
            left_index = unkerned_glyph;
            continue;
        }
        if (font.has_kerning && left_index != unkerned_glyph && glyph->glyph_index != unkerned_glyph) {
            pen.x += glyph_kerning(sized, left_index, glyph->glyph_index);
        }
        if (glyph->width > 0 && glyph->height > 0) {
            blit_coverage(framebuffer, clip, glyph->bitmap, {glyph->width, glyph->height},
                          {0, 0, glyph->width, glyph->height},
                          {pen.x + glyph->x_offset, pen.y + glyph->y_offset}, colour);
        }
        pen.x += glyph->advance;
        left_index = glyph->glyph_index;
    }
    return extent_of(std::max(widest, pen.x - position.x), height);
}

} // namespace

uint64_t draw_text(Framebuffer *framebuffer, Point position, int32_t pixel_height, int32_t line_height,
                   uint32_t colour, Str text) {
    if (text.count == 0) {
        return extent_of(0, line_height);
    }
    if (text_is_utf8) {
        return draw_utf8_text(framebuffer, position, pixel_height, line_height, colour, text);
    }
    SizedFont *sized = font_get_size(pixel_height);
    const ClipSize clip = whole_of(framebuffer);
    Point pen = position;
    int32_t widest = 0;
    int32_t height = line_height;
    for (uint64_t i = 0; i < text.count; i++) {
        char byte = text.data[i];
        if (byte == '\n') {
            widest = std::max(widest, pen.x - position.x);
            height += line_height;
            pen = {position.x, pen.y + line_height};
            continue;
        }
        if (byte == '\t') {
            pen.x += 2 * pixel_height; // there are no tab stops
            continue;
        }
        const Glyph *glyph = glyph_of(sized, byte);
        if (!glyph || !glyph->bitmap) {
            pen.x += pixel_height / 4 + 1;
            continue;
        }
        if (glyph->width > 0 && glyph->height > 0) {
            blit_coverage(framebuffer, clip, glyph->bitmap, {glyph->width, glyph->height},
                          {0, 0, glyph->width, glyph->height},
                          {pen.x + glyph->x_offset, pen.y + glyph->y_offset}, colour);
        }
        pen.x += glyph->advance;
        if (font.has_kerning && i + 1 < text.count) {
            // Read before the next glyph is made, which may move this one.
            uint32_t glyph_index = glyph->glyph_index;
            const Glyph *next = glyph_of(sized, text.data[i + 1]);
            if (next && next->bitmap) {
                pen.x += glyph_kerning(sized, glyph_index, next->glyph_index);
            }
        }
    }
    return extent_of(std::max(widest, pen.x - position.x), height);
}
