// The clipboard on X11, for the window's message pump and the program's exit. Interface thread only.
#pragma once

#include <X11/Xlib.h>

// Whether the event concerns the clipboard: another program's request for the text, part of such a transfer,
// or the loss of ownership.
bool clipboard_is_event(const XEvent &event);

// Handles such an event. Returns whether it was one; the pump then ignores it.
bool clipboard_handle_event(const XEvent &event);

// Hands this program's text to the desktop's clipboard manager, so that it outlives the program. Returns once
// the manager has it, immediately if there is no manager or no text, and after two seconds at most.
void clipboard_hand_over();
