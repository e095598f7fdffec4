// The program's icon on X11. Interface thread only.
#pragma once

#include <X11/Xlib.h>

// Gives the window the program's icons, those of the icon file that are bitmaps; none when the program has
// none or memory is out.
void icon_set(Window window);
