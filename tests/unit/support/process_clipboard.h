// Linux: a clipboard inside the process, for tests and measurements without a screen. Tests reach in here to
// do what another program would do on a desktop.
#pragma once

#include <stdint.h>

#include "os/strings.h"

enum ProcessClipboardFormat : uint8_t {
    CLIPBOARD_WIDE_TEXT, // kept as the UTF-8 that it converts to
    CLIPBOARD_BYTE_TEXT,
    CLIPBOARD_FILE_NAME, // kept as UTF-8
    CLIPBOARD_PNG,
    CLIPBOARD_FORMAT_COUNT,
};

struct ProcessClipboard {
    Str blocks[CLIPBOARD_FORMAT_COUNT]; // heap blocks with a zero after them; null data: not offered
    uint8_t is_open;                    // left open by a look for text that found none
};
extern ProcessClipboard process_clipboard;

// Frees all that is offered.
void process_clipboard_clear();
