#include "os/toolkit/console.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "os/console.h"

// ---- Console colours ----

void os_console_attribute(uint16_t attribute) {
    if (!isatty(STDOUT_FILENO)) {
        return;
    }
    // The terminal has red in the lowest bit and blue in the highest, the other way round.
    int32_t colour = (attribute & 1) << 2 | (attribute & 2) | (attribute & 4) >> 2;
    int32_t code = (attribute & 8 ? 90 : 30) + colour;
    if (attribute == 7) {
        code = 0; // the terminal's own colours
    }
    os_print("\x1b[%im", code);
}

// ---- Console window ----

bool os_console_window_move(int32_t, int32_t) {
    return false;
}

bool os_console_window_set_height(int32_t) {
    return false;
}

Rect os_console_window_rect() {
    return {};
}

void os_console_window_flash() {}

// ---- Console input and cursor ----

namespace {

uint32_t read_byte() {
    uint8_t byte = 0;
    while (read(STDIN_FILENO, &byte, 1) < 0 && errno == EINTR) {
    }
    return byte;
}

// Reads one UTF-8 character; 0 at the end of the input.
uint32_t read_character() {
    uint32_t first = read_byte();
    uint32_t more = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : first >= 0xc0 ? 1 : 0;
    uint32_t character = more ? first & (0x3fu >> more) : first;
    while (more-- > 0) {
        character = character << 6 | (read_byte() & 0x3f);
    }
    return character;
}

} // namespace

uint32_t os_console_read_key() {
    termios before;
    if (tcgetattr(STDIN_FILENO, &before) != 0) {
        return 0;
    }
    termios single_keys = before;
    single_keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    single_keys.c_cc[VMIN] = 1;
    single_keys.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &single_keys);
    uint32_t character = read_character();
    tcsetattr(STDIN_FILENO, TCSANOW, &before);
    return character;
}

bool os_console_move_cursor(int32_t dx, int32_t dy) {
    if (!isatty(STDOUT_FILENO)) {
        return false;
    }
    // The terminal itself stops at the leftmost column. A count of 0 would move by one.
    if (dx != 0) {
        os_print("\x1b[%i%c", abs(dx), dx < 0 ? 'D' : 'C');
    }
    if (dy != 0) {
        os_print("\x1b[%i%c", abs(dy), dy < 0 ? 'A' : 'B');
    }
    return true;
}

int32_t os_console_height() {
    winsize size;
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}
