#include "os/toolkit/clipboard.h"

#include "os/console.h"
#include "os/linux/clipboard.h"

void os_clipboard_list_formats() {
    static constexpr struct {
        int32_t number; // as on Windows, where the last two get any number from 49152 on
        const char *name;
    } formats[CLIPBOARD_FORMAT_COUNT] = {
        {13, "CF_UNICODETEXT"}, {1, "CF_TEXT"}, {49152, "FileNameW"}, {49153, "image/png"}};
    for (int32_t i = 0; i < CLIPBOARD_FORMAT_COUNT; i++) {
        if (process_clipboard.blocks[i].data) {
            os_debug_print("CLIP %i = %s\n", formats[i].number, formats[i].name);
        }
    }
    process_clipboard.is_open = 0;
}

ClipboardContent os_clipboard_get_content() {
    process_clipboard.is_open = 0;
    return {clipboard_copy_to_zero(process_clipboard.blocks[CLIPBOARD_FILE_NAME]),
            clipboard_copy(process_clipboard.blocks[CLIPBOARD_PNG])};
}
