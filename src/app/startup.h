// What start-up does that needs no window: the buffers, and everything that is read before the first frame.
#pragma once

#include "os/strings.h"

// Reserves the program's buffers, in the order that start-up promises, but for the scratch arena, which comes
// first of all. One that is refused has capacity 0 and stays empty.
void startup_reserve_buffers();

// Reads settings.txt, the font and the saved lists in folder, which ends with '/', and takes the start path
// and query from the command line, which prevail over the remembered texts. After startup_reserve_buffers.
void startup_load(Str folder, Str command_line);

// Gives the focus to the query, its whole text selected, and finds out whether it is a saved one; the path's
// mark stays as it is. After startup_load.
void startup_focus();
