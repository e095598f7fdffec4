// UTF-8 to UTF-16 on the stack, just before a wide-character call; and back into the heap.
#pragma once

#include <windows.h>

#include "os/strings.h"

// UTF-16 units of the text up to its first zero byte, or -1 for one that is longer than any path can be.
int32_t wide_length(Str text);

// Converts that text into wide, which holds units + 1 units, and zero-terminates it. Returns wide.
wchar_t *wide_convert(Str text, wchar_t *wide, int32_t units);

// Declares a const wchar_t * on the caller's stack with the text in it, or null for one that is too long; the
// stack block is (units + 1) * 2 bytes, rounded up to a multiple of 16. A macro, for the block ends with its
// function.
#define WIDE_ON_STACK(name, text)                                                                            \
    const int32_t name##_units = wide_length(text);                                                          \
    const wchar_t *name =                                                                                    \
        name##_units < 0                                                                                     \
            ? nullptr                                                                                        \
            : wide_convert(text,                                                                             \
                           static_cast<wchar_t *>(__builtin_alloca(                                          \
                               ((static_cast<size_t>(name##_units) + 1) * 2 + 15) & ~size_t{15})),           \
                           name##_units)

// The text of count UTF-16 units as UTF-8: a zero-terminated Str that the caller frees with os_free, or the
// empty Str. Unpaired surrogates become replacement characters.
Str utf8_from_wide(const wchar_t *wide, int32_t count);

// A system time as the layer's own record.
struct DateTime;
DateTime date_time_from_system(const SYSTEMTIME &time);
