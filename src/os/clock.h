// The layer's initialisation, the clock and sleeping. Once os_init has run, any thread may read the clock.
#pragma once

#include <stdint.h>

// ---- Initialisation (each system) ----

// Sets os_ticks_per_second, hides the system's error boxes from the calling thread and makes the process
// DPI-aware; if that fails, it writes a debug line. Call once at start-up, before anything reads a clock.
void os_init();

// ---- Clocks and sleeping (each system) ----

// The rate of os_ticks. Set by os_init, 0 before.
extern int64_t os_ticks_per_second;

// The system's monotonic clock, in ticks since an arbitrary moment.
int64_t os_ticks();

// Sleeps for ms milliseconds; 0 yields to other threads, UINT32_MAX sleeps for ever. Ends early if the
// system runs a procedure in the sleeping thread.
void os_sleep_ms(uint32_t ms);

// ---- Clocks and sleeping (one version for all systems) ----

// Ticks as microseconds. Multiplies first, so it wraps beyond some 9.2 * 10^12 ticks, days after the system's
// start; kept for its simplicity.
inline int64_t os_ticks_to_us(int64_t ticks) {
    return ticks * 1000000 / os_ticks_per_second;
}

// How long os_sleep_us sleeps: whole milliseconds, rounded down, intentionally truncated to 32 bits.
constexpr uint32_t sleep_ms_from_us(int64_t us) {
    return static_cast<uint32_t>(us / 1000);
}

// Sleeps for us microseconds, rounded down to whole milliseconds; fewer than 1000 only yield to other
// threads.
inline void os_sleep_us(int64_t us) {
    os_sleep_ms(sleep_ms_from_us(us));
}
