#include "os/toolkit/process.h"

#include "os/console.h"
#include "os/win32/process.h"
#include "os/win32/utf16.h"

static_assert(sizeof(SECURITY_ATTRIBUTES) == sizeof(Process::pipe_security));
static_assert(sizeof(STARTUPINFOW) == sizeof(Process::start_info));
static_assert(sizeof(PROCESS_INFORMATION) == sizeof(Process::process_info));

namespace {

const PROCESS_INFORMATION *information_of(const Process *process) {
    return reinterpret_cast<const PROCESS_INFORMATION *>(process->process_info);
}

} // namespace

// ---- A command with its output ----

uint32_t os_run_process(Str cmd, ProcessOutput on_output, bool show_console) {
    if (!on_output.callback) {
        return os_run_process(cmd, show_console);
    }
    Process process;
    if (os_process_start(&process, cmd, show_console) != 0) {
        return 1;
    }
    // While this side has the child's ends open, the output does not end.
    CloseHandle(process.child_output);
    CloseHandle(process.child_input);
    char chunk[4096];
    DWORD count = 0;
    while (ReadFile(process.output, chunk, sizeof(chunk), &count, nullptr) && count > 0) {
        on_output.callback(on_output.context, {count, chunk});
    }
    DWORD exit_code;
    BOOL is_read = GetExitCodeProcess(information_of(&process)->hProcess, &exit_code);
    CloseHandle(information_of(&process)->hProcess);
    CloseHandle(information_of(&process)->hThread);
    if (!is_read) {
        os_debug_print("%i\n", 2886);
        return 1;
    }
    return exit_code; // this side's ends of the pipes intentionally stay open
}

// ---- A child to talk with ----

int32_t os_process_start(Process *process, Str cmd, bool show_console) {
    *process = {};
    WIDE_ON_STACK(wide_cmd, cmd, longest_wide_text);
    if (!wide_cmd) {
        return 1;
    }
    SECURITY_ATTRIBUTES *security = reinterpret_cast<SECURITY_ATTRIBUTES *>(process->pipe_security);
    security->nLength = sizeof(*security);
    security->bInheritHandle = TRUE;
    // A failure intentionally leaves open what has been created by then.
    if (!CreatePipe(&process->output, &process->child_output, security, 0) ||
        !SetHandleInformation(process->output, HANDLE_FLAG_INHERIT, 0) ||
        !CreatePipe(&process->child_input, &process->input, security, 0) ||
        !SetHandleInformation(process->input, HANDLE_FLAG_INHERIT, 0)) {
        return 1;
    }
    STARTUPINFOW *start = reinterpret_cast<STARTUPINFOW *>(process->start_info);
    start->cb = sizeof(*start);
    start->dwFlags = STARTF_USESTDHANDLES;
    start->hStdInput = process->child_input;
    start->hStdOutput = process->child_output;
    start->hStdError = process->child_output;
    process->creation_flags = creation_flags_for(show_console);
    return CreateProcessW(nullptr, wide_cmd, nullptr, nullptr, TRUE, process->creation_flags, nullptr,
                          nullptr, start, reinterpret_cast<PROCESS_INFORMATION *>(process->process_info))
               ? 0
               : 1;
}

int64_t os_process_write(Process *process, uint32_t count, const char *data) {
    DWORD written = 0;
    return WriteFile(process->input, data, count, &written, nullptr) ? int64_t{written} : -1;
}

int64_t os_process_read(Process *process, uint32_t max, char *buffer) {
    DWORD waiting = 0;
    if (!PeekNamedPipe(process->output, nullptr, 0, nullptr, &waiting, nullptr)) {
        return -1;
    }
    if (waiting == 0) {
        return 0;
    }
    DWORD count = 0;
    return ReadFile(process->output, buffer, max, &count, nullptr) ? int64_t{count} : -1;
}

bool os_process_is_running(const Process *process) {
    return WaitForSingleObject(information_of(process)->hThread, 0) == WAIT_TIMEOUT;
}

bool os_process_wait_idle(const Process *process) {
    return WaitForInputIdle(information_of(process)->hProcess, 5000) == 0;
}

int32_t os_process_kill(Process *process) {
    if (os_process_is_running(process)) {
        TerminateProcess(information_of(process)->hProcess, 0);
    }
    CloseHandle(information_of(process)->hProcess);
    CloseHandle(information_of(process)->hThread);
    CloseHandle(process->child_output);
    return CloseHandle(process->child_input);
}
