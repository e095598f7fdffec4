// The clock and sleeping in further units.
#pragma once

#include <stdint.h>

#include "os/clock.h"

// ---- Clocks and sleeping (one version for all systems) ----

// os_ticks in microseconds, wrapping as os_ticks_to_us does.
inline int64_t os_now_us() {
    return os_ticks_to_us(os_ticks());
}

// os_now_us in whole milliseconds.
inline int64_t os_now_ms() {
    return os_now_us() / 1000;
}

// Sleeps for s seconds. The milliseconds are intentionally cut to 32 bits.
inline void os_sleep_s(uint32_t s) {
    os_sleep_ms(s * 1000);
}
