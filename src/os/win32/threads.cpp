#include "os/threads.h"

#include <windows.h>

#include "os/console.h"
#include "os/memory.h"

// ---- Initialisation ----

void os_init() {
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    os_ticks_per_second = frequency.QuadPart;
    os_thread_hide_error_boxes();
    if (!SetProcessDPIAware()) {
        os_debug_print("Error: failed to set DPI awareness\n");
    }
}

void os_thread_hide_error_boxes() {
    SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, nullptr);
}

// ---- Threads ----

Thread *os_thread_start(ThreadRoutine *routine, void *user_data) {
    Thread *thread = static_cast<Thread *>(os_alloc_zero(sizeof(Thread)));
    if (!thread) {
        return nullptr;
    }
    thread->user_data = user_data;
    thread->handle =
        CreateThread(nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine), thread, 0, nullptr);
    if (!thread->handle) {
        os_free(thread);
        return nullptr;
    }
    return thread;
}

// ---- Clocks and sleeping ----

int64_t os_ticks_per_second;

int64_t os_ticks() {
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

void os_sleep_ms(uint32_t ms) {
    SleepEx(ms, TRUE);
}
