// A child for the tests of starting programs: does what its first argument says. Whatever waits gives up
// after a minute.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "os/files.h"
#include "os/toolkit/process.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#endif

namespace fs = std::filesystem;

namespace {

constexpr int gave_up = 99;

fs::path path_of(const std::string &name) {
    return fs::path(std::u8string(name.begin(), name.end()));
}

// The file appears with all its bytes at once.
int write_file(const std::string &name, const std::string &bytes) {
    std::ofstream(path_of(name + ".part"), std::ios::binary) << bytes;
    fs::rename(path_of(name + ".part"), path_of(name));
    return 0;
}

std::string in_brackets(char **words) {
    std::string text;
    for (; *words; words++) {
        text += "[" + std::string(*words) + "]";
    }
    return text;
}

int print(const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}

// The letters a to z again and again, as many bytes as wanted.
int print_letters(int count, int exit_code) {
    std::string text;
    for (int i = 0; i < count; i++) {
        text += static_cast<char>('a' + i % 26);
    }
    print(text);
    return exit_code;
}

int print_to_both() {
    for (int i = 0; i < 3; i++) {
        std::fprintf(stdout, "out %i\n", i);
        std::fflush(stdout);
        std::fprintf(stderr, "err %i\n", i);
    }
    return 0;
}

bool appears(const std::string &name) {
    for (int tries = 0; tries < 6000; tries++) {
        if (fs::exists(path_of(name))) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int wait_for_file(const std::string &awaited, const std::string &written) {
    return appears(awaited) ? write_file(written, "done") : gave_up;
}

// Prints a dot, and when that file is there as many letters, after which it writes the other file.
int print_letters_after(const std::string &awaited, int count, const std::string &written) {
    print(".");
    std::fflush(stdout);
    if (!appears(awaited)) {
        return gave_up;
    }
    print_letters(count, 0);
    std::fflush(stdout);
    return write_file(written, "done");
}

// Answers each line with itself in brackets; "quit N" ends with that code.
int talk() {
    char line[65536];
    while (std::fgets(line, sizeof(line), stdin)) {
        line[strcspn(line, "\r\n")] = 0;
        if (strncmp(line, "quit ", 5) == 0) {
            return std::atoi(line + 5);
        }
        std::printf("[%s]\n", line);
        std::fflush(stdout);
    }
    return gave_up;
}

// How the parent asked this program to show its first window.
std::string how_to_show() {
#ifdef _WIN32
    STARTUPINFOW start = {};
    GetStartupInfoW(&start);
    return start.dwFlags & STARTF_USESHOWWINDOW ? std::to_string(start.wShowWindow) : "as usual";
#else
    return "as usual";
#endif
}

int hold() {
    print("holding\n");
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::minutes(1));
    return gave_up;
}

#ifdef _WIN32
// Whether there is a window of the console's own that the user sees, after the given number of looks.
int print_console_window(int looks) {
    for (; looks > 0; looks--) {
        HWND window = GetConsoleWindow();
        if (window && IsWindowVisible(window)) {
            return print("window\n");
        }
        Sleep(10);
    }
    return print("no window\n");
}

// Starts the rest of this program's command line, from its third argument on, and prints its output.
int start(bool show_console) {
    const char *rest = strstr(GetCommandLineA(), " start ");
    Str cmd = str_from(rest + strlen(" start 0 "));
    return static_cast<int>(
        os_run_process(cmd, {[](void *, Str chunk) { print(std::string(chunk.data, chunk.count)); }, nullptr},
                       show_console));
}

// Sets an event of the parent's by the parent's own handle, which it has only if handles are inherited.
int set_parents_event(const char *handle, const std::string &written) {
    SetEvent(reinterpret_cast<HANDLE>(std::strtoull(handle, nullptr, 10)));
    return write_file(written, "done");
}

// Waits for messages as a program with a window does.
int wait_for_messages() {
    SetTimer(nullptr, 0, 60000, nullptr);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER) {
            return gave_up;
        }
    }
    return 0;
}
#endif

} // namespace

int main(int count, char **arguments) {
#ifdef _WIN32
    _setmode(1, _O_BINARY);
    _setmode(2, _O_BINARY);
#endif
    std::string what = count > 1 ? arguments[1] : "";
    if (count == 1) {
        Str folder = os_exe_folder(); // opened from the desktop
        return write_file(std::string(folder.data, folder.count) + "opened.txt", how_to_show());
    }
    if (what == "exit" && count == 3) {
        return static_cast<int>(std::strtoul(arguments[2], nullptr, 10));
    }
    if (what == "letters" && count == 4) {
        return print_letters(std::atoi(arguments[2]), std::atoi(arguments[3]));
    }
    if (what == "both") {
        return print_to_both();
    }
    if (what == "arguments") {
        return print(in_brackets(arguments + 2));
    }
    if (what == "record" && count > 2) {
        return write_file(arguments[2], in_brackets(arguments + 3));
    }
    if (what == "wait" && count == 4) {
        return wait_for_file(arguments[2], arguments[3]);
    }
    if (what == "letters_after" && count == 5) {
        return print_letters_after(arguments[2], std::atoi(arguments[3]), arguments[4]);
    }
    if (what == "talk") {
        return talk();
    }
    if (what == "hold") {
        return hold();
    }
#ifdef _WIN32
    if (what == "console_window") {
        return print_console_window(50);
    }
    if (what == "await_console_window") {
        return print_console_window(6000);
    }
    if (what == "start" && count > 3) {
        return start(arguments[2][0] == '1');
    }
    if (what == "set_event" && count == 4) {
        return set_parents_event(arguments[2], arguments[3]);
    }
    if (what == "messages") {
        return wait_for_messages();
    }
#endif
    std::fprintf(stderr, "child_probe: wrong arguments\n");
    return 2;
}
