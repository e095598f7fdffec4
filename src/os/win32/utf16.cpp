#include "os/win32/utf16.h"

int32_t wide_length(Str text, int32_t most_units) {
    if (text.count == 0) {
        return 0;
    }
    // A unit has at most three bytes in UTF-8, so a longer text cannot fit.
    if (text.count > static_cast<uint64_t>(most_units) * 3) {
        return -1;
    }
    int32_t units = MultiByteToWideChar(CP_UTF8, 0, text.data, static_cast<int32_t>(text.count), nullptr, 0);
    return units > most_units ? -1 : units;
}

wchar_t *wide_convert(Str text, wchar_t *wide, int32_t units) {
    int32_t written = 0;
    if (units > 0) { // without room the call would only measure
        // The text may be a field that the user is editing, and so have changed since it was measured.
        written = MultiByteToWideChar(CP_UTF8, 0, text.data, static_cast<int32_t>(text.count), wide, units);
    }
    wide[written] = 0;
    return wide;
}

int32_t utf8_convert(const wchar_t *wide, int32_t count, char *bytes, int32_t capacity) {
    return count > 0 ? WideCharToMultiByte(CP_UTF8, 0, wide, count, bytes, capacity, nullptr, nullptr) : 0;
}

Str utf8_from_wide(const wchar_t *wide, int32_t count) {
    int32_t bytes = utf8_convert(wide, count, nullptr, 0);
    char *data = static_cast<char *>(os_alloc(static_cast<uint64_t>(bytes) + 1));
    if (!data) {
        return {};
    }
    utf8_convert(wide, count, data, bytes);
    data[bytes] = 0;
    return {static_cast<uint64_t>(bytes), data};
}
