// Starting other programs, and opening a path on the desktop.
//
// A command line is one UTF-8 text that ends at its first zero byte: the program, in double quotes when its
// path contains spaces, then the arguments as the C run-time splits them. Windows converts it to at most
// 32,766 UTF-16 units and searches its usual places for a program without a folder; Linux splits it by the
// same rules and searches PATH. All operations run on the calling thread and report failures only by their
// result.
//
// show_console: false starts a console program without a console window; on Linux without the terminal, its
// standard files connected to /dev/null.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- One command (each system) ----

// The exit code of a child that is still running.
constexpr uint32_t exit_code_still_running = 259;

// Starts a command and returns the child's exit code, or 1 when it could not be started or the code could not
// be read.
//
// Does not wait: the code is read at once and normally is exit_code_still_running, on Linux always, whatever
// becomes of the command. Sets os_start_error (os/errors.h). The child inherits no handles. What Windows
// keeps for it is intentionally never released; Linux keeps nothing.
uint32_t os_run_process(Str cmd, bool show_console);

// ---- Desktop (each system) ----

// Opens a file, or a folder in the file manager, as a double click does, without waiting for the program.
// Returns 0, or 1 on failure: on Windows once the user has closed the system's own message about it; on
// Linux, which uses xdg-open, when the path or xdg-open does not exist.
int32_t os_shell_open(Str path);
