// The temporary strings of one frame: a block that is filled from its start and emptied at the top of the
// next frame. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Scratch {
    uint64_t capacity; // bytes; 0: the block was refused
    uint64_t used;     // bytes
    char *data;
};

// The arena in use, a block of its own on the heap; null until it is created, or when it was refused.
extern Scratch *scratch;

// Reserves 1000000 bytes and makes them the arena in use. At start-up, once.
void scratch_create();

// Gives all of it back: strings made before are gone.
void scratch_empty();

// The part of the arena that is not in use, which the next text that is made takes. Empty when there is none.
Str scratch_room();

// first and second in one text with a zero byte behind it, until the arena is emptied. The empty Str when the
// arena is full.
Str scratch_join(Str first, Str second);
