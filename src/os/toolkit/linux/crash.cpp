#include "os/toolkit/crash.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <ucontext.h>
#include <unistd.h>

// ---- Crash report ----

namespace {

CrashCallback *crash_callback;

constexpr int any_reason = -1;

// The first matching row has the Windows code of a signal.
constexpr struct {
    int signal;
    int reason; // si_code
    uint32_t code;
} signal_codes[] = {
    {SIGSEGV, any_reason, 0xC0000005}, {SIGBUS, BUS_ADRALN, 0x80000002}, {SIGBUS, any_reason, 0xC0000006},
    {SIGFPE, FPE_INTDIV, 0xC0000094},  {SIGFPE, FPE_INTOVF, 0xC0000095}, {SIGFPE, FPE_FLTDIV, 0xC000008E},
    {SIGFPE, FPE_FLTOVF, 0xC0000091},  {SIGFPE, FPE_FLTUND, 0xC0000093}, {SIGFPE, FPE_FLTRES, 0xC000008F},
    {SIGFPE, FPE_FLTSUB, 0xC000008C},  {SIGFPE, any_reason, 0xC0000090}, {SIGILL, ILL_PRVOPC, 0xC0000096},
    {SIGILL, ILL_PRVREG, 0xC0000096},  {SIGILL, any_reason, 0xC000001D}, {SIGTRAP, TRAP_TRACE, 0x80000004},
    {SIGTRAP, any_reason, 0x80000003},
};

// Whether the fault lies where the stack would have grown next.
bool is_stack_overflow(const siginfo_t *info, const void *context) {
    constexpr uint64_t reach = 65536; // bytes around the stack pointer that one instruction may touch
    uint64_t stack =
        static_cast<uint64_t>(static_cast<const ucontext_t *>(context)->uc_mcontext.gregs[REG_RSP]);
    return reinterpret_cast<uint64_t>(info->si_addr) - (stack - reach) < 2 * reach;
}

void report_crash(int signal, siginfo_t *info, void *context) {
    uint32_t row = 0;
    while (signal_codes[row].signal != signal ||
           (signal_codes[row].reason != any_reason && signal_codes[row].reason != info->si_code)) {
        row++;
    }
    uint32_t code = signal_codes[row].code;
    if (signal == SIGSEGV && is_stack_overflow(info, context)) {
        code = 0xC00000FD;
    }
    if (crash_callback) {
        crash_callback(1, exception_description(code));
    }
    _exit(static_cast<int>(code & 0xff));
}

void install() {
    static constexpr int signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
    // A stack for the handler even when the thread's own is used up.
    static char signal_stack[65536];
    stack_t stack = {};
    stack.ss_sp = signal_stack;
    stack.ss_size = sizeof(signal_stack);
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = report_crash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&action.sa_mask); // a crash inside the callback ends the process
    for (int signal : signals) {
        sigaction(signal, &action, nullptr);
    }
}

} // namespace

void os_set_crash_callback(CrashCallback *callback) {
    static bool is_installed;
    if (!is_installed) {
        is_installed = true;
        install();
    }
    crash_callback = callback;
}

// ---- Fatal errors ----

void os_fatal(const char *message) {
    fprintf(stderr, "YA FUCKED UP: %s\n", message);
    abort();
}
