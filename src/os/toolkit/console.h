// The console of a program that has one: its colours, its window, its cursor and what is typed into it.
#pragma once

#include <stdint.h>

#include "os/rect.h"
#include "os/strings.h"

// ---- Console colours (each system) ----

// Sets the colour of what is written to the console from now on. Does nothing when standard output is not a
// console. attribute: a sum of 1 blue, 2 green, 4 red and 8 bright.
void os_console_attribute(uint16_t attribute);

// ---- Console colours (one version for all systems) ----

inline void os_console_red() {
    os_console_attribute(12);
}

inline void os_console_green() {
    os_console_attribute(10);
}

inline void os_console_blue() {
    os_console_attribute(9);
}

inline void os_console_yellow() {
    os_console_attribute(14);
}

inline void os_console_cyan() {
    os_console_attribute(11);
}

inline void os_console_magenta() {
    os_console_attribute(13);
}

inline void os_console_normal() {
    os_console_attribute(7); // grey
}

inline void os_console_white() {
    os_console_attribute(15);
}

// ---- Console window (each system) ----

// Without a console window of the system's own, as always on Linux, these have no effect and return false or
// zeros.

// Moves the window's upper left corner; the size stays. Returns whether it was moved.
bool os_console_window_move(int32_t x, int32_t y);

// Sets the window's height in pixels; the rest stays. Returns whether it was set.
bool os_console_window_set_height(int32_t height);

Rect os_console_window_rect();

// Flashes the window once, unless it is in the foreground.
void os_console_window_flash();

// ---- Console input and cursor (each system) ----

// Waits for the console's next input event. Returns the character of a key press (on Windows a UTF-16 unit),
// and 0 for any other event, for a key without a character, and when standard input is not a console.
uint32_t os_console_read_key();

// Moves the cursor by dx columns and dy rows, not beyond the leftmost column. Returns false when that
// fails or there is no console.
bool os_console_move_cursor(int32_t dx, int32_t dy);

// Rows of text the console shows; 0 without a console.
int32_t os_console_height();

// ---- Lines (one version for all systems) ----

// Reads a line from the standard library's stdin into line, size bytes with the zero terminator; a longer
// line arrives in pieces, and one with a zero byte in it ends there. Returns it without its line feed, or
// length 0 and a null pointer at the end of the input.
Str os_read_line(char *line, int32_t size);
