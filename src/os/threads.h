// Threads, locks, clocks and the layer's initialisation.
//
// Two threads exist, the interface and the search worker, and the worker's readers where a setting asks for
// them; only the interface starts threads. The clocks may be read by every thread once os_init has run.
#pragma once

#include <stddef.h>
#include <stdint.h>

// ---- Initialisation (each system) ----

// Sets os_ticks_per_second, hides the system's error boxes from the calling thread and makes the process
// DPI-aware; if that fails, it writes a debug line. Call once at start-up, before anything reads a clock.
void os_init();

// For the calling thread, a path on a drive without a disk does not exist, instead of showing a box that
// waits for an answer. Windows only. Not for the whole process, as programs that it starts would inherit
// that.
void os_thread_hide_error_boxes();

// ---- Threads (each system) ----

struct Thread {
    uint8_t suspended; // 1 while os_thread_suspend of the toolkit holds it
    void *user_data;   // the value given at the start; the layer does not use it
    void *handle;      // the system's; stored after the start, so the new thread must not rely on it
};

// What a thread runs; it ends when its routine returns. record is the thread's own Thread.
typedef uint32_t ThreadRoutine(void *record);

// Starts a thread at once. Returns its record, owned by the layer, or null when out of memory or when the
// system refuses the thread.
Thread *os_thread_start(ThreadRoutine *routine, void *user_data);

// Lets the calling thread run after all threads of the usual priority.
void os_thread_lower_priority();

// ---- Locks (each system) ----

// A lock that one thread holds at a time, and that its holder may enter again. Opaque: the system's own
// record.
struct Lock {
    uint64_t words[5];
};

// Returns a lock that nobody holds. It may be moved until its first use, and not from then on.
Lock os_lock_init();

// Gives back what a lock that nobody holds took from the system.
void os_lock_free(Lock *lock);

// Takes the lock, waiting until no other thread holds it.
void os_lock_enter(Lock *lock);

// Leaves the lock, which the calling thread holds: once for each entering.
void os_lock_leave(Lock *lock);

// ---- Waiting (each system) ----

// What threads wait on for a change in data that a lock guards. Opaque: the system's own record.
struct Condition {
    uint64_t words[6];
};

// Returns a condition that nobody waits on. It may be moved until its first use, and not from then on.
Condition os_condition_init();

// Gives back what a condition that nobody waits on took from the system.
void os_condition_free(Condition *condition);

// Leaves the lock, which the calling thread has entered once, waits to be woken, and enters the lock again.
// Ends after ms milliseconds, UINT32_MAX waits for ever; may also end early for no reason.
void os_condition_wait(Condition *condition, Lock *lock, uint32_t ms);

// Wakes one of the threads that wait, or all of them.
void os_condition_wake_one(Condition *condition);
void os_condition_wake_all(Condition *condition);

// ---- Clocks and sleeping (each system) ----

// How many ticks os_ticks counts in a second. Set by os_init, 0 before.
extern int64_t os_ticks_per_second;

// The system's steady clock, in ticks since an arbitrary moment.
int64_t os_ticks();

// Sleeps for ms milliseconds; 0 yields to other threads, UINT32_MAX sleeps for ever. Ends early where the
// system calls a procedure in the sleeping thread.
void os_sleep_ms(uint32_t ms);

// ---- Clocks and sleeping (one version for all systems) ----

// Ticks as microseconds. Multiplies first, so it wraps beyond some 9.2 * 10^12 ticks, days after the system's
// start; kept for its simplicity.
inline int64_t os_ticks_to_us(int64_t ticks) {
    return ticks * 1000000 / os_ticks_per_second;
}

// What os_sleep_us sleeps: whole milliseconds, rounded down and intentionally cut to the low 32 bits.
constexpr uint32_t sleep_ms_from_us(int64_t us) {
    return static_cast<uint32_t>(us / 1000);
}

// Sleeps for us microseconds, rounded down to whole milliseconds; fewer than 1000 only yield to other
// threads.
inline void os_sleep_us(int64_t us) {
    os_sleep_ms(sleep_ms_from_us(us));
}

static_assert(sizeof(Thread) == 24 && offsetof(Thread, suspended) == 0 && offsetof(Thread, user_data) == 8 &&
              offsetof(Thread, handle) == 16);
