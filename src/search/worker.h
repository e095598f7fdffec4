// The search worker: takes requests, works out what each one asks for, and walks.
//
// With a query and a path that exists and does not end in '/', every file below the path is searched.
// Otherwise the sub-folders of the path's folder are listed as suggestions.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"
#include "os/threads.h"

// An EntryFn: searches a sub-folder's files, then its sub-folders. The context is not used. Returns false
// when a new request is pending.
bool on_subfolder(void *context, Str folder, const FolderEntry &entry);

// One turn of the poll loop, without its sleep: frees replaced storage of the results that the interface no
// longer reads, then runs the pending request until it is finished or a new one is published. Returns false
// when none was pending.
bool search_worker_turn();

// A ThreadRoutine, the worker thread's body: a turn every 100 milliseconds. Never returns.
uint32_t search_worker(void *record);

// How the worker sleeps between its turns. Tests replace it.
extern void (*worker_sleep_ms)(uint32_t ms);

// Interface, after results_store_reserve: starts the worker thread. From then on each of the two threads
// counts its passes. Returns null when the thread cannot be started.
Thread *search_worker_start();
