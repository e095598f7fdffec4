// What a window can do beyond what the program needs. Every function does nothing for a window that is
// closed. Interface thread only.
#pragma once

#include "os/window.h"

// ---- Presentation (one version for all systems) ----

// Shows a part of the framebuffer at the same place in the client area. rect lies within the framebuffer.
void os_window_blit_rect(PlatformWindow *window, Rect rect);

// ---- Place and size (one version for all systems) ----

// Moves the client area's upper left corner to that place on the screen.
void os_window_move_client(PlatformWindow *window, Point position);

// Gives the client area that size; the window keeps its upper left corner, or its centre.
void os_window_resize(PlatformWindow *window, Size client_size);
void os_window_resize_centered(PlatformWindow *window, Size client_size);

// ---- Appearance (each system) ----

void os_window_minimize(PlatformWindow *window);
void os_window_restore(PlatformWindow *window);

// Brings the window to the front and gives it the keyboard, as far as the system allows; the window counts as
// having the focus in any case.
void os_window_focus(PlatformWindow *window);

// Flashes the window's taskbar button once, until the user activates the window.
void os_window_flash(PlatformWindow *window);

// Removes or restores the frame; the outer rectangle stays.
void os_window_toggle_frame(PlatformWindow *window);

void os_window_toggle_topmost(PlatformWindow *window);

// ---- Mouse (one version for all systems) ----

// Requests raw mouse input while the window has the focus, wherever the pointer is.
void os_window_request_raw_mouse(PlatformWindow *window);

// ---- Mouse (each system) ----

// Shows or hides the mouse cursor for the whole program, regardless of earlier calls.
void os_show_system_cursor(bool visible);
