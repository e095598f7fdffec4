#include "os/console.h"

#include <errno.h>
#include <stdio.h>
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

char **arguments; // of main, null-terminated

// The C library also passes them to constructors.
[[gnu::constructor]] void keep_arguments(int, char **values, char **) {
    arguments = values;
}

// A quoted path and a query after a dash are kept as typed.
bool needs_quotes(const char *argument) {
    return argument[0] == 0 || (argument[0] != '"' && argument[0] != '-' && strpbrk(argument, " \t"));
}

} // namespace

Str os_command_line() {
    static Str command_line;
    if (command_line.data) {
        return command_line;
    }
    uint64_t size = 1;
    for (char **argument = arguments; *argument; argument++) {
        size += strlen(*argument) + 3; // two quotes and a space
    }
    char *joined = static_cast<char *>(os_alloc(size));
    if (joined) {
        uint64_t count = 0;
        for (char **argument = arguments; *argument; argument++) {
            const char *quote = needs_quotes(*argument) ? "\"" : "";
            count += static_cast<uint64_t>(snprintf(joined + count, size - count, "%s%s%s%s",
                                                    count > 0 ? " " : "", quote, *argument, quote));
        }
        command_line = str_cut_trailing_whitespace({count, joined});
        joined[command_line.count] = 0;
    }
    return command_line;
}
