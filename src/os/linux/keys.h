// The keyboard on X11: virtual-key codes, the keys that are down, and text input. Interface thread only.
#pragma once

#include <X11/Xlib.h>

#include "os/linux/native_window.h"

// Sets the locale, which selects the input method and the Compose table, and makes held keys repeat without
// releases in between. Call it before the other functions.
void keys_init();

// Connects a focused window to the input method; if there is none, keys type what the layout says. Does
// nothing when the window is already connected.
void keys_open_input(NativeWindow *native);

void keys_close_input(NativeWindow *native);

// Handles a key press that the input method has not consumed: delivers the key, then its characters.
void keys_pressed(PlatformWindow *window, XKeyEvent *event);

void keys_released(PlatformWindow *window, const XKeyEvent &event);

// Handles the server's report of the keys that are down. Delivers releases that went to other programs; keys
// pressed elsewhere count as held from now on.
void keys_sync_down(PlatformWindow *window, const XKeymapEvent &event);

// Marks all keys as released. Delivers nothing.
void keys_forget_down();
