#include "render/font.h"

#include <string.h>

#include "os/files.h"
#include "render/glyphs.h"

Font font;
Font fallback_font;

namespace {

uint32_t big_endian_16(const uint8_t *p) {
    return static_cast<uint32_t>(p[0] << 8 | p[1]);
}

uint64_t big_endian_32(const uint8_t *p) {
    return uint64_t{big_endian_16(p)} << 16 | big_endian_16(p + 2);
}

// The tables whose first bytes stb_truetype reads without checking their length, with that number of bytes.
struct TableHead {
    char tag[5];
    uint32_t size;
};
constexpr TableHead table_heads[] = {{"cmap", 12}, {"head", 54}, {"hhea", 36}, {"maxp", 6}, {"CFF ", 4}};

// Whether the list of tables at start, and every table in it, lies within the file.
bool tables_lie_within(const uint8_t *file, uint64_t size, uint64_t start) {
    constexpr uint64_t head_size = 12, row_size = 16; // tag, checksum, offset, length
    if (start + head_size > size) {
        return false;
    }
    uint64_t rows = big_endian_16(file + start + 4);
    if (start + head_size + rows * row_size > size) {
        return false;
    }
    for (uint64_t i = 0; i < rows; i++) {
        const uint8_t *row = file + start + head_size + i * row_size;
        uint64_t length = big_endian_32(row + 12);
        if (big_endian_32(row + 8) + length > size) {
            return false;
        }
        for (const TableHead &head : table_heads) {
            if (memcmp(row, head.tag, 4) == 0 && length < head.size) {
                return false;
            }
        }
    }
    return true;
}

// Checks what stb_truetype does not: that the file is not cut short.
bool init_font_info(stbtt_fontinfo *info, Str file) {
    constexpr uint64_t collection_head = 16; // bytes, up to and including the offset of font 0
    uint8_t *bytes = reinterpret_cast<uint8_t *>(file.data);
    if (file.count < collection_head) {
        return false;
    }
    int start = stbtt_GetFontOffsetForIndex(bytes, 0);
    return start >= 0 && tables_lie_within(bytes, file.count, static_cast<uint64_t>(start)) &&
           stbtt_InitFont(info, bytes, start);
}

// The 16-bit number at an offset in the file; 0 past its end.
uint32_t number_at(Str file, uint64_t place) {
    return place + 2 <= file.count ? big_endian_16(reinterpret_cast<const uint8_t *>(file.data) + place) : 0;
}

// Whether stb_truetype may find kerning at all: in the pair adjustments of GPOS, or in kern when there is no
// GPOS. A look-up for a pair costs as much as drawing a glyph.
bool may_kern(const stbtt_fontinfo *info, Str file) {
    constexpr uint32_t pair_adjustment = 2;
    if (info->gpos <= 0) {
        return info->kern != 0;
    }
    uint64_t gpos = static_cast<uint64_t>(info->gpos);
    uint64_t lookups = gpos + number_at(file, gpos + 8);
    uint32_t count = number_at(file, lookups);
    for (uint32_t i = 0; i < count; i++) {
        if (number_at(file, lookups + number_at(file, lookups + 2 + uint64_t{2} * i)) == pair_adjustment) {
            return true;
        }
    }
    return false;
}

} // namespace

Font font_load(Str path) {
    Font loaded = {};
    loaded.file = os_file_read_all(path);
    if (loaded.file.count == 0 || !init_font_info(&loaded.info, loaded.file)) {
        return {};
    }
    loaded.has_kerning = may_kern(&loaded.info, loaded.file);
    dynarray_init(&loaded.sizes, sizeof(SizedFont), 8);
    return loaded;
}
