#include "os/clipboard.h"

#include <string.h>

#include "os/memory.h"
#include "os/win32/clipboard.h"
#include "os/win32/utf16.h"

// ---- Blocks ----

Str clipboard_text_from_wide(HANDLE handle, void *block) {
    const wchar_t *wide = static_cast<const wchar_t *>(block);
    return utf8_from_wide(wide, static_cast<int32_t>(wcsnlen(wide, GlobalSize(handle) / sizeof(wchar_t))));
}

Str clipboard_read(HANDLE handle, Str (*convert)(HANDLE handle, void *block)) {
    Str text = {};
    if (void *block = handle ? GlobalLock(handle) : nullptr) {
        text = convert(handle, block);
        GlobalUnlock(handle);
    }
    return text;
}

// ---- Text ----

namespace {

// No code page is applied: the bytes are taken to be UTF-8.
Str text_from_bytes(HANDLE handle, void *block) {
    char *bytes = static_cast<char *>(block);
    return str_copy({strnlen(bytes, GlobalSize(handle)), bytes});
}

// Allocates a block for the clipboard; the heap's hook may make it fail.
HGLOBAL clipboard_block(uint64_t size) {
    return os_heap_allows(size) ? GlobalAlloc(GMEM_MOVEABLE, size) : nullptr;
}

} // namespace

Str os_clipboard_get_text() {
    if (!OpenClipboard(nullptr)) {
        return {};
    }
    Str text;
    if (HANDLE wide = GetClipboardData(CF_UNICODETEXT)) {
        text = clipboard_read(wide, clipboard_text_from_wide);
    } else if (HANDLE bytes = GetClipboardData(CF_TEXT)) {
        text = clipboard_read(bytes, text_from_bytes);
    } else {
        return {}; // intentionally without closing the clipboard
    }
    CloseClipboard();
    return text;
}

int32_t os_clipboard_set_text(Str text) {
    WIDE_ON_STACK(wide, text, longest_wide_text);
    uint64_t wide_size = (static_cast<uint64_t>(wide_units) + 1) * sizeof(wchar_t);
    HGLOBAL wide_block = wide ? clipboard_block(wide_size) : nullptr;
    if (!wide_block) {
        return 1;
    }
    HGLOBAL byte_block = clipboard_block(text.count + 1);
    if (!byte_block) {
        GlobalFree(wide_block);
        return 2;
    }
    void *locked_wide = GlobalLock(wide_block);
    char *locked_bytes = static_cast<char *>(GlobalLock(byte_block));
    memcpy(locked_wide, wide, wide_size);
    if (text.count > 0) {
        memcpy(locked_bytes, text.data, text.count);
    }
    locked_bytes[text.count] = 0;
    OpenClipboard(nullptr); // intentionally not checked: when it fails the text is dropped
    EmptyClipboard();
    // Intentionally passes the address, not the handle, and never frees the blocks.
    SetClipboardData(CF_UNICODETEXT, locked_wide);
    SetClipboardData(CF_TEXT, locked_bytes);
    CloseClipboard();
    GlobalUnlock(wide_block);
    GlobalUnlock(byte_block);
    return 0;
}
