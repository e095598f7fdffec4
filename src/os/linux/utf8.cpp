#include "os/linux/utf8.h"

#include <string.h>

namespace {

// The length in bytes of the character at that offset; or, with is_valid false, of a sequence that one
// replacement character replaces: a truncated character, or a byte that cannot start one.
uint32_t character_length(Str text, uint64_t at, bool *is_valid) {
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(text.data) + at;
    uint64_t left = text.count - at;
    uint8_t lead = bytes[0];
    bool is_lead = lead < 0x80 || (lead >= 0xc2 && lead <= 0xf4);
    uint32_t wanted = lead < 0x80 || !is_lead ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // The second byte's bounds exclude surrogates, overlong forms and code points above U+10FFFF.
    uint8_t low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    uint8_t high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    uint32_t length = 1;
    while (length < wanted && length < left && bytes[length] >= low && bytes[length] <= high) {
        length++;
        low = 0x80;
        high = 0xbf;
    }
    *is_valid = is_lead && length == wanted;
    return length;
}

} // namespace

Utf8Size utf8_repair(Str text, char *out) {
    Utf8Size size = {};
    for (uint64_t at = 0; at < text.count;) {
        bool is_valid = false;
        uint32_t length = character_length(text, at, &is_valid);
        const char *character = is_valid ? text.data + at : "\xef\xbf\xbd";
        uint32_t bytes = is_valid ? length : 3;
        if (out) {
            memcpy(out + size.bytes, character, bytes);
        }
        size.units += is_valid && length == 4 ? 2 : 1;
        size.bytes += bytes;
        at += length;
    }
    return size;
}
