#include "os/toolkit/threads.h"

#include <windows.h>

#include "os/console.h"
#include "os/memory.h"

// ---- Threads ----

void os_thread_suspend(Thread *thread) {
    if (thread && thread->handle && !thread->suspended) {
        thread->suspended = 1;
        SuspendThread(thread->handle);
    }
}

void os_thread_resume(Thread *thread) {
    if (thread && thread->suspended) {
        thread->suspended = 0;
        ResumeThread(thread->handle);
    }
}

void os_thread_kill(Thread *thread) {
    TerminateThread(thread->handle, 1);
    *thread = {};
    os_free(thread);
}

void os_abort_all_threads() {
    os_debug_print("* TODO * os_abort_all_threads\n");
}

// ---- Locks ----

static_assert(sizeof(CRITICAL_SECTION) == sizeof(Lock) && alignof(CRITICAL_SECTION) <= alignof(Lock));

namespace {

CRITICAL_SECTION *section_of(Lock *lock) {
    return reinterpret_cast<CRITICAL_SECTION *>(lock->words);
}

} // namespace

Lock os_lock_init() {
    Lock lock = {};
    InitializeCriticalSection(section_of(&lock));
    return lock;
}

void os_lock_free(Lock *lock) {
    DeleteCriticalSection(section_of(lock));
}

void os_lock_enter(Lock *lock) {
    EnterCriticalSection(section_of(lock));
}

void os_lock_leave(Lock *lock) {
    LeaveCriticalSection(section_of(lock));
}
