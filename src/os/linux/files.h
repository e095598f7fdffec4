// The executable's path, for the other files of this folder.
#pragma once

#include "os/strings.h"

// The path of the executable's file, zero-terminated, freed by the caller with os_free; the empty Str when
// out of memory or when the system does not report it.
Str exe_path();
