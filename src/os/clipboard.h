// The clipboard: text for the editor, and what else other programs copied.
//
// A text is offered in two formats at once: as UTF-16, and as bytes, which for this program's own texts are
// UTF-8. On Linux there is no desktop's clipboard but one inside the process, for tests and tools.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Text (each system) ----

// Returns the clipboard's text up to its first zero, owned by the caller and freed with os_free,
// zero-terminated: the UTF-16 text as UTF-8, unpaired surrogates as replacement characters, or when there is
// none the bytes as they are, which need not be UTF-8. An empty text has length 0 and a pointer; length 0 and
// a null pointer mean that there is no text, no memory, or that another program holds the clipboard open.
// Without a text the clipboard stays open, which is meant: no other program can use it until a later call
// here closes it.
Str os_clipboard_get_text();

// Makes text, UTF-8 that need not be zero-terminated, all that the clipboard holds; what is not UTF-8 becomes
// replacement characters in the UTF-16 text only. Returns 0: done, 1: no memory for the UTF-16 text, or it
// would be longer than 8,388,608 units, 2: no memory for the bytes. On 1 and 2 the clipboard stays as it is.
// When another program holds it open the result is 0 all the same, which is meant, and the system drops the
// text.
int32_t os_clipboard_set_text(Str text);

// ---- Other contents (each system) ----

// Writes a debug line for each format that the clipboard offers, "CLIP %i = %s\n" with its number and its
// name, in the order that the system lists them. No lines when the clipboard cannot be opened.
void os_clipboard_list_formats();

// What a file manager or a browser left. Both texts are owned by the caller and freed with os_free; data is
// null for what is not there.
struct ClipboardContent {
    Str file_name; // format "FileNameW": a path as UTF-8, zero-terminated, with the separators it came with
    Str png;       // format "image/png": the file's bytes; the system may have added some at the end
};

// Returns what is there of the two; nothing when the clipboard cannot be opened.
ClipboardContent os_clipboard_get_content();
