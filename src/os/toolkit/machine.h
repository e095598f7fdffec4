// Questions about the machine and the process.
#pragma once

#include <stdint.h>

#include "os/strings.h"

uint32_t os_processor_count();

// Bytes of memory; 0 when the system does not tell.
uint64_t os_installed_memory();

// The executable's file name without its folder. Owned by the layer, found at the first call.
Str os_exe_name();
