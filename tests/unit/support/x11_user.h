// A second client of the X server, which acts as the user, the window manager and the desktop.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include <X11/Xlib.h>

#include "os/window.h"

// Its connection, opened at the first call.
Display *user_display();

Window window_id(const PlatformWindow *window);

// Waits until the server has processed all requests and the program's connection has all resulting events.
void user_sync();

// ---- The real keyboard and mouse ----

void user_move_to(Point screen);
void user_button(uint32_t button, bool is_down);
void user_key(KeyCode key, bool is_down);
void user_tap(KeyCode key); // down and up

// The key that has the symbol without Shift in the first group; 0 for none.
KeyCode key_of(KeySym symbol);

// Gives one of the keys that have no symbol this one, unless a key has it; returns the key.
KeyCode key_for(KeySym symbol);

// Runs setxkbmap with these arguments and waits until the keyboard is as they say. Returns whether it is.
bool set_layout(const std::string &arguments);

// ---- Events sent to a window ----

// A timestamp as in the server's events.
uint32_t now_ms();

void send_button(const PlatformWindow *window, uint32_t number, Point client, bool is_down, uint32_t time_ms);
void send_key(const PlatformWindow *window, KeyCode key, bool is_down, uint32_t state = 0);
void send_message(const PlatformWindow *window, Atom type, const std::vector<long> &data);

// ---- The desktop's settings ----

// Publishes these bytes as the settings; take_settings_back ends that.
void publish_settings(const std::string &bytes);
void take_settings_back();

// One integer setting, in the form that publish_settings takes.
std::string settings_with(const std::vector<std::pair<std::string, int32_t>> &numbers);
