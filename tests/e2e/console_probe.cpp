// A program for console_test.sh: calls the console operations that its first argument names. Without an
// argument of its own it reads the environment variable CONSOLE_PROBE.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "os/clock.h"
#include "os/console.h"
#include "os/files.h"
#include "os/toolkit/console.h"
#include "os/toolkit/threads.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace {

int print_lines(int count) {
    std::string text;
    for (int i = 1; i <= count; i++) {
        text += "line " + std::to_string(i) + " of the log\n";
    }
    os_print("%s", text.c_str());
    return 0;
}

int window_failure() {
    os_print("[%s:%i] ", "main_init", 1092);
    os_print("WTF failed to open window!\n");
    return 1; // as the program does then
}

int debug_lines() {
    os_debug_print("CLIP %i = %s\n", 49161, "DataObject");
    os_debug_print("%i\n", 2886);
    os_abort_all_threads();
    return 0;
}

int command_line() {
    os_print("[");
    os_console_write(os_command_line());
    os_print("]\n");
    return 0;
}

int folder() {
    os_print("[");
    os_console_write(os_exe_folder());
    os_print("]\n");
    return 0;
}

int read_lines() {
    char line[16];
    for (Str text = os_read_line(line, sizeof(line)); text.data; text = os_read_line(line, sizeof(line))) {
        os_print("[%s]\n", text.data);
    }
    return 0;
}

// Starts this program again, to print its command line. On Windows arguments[0] is the whole command line,
// elsewhere arguments are those of the new program, its name first.
int respawn(char **arguments) {
    std::string mode = "CONSOLE_PROBE=command_line";
#ifdef _WIN32
    _putenv(mode.c_str());
    char path[4096];
    GetModuleFileNameA(nullptr, path, sizeof(path));
    STARTUPINFOA start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(path, arguments[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process)) {
        return 3;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 3;
    GetExitCodeProcess(process.hProcess, &code);
    return static_cast<int>(code);
#else
    putenv(mode.data());
    execv("/proc/self/exe", arguments);
    return 3;
#endif
}

// Writes the console's answers to a file: standard output is the console itself.
int ask_console(const char *path) {
    std::FILE *report = std::fopen(path, "w");
    if (!report) {
        return 3;
    }
    std::fprintf(report, "height %i\n", os_console_height());
    std::fprintf(report, "moved %i\n", os_console_move_cursor(3, 1));
    uint32_t key = 0;
    while (key == 0) {
        key = os_console_read_key(); // other events may come first
    }
    std::fprintf(report, "key %u\n", key);
    std::fclose(report);
    return 0;
}

} // namespace

int main(int count, char **arguments) {
    os_init();
    const char *given = std::getenv("CONSOLE_PROBE");
    std::string what = given ? given : count > 1 ? arguments[1] : "";
    if (what == "print" && count == 3) {
        return print_lines(std::atoi(arguments[2]));
    }
    if (what == "window_failure") {
        return window_failure();
    }
    if (what == "debug") {
        return debug_lines();
    }
    if (what == "command_line") {
        return command_line();
    }
    if (what == "folder") {
        return folder();
    }
    if (what == "read_lines") {
        return read_lines();
    }
    if (what == "respawn" && count >= 3) {
        return respawn(arguments + 2);
    }
    if (what == "console" && count == 3) {
        return ask_console(arguments[2]);
    }
    std::fprintf(stderr, "console_probe: wrong arguments\n");
    return 2;
}
