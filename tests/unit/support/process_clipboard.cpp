#include "support/process_clipboard.h"

#include <string.h>

#include "os/clipboard.h"
#include "os/linux/utf8.h"
#include "os/memory.h"
#include "os/utf16.h"

ProcessClipboard process_clipboard;

void process_clipboard_clear() {
    for (Str &block : process_clipboard.blocks) {
        os_free(block.data);
        block = {};
    }
}

// ---- Text ----

Str os_clipboard_get_text() {
    Str wide = process_clipboard.blocks[CLIPBOARD_WIDE_TEXT];
    Str bytes = process_clipboard.blocks[CLIPBOARD_BYTE_TEXT];
    process_clipboard.is_open = !wide.data && !bytes.data;
    Str found = wide.data ? wide : bytes;
    return found.data ? str_copy({strnlen(found.data, found.count), found.data}) : Str{};
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
    Str bytes = str_copy(text);
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
