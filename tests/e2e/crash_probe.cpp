// A program for crash_test.sh: crashes as its first argument says, with a callback that prints its arguments.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "os/console.h"
#include "os/toolkit/crash.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

void print_crash(int32_t is_crash, const char *description) {
    os_print("%i %s\n", is_crash, description);
}

void print_second(int32_t, const char *) {
    os_print("the second callback\n");
}

// Volatile, so that the compiler cannot foresee the crash. Not null: a sanitizer would stop the program
// first.
int *volatile bad_pointer = reinterpret_cast<int *>(16);
volatile int zero;

// In large steps: Wine needs some stack to report the overflow, and has it only when a step ends far beyond
// the stack's end.
__attribute__((noinline)) int use_up_stack(volatile char *before) {
    volatile char block[1 << 20];
    block[0] = before ? before[0] : 1;
    if (zero != 0) {
        return 0; // never
    }
    return use_up_stack(block) + block[0];
}

int crash(const std::string &how) {
    if (how == "access_violation") {
        *bad_pointer = 1;
    } else if (how == "divide_by_zero") {
        // In assembly, so that the compiler cannot foresee it either.
        int quotient = 1;
        int remainder = 0;
        __asm__ volatile("idivl %2" : "+a"(quotient), "+d"(remainder) : "r"(zero));
        return quotient;
    } else if (how == "illegal_instruction") {
        __asm__ volatile("ud2");
    } else if (how == "breakpoint") {
        __asm__ volatile("int3");
    } else if (how == "stack_overflow") {
        return use_up_stack(nullptr);
    }
    std::fprintf(stderr, "crash_probe: still here\n");
    return 2;
}

#ifdef _WIN32

// Starts this program with the argument and prints all 32 bits of its exit status, which a shell cuts to 8.
int status_of(const char *argument) {
    char path[4096];
    GetModuleFileNameA(nullptr, path, sizeof(path));
    std::string command = std::string("crash_probe ") + argument;
    STARTUPINFOA start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(path, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                        &process)) {
        return 2;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    os_print("status %08lX\n", static_cast<unsigned long>(status));
    return 0;
}

void print_text_of(HWND window) {
    wchar_t wide[256] = {};
    SendMessageW(window, WM_GETTEXT, 256, reinterpret_cast<LPARAM>(wide));
    char text[1024] = {};
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof(text), nullptr, nullptr);
    os_print("%s\n", text);
}

// Prints the message box's title, its message and the number of its buttons. Returns 2 without a box.
int box() {
    constexpr int message_item = 0xffff;
    HWND window = FindWindowW(L"#32770", L"YA FUCKED UP");
    HWND message = GetDlgItem(window, message_item);
    if (!message) {
        return 2;
    }
    print_text_of(window);
    print_text_of(message);
    int buttons = 0;
    for (HWND button = FindWindowExW(window, nullptr, L"Button", nullptr); button;
         button = FindWindowExW(window, button, L"Button", nullptr)) {
        buttons += IsWindowVisible(button) != 0;
    }
    os_print("%i button\n", buttons);
    return 0;
}

#endif

} // namespace

int main(int count, char **arguments) {
    std::string how = count > 1 ? arguments[1] : "";
#ifdef _WIN32
    if (how == "status" && count == 3) {
        return status_of(arguments[2]);
    }
    if (how == "box") {
        return box();
    }
#endif
    if (how == "fatal") {
        os_fatal("größe 😀 你好\nand no way out");
    }
    if (how == "no_callback") {
        os_set_crash_callback(nullptr);
        return crash("access_violation");
    }
    os_set_crash_callback(print_crash);
    if (how == "second_callback") {
        os_set_crash_callback(print_second);
        return crash("access_violation");
    }
    return crash(how);
}
