// What the window's events do: move the focus, edit the focused field, scroll and start searches. Interface
// thread only.
#pragma once

#include <stdint.h>

#include "os/window.h"

// The window's event callback. Events that follow a button press in the same frame wait for the next one, so
// that the press acts on what was under the pointer when it was made.
void input_handle_event(const WindowEvent *event);

// Begins a frame (ui_begin_frame) and handles the waiting events up to and including the next button press.
// Returns their number.
uint32_t input_begin_frame();
