// The clipboard: text for the editor.
//
// A text is offered in two formats at once: as UTF-16, and as bytes, which for this program's own texts are
// UTF-8. On X11 the first is offered as UTF8_STRING, as text/plain;charset=utf-8 and, with a '?' for each
// character that Latin-1 lacks, as STRING; the second is offered as TEXT.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Text (each system) ----

// Returns the clipboard's text up to its first zero: zero-terminated, owned by the caller, freed with
// os_free. The UTF-16 text is converted to UTF-8, unpaired surrogates to replacement characters; without one
// the byte text is returned unchanged, which need not be UTF-8. An empty text has length 0 and a pointer.
// Length 0 and a null pointer mean no text, out of memory, or that another program holds the clipboard open.
// On Windows the clipboard intentionally stays open without a text: no other program can use it until a later
// call here closes it. On X11 the owner is asked; there is no text if it does not answer within a
// second or sends more than 3 * longest_wide_text bytes.
Str os_clipboard_get_text();

// Replaces the clipboard's contents by text, UTF-8 that need not be zero-terminated; invalid bytes become
// replacement characters in the UTF-16 text only. Returns 0: done, 1: out of memory for the UTF-16 text, or
// it would be longer than 8,388,608 units, 2: out of memory for the bytes. On 1 and 2 the clipboard stays as
// it is. While another program holds it open, or on X11 without a display, the result is intentionally 0 as
// well, and the text is dropped.
int32_t os_clipboard_set_text(Str text);
