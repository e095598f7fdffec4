// Facts about the machine and the process.
#pragma once

#include <stdint.h>

#include "os/strings.h"

uint32_t os_processor_count();

// Bytes of installed memory; 0 when unknown.
uint64_t os_installed_memory();

// What follows the last '\' or '/' of a path; the whole path when there is none.
inline Str file_name_of(Str path) {
    uint64_t start = path.count;
    while (start > 0 && path.data[start - 1] != '\\' && path.data[start - 1] != '/') {
        start--;
    }
    return {path.count - start, path.data + start};
}

// The executable's file name without its folder. Owned by the layer, found by the first call; the empty Str
// when out of memory.
Str os_exe_name();
