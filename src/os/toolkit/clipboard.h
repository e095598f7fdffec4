// Clipboard contents other than text.
#pragma once

#include "os/strings.h"

// Writes a debug line for each format that the clipboard offers, "CLIP %i = %s\n" with its number and its
// name, in the order that the system lists them. No lines when the clipboard cannot be opened.
void os_clipboard_list_formats();

// What a file manager or a browser left. Both texts are owned by the caller and freed with os_free; data is
// null for what is not there.
struct ClipboardContent {
    Str file_name; // format "FileNameW": a path as UTF-8, zero-terminated, with the separators it came with.
                   // On Linux the first file of "text/uri-list"
    Str png;       // format "image/png": the file's bytes; the system may have added some at the end
};

// Returns those of the two that the clipboard has; none when it cannot be opened.
ClipboardContent os_clipboard_get_content();
