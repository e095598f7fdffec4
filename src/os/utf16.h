// UTF-16, in which Windows takes texts: a code point above U+FFFF takes two units, a pair of surrogates.
#pragma once

#include <stdint.h>

// The longest text that is passed to the system, in UTF-16 units. Windows converts it on the stack: with its
// zero unit it takes 16 MB of the 64 MB that the link step reserves.
constexpr int32_t longest_wide_text = 8388608;

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
