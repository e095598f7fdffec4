// Files dropped on the window, using version 5 of the XDND protocol. Interface thread only.
#pragma once

#include <X11/Xlib.h>

#include "os/window.h"

// Announces to other programs that files can be dropped on the window.
void drop_accept(PlatformWindow *window);

// Handles an event if it belongs to a drag, and delivers EVENT_FILES_DROPPED when files are dropped. Returns
// whether it belonged to one. window: the open window that the event is for, or null.
bool drop_handle_event(const XEvent &event, PlatformWindow *window);
