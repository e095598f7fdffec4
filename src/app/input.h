// What the window's events do: they move the focus, edit the focused field, scroll, and start searches.
// Interface thread only.
#pragma once

#include "os/window.h"

// The window's event callback.
void input_handle_event(const WindowEvent *event);
