// The program's icon on X11. Interface thread only.
#pragma once

#include <X11/Xlib.h>

// Sets the window's icons: the 32-bit bitmaps in the program's icon file. Does nothing if it has none or when
// out of memory.
void icon_set(Window window);
