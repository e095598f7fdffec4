// Facts about the machine and the process.
#pragma once

#include <stdint.h>

#include "os/strings.h"

uint32_t os_processor_count();

// Bytes of installed memory; 0 when unknown.
uint64_t os_installed_memory();

// The executable's file name without its folder. Owned by the layer, found by the first call; the empty Str
// when out of memory.
Str os_exe_name();
