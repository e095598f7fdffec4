#include "os/toolkit/clipboard.h"

#include <string.h>

#include "os/console.h"
#include "os/linux/selection.h"
#include "os/linux/uri_list.h"
#include "os/linux/x11.h"
#include "os/memory.h"

namespace {

constexpr uint64_t longest_content = 256 << 20; // bytes

// The clipboard's content as that target. The caller frees the bytes with os_free; they are null if there is
// none.
SelectionData content_as(X11Atom target) {
    SelectionData data = {};
    if (x11_display()) {
        selection_read(x11_atom(ATOM_CLIPBOARD), x11_atom(target), x11_server_time(), longest_content, &data);
    }
    return data;
}

Str bytes_of_type(X11Atom target) {
    SelectionData data = content_as(target);
    if (data.format != 8 || data.type != x11_atom(target)) {
        os_free(data.bytes.data);
        return {};
    }
    return data.bytes;
}

// The first file's path, moved to the start of the list's block; frees the list if it has no file.
Str first_file(Str list) {
    Str path = {};
    Str rest = list;
    if (!list.data || !uri_list_next(&rest, &path)) {
        os_free(list.data);
        return {};
    }
    memmove(list.data, path.data, path.count);
    list.data[path.count] = 0;
    return {path.count, list.data};
}

} // namespace

void os_clipboard_list_formats() {
    SelectionData targets = content_as(ATOM_TARGETS);
    const long *atoms = reinterpret_cast<const long *>(targets.bytes.data);
    uint64_t count = targets.format == 32 ? targets.bytes.count / sizeof(long) : 0;
    for (uint64_t i = 0; i < count; i++) {
        x11_trap_errors(); // the owner's list may contain invalid atoms
        char *name = XGetAtomName(x11_display(), static_cast<Atom>(atoms[i]));
        x11_untrap_errors();
        if (name) {
            os_debug_print("CLIP %i = %s\n", static_cast<int32_t>(atoms[i]), name);
            XFree(name);
        }
    }
    os_free(targets.bytes.data);
}

ClipboardContent os_clipboard_get_content() {
    return {first_file(bytes_of_type(ATOM_TEXT_URI_LIST)), bytes_of_type(ATOM_IMAGE_PNG)};
}
