// How children are started, for the layer's own files.
#pragma once

#include <windows.h>

// What show_console means to CreateProcess.
DWORD creation_flags_for(bool show_console);
