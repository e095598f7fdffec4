// The desktop: the mouse pointer, synthetic input, the monitors, and pictures of windows.
//
// Without a desktop, as always on Linux, and on any other failure, all of these return false or 0. Positions
// count from the primary monitor's upper left corner.
#pragma once

#include <stdint.h>

#include "os/rect.h"

// Fills in the mouse pointer's position. On failure point stays as it is.
bool os_mouse_position(Point *point);

enum SentButton : uint8_t {
    SENT_BUTTON_LEFT,
    SENT_BUTTON_RIGHT,
    SENT_BUTTON_MIDDLE,
};

// Synthetic input, which goes where the user's own would. Returns whether the system accepted it.
bool os_send_mouse_move(Point point);
bool os_send_mouse_button(SentButton button, bool is_down);
bool os_send_mouse_wheel(int32_t notches);            // positive: away from the user
bool os_send_key(uint16_t virtual_key, bool is_down); // virtual_key: the system's code of the key

// Fills in the monitors' rectangles on the desktop, at most capacity of them, in the system's order. Returns
// how many.
uint32_t os_monitors(Rect *monitors, uint32_t capacity);

// Copies a window's client area, as it is on the screen, to the clipboard as a picture. window: the system's
// handle.
bool os_copy_window_to_clipboard(void *window);
