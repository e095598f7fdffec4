// Stopping threads. Only the interface suspends, resumes and kills them.
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
