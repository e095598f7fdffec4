#include "os/toolkit/crash.h"

#include <stdlib.h>
#include <windows.h>

#include "os/win32/utf16.h"

// ---- Crash report ----

namespace {

CrashCallback *crash_callback;

LONG WINAPI report_crash(EXCEPTION_POINTERS *exception) {
    if (crash_callback) {
        crash_callback(1, exception_description(exception->ExceptionRecord->ExceptionCode));
    }
    return EXCEPTION_EXECUTE_HANDLER; // ends the process
}

} // namespace

void os_set_crash_callback(CrashCallback *callback) {
    static bool is_installed;
    if (!is_installed) {
        is_installed = true;
        SetUnhandledExceptionFilter(report_crash);
    }
    crash_callback = callback;
}

// ---- Fatal errors ----

void os_fatal(const char *message) {
    WIDE_ON_STACK(wide_message, str_from(message), longest_wide_text);
    WIDE_ON_STACK(wide_title, str_from("YA FUCKED UP"), longest_wide_text);
    MessageBoxW(nullptr, wide_message, wide_title, MB_OK);
    abort();
}
