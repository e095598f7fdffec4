#include "os/console.h"

#include <windows.h>

// ---- Output ----

void os_console_write(Str text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data, static_cast<DWORD>(text.count), &written, nullptr);
}

// ---- Command line ----

Str os_command_line() {
    static Str command_line;
    if (!command_line.data) {
        command_line = str_copy(str_cut_trailing_whitespace(str_from(GetCommandLineA())));
    }
    return command_line;
}
