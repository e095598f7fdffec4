#include "os/clock.h"

#include <windows.h>

#include "os/console.h"
#include "os/threads.h"

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
