// Starts children, for the layer's own files.
#pragma once

#include <sys/types.h>

#include "os/strings.h"

// Starts a command with these standard files, where output also receives its errors. Returns the child's id,
// or -1.
pid_t start_command(Str cmd, int input, int output, bool show_console);
