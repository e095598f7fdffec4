// Reads blocks of the clipboard, for the layer's own files.
#pragma once

#include <windows.h>

#include "os/strings.h"

// What convert returns for the clipboard's block; empty if the handle is null or the block cannot be locked.
Str clipboard_read(HANDLE handle, Str (*convert)(HANDLE handle, void *block));

// The UTF-16 text in a locked block as UTF-8: up to its first zero, or all of a block that has none. The
// caller frees it with os_free; the empty Str when out of memory.
Str clipboard_text_from_wide(HANDLE handle, void *block);
