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
