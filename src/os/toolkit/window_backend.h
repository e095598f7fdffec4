// What each system does for os/toolkit/window.cpp.
#pragma once

#include "os/window.h"

// Registers the window for raw mouse input, or unregisters every window. Registering returns whether it
// worked.
bool raw_mouse_register(PlatformWindow *window);
void raw_mouse_unregister();
