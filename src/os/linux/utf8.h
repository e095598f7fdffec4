// Checking UTF-8, for the layer's own files.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Utf8Size {
    uint64_t bytes; // after each piece that is not UTF-8 has become a replacement character
    uint64_t units; // of UTF-16 that these bytes convert to
};

// Writes the text to out, with a replacement character for each start of a character that does not go on and
// each byte that starts none; only measures it when out is null. out may not overlap text.
Utf8Size utf8_repair(Str text, char *out);
