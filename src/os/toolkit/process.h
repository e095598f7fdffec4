// Starting other programs and reading what they write. Command lines and show_console are those of
// os/process.h; on Linux the standard files of these children are pipes in any case.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/process.h"

// ---- A command with its output (each system) ----

// Receives a piece of a child's output, 1 to 4096 bytes that are valid during the call only.
typedef void OutputCallback(void *context, Str chunk);

struct ProcessOutput {
    OutputCallback *callback; // null: the output is not wanted
    void *context;            // handed to callback; the layer leaves it alone
};

// Without a callback this is the two-argument os_run_process.
//
// With a callback, it gets all of the child's output and errors, in order, and the call returns once the
// child and everything that inherited its output have closed it, and on Linux the child has ended. This side
// of both pipes intentionally stays open, so the child's input never ends; after a failed start the child's
// side stays open as well. When the exit code cannot be read, the debug line "2886" is written.
uint32_t os_run_process(Str cmd, ProcessOutput on_output, bool show_console);

// ---- A child to talk with (each system) ----

// Filled by os_process_start, and in use from then until os_process_kill.
struct Process {
    // the pipes' ends, handles of the system; the child's stay open on this side, too
    void *child_input;  // the child reads its input here
    void *input;        // this process writes to it; not inherited
    void *output;       // this process reads from it; not inherited
    void *child_output; // the child writes its output and its errors here

    uint32_t creation_flags; // the system's flags for show_console; 0 on Linux

    // the system's own records, opaque here
    uint64_t pipe_security[3]; // how the pipes were made; zeros on Linux
    uint64_t start_info[13];   // what the child was started with; zeros on Linux
    uint64_t process_info[3];  // handles of the child and of its thread, and their ids; on Linux its id first
};

// Starts a command with pipes as its standard files and returns at once: 0, or 1 when a pipe or the child
// cannot be created. After a failure the pipes created so far intentionally stay open, and process must not
// be used.
int32_t os_process_start(Process *process, Str cmd, bool show_console);

// Writes count bytes to the child's input, waiting while the pipe is full. Returns the bytes written, or -1;
// to a child that has gone only after os_init, without which a system may end the program.
int64_t os_process_write(Process *process, uint32_t count, const char *data);

// Reads at most max bytes of what the child has written so far into buffer, without waiting. Returns the
// bytes read; 0 when nothing is waiting, also when the child has ended; -1 on failure, also once the child is
// killed and nothing is left to read.
int64_t os_process_read(Process *process, uint32_t max, char *buffer);

// Whether the child still runs.
bool os_process_is_running(const Process *process);

// Waits at most 5000 ms until the child has set up its windows and waits for input. Returns whether it does;
// always false for a program without windows, and on Linux.
bool os_process_wait_idle(const Process *process);

// Ends the child if it still runs, with exit code 0 where the system lets us choose, and closes its handles
// and the child's ends of the pipes. This side's ends intentionally stay open: what the child has written can
// still be read. Once only. Returns the result of the last close: not 0 when it worked.
int32_t os_process_kill(Process *process);

static_assert(sizeof(Process) == 192 && offsetof(Process, input) == 8 && offsetof(Process, output) == 16 &&
              offsetof(Process, child_output) == 24 && offsetof(Process, creation_flags) == 32 &&
              offsetof(Process, pipe_security) == 40 && offsetof(Process, start_info) == 64 &&
              offsetof(Process, process_info) == 168);
