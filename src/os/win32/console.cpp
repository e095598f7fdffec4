#include "os/console.h"

#include <string.h>
#include <windows.h>

#include "os/memory.h"

// ---- Output ----

void os_console_write(Str text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data, static_cast<DWORD>(text.count), &written, nullptr);
}

// ---- Command line ----

Str os_command_line() {
    static Str command_line;
    if (!command_line.data) {
        Str text = str_cut_trailing_whitespace(str_from(GetCommandLineA()));
        char *copy = static_cast<char *>(os_alloc(text.count + 1));
        if (!copy) {
            return {};
        }
        memcpy(copy, text.data, text.count);
        copy[text.count] = 0;
        command_line = {text.count, copy};
    }
    return command_line;
}
