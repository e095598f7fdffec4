#include "os/console.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "os/linux/files.h"
#include "os/memory.h"

// ---- Output ----

void os_console_write(Str text) {
    uint64_t done = 0;
    while (done < text.count) {
        ssize_t put = write(STDOUT_FILENO, text.data + done, text.count - done);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            return;
        }
        done += static_cast<uint64_t>(put);
    }
}

// ---- Command line ----

namespace {

// The arguments, each with its zero byte, as a heap block of the caller's; null data when that fails.
Str read_arguments() {
    int file = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    uint64_t capacity = 4096;
    Str bytes = {0, static_cast<char *>(os_alloc(capacity))};
    while (bytes.data) {
        ssize_t got = read(file, bytes.data + bytes.count, capacity - bytes.count);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        bytes.count += static_cast<uint64_t>(got);
        if (bytes.count == capacity) {
            capacity *= 2;
            char *grown = static_cast<char *>(os_realloc(bytes.data, capacity));
            if (!grown) {
                os_free(bytes.data);
            }
            bytes.data = grown;
        }
    }
    close(file);
    if (bytes.data) {
        bytes.data[bytes.count] = 0; // a process may have renamed itself to something without an end
    }
    return bytes;
}

// A path in quotes and a query after a dash arrive as they were written.
uint8_t needs_quotes(const char *argument) {
    return argument[0] == 0 || (argument[0] != '"' && argument[0] != '-' && strpbrk(argument, " \t"));
}

} // namespace

Str os_command_line() {
    static Str command_line;
    if (command_line.data) {
        return command_line;
    }
    Str arguments = read_arguments();
    // An argument's bytes and its zero byte grow at most threefold: one without bytes becomes two quotes and
    // a space.
    char *joined = arguments.data ? static_cast<char *>(os_alloc(arguments.count * 3 + 1)) : nullptr;
    if (joined) {
        uint64_t count = 0;
        for (uint64_t at = 0; at < arguments.count;) {
            const char *argument = arguments.data + at;
            uint64_t length = strnlen(argument, arguments.count - at);
            uint8_t is_quoted = needs_quotes(argument);
            if (at > 0) {
                joined[count++] = ' ';
            }
            if (is_quoted) {
                joined[count++] = '"';
            }
            memcpy(joined + count, argument, length);
            count += length;
            if (is_quoted) {
                joined[count++] = '"';
            }
            at += length + 1;
        }
        command_line = str_cut_trailing_whitespace({count, joined});
        joined[command_line.count] = 0;
    }
    os_free(arguments.data);
    return command_line;
}

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

uint8_t os_console_window_move(int32_t, int32_t) {
    return 0;
}

uint8_t os_console_window_set_height(int32_t) {
    return 0;
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

uint8_t os_console_move_cursor(int32_t dx, int32_t dy) {
    if (!isatty(STDOUT_FILENO)) {
        return 0;
    }
    // The terminal itself stops at the leftmost column. A count of 0 would move by one.
    if (dx != 0) {
        os_print("\x1b[%i%c", dx < 0 ? -dx : dx, dx < 0 ? 'D' : 'C');
    }
    if (dy != 0) {
        os_print("\x1b[%i%c", dy < 0 ? -dy : dy, dy < 0 ? 'A' : 'B');
    }
    return 1;
}

int32_t os_console_height() {
    winsize size;
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_row : 0;
}

// ---- Process and machine ----

uint32_t os_processor_count() {
    return static_cast<uint32_t>(sysconf(_SC_NPROCESSORS_ONLN));
}

uint64_t os_installed_memory() {
    int64_t pages = sysconf(_SC_PHYS_PAGES);
    int64_t page_size = sysconf(_SC_PAGESIZE);
    return pages > 0 && page_size > 0 ? static_cast<uint64_t>(pages) * static_cast<uint64_t>(page_size) : 0;
}

Str os_exe_name() {
    static Str path;
    if (!path.data) {
        path = exe_path();
        if (!path.data) {
            return {};
        }
    }
    return str_file_name(path);
}

// ---- Desktop ----

uint8_t os_mouse_position(Point *) {
    return 0;
}

uint8_t os_send_mouse_move(Point) {
    return 0;
}

uint8_t os_send_mouse_button(SentButton, uint8_t) {
    return 0;
}

uint8_t os_send_mouse_wheel(int32_t) {
    return 0;
}

uint8_t os_send_key(uint16_t, uint8_t) {
    return 0;
}

uint32_t os_monitors(Rect *, uint32_t) {
    return 0;
}

uint8_t os_copy_window_to_clipboard(void *) {
    return 0;
}
