// Diagnostic text on standard output, the console when there is one, and questions about the process and
// machine.
//
// The program has no console of its own: what is written here reaches only who redirects its standard output.
// Without one, and on every error, writing does nothing; no operation here reports an error in text.
#pragma once

#include <stdint.h>

#include "os/rect.h"
#include "os/strings.h"

// The compiler checks the part of the format language that all the formatters here share with standard C.
#ifdef _WIN32
#define OS_FORMAT_CHECKED __attribute__((format(gnu_printf, 1, 2)))
#else
#define OS_FORMAT_CHECKED __attribute__((format(printf, 1, 2)))
#endif

// ---- Formatted output (one version for all systems) ----

// Formats with stb_sprintf's language and writes with os_console_write, byte for byte: in pieces of 1023
// bytes, the last one shorter.
OS_FORMAT_CHECKED void os_print(const char *format, ...);

// Formats with the standard library's language onto its stdout, which collects the text, and on Windows
// writes a line feed as two bytes. Order between this and os_print is not kept.
OS_FORMAT_CHECKED void os_debug_print(const char *format, ...);

// ---- Input (one version for all systems) ----

// Reads a line from the standard library's stdin into line, size bytes with the zero terminator; a longer
// line comes in pieces, and one with a zero byte in it ends there. Returns it without its line feed, or
// length 0 and a null pointer at the end of the input.
Str os_read_line(char *line, int32_t size);

// ---- Output (each system) ----

// Writes the bytes to standard output as they are; errors are ignored.
void os_console_write(Str text);

// ---- Command line (each system) ----

// The command line the process was started with, the program's name first, without the spaces and tabs at its
// end. Zero-terminated, owned by the layer, made at the first call; the empty Str when out of memory. Where
// the system hands over single arguments they are joined by spaces. An empty one, and one that holds a space
// or a tab and starts with neither a double quote nor a dash, is put in double quotes.
Str os_command_line();

// ---- Console colours (each system) ----

// Sets the colour of what is written to the console from now on. Nothing happens when standard output is
// none. attribute: a sum of 1 blue, 2 green, 4 red and 8 bright.
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

// These have no effect and return zeros when there is no console window of the system's own; always so on
// Linux.

// Moves the window's upper left corner; its size stays. Returns whether it was moved.
uint8_t os_console_window_move(int32_t x, int32_t y);

// Sets the window's height in pixels; the rest stays. Returns whether it was set.
uint8_t os_console_window_set_height(int32_t height);

Rect os_console_window_rect();

// Flashes the window once, unless it is in the foreground.
void os_console_window_flash();

// ---- Console input and cursor (each system) ----

// Waits for the console's next input event. Returns the character of a key that went down (on Windows a
// UTF-16 unit), and 0 for any other event, for a key without a character (where the system has such), and
// when standard input is no console.
uint32_t os_console_read_key();

// Moves the cursor by dx columns and dy rows, not beyond the leftmost column. Returns 0 when the console
// refuses or there is none.
uint8_t os_console_move_cursor(int32_t dx, int32_t dy);

// Rows of text the console shows; 0 without a console.
int32_t os_console_height();

// ---- Process and machine (each system) ----

uint32_t os_processor_count();

// Bytes of memory; 0 when the system does not tell.
uint64_t os_installed_memory();

// The executable's file name without its folder. Owned by the layer, found at the first call.
Str os_exe_name();

// ---- Desktop (each system) ----

// All of these return 0 when there is no desktop or it refuses; always so on Linux. Places count from the
// primary monitor's upper left corner.

// Fills in where the mouse pointer is. On failure point stays as it is.
uint8_t os_mouse_position(Point *point);

enum SentButton : uint8_t {
    SENT_BUTTON_LEFT,
    SENT_BUTTON_RIGHT,
    SENT_BUTTON_MIDDLE,
};

// Synthetic input, which goes to where the user's own would go. Returns whether the system took it.
uint8_t os_send_mouse_move(Point point);
uint8_t os_send_mouse_button(SentButton button, uint8_t is_down);
uint8_t os_send_mouse_wheel(int32_t notches);               // positive: away from the user
uint8_t os_send_key(uint16_t virtual_key, uint8_t is_down); // virtual_key: the system's code of the key

// Fills in the monitors' places on the desktop, capacity of them at most, in the system's order. Returns how
// many.
uint32_t os_monitors(Rect *monitors, uint32_t capacity);

// Puts a picture of a window's client area, as it is on the screen, on the clipboard. window: the system's
// handle.
uint8_t os_copy_window_to_clipboard(void *window);
