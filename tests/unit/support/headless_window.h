// The other side of the off-screen window: what a test does in the place of the user and the system, and what
// it sees.
//
// The off-screen system implements os/window.h. The user's actions wait as messages until os_pump_messages,
// as on any system; what the program does to its window happens at once. There is one keyboard, one mouse,
// one screen, and a clock that the test sets.
#pragma once

#include <stdint.h>

#include "os/window.h"

// ---- The user ----

// Moves the pointer on the screen. The window under it, or the one where a button is held down, gets a
// message, and so does the one it left.
void headless_move_pointer(Point position);

// Presses or releases a mouse button at the pointer; a press gives the window there the focus.
void headless_press(uint16_t button);
void headless_release(uint16_t button);

// Turns the wheel by delta, 120 a notch, positive away from the user, over the window under the pointer.
void headless_turn_wheel(int32_t delta);

// Presses or releases a key, for the window with the focus; pressing one that is down is its auto-repeat.
void headless_press_key(uint16_t code);
void headless_release_key(uint16_t code);

// Types one UTF-16 unit: the character alone, not its key.
void headless_type(uint32_t unit);

// Drags the window's upper left corner there, or the client area to that size; closes the window; gives the
// focus to it, or to none of the program's windows for null.
void headless_drag_to(PlatformWindow *window, Point position);
void headless_drag_size(PlatformWindow *window, Size client_size);
void headless_close(PlatformWindow *window);
void headless_focus(PlatformWindow *window);

// Grabs the window's title bar, or releases it. In between the system handles the messages in a loop of its
// own, with a frame due after each of them; it ends with the last message in any case.
void headless_hold_title(PlatformWindow *window);
void headless_release_title(PlatformWindow *window);

// Drops files at that position in the client area; names as the system writes them.
void headless_drop(PlatformWindow *window, Point client, const Str *names, int32_t count);

// ---- The system ----

// Asks the window to redraw itself, a message without an event.
void headless_ask_redraw(PlatformWindow *window);

// The clock of the messages, and how close a second press must follow; 500 ms and 4 x 4 pixels at first.
void headless_set_time(uint32_t ms);
void headless_set_double_press(uint32_t ms, Size size);

// A monitor as the system describes it, before os_get_monitors makes it the program's.
struct HeadlessMonitor {
    bool is_primary;
    Rect work_area;
    Rect whole;
    Size mode_resolution;       // 0: unknown
    uint32_t mode_refresh_rate; // hertz; 0 or 1: unknown
    const char *name;
};

// Replaces the monitors, one of 1280 x 1024 at first, and forgets what os_get_monitors has kept.
void headless_set_monitors(const HeadlessMonitor *monitors, uint32_t count);

// Makes the next os_window_create fail.
void headless_refuse_next_window();

// ---- What is shown ----

struct HeadlessView {
    bool is_visible;
    bool is_minimized;
    uint32_t presented;   // how often the window has been blitted
    Size size;            // of the client area
    uint32_t *pixels;     // what the client area shows: 0 until the first blit
    uint32_t title_count; // UTF-16 units of the title
    uint16_t *title;
};

// What an open window shows. Valid until it changes.
const HeadlessView *headless_view(const PlatformWindow *window);

// The cursor's CursorKind, and whether it shows.
uint32_t headless_cursor();
bool headless_cursor_is_visible();

// Whether raw mouse input is registered.
bool headless_raw_mouse_is_registered();
