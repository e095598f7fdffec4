// Sends a window the messages that its system would, and reads what it shows, for the real window and the
// off-screen one alike.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "os/window.h"

// These messages wait until os_pump_messages. Positions are in the client area.
void drive_pointer_to(PlatformWindow *window, Point client);
void drive_pointer_out(PlatformWindow *window);
void drive_press(PlatformWindow *window, uint16_t button, Point client);
void drive_release(PlatformWindow *window, uint16_t button, Point client);
void drive_wheel(PlatformWindow *window, int32_t delta);
void drive_key_down(PlatformWindow *window, uint16_t code, bool was_down);
void drive_key_up(PlatformWindow *window, uint16_t code);
void drive_character(PlatformWindow *window, uint32_t unit);
// Returns the system's handle of the drop, or null where there is none.
void *drive_drop(PlatformWindow *window, Point client, const std::vector<std::string> &names);
void drive_close(PlatformWindow *window);
void drive_nothing(PlatformWindow *window); // a message without an event

// Until drive_end, no second press is too late to be a double press.
void drive_begin();
void drive_end();

// Moves the focus to another program's window, and back.
void drive_focus_away(PlatformWindow *window);
void drive_focus_back(PlatformWindow *window);

// Moves the pointer to where no window will be, without a message.
void drive_pointer_away();

// Handles the messages that follow when a window has been shown or moved.
void drive_settle();

// What the client area shows, row by row from the top, as 0xRRGGBB.
std::vector<uint32_t> shown_pixels(const PlatformWindow *window);

// Whether a title is UTF-8 text, as on Linux; otherwise its bytes are taken as UTF-16 units, two a unit.
extern const bool titles_are_text;

// The window's title, as UTF-16 units.
std::u16string shown_title(const PlatformWindow *window);

bool is_shown(const PlatformWindow *window);
