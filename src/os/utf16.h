// UTF-16: a code point above U+FFFF takes two units, a pair of surrogates.
#pragma once

#include <stdint.h>

constexpr bool utf16_is_first(uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

constexpr bool utf16_is_second(uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// The units of a code point above U+FFFF.
constexpr uint32_t utf16_first_unit(uint32_t code) {
    return 0xD800 + ((code - 0x10000) >> 10);
}

constexpr uint32_t utf16_second_unit(uint32_t code) {
    return 0xDC00 + (code & 0x3FF);
}

// The code point of a pair.
constexpr uint32_t utf16_join(uint32_t first, uint32_t second) {
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}
