#include "os/linux/clipboard.h"

#include <string.h>

#include "os/clipboard.h"
#include "os/memory.h"

ProcessClipboard process_clipboard;

void process_clipboard_clear() {
    for (Str &block : process_clipboard.blocks) {
        os_free(block.data);
        block = {};
    }
}

Str clipboard_copy(Str text) {
    char *copy = text.data ? static_cast<char *>(os_alloc(text.count + 1)) : nullptr;
    if (!copy) {
        return {};
    }
    memcpy(copy, text.data, text.count);
    copy[text.count] = 0;
    return {text.count, copy};
}

Str clipboard_copy_to_zero(Str text) {
    return clipboard_copy({text.data ? strnlen(text.data, text.count) : 0, text.data});
}

// ---- Text ----

namespace {

// Bytes of the character at a place of the text, is_valid then 1; or bytes that one replacement character
// stands for: the start of a character that does not go on, or a byte that starts none.
uint32_t character_length(Str text, uint64_t at, uint8_t *is_valid) {
    const uint8_t *bytes = reinterpret_cast<const uint8_t *>(text.data) + at;
    uint64_t left = text.count - at;
    uint8_t lead = bytes[0];
    uint8_t is_lead = lead < 0x80 || (lead >= 0xc2 && lead <= 0xf4);
    uint32_t wanted = lead < 0x80 || !is_lead ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // The second byte's bounds keep out surrogates, long forms and what lies beyond Unicode.
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

struct WideSize {
    uint64_t units; // of UTF-16
    uint64_t bytes; // of the UTF-8 that these convert to
};

// Writes what the text is after a conversion to UTF-16 and back, unless out is null; returns its size.
WideSize there_and_back(Str text, char *out) {
    WideSize size = {};
    for (uint64_t at = 0; at < text.count;) {
        uint8_t is_valid = 0;
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

} // namespace

Str os_clipboard_get_text() {
    Str wide = process_clipboard.blocks[CLIPBOARD_WIDE_TEXT];
    Str bytes = process_clipboard.blocks[CLIPBOARD_BYTE_TEXT];
    process_clipboard.is_open = !wide.data && !bytes.data;
    return clipboard_copy_to_zero(wide.data ? wide : bytes);
}

int32_t os_clipboard_set_text(Str text) {
    WideSize size = there_and_back(text, nullptr);
    Str wide = {size.bytes, nullptr};
    if (size.units <= uint64_t{longest_wide_text}) {
        wide.data = static_cast<char *>(os_alloc(size.bytes + 1));
    }
    if (!wide.data) {
        return 1;
    }
    Str bytes = clipboard_copy(text.count > 0 ? text : str_from(""));
    if (!bytes.data) {
        os_free(wide.data);
        return 2;
    }
    there_and_back(text, wide.data);
    wide.data[wide.count] = 0;
    process_clipboard_clear();
    process_clipboard.blocks[CLIPBOARD_WIDE_TEXT] = wide;
    process_clipboard.blocks[CLIPBOARD_BYTE_TEXT] = bytes;
    process_clipboard.is_open = 0;
    return 0;
}
