// A window's properties for the window manager, and requests to it. Interface thread only.
//
// The window manager may ignore a request; the outcome arrives later, as events.
#pragma once

#include <stdint.h>

#include "os/linux/native_window.h"

// How long to wait for the window manager to act on a request.
constexpr uint32_t wm_answer_ms = 200;

// ---- For unmapped windows ----

// Sets all properties that the window manager and other clients read. title is zero-terminated UTF-8, flags
// are WindowFlag bits.
void wm_set_properties(const NativeWindow *native, const char *title, uint16_t flags);

// Sets the initial states. Call it before each mapping: hiding the window clears them.
void wm_set_first_states(const NativeWindow *native, uint16_t flags);

// Sets the extents of the frame that the window will get. Asks the window manager for them, if it supports
// that, and waits up to wm_answer_ms.
void wm_ask_frame_extents(NativeWindow *native, uint16_t flags);

// ---- For all windows ----

// Sets the size hints; the position is the client area's, regardless of the frame. If is_placed is false, the
// window manager chooses the position.
void wm_set_size_hints(const NativeWindow *native, uint16_t flags, bool is_placed);

// Reads the frame's extents from the window manager's property; keeps the old ones if it is missing or
// invalid.
void wm_read_frame_extents(NativeWindow *native);

// ---- For os/toolkit ----

// Asks to add a state to a mapped window, or to remove it.
void wm_set_state(const NativeWindow *native, Atom state, bool is_added);

// Raises the window and gives it the keyboard focus.
void wm_activate(const NativeWindow *native);

// Adds or removes the frame, as the window's flags say, and waits up to wm_answer_ms for its new extents.
void wm_set_frame(PlatformWindow *window);
