#include "support/process_clipboard.h"
#include "support/system_clipboard.h"

namespace {

void offer(ProcessClipboardFormat format, const std::optional<std::string> &bytes) {
    if (bytes) {
        process_clipboard.blocks[format] = str_copy({bytes->size(), const_cast<char *>(bytes->data())});
    }
}

std::optional<std::string> offered(ProcessClipboardFormat format) {
    Str block = process_clipboard.blocks[format];
    return block.data ? std::optional(std::string(block.data, block.count)) : std::nullopt;
}

} // namespace

bool clipboard_can_be_held() {
    return true;
}

void hold_clipboard(void *) {
    process_clipboard.is_open = 1;
}

void offer_on_clipboard(const ClipboardFormats &formats) {
    process_clipboard_clear();
    offer(CLIPBOARD_WIDE_TEXT, formats.wide_text);
    offer(CLIPBOARD_BYTE_TEXT, formats.byte_text);
    offer(CLIPBOARD_FILE_NAME, formats.file_name);
    offer(CLIPBOARD_PNG, formats.png);
    process_clipboard.is_open = 1;
}

ClipboardFormats clipboard_formats() {
    process_clipboard.is_open = 0;
    return {offered(CLIPBOARD_WIDE_TEXT), offered(CLIPBOARD_BYTE_TEXT), offered(CLIPBOARD_FILE_NAME),
            offered(CLIPBOARD_PNG)};
}

bool close_open_clipboard() {
    bool was_open = process_clipboard.is_open;
    process_clipboard.is_open = 0;
    return was_open;
}
