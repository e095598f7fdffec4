#include "os/errors.h"

#include <string.h>

uint32_t os_start_error;

Str os_error_text(uint32_t code, char (&text)[512]) {
    const char *message = strerror(static_cast<int>(code));
    text[0] = 0;
    strncat(text, message, sizeof(text) - 1);
    return str_from(text);
}
