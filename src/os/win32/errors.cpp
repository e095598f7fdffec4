#include "os/errors.h"

#include "os/win32/utf16.h"

uint32_t os_start_error;

Str os_error_text(uint32_t code, char (&text)[512]) {
    constexpr DWORD capacity = sizeof(text) / 3; // a unit has at most three bytes in UTF-8
    constexpr DWORD flags =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    wchar_t message[capacity];
    DWORD units = FormatMessageW(flags, nullptr, code, 0, message, capacity, nullptr);
    while (units > 0 && (message[units - 1] == L' ' || message[units - 1] == L'.')) {
        units--;
    }
    int32_t bytes = utf8_convert(message, static_cast<int32_t>(units), text, sizeof(text));
    return {static_cast<uint64_t>(bytes), text};
}
