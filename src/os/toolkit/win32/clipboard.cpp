#include "os/toolkit/clipboard.h"

#include "os/console.h"
#include "os/win32/clipboard.h"
#include "os/win32/utf16.h"

namespace {

Str all_bytes(HANDLE handle, void *block) {
    return str_copy({GlobalSize(handle), static_cast<char *>(block)});
}

// By number; the system itself names only the formats that programs register.
constexpr const char *system_formats[] = {
    "",        "CF_TEXT",        "CF_BITMAP",      "CF_METAFILEPICT", "CF_SYLK",    "CF_DIF",
    "CF_TIFF", "CF_OEMTEXT",     "CF_DIB",         "CF_PALETTE",      "CF_PENDATA", "CF_RIFF",
    "CF_WAVE", "CF_UNICODETEXT", "CF_ENHMETAFILE", "CF_HDROP",        "CF_LOCALE",  "CF_DIBV5",
};
static_assert(sizeof(system_formats) / sizeof(system_formats[0]) == CF_MAX);

} // namespace

void os_clipboard_list_formats() {
    if (!OpenClipboard(nullptr)) {
        return;
    }
    for (UINT format = EnumClipboardFormats(0); format != 0; format = EnumClipboardFormats(format)) {
        wchar_t wide[256]; // no name is longer
        Str registered = utf8_from_wide(wide, GetClipboardFormatNameW(format, wide, 256));
        const char *name = format < CF_MAX ? system_formats[format] : registered.data ? registered.data : "";
        os_debug_print("CLIP %i = %s\n", static_cast<int32_t>(format), name);
        os_free(registered.data);
    }
    CloseClipboard();
}

ClipboardContent os_clipboard_get_content() {
    if (!OpenClipboard(nullptr)) {
        return {};
    }
    ClipboardContent content;
    content.file_name =
        clipboard_read(GetClipboardData(RegisterClipboardFormatW(L"FileNameW")), clipboard_text_from_wide);
    content.png = clipboard_read(GetClipboardData(RegisterClipboardFormatW(L"image/png")), all_bytes);
    CloseClipboard();
    return content;
}
