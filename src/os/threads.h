// Threads and locks.
//
// There are two threads, the interface and the search worker, plus the worker's readers if a setting asks for
// them. The interface starts the worker, which starts its readers.
#pragma once

#include <stddef.h>
#include <stdint.h>

// ---- Threads (each system) ----

struct Thread {
    uint8_t suspended; // 1 while suspended by the toolkit's os_thread_suspend
    void *user_data;   // as given to os_thread_start; the layer does not use it
    void *handle;      // the system's; stored after the start, so the new thread must not rely on it
};

// The body of a thread, which ends when it returns. record is the thread's own Thread.
typedef uint32_t ThreadRoutine(void *record);

// Starts a thread at once. Returns its record, owned by the layer, or null when out of memory or when the
// system cannot create it.
Thread *os_thread_start(ThreadRoutine *routine, void *user_data);

// The same with a stack of 1 MiB, for a thread that does not recurse.
Thread *os_thread_start_small(ThreadRoutine *routine, void *user_data);

// From now on a path on a drive without a disk counts as missing for the calling thread, instead of opening a
// modal box. Windows only. Not set for the process, as programs it starts would inherit it.
void os_thread_hide_error_boxes();

// Lowers the calling thread's priority, so that threads of normal priority are preferred.
void os_thread_lower_priority();

// ---- Locks (each system) ----

// A recursive lock. Opaque: the system's own record.
struct Lock {
    uint64_t words[5];
};

// Returns a free lock. It must not be moved after its first use.
Lock os_lock_init();

// Releases the system resources of a free lock.
void os_lock_free(Lock *lock);

// Enters the lock, waiting until no other thread holds it.
void os_lock_enter(Lock *lock);

// Leaves the lock, which the calling thread holds; needed once for each enter.
void os_lock_leave(Lock *lock);

// ---- Waiting (each system) ----

// A condition variable, for changes to data that a lock guards. Opaque: the system's own record.
struct Condition {
    uint64_t words[6];
};

// Returns a condition that nobody waits on; nothing has to be released. It must not be moved after its first
// use.
Condition os_condition_init();

// Leaves the lock, which the calling thread has entered once, waits to be woken, and enters the lock again.
// Times out after ms milliseconds, never for UINT32_MAX; may also wake up spuriously.
void os_condition_wait(Condition *condition, Lock *lock, uint32_t ms);

// Wake one waiting thread, or all of them.
void os_condition_wake_one(Condition *condition);
void os_condition_wake_all(Condition *condition);

static_assert(sizeof(Thread) == 24 && offsetof(Thread, suspended) == 0 && offsetof(Thread, user_data) == 8 &&
              offsetof(Thread, handle) == 16);
