// Starting other programs, and handing a path to the desktop.
//
// A command line is one UTF-8 text: the program first, in double quotes when its path has blanks, then the
// arguments as the C run-time splits them. It ends at its first zero byte. Windows converts it to UTF-16,
// which may have 32,766 units, and looks a program without a folder up in its usual places; Linux splits it
// by the same rules and looks along PATH. All operations run in the calling thread; no failure is reported
// but by the result.
//
// show_console: 0 starts a console program without a console window; on Linux without the terminal, its
// standard files leading nowhere.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- One command (each system) ----

// What a child that still runs has as its exit code.
constexpr uint32_t exit_code_still_running = 259;

// Starts a command and returns the child's exit code, or 1 when it could not be started or its code not read;
// on Linux the code is the lowest eight bits, or 128 and the number of the signal that ended it.
//
// Does not wait: the code is read at once and normally is exit_code_still_running, whatever becomes of the
// command. The child inherits no handles. What the system keeps for it is never given back.
uint32_t os_run_process(Str cmd, uint8_t show_console);

// ---- Desktop (each system) ----

// Opens a file, or a folder in the file manager, as a double click on it does, without waiting for the
// program. Returns 0, or 1 when the system refuses: on Windows once the user has closed the system's own
// message about it, on Linux, where xdg-open does the work, when there is no such path or no xdg-open.
int32_t os_shell_open(Str path);
