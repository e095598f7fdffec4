// The keyboard on X11: which virtual-key code a key has, which keys are down, and what they type. Interface
// thread only.
#pragma once

#include <X11/Xlib.h>

#include "os/linux/native_window.h"

// Chooses the locale, whose input method and Compose keys are used, and has the server repeat held keys
// without releasing them. Once, before the other functions.
void keys_init();

// Connects a window that has the focus to the input method, if there is one; without one keys type what the
// layout has. Nothing happens when it is connected.
void keys_open_input(NativeWindow *native);

void keys_close_input(NativeWindow *native);

// A key press that the input method has left alone: delivers the key, then what it types.
void keys_pressed(PlatformWindow *window, XKeyEvent *event);

void keys_released(PlatformWindow *window, const XKeyEvent &event);

// The server tells which keys are down. Delivers the releases that went to other programs; keys that went
// down elsewhere count as held from here on.
void keys_down_told(PlatformWindow *window, const XKeymapEvent &event);

// No key counts as down any more. Delivers nothing.
void keys_forget_down();

void keys_mapping_changed(XMappingEvent *event);
