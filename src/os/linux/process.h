// Starts and inspects children, for the layer's own files.
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <sys/wait.h>

#include "os/strings.h"

// Starts a command with these standard files, where output also receives its errors; -1 for both leaves this
// process's own, or none without a console. Returns the child's id, or -1.
pid_t start_command(Str cmd, int input, int output, uint8_t show_console);

// Reads how a child ended without reaping it, waiting for its end unless options contain WNOHANG. Returns
// false on failure.
bool look_at_child(pid_t child, int options, siginfo_t *info);

// The exit code that look_at_child found, exit_code_still_running for none yet.
uint32_t exit_code_from(const siginfo_t &info);
