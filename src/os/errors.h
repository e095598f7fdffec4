// The system's messages for its error codes.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Error texts (each system) ----

// Why the last os_run_process could not start its command: the system's error code; 0 when it could.
extern uint32_t os_start_error;

// The system's message for an error code, in one line of UTF-8 without a full stop; empty when it has none.
// The bytes are in text.
Str os_error_text(uint32_t code, char (&text)[512]);
