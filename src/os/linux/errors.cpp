#include "os/errors.h"

#include <algorithm>

#include <string.h>

uint32_t os_start_error;

Str os_error_text(uint32_t code, char (&text)[512]) {
    const char *message = strerror(static_cast<int>(code));
    uint64_t count = std::min(strlen(message), sizeof(text) - 1);
    memcpy(text, message, count);
    text[count] = 0;
    return {count, text};
}
