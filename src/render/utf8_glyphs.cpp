#include "render/utf8_glyphs.h"

#include <algorithm>

#include "os/memory.h"
#include "render/font.h"

namespace {

// Slots are linked by their numbers. Slot 0 is no glyph: it ends chains, and begins and ends the ring.
constexpr uint32_t none = 0;

struct CachedGlyph {
    Glyph glyph; // without a bitmap it is drawn as the shape for missing characters
    int32_t pixel_height;
    uint32_t next; // in the bucket's chain, or among the free slots
    uint32_t newer;
    uint32_t older;
};

constexpr uint32_t bucket_bits = 13;

struct GlyphCache {
    CachedGlyph slots[most_cached_glyphs + 1];
    uint32_t buckets[1 << bucket_bits];
    uint32_t count; // of slots in the ring
    uint32_t made;  // slots ever used, from 1 on
    uint32_t free;  // the first free one of these
    uint64_t bytes; // of bitmaps
};
GlyphCache cache;

uint32_t *bucket_of(uint32_t code_point, int32_t pixel_height) {
    constexpr uint32_t factor = 0x9E3779B1; // spreads neighbours over all buckets
    uint32_t key = code_point ^ static_cast<uint32_t>(pixel_height) << 21;
    return &cache.buckets[key * factor >> (32 - bucket_bits)];
}

void leave_ring(CachedGlyph *slot) {
    cache.slots[slot->newer].older = slot->older;
    cache.slots[slot->older].newer = slot->newer;
}

void become_newest(uint32_t number) {
    CachedGlyph *ends = &cache.slots[none];
    cache.slots[number].newer = none;
    cache.slots[number].older = ends->older;
    cache.slots[ends->older].newer = number;
    ends->older = number;
}

void drop_oldest() {
    uint32_t number = cache.slots[none].newer;
    CachedGlyph *slot = &cache.slots[number];
    leave_ring(slot);
    uint32_t *link = bucket_of(slot->glyph.codepoint, slot->pixel_height);
    while (*link != number) {
        link = &cache.slots[*link].next;
    }
    *link = slot->next;
    slot->next = cache.free;
    cache.free = number;
    cache.count--;
    if (slot->glyph.bitmap) {
        cache.bytes -= glyph_bytes(slot->glyph);
        os_free(slot->glyph.bitmap);
    }
}

// The number of a free slot; there are at most most_cached_glyphs in the ring.
uint32_t take_slot() {
    if (cache.free == none) {
        return ++cache.made;
    }
    uint32_t number = cache.free;
    cache.free = cache.slots[number].next;
    return number;
}

// Font units per em, within what a font may have.
float em_of(const stbtt_fontinfo *info) {
    const uint8_t *units = info->data + info->head + 18;
    return static_cast<float>(std::clamp(units[0] << 8 | units[1], 16, 16384));
}

// Rasterises the code point and drops as many glyphs as needed for it.
Glyph make_glyph(const SizedFont *sized, uint32_t code_point) {
    Glyph missing = {};
    missing.codepoint = code_point;
    const stbtt_fontinfo *info = sized->font;
    float scale = sized->scale;
    int index = stbtt_FindGlyphIndex(info, static_cast<int>(code_point));
    bool is_fallback = index == 0 && fallback_font.file.data;
    if (is_fallback) {
        info = &fallback_font.info;
        scale *= em_of(sized->font) / em_of(info);
        index = stbtt_FindGlyphIndex(info, static_cast<int>(code_point));
    }
    if (index == 0) {
        return missing;
    }
    Glyph glyph = glyph_measure(info, scale, index);
    uint64_t bytes = glyph_bytes(glyph);
    if (!glyph_fits(glyph)) {
        return missing;
    }
    while (cache.count > 0 && cache.bytes + bytes > most_cached_bytes) {
        drop_oldest();
    }
    glyph.codepoint = code_point;
    glyph.bitmap = static_cast<uint8_t *>(os_alloc(std::max(bytes, uint64_t{1})));
    if (!glyph.bitmap) {
        return missing;
    }
    glyph_rasterise(info, scale, glyph);
    if (is_fallback) {
        glyph.glyph_index = unkerned_glyph;
    }
    cache.bytes += bytes;
    return glyph;
}

const Glyph *drawn(SizedFont *sized, const CachedGlyph &slot) {
    constexpr uint32_t in_no_font = UINT32_MAX;
    return slot.glyph.bitmap ? &slot.glyph : glyph_find(sized, in_no_font);
}

} // namespace

const Glyph *cached_glyph(SizedFont *sized, uint32_t code_point) {
    if (!sized) {
        return nullptr;
    }
    uint32_t *bucket = bucket_of(code_point, sized->pixel_height);
    for (uint32_t number = *bucket; number != none; number = cache.slots[number].next) {
        CachedGlyph *slot = &cache.slots[number];
        if (slot->glyph.codepoint == code_point && slot->pixel_height == sized->pixel_height) {
            leave_ring(slot);
            become_newest(number);
            return drawn(sized, *slot);
        }
    }
    Glyph glyph = make_glyph(sized, code_point);
    if (cache.count == most_cached_glyphs) {
        drop_oldest();
    }
    uint32_t number = take_slot();
    CachedGlyph *slot = &cache.slots[number];
    slot->glyph = glyph;
    slot->pixel_height = sized->pixel_height;
    slot->next = *bucket;
    *bucket = number;
    cache.count++;
    become_newest(number);
    return drawn(sized, *slot);
}

void glyph_cache_empty() {
    while (cache.count > 0) {
        drop_oldest();
    }
}
