// Hands a window the messages its system would, and looks at what it shows: the same for the real window and
// the off-screen one.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "os/window.h"

// The messages below wait until os_pump_messages. Places are in the client area.
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
void drive_nothing(PlatformWindow *window); // a message that is no event

// From here on no second press is too late to be a double press; until drive_end.
void drive_begin();
void drive_end();

// The focus goes to another program's window, and comes back.
void drive_focus_away(PlatformWindow *window);
void drive_focus_back(PlatformWindow *window);

// Puts the pointer where no window comes to stand, without telling any.
void drive_pointer_away();

// Handles what the system still has to tell of a window that has just been shown or moved.
void drive_settle();

// What the client area shows, row by row from the top, 0xRRGGBB.
std::vector<uint32_t> shown_pixels(const PlatformWindow *window);

// Whether a title is UTF-8 text, as on Linux; otherwise its bytes are taken as UTF-16 units, two a unit.
extern const bool titles_are_text;

// The window's title, as UTF-16 units.
std::u16string shown_title(const PlatformWindow *window);

bool is_shown(const PlatformWindow *window);
