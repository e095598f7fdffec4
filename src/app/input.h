// What the window's events do: they move the focus, edit the focused field, scroll, and start searches.
// Interface thread only.
#pragma once

#include <stdint.h>

#include "os/window.h"

// The window's event callback. What follows a button's press in the same frame waits for the next one, so
// that the press acts on what was there when it was made.
void input_handle_event(const WindowEvent *event);

// Begins a frame (ui_begin_frame) and handles the events that waited for it, up to and including the next
// press. Returns how many.
uint32_t input_begin_frame();
