// UTF-8 texts, character by character.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// A valid character, or a byte that belongs to none and counts as a character of its own. Overlong forms,
// surrogates and code points above U+10FFFF are not valid.
struct Utf8Character {
    uint32_t code;   // the code point; 0 if not valid
    uint32_t length; // bytes; 1 if not valid
    uint32_t begun;  // bytes that could begin a character: length if valid, at least 1
    bool is_valid;
    bool is_cut; // not valid only because the text ends too early
};

// The character at that offset, which is below text.count.
Utf8Character utf8_at(Str text, uint64_t at);

// Where the character begins that the byte at that offset belongs to; text.count itself for text.count.
uint64_t utf8_start(Str text, uint64_t at);

// Where the character ends that the byte at that offset, below text.count, belongs to.
uint64_t utf8_end(Str text, uint64_t at);

// The text without the part of a character that its end has cut.
Str utf8_without_cut(Str text);

// Writes the code point to bytes, which has room for 4, and returns how many bytes it takes: 0 above
// 0x1FFFFF. Surrogates are encoded like others. last_of_two: the last code point that takes two bytes, 0x7FF
// in UTF-8.
uint32_t utf8_encode(uint32_t code, char *bytes, uint32_t last_of_two = 0x7FF);
