// UTF-8 repair, for the layer's own files.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Utf8Size {
    uint64_t bytes; // with a replacement character for each invalid sequence
    uint64_t units; // UTF-16 units that these bytes convert to
};

// Writes the text to out, with a replacement character for each truncated character and each byte that cannot
// start one; only measures it when out is null. out must not overlap text.
Utf8Size utf8_repair(Str text, char *out);
