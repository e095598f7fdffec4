#include "os/process.h"

#include <windows.h>

#include <shellapi.h>

#include "os/errors.h"
#include "os/win32/process.h"
#include "os/win32/utf16.h"

static_assert(exit_code_still_running == STILL_ACTIVE);

DWORD creation_flags_for(bool show_console) {
    return show_console ? NORMAL_PRIORITY_CLASS : CREATE_NO_WINDOW | NORMAL_PRIORITY_CLASS;
}

// ---- One command ----

uint32_t os_run_process(Str cmd, bool show_console) {
    WIDE_ON_STACK(wide_cmd, cmd, longest_wide_text);
    if (!wide_cmd) {
        os_start_error = ERROR_FILENAME_EXCED_RANGE;
        return 1;
    }
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION information;
    DWORD exit_code;
    if (!CreateProcessW(nullptr, wide_cmd, nullptr, nullptr, FALSE, creation_flags_for(show_console), nullptr,
                        nullptr, &start, &information)) {
        os_start_error = GetLastError();
        return 1;
    }
    os_start_error = 0;
    if (!GetExitCodeProcess(information.hProcess, &exit_code)) {
        return 1;
    }
    return exit_code; // both handles intentionally stay open
}

// ---- Desktop ----

int32_t os_shell_open(Str path) {
    WIDE_ON_STACK(wide_path, path, longest_wide_text);
    if (!wide_path) {
        return 1;
    }
    SHELLEXECUTEINFOW info = {};
    static_assert(sizeof(info) == 112);
    info.cbSize =
        sizeof(info); // intentionally without a mask: the system itself reports a failure to the user
    info.lpVerb = L"open";
    info.lpFile = wide_path;
    info.nShow = SW_SHOWDEFAULT;
    return ShellExecuteExW(&info) ? 0 : 1;
}
