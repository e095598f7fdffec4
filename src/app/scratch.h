// The arena for a frame's temporary strings, emptied at the start of the next frame. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Scratch {
    uint64_t capacity; // bytes; 0: out of memory
    uint64_t used;     // bytes
    char *data;
};

// The arena in use; its header is an allocation of its own. Null before scratch_create, and when that ran out
// of memory.
extern Scratch *scratch;

// Makes an arena of 1000000 bytes the one in use. Once, at start-up.
void scratch_create();

// Discards all strings in the arena.
void scratch_empty();

// The free part of the arena; the next string is made there. The empty Str without an arena.
Str scratch_room();

// first and second joined, with a zero byte after them; valid until the arena is emptied. The empty Str when
// they do not fit.
Str scratch_join(Str first, Str second);
