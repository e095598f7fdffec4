#include "render/glyphs.h"

#include <algorithm>

#include <string.h>

#include "render/font.h"

// ---- Sizes ----

SizedFont *font_get_size(int32_t pixel_height) {
    SizedFont *sizes = reinterpret_cast<SizedFont *>(font.sizes.data);
    uint64_t count = font.sizes.count;
    uint64_t index = 0;
    while (index < count && sizes[index].pixel_height < pixel_height) {
        index++;
    }
    if (index < count && sizes[index].pixel_height == pixel_height) {
        return &sizes[index];
    }
    SizedFont *sized =
        static_cast<SizedFont *>(dynarray_insert(&font.sizes, sizeof(SizedFont), index, nullptr));
    if (!sized) {
        return nullptr;
    }
    sized->font = &font.info;
    sized->scale = stbtt_ScaleForPixelHeight(&font.info, static_cast<float>(pixel_height));
    sized->pixel_height = pixel_height;
    strbuf_init(&sized->bitmaps, 0x20000);
    dynarray_init(&sized->glyphs, sizeof(Glyph), 128);
    for (uint32_t codepoint = 0; codepoint < 128; codepoint++) {
        glyph_create(sized, codepoint);
    }
    return sized;
}

// ---- Glyphs ----

namespace {

Glyph *glyphs_of(const SizedFont *sized) {
    return reinterpret_cast<Glyph *>(sized->glyphs.data);
}

// Reserves count bytes in the size's bitmaps, which may move. Null when out of memory, and from then on.
uint8_t *reserve_bitmap(SizedFont *sized, uint64_t count) {
    uint8_t *before = reinterpret_cast<uint8_t *>(sized->bitmaps.data);
    if (!strbuf_make_room(&sized->bitmaps, count, nullptr)) {
        // Existing glyphs keep the old block.
        sized->bitmaps.data = nullptr;
        sized->bitmaps.capacity = 0;
        return nullptr;
    }
    uint8_t *data = reinterpret_cast<uint8_t *>(sized->bitmaps.data);
    for (uint64_t i = 0; data != before && i < sized->glyphs.count; i++) {
        Glyph *glyph = &glyphs_of(sized)[i];
        if (glyph->bitmap) {
            glyph->bitmap = data + (glyph->bitmap - before);
        }
    }
    uint8_t *bitmap = data + sized->bitmaps.count;
    sized->bitmaps.count = sized->bitmaps.count + count;
    return bitmap;
}

Glyph rasterise(SizedFont *sized, uint32_t codepoint) {
    constexpr uint32_t first_with_shape = 32;
    constexpr uint32_t last_in_unicode = 0x10FFFF;
    Glyph glyph = {};
    glyph.codepoint = codepoint;
    if (codepoint < first_with_shape) {
        return glyph;
    }
    // stb_truetype takes the codepoint as signed, and would read before the start of a format 0 cmap.
    int index =
        codepoint <= last_in_unicode ? stbtt_FindGlyphIndex(sized->font, static_cast<int>(codepoint)) : 0;
    Glyph shape = glyph_measure(sized->font, sized->scale, index);
    uint8_t *bitmap = glyph_fits(shape) ? reserve_bitmap(sized, glyph_bytes(shape)) : nullptr;
    if (!bitmap) {
        return glyph;
    }
    shape.codepoint = codepoint;
    shape.bitmap = bitmap;
    glyph_rasterise(sized->font, sized->scale, shape);
    return shape;
}

// Index of the first glyph at or after first with a greater codepoint; the count when there is none.
uint64_t first_above(const SizedFont *sized, uint64_t first, uint32_t codepoint) {
    uint64_t count = sized->glyphs.count;
    const Glyph *glyphs = glyphs_of(sized);
    while (first < count && glyphs[first].codepoint <= codepoint) {
        first++;
    }
    return first;
}

} // namespace

uint8_t glyph_contrast(uint8_t coverage) {
    float t = 1.0f - static_cast<float>(coverage) / 255.0f;
    return static_cast<uint8_t>((1.0f - t * t) * 255.0f);
}

Glyph glyph_measure(const stbtt_fontinfo *info, float scale, int index) {
    int advance, bearing, left, top, right, bottom;
    stbtt_GetGlyphHMetrics(info, index, &advance, &bearing);
    stbtt_GetGlyphBitmapBox(info, index, scale, scale, &left, &top, &right, &bottom);
    Glyph glyph = {};
    glyph.y_offset = top;
    glyph.x_offset = left;
    glyph.glyph_index = static_cast<uint32_t>(index);
    glyph.advance = static_cast<int32_t>(static_cast<float>(advance) * scale);
    // A negative height turns the box upside down.
    glyph.width = std::max(right - left, 0);
    glyph.height = std::max(bottom - top, 0);
    return glyph;
}

void glyph_rasterise(const stbtt_fontinfo *info, float scale, const Glyph &glyph) {
    uint64_t count = glyph_bytes(glyph);
    // stb_truetype may draw nothing: without a shape, or when even the spare block is too small.
    memset(glyph.bitmap, 0, count);
    stbtt_MakeGlyphBitmap(info, glyph.bitmap, glyph.width, glyph.height, glyph.width, scale, scale,
                          static_cast<int>(glyph.glyph_index));
    for (uint64_t i = 0; i < count; i++) {
        glyph.bitmap[i] = glyph_contrast(glyph.bitmap[i]);
    }
}

Glyph *glyph_create(SizedFont *sized, uint32_t codepoint) {
    if (sized->glyphs.capacity == 0) {
        return nullptr;
    }
    Glyph glyph = rasterise(sized, codepoint);
    uint64_t index = first_above(sized, 0, codepoint);
    return static_cast<Glyph *>(dynarray_insert(&sized->glyphs, sizeof(Glyph), index, &glyph));
}

const Glyph *glyph_find(SizedFont *sized, uint32_t codepoint) {
    constexpr uint64_t direct_count = 128; // glyphs whose index is their codepoint
    if (!sized || sized->glyphs.count < direct_count) {
        return nullptr;
    }
    if (codepoint < direct_count) {
        return &glyphs_of(sized)[codepoint];
    }
    const Glyph *last_not_above = &glyphs_of(sized)[first_above(sized, direct_count, codepoint) - 1];
    return last_not_above->codepoint == codepoint ? last_not_above : glyph_create(sized, codepoint);
}

int32_t glyph_kerning(const SizedFont *sized, uint32_t left_index, uint32_t right_index) {
    int kerning =
        stbtt_GetGlyphKernAdvance(sized->font, static_cast<int>(left_index), static_cast<int>(right_index));
    return static_cast<int32_t>(static_cast<float>(kerning) * sized->scale);
}
