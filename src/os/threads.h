// Threads, locks, clocks and the layer's initialisation.
//
// Two threads exist, the interface and the search worker; only the interface starts, suspends, resumes and
// kills threads. The clocks may be read by every thread once os_init has run.
#pragma once

#include <stddef.h>
#include <stdint.h>

// ---- Dates (one version for all systems) ----

// A moment of the calendar, UTC or local time as its maker says.
struct DateTime {
    uint16_t year;
    uint8_t month;        // 1 to 12
    uint8_t day;          // of the month, from 1
    uint8_t weekday;      // Monday 1 to Sunday 7
    uint8_t hour;         // 0 to 23
    uint8_t minute;       // 0 to 59
    uint8_t second;       // 0 to 59
    uint32_t microsecond; // whole milliseconds only
};

// The last write of a file, UTC, as folder listings report it.
using FileTime = DateTime;

// The weekday as DateTime counts it, from the systems' way: Sunday 0 to Saturday 6.
constexpr uint8_t weekday_from_system(uint32_t day) {
    return static_cast<uint8_t>(day == 0 ? 7 : day);
}

// The names for writing dates, indexed from 0; nothing in the program reads them.
inline constexpr const char *month_short_names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
inline constexpr const char *month_names[12] = {"January",   "February", "March",    "April",
                                                "May",       "June",     "July",     "August",
                                                "September", "October",  "November", "December"};
// Monday first. The short names end with an empty slot; that is meant.
inline constexpr const char *weekday_short_names[8] = {"Mon", "Tue", "Wed", "Thu",
                                                       "Fri", "Sat", "Sun", nullptr};
inline constexpr const char *weekday_names[7] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                 "Friday", "Saturday", "Sunday"};
// The short and the full name of a value out of range.
inline constexpr const char *invalid_names[2] = {"INV", "INVALID"};

// ---- Initialisation (each system) ----

// Sets os_ticks_per_second, hides the system's error boxes from the calling thread and asks for windows in
// real pixels; a refusal of the latter is written as a debug line. Once at start-up, before anything reads a
// clock.
void os_init();

// Makes a drive without a disk a path that does not exist for the calling thread, not a box that waits for an
// answer. Windows only. Not for the whole process, as the programs that it starts would inherit that.
void os_thread_hide_error_boxes();

// ---- Threads (each system) ----

struct Thread {
    uint8_t suspended; // 1 while os_thread_suspend holds it
    void *user_data;   // the value given at the start; the layer leaves it alone
    void *handle; // the system's handle; the new thread must not rely on it, it is stored after the start
};

// What a thread runs; it ends when its routine returns. record is the thread's own Thread.
typedef uint32_t ThreadRoutine(void *record);

// Starts a thread at once. Returns its record, which stays the layer's until os_thread_kill, or null when
// there is no memory for it or the system refuses the thread.
Thread *os_thread_start(ThreadRoutine *routine, void *user_data);

// Stops a running thread until os_thread_resume. A thread that is suspended already stays so, once; a null
// record or handle is allowed.
void os_thread_suspend(Thread *thread);

// Lets a suspended thread go on; nothing happens for any other one. A null record is allowed.
void os_thread_resume(Thread *thread);

// Ends a thread wherever it is, suspended ones too: it gives back no lock and no memory. The record is freed;
// the system's handle is not closed, which is meant.
void os_thread_kill(Thread *thread);

// Ends no thread: it only writes a debug line that says so. That is meant.
void os_abort_all_threads();

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

// ---- Clocks and sleeping (each system) ----

// How many ticks os_ticks counts in a second. Set by os_init, 0 before.
extern int64_t os_ticks_per_second;

// The system's steady clock, in ticks since a moment of the system's choice.
int64_t os_ticks();

// Sleeps for ms milliseconds; 0 gives way to other threads, UINT32_MAX sleeps for ever. A system that calls
// procedures in waiting threads may end the sleep early for one.
void os_sleep_ms(uint32_t ms);

// The calendar now.
DateTime os_utc_time();
DateTime os_local_time();

// ---- Clocks and sleeping (one version for all systems) ----

// Ticks as microseconds. The product comes first and wraps beyond some 9.2 * 10^12 ticks, days after the
// system's start; that is meant.
inline int64_t os_ticks_to_us(int64_t ticks) {
    return ticks * 1000000 / os_ticks_per_second;
}

// os_ticks in microseconds, wrapping as above.
inline int64_t os_now_us() {
    return os_ticks_to_us(os_ticks());
}

// os_now_us in whole milliseconds.
inline int64_t os_now_ms() {
    return os_now_us() / 1000;
}

// What os_sleep_us sleeps: whole milliseconds, rounded down and cut to the low 32 bits; the cut is meant.
constexpr uint32_t sleep_ms_from_us(int64_t us) {
    return static_cast<uint32_t>(us / 1000);
}

// Sleeps for us microseconds, rounded down to whole milliseconds; fewer than 1000 only give way to other
// threads.
inline void os_sleep_us(int64_t us) {
    os_sleep_ms(sleep_ms_from_us(us));
}

// Sleeps for s seconds. The milliseconds are cut to 32 bits; that is meant.
inline void os_sleep_s(uint32_t s) {
    os_sleep_ms(s * 1000);
}

static_assert(sizeof(DateTime) == 12 && offsetof(DateTime, month) == 2 && offsetof(DateTime, day) == 3 &&
              offsetof(DateTime, weekday) == 4 && offsetof(DateTime, hour) == 5 &&
              offsetof(DateTime, minute) == 6 && offsetof(DateTime, second) == 7 &&
              offsetof(DateTime, microsecond) == 8);
static_assert(sizeof(Thread) == 24 && offsetof(Thread, suspended) == 0 && offsetof(Thread, user_data) == 8 &&
              offsetof(Thread, handle) == 16);
