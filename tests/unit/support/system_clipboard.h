// What other programs do to the clipboard, and the texts that its functions return.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "os/memory.h"
#include "support/test_tree.h"

// A text that the clipboard's functions have returned, "(none)" if there is none. Frees it.
inline std::string taken(Str text) {
    if (!text.data) {
        EXPECT_EQ(text.count, 0u);
        return "(none)";
    }
    EXPECT_EQ(text.data[text.count], 0);
    std::string copy = to_string(text);
    os_free(text.data);
    return copy;
}

// The blocks of the formats that the program reads, texts without the zero at their end; no value: the format
// is missing.
struct ClipboardFormats {
    std::optional<std::string> wide_text = {}; // CF_UNICODETEXT, as UTF-8; on X11 UTF8_STRING
    std::optional<std::string> byte_text = {}; // CF_TEXT; on X11 TEXT
    std::optional<std::string> file_name = {}; // "FileNameW", as UTF-8; on X11 the first of text/uri-list
    std::optional<std::string> png = {};       // "image/png"
};

// Whether a program that has the clipboard open keeps others from using it. Where none can, it is never open.
bool clipboard_can_be_held();

// Opens the clipboard in this thread, for window or for none; waits a while when another program has it open,
// as the desktop does for moments, and then fails the test. The layer's next call closes it.
void hold_clipboard(void *window = nullptr);

// Replaces the clipboard's contents by formats and leaves it open: the system derives further formats, such
// as UTF-16 from bytes, only when it is closed.
void offer_on_clipboard(const ClipboardFormats &formats);

// What the clipboard holds. Closes it.
ClipboardFormats clipboard_formats();

// Whether the clipboard is open in this thread. Closes it.
bool close_open_clipboard();
