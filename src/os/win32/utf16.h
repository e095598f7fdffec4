// Converts UTF-8 to UTF-16 on the stack, just before a wide-character call, and back.
#pragma once

#include <windows.h>

#include "os/strings.h"
#include "os/utf16.h"

// UTF-16 units that the text converts to, or -1 for more than most_units.
int32_t wide_length(Str text, int32_t most_units);

// Converts the text into wide, which holds units + 1 units, and zero-terminates it. Returns wide.
wchar_t *wide_convert(Str text, wchar_t *wide, int32_t units);

// Declares name, a wchar_t * on the caller's stack with the text in it, or null for one of more than
// most_units; and name_units, its length or -1. The stack block is (units + 1) * 2 bytes, rounded up to a
// multiple of 16, and may be written to, as some calls do. A macro, as the block lives as long as its
// function. NOLINTBEGIN(bugprone-macro-parentheses) a declared name has none
#define WIDE_ON_STACK(name, text, most_units)                                                                \
    const int32_t name##_units = wide_length(text, most_units);                                              \
    wchar_t *name =                                                                                          \
        name##_units < 0                                                                                     \
            ? nullptr                                                                                        \
            : wide_convert(text,                                                                             \
                           static_cast<wchar_t *>(__builtin_alloca(                                          \
                               ((static_cast<size_t>(name##_units) + 1) * 2 + 15) & ~size_t{15})),           \
                           name##_units)
// NOLINTEND(bugprone-macro-parentheses)

// Writes count UTF-16 units as UTF-8, without a zero after them, and returns the number of bytes: 0 when
// there are more than capacity. A capacity of 0 only measures. Unpaired surrogates become replacement
// characters.
int32_t utf8_convert(const wchar_t *wide, int32_t count, char *bytes, int32_t capacity);

// The text of count UTF-16 units as UTF-8: a zero-terminated Str that the caller frees with os_free, or the
// empty Str when out of memory.
Str utf8_from_wide(const wchar_t *wide, int32_t count);
