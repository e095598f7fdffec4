// What the windows of all systems share: the list of open windows, the framebuffer's growth, and what each of
// the system's messages becomes. For the layer's own files only.
#pragma once

#include <stdint.h>

#include "os/window.h"

// ---- The list of windows (one version for all systems) ----

// Whether the window is open.
bool window_is_alive(const PlatformWindow *window);

// Adds an open window. Returns false and changes nothing when out of memory.
bool window_list_add(PlatformWindow *window);

// The open window with that index, from 0; null beyond the last one.
PlatformWindow *window_at(uint32_t index);

// The open window with that handle, or null.
PlatformWindow *window_from_handle(const void *handle);

// ---- Title (one version for all systems) ----

// The title as it is passed to the system: each pair of its bytes is one UTF-16 unit, and zeros end it. An
// empty one becomes "Window". The caller frees it with os_free; null when out of memory.
char *window_raw_title(Str title);

// ---- Framebuffer (one version for all systems) ----

// Bytes allocated for a picture of that size: the next power of two; 0 for one without an area.
uint64_t framebuffer_block_size(Size size);

// Gives the framebuffer a new size. Its block only ever grows; a new one is all zero. When out of memory, the
// old block and the old size stay.
void framebuffer_resize(Framebuffer *framebuffer, Size size);

// ---- Messages (one version for all systems) ----

// Where a window is, as the system reports it.
struct WindowGeometry {
    Rect outer;  // on the screen
    Rect client; // on the screen
};

// Each function below handles one message for an open window and delivers its event; position is the mouse's
// on the screen when the message was sent.

void window_set_geometry(PlatformWindow *window, const WindowGeometry &geometry); // delivers none

// x, y: the client area's position as the message has it, 16 bits each.
void window_moved(PlatformWindow *window, const WindowGeometry &geometry, uint16_t x, uint16_t y);

// width, height: the client area's size as the message has it, 16 bits each.
void window_resized(PlatformWindow *window, const WindowGeometry &geometry, uint16_t width, uint16_t height);

void window_focus_gained(PlatformWindow *window);
void window_focus_lost(PlatformWindow *window);

// Called before a window's focus event, and when a window closes; null: nothing is. For the toolkit.
typedef void WindowFocusHook(PlatformWindow *window, bool has_focus);
extern WindowFocusHook *window_focus_hook;

// The window is closing or already gone. Releases what it owns, once; the record stays.
void window_closed(PlatformWindow *window);

void window_key(PlatformWindow *window, uint16_t code, uint8_t state);
void window_character(PlatformWindow *window, uint32_t unit);

// Returns whether the pointer has just entered: then the system must be asked to report when it leaves.
bool window_pointer_moved(PlatformWindow *window, Point position);
void window_pointer_left(PlatformWindow *window, Point position);

// A press is a double press when it follows the last one within less than each of these.
struct DoublePressLimits {
    uint32_t time_ms;
    int32_t width;
    int32_t height;
};

// client: the press in the client area; time_ms: the message's, of a clock that wraps.
void window_button_pressed(PlatformWindow *window, uint16_t button, Point position, Point client,
                           uint32_t time_ms, const DoublePressLimits &limits);
void window_button_released(PlatformWindow *window, uint16_t button, Point position);

void window_wheel_turned(PlatformWindow *window, Point position, int32_t delta);

// ---- The system's own message loop (one version for all systems) ----

// The system begins a message loop of its own for the window. Returns the period in milliseconds in which
// window_frame_due is to be called until it ends; 0: never.
uint32_t window_system_loop_begin(PlatformWindow *window);
void window_system_loop_end();

// Calls the frame callback if the system's loop runs for this window and no callback is running.
void window_frame_due(PlatformWindow *window);

// ---- Presentation (one version for all systems) ----

// Whether the window is open and has a framebuffer with an area.
bool window_can_present(const PlatformWindow *window);

// ---- Dropped files (one version for all systems) ----

// The names of dropped files while they are collected.
struct DropList {
    char *bytes;   // each name with a zero byte after it
    uint64_t used; // bytes
    int32_t count; // names
};

// Starts a list with room for names of that many UTF-16 units in total. Returns false when out of memory.
bool drop_list_init(DropList *list, uint64_t units);

// Where the next name's bytes go: at most three for each of its units.
char *drop_list_room(DropList *list);

// Adds the name of count bytes that was written there, with every '\' turned into '/'.
void drop_list_add(DropList *list, uint64_t count);

// Delivers the list's event and frees the list. client: where the files were dropped, in the client area.
void window_files_dropped(PlatformWindow *window, Point client, DropList *list);

// ---- Monitors (one version for all systems) ----

// Fills in what the display mode says, where 0 means unknown; size: the monitor's, on the screen.
void monitor_set_mode(MonitorInfo *monitor, Size mode_resolution, Size size, uint32_t mode_refresh_rate);

// Swaps the primary monitor with the first one.
void monitors_put_primary_first(MonitorInfo *monitors, uint32_t count);

// ---- What only the system can do (each system) ----

// A framebuffer's block, all zero, from memory that the system shows frames from; null when out of memory.
uint32_t *framebuffer_block_alloc(uint64_t size);
void framebuffer_block_free(uint32_t *pixels); // null does nothing

// Releases the device context and destroys the system's window.
void window_destroy_native(PlatformWindow *window);

// Shows a part of the framebuffer in a part of the client area; neither is empty.
void window_present(const PlatformWindow *window, Rect to, Rect from);

// The outer size for a client area of that size.
Size window_outer_size(const PlatformWindow *window, Size client_size);

// Moves and resizes the window to that outer rectangle; messages of its new position and size follow.
void window_place(PlatformWindow *window, Rect outer);
