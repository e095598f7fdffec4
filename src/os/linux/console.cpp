#include "os/console.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

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
bool needs_quotes(const char *argument) {
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
            bool is_quoted = needs_quotes(argument);
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
