// The clipboard on the X server, for the window's message pump and the program's end. Interface thread only.
#pragma once

#include <X11/Xlib.h>

// Whether the event is another program's request for the clipboard's text or part of such a transfer.
bool clipboard_is_event(const XEvent &event);

// Answers such an event. Returns whether it was one; the pump has nothing to do with it then.
bool clipboard_handle_event(const XEvent &event);

// Gives this program's text to the desktop's clipboard manager, so that it outlives the program. Returns when
// the manager has it, at once when there is no manager or no text, and after two seconds at the latest.
void clipboard_hand_over();
