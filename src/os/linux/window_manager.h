// What a window tells the window manager and asks of it. Interface thread only.
//
// Every request is a wish: what becomes of it is told by events, in the window manager's own time.
#pragma once

#include <stdint.h>

#include "os/linux/native_window.h"

// What a window manager is asked for may take it this long, or it does not do it.
constexpr uint32_t wm_answer_ms = 200;

// ---- For a window that is not on the screen ----

// Sets all that the window manager and other programs read. title is zero-terminated UTF-8, flags are
// WindowFlag bits.
void wm_set_properties(const NativeWindow *native, const char *title, uint16_t flags);

// Sets the states that the window begins with; they are forgotten when it is hidden.
void wm_set_first_states(const NativeWindow *native, uint16_t flags);

// Finds out how wide the window's frame is going to be.
void wm_ask_frame_extents(NativeWindow *native, uint16_t flags);

// ---- For any window ----

// Tells the place and the size of the client area, whatever its frame. Until a window is placed the window
// manager chooses the place.
void wm_set_size_hints(const NativeWindow *native, uint16_t flags, bool is_placed);

// Takes over how wide the frame is, if the window manager has told it.
void wm_read_frame_extents(NativeWindow *native);

// Adds a state to a window on the screen, or removes it.
void wm_set_state(const NativeWindow *native, Atom state, bool is_added);

// Raises the window and gives it the keys.
void wm_activate(const NativeWindow *native);

// Takes the frame away or gives it back, as the flags say, and waits a moment for it.
void wm_set_frame(PlatformWindow *window);
