#include "os/linux/utf8.h"

#include <string.h>

#include "os/utf8.h"

Utf8Size utf8_repair(Str text, char *out) {
    Utf8Size size = {};
    for (uint64_t at = 0; at < text.count;) {
        Utf8Character found = utf8_at(text, at);
        const char *character = found.is_valid ? text.data + at : "\xef\xbf\xbd";
        uint32_t bytes = found.is_valid ? found.length : 3;
        if (out) {
            memcpy(out + size.bytes, character, bytes);
        }
        size.units += found.is_valid && found.length == 4 ? 2 : 1;
        size.bytes += bytes;
        at += found.begun;
    }
    return size;
}
