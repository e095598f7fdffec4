// What start-up does that needs no window: the buffers, and everything that is read before the first frame.
#pragma once

#include "os/strings.h"

// Reserves the program's buffers, in the order that start-up promises, but for the scratch arena, which comes
// first of all, and the carets, which are the line editor's and come last. One that is refused has capacity 0
// and stays empty.
void startup_reserve_buffers();

// Reads settings.txt, the font and the saved lists in folder, which ends with '/', and takes the start path
// and query from the command line, which prevail over the remembered texts. After startup_reserve_buffers.
void startup_load(Str folder, Str command_line);
