// The steps of start-up that main takes, in this order.
#pragma once

#include "os/strings.h"
#include "os/window.h"

// Opens the program's window on the first monitor and starts the clock of the frames. Returns null without a
// monitor or a window.
PlatformWindow *startup_open_window();

// Reserves the program's buffers, except the scratch arena. One without memory has capacity 0 and stays
// empty.
void startup_reserve_buffers();

// Reads settings.txt, the font and the saved lists in folder, which ends with '/'; then sets the start path
// and query that the command line gives, in place of the remembered texts. After startup_reserve_buffers.
void startup_load(Str folder, Str command_line);

// Focuses the query field, selects its whole text and updates its mark; the path's mark stays as it is. After
// startup_load.
void startup_focus();
