// Plain UTF-8, to compare the program's with: a sequence of bytes is a character if it is the encoding of a
// code point.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

// Empty if it is not a code point.
inline std::string plain_encoded(uint32_t code) {
    const auto rest = [&](int from) { return static_cast<char>(0x80 + (code >> from) % 64); };
    if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF) {
        return "";
    }
    if (code < 0x80) {
        return {static_cast<char>(code)};
    }
    if (code < 0x800) {
        return {static_cast<char>(0xC0 + (code >> 6)), rest(0)};
    }
    if (code < 0x10000) {
        return {static_cast<char>(0xE0 + (code >> 12)), rest(6), rest(0)};
    }
    return {static_cast<char>(0xF0 + (code >> 18)), rest(12), rest(6), rest(0)};
}

struct PlainCharacter {
    std::string bytes;
    uint32_t code;
    bool is_valid;
};

inline std::vector<PlainCharacter> plain_characters(const std::string &text) {
    std::vector<PlainCharacter> all;
    for (size_t at = 0; at < text.size(); at += all.back().bytes.size()) {
        PlainCharacter found = {text.substr(at, 1), 0, false};
        for (size_t length = 1; length <= 4 && !found.is_valid; length++) {
            const std::string bytes = text.substr(at, length);
            const unsigned lead = static_cast<unsigned char>(bytes[0]);
            uint32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
            for (size_t i = 1; i < bytes.size(); i++) {
                code = code << 6 | (static_cast<unsigned char>(bytes[i]) & 0x3F);
            }
            if (plain_encoded(code) == bytes) {
                found = {bytes, code, true};
            }
        }
        all.push_back(found);
    }
    return all;
}
