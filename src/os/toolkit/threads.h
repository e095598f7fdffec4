// Stopping threads, and further units of the clocks. Only the interface suspends, resumes and kills
// threads.
#pragma once

#include <stdint.h>

#include "os/threads.h"

// ---- Threads (each system) ----

// Stops a running thread until os_thread_resume. A thread that is suspended already stays so, once; a null
// record or handle is allowed.
void os_thread_suspend(Thread *thread);

// Resumes a suspended thread and does nothing to any other. A null record is allowed.
void os_thread_resume(Thread *thread);

// Ends a thread wherever it is, even suspended: its locks stay held and its memory stays allocated. The
// record is freed; the system's handle is intentionally not closed.
void os_thread_kill(Thread *thread);

// Intentionally ends no thread: it only writes a debug line that says so.
void os_abort_all_threads();

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
