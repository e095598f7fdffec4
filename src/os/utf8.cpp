#include "os/utf8.h"

namespace {

constexpr uint64_t longest_character = 4; // bytes

} // namespace

Utf8Character utf8_at(Str text, uint64_t at) {
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(text.data) + at;
    uint64_t left = text.count - at;
    uint8_t lead = bytes[0];
    if (lead < 0x80) {
        return {lead, 1, 1, true, false};
    }
    bool is_lead = lead >= 0xC2 && lead <= 0xF4;
    uint32_t wanted = !is_lead ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte's bounds exclude surrogates, overlong forms and code points above U+10FFFF.
    uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    uint32_t code = lead & (0x7Fu >> wanted);
    uint32_t length = 1;
    while (length < wanted && length < left && bytes[length] >= low && bytes[length] <= high) {
        code = code << 6 | (bytes[length] & 0x3F);
        length++;
        low = 0x80;
        high = 0xBF;
    }
    if (is_lead && length == wanted) {
        return {code, length, length, true, false};
    }
    return {0, 1, length, false, is_lead && length == left};
}

uint64_t utf8_start(Str text, uint64_t at) {
    for (uint64_t back = 1; back < longest_character && back <= at; back++) {
        if (utf8_at(text, at - back).length > back) {
            return at - back;
        }
    }
    return at;
}

uint64_t utf8_end(Str text, uint64_t at) {
    uint64_t start = utf8_start(text, at);
    return start + utf8_at(text, start).length;
}

Str utf8_without_cut(Str text) {
    for (uint64_t back = 1; back < longest_character && back <= text.count; back++) {
        if (utf8_at(text, text.count - back).is_cut) {
            return {text.count - back, text.data};
        }
    }
    return text;
}

uint32_t utf8_encode(uint32_t code, char *bytes, uint32_t last_of_two) {
    const uint32_t last_codes[] = {0x7F, last_of_two, 0xFFFF, 0x1FFFFF};
    static constexpr uint32_t leads[] = {0, 0xC0, 0xE0, 0xF0};
    uint32_t rest = 0; // bytes after the first
    while (rest < longest_character && code > last_codes[rest]) {
        rest++;
    }
    if (rest == longest_character) {
        return 0;
    }
    for (uint32_t i = rest; i > 0; i--) {
        bytes[i] = static_cast<char>(0x80 | (code & 0x3F));
        code >>= 6;
    }
    bytes[0] = static_cast<char>(leads[rest] | code);
    return rest + 1;
}
