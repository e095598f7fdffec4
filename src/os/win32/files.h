// The executable's path, for the other files of this folder.
#pragma once

#include <windows.h>

#include <stdint.h>

// UTF-16 units of the executable's path, its zero included.
constexpr uint32_t longest_exe_path = 260;

// Fills in the path that the program was started with. Returns its length in units, longest_exe_path when it
// was truncated.
uint32_t exe_path(wchar_t (&path)[longest_exe_path]);

// Replaces the path of a file by that of the file it links to. Returns the path's new length in units, or
// units, with path unchanged, when it cannot be resolved or the new path is too long.
uint32_t wide_resolve_links(wchar_t (&path)[longest_exe_path], uint32_t units);
