// The clipboard: text for the editor.
//
// A text is offered in two formats at once: as UTF-16, and as bytes, which for this program's own texts are
// UTF-8. On X11 the first one is UTF8_STRING, also as text/plain;charset=utf-8 and, with a '?' for what
// Latin-1 does not have, as STRING; the second one is TEXT.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Text (each system) ----

// Returns the clipboard's text up to its first zero, owned by the caller and freed with os_free,
// zero-terminated: the UTF-16 text as UTF-8, unpaired surrogates as replacement characters, or when there is
// none the bytes as they are, which need not be UTF-8. An empty text has length 0 and a pointer; length 0 and
// a null pointer mean that there is no text, no memory, or that another program holds the clipboard open.
// On Windows the clipboard stays open without a text, which is meant: no other program can use it until a
// later call here closes it. On X11 the program that has the text is asked: no answer within a second, or
// more than 3 bytes for each unit of the longest text below, is no text.
Str os_clipboard_get_text();

// Makes text, UTF-8 that need not be zero-terminated, all that the clipboard holds; what is not UTF-8 becomes
// replacement characters in the UTF-16 text only. Returns 0: done, 1: no memory for the UTF-16 text, or it
// would be longer than 8,388,608 units, 2: no memory for the bytes. On 1 and 2 the clipboard stays as it is.
// When another program holds it open, or on X11 without a screen, the result is 0 all the same and the text
// is dropped.
int32_t os_clipboard_set_text(Str text);
