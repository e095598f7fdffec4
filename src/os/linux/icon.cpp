#include "os/linux/icon.h"

#include <string.h>

#include <X11/Xatom.h>

#include "os/linux/x11.h"
#include "os/memory.h"

extern "C" {
extern const uint8_t program_icon[]; // the program's icon file
}

namespace {

uint32_t number_at(const uint8_t *bytes, uint32_t size) {
    uint32_t number = 0;
    memcpy(&number, bytes, size);
    return number;
}

constexpr uint32_t directory_size = 6;
constexpr uint64_t entry_size = 16;
constexpr uint32_t header_size = 40;

// The picture at an index of the icon file as a bitmap: a header, then the pixels, bottom row first. Null for
// a picture in another format.
const uint8_t *bitmap_of(uint32_t index) {
    const uint8_t *entry = program_icon + directory_size + index * entry_size;
    const uint8_t *picture = program_icon + number_at(entry + 12, 4);
    bool is_bitmap = number_at(picture, 4) == header_size && number_at(picture + 14, 2) == 32;
    return is_bitmap ? picture : nullptr;
}

// Writes a picture's width, height and pixels, top row first. Returns the number of items; only counts them
// when items is null.
uint64_t convert(const uint8_t *bitmap, unsigned long *items) {
    uint32_t width = number_at(bitmap + 4, 4);
    uint32_t height = number_at(bitmap + 8, 4) / 2; // includes the rows of a mask
    if (items) {
        *items++ = width;
        *items++ = height;
        for (uint32_t y = 0; y < height; y++) {
            const uint8_t *row = bitmap + header_size + uint64_t{height - 1 - y} * width * 4;
            for (uint32_t x = 0; x < width; x++) {
                *items++ = number_at(row + uint64_t{x} * 4, 4);
            }
        }
    }
    return 2 + uint64_t{width} * height;
}

uint64_t convert_all(unsigned long *items) {
    uint64_t count = 0;
    for (uint32_t i = 0; i < number_at(program_icon + 4, 2); i++) {
        if (const uint8_t *bitmap = bitmap_of(i)) {
            count += convert(bitmap, items ? items + count : nullptr);
        }
    }
    return count;
}

} // namespace

void icon_set(Window window) {
    uint64_t count = convert_all(nullptr);
    if (count == 0) {
        return;
    }
    unsigned long *items = static_cast<unsigned long *>(os_alloc(count * sizeof(unsigned long)));
    if (items) {
        convert_all(items);
        x11_write_numbers(window, x11_atom(ATOM_NET_WM_ICON), XA_CARDINAL, items, count);
        os_free(items);
    }
}
