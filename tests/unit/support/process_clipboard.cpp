#include "support/process_clipboard.h"

#include <string.h>

#include "os/clipboard.h"
#include "os/console.h"
#include "os/linux/utf8.h"
#include "os/memory.h"
#include "os/toolkit/clipboard.h"

ProcessClipboard process_clipboard;

void process_clipboard_clear() {
    for (Str &block : process_clipboard.blocks) {
        os_free(block.data);
        block = {};
    }
}

namespace {

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

} // namespace

// ---- Text ----

Str os_clipboard_get_text() {
    Str wide = process_clipboard.blocks[CLIPBOARD_WIDE_TEXT];
    Str bytes = process_clipboard.blocks[CLIPBOARD_BYTE_TEXT];
    process_clipboard.is_open = !wide.data && !bytes.data;
    return clipboard_copy_to_zero(wide.data ? wide : bytes);
}

int32_t os_clipboard_set_text(Str text) {
    Utf8Size size = utf8_repair(text, nullptr);
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
    utf8_repair(text, wide.data);
    wide.data[wide.count] = 0;
    process_clipboard_clear();
    process_clipboard.blocks[CLIPBOARD_WIDE_TEXT] = wide;
    process_clipboard.blocks[CLIPBOARD_BYTE_TEXT] = bytes;
    process_clipboard.is_open = 0;
    return 0;
}

// ---- What else than text it holds ----

void os_clipboard_list_formats() {
    static constexpr struct {
        int32_t number; // as on Windows, where the last two get any number from 49152 on
        const char *name;
    } formats[CLIPBOARD_FORMAT_COUNT] = {
        {13, "CF_UNICODETEXT"}, {1, "CF_TEXT"}, {49152, "FileNameW"}, {49153, "image/png"}};
    for (int32_t i = 0; i < CLIPBOARD_FORMAT_COUNT; i++) {
        if (process_clipboard.blocks[i].data) {
            os_debug_print("CLIP %i = %s\n", formats[i].number, formats[i].name);
        }
    }
    process_clipboard.is_open = 0;
}

ClipboardContent os_clipboard_get_content() {
    process_clipboard.is_open = 0;
    return {clipboard_copy_to_zero(process_clipboard.blocks[CLIPBOARD_FILE_NAME]),
            clipboard_copy(process_clipboard.blocks[CLIPBOARD_PNG])};
}
