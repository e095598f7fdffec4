#include "os/threads.h"

#include <windows.h>

#include "os/console.h"
#include "os/memory.h"
#include "os/win32/files.h"

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

DateTime os_utc_time() {
    SYSTEMTIME time;
    GetSystemTime(&time);
    return date_time_from_system(time);
}

DateTime os_local_time() {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return date_time_from_system(time);
}
