#include "os/clock.h"

#include <errno.h>
#include <sched.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include "os/linux/clock.h"

namespace {

// Coarser than the system's clock, so that os_ticks_to_us wraps after days here as well, not after hours.
constexpr int64_t ticks_per_second = 10000000;

} // namespace

void add_ms(timespec *time, uint32_t ms) {
    time->tv_sec += ms / 1000;
    time->tv_nsec += int64_t{ms % 1000} * 1000000;
    if (time->tv_nsec >= nanoseconds_per_second) {
        time->tv_sec++;
        time->tv_nsec -= nanoseconds_per_second;
    }
}

// ---- Initialisation ----

void os_init() {
    os_ticks_per_second = ticks_per_second;
    // Writing to a pipe without a reader must fail, not end the process. An empty handler, as programs that
    // this one starts would inherit SIG_IGN.
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

// ---- Clocks and sleeping ----

int64_t os_ticks_per_second;

int64_t os_ticks() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * ticks_per_second + now.tv_nsec / (nanoseconds_per_second / ticks_per_second);
}

int64_t monotonic_ms() {
    return os_ticks() / (ticks_per_second / 1000);
}

void os_sleep_ms(uint32_t ms) {
    if (ms == 0) {
        sched_yield();
        return;
    }
    if (ms == UINT32_MAX) {
        for (;;) {
            pause();
        }
    }
    timespec end;
    clock_gettime(CLOCK_MONOTONIC, &end);
    add_ms(&end, ms);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}
