#include <X11/Xcursor/Xcursor.h>

#include "os/linux/native_window.h"
#include "os/linux/x11.h"

namespace {

// A cursor's name in themes, and in the server's cursor font.
struct CursorNames {
    const char *theme;
    const char *server;
};
const CursorNames cursor_names[] = {
    {nullptr, nullptr},
    {"default", "left_ptr"},
    {"pointer", "hand2"},
    {"wait", "watch"},
    {"text", "xterm"},
    {"crosshair", "crosshair"},
    {"not-allowed", "X_cursor"},
    {"help", "question_arrow"},
    {"all-scroll", "fleur"},
    {"ew-resize", "sb_h_double_arrow"},
    {"ns-resize", "sb_v_double_arrow"},
    {"nwse-resize", "bottom_right_corner"},
    {"nesw-resize", "bottom_left_corner"},
};

Cursor cursors[CURSOR_TABLE_SIZE]; // those used so far

Cursor create_empty_cursor() {
    Display *display = x11_display();
    static const char no_bits[1] = {};
    Pixmap pixmap = XCreateBitmapFromData(display, DefaultRootWindow(display), no_bits, 1, 1);
    XColor black = {};
    Cursor cursor = XCreatePixmapCursor(display, pixmap, pixmap, &black, &black, 0, 0);
    XFreePixmap(display, pixmap);
    return cursor;
}

Cursor load_cursor(uint32_t index) {
    constexpr uint32_t named = sizeof(cursor_names) / sizeof(cursor_names[0]);
    if (index >= named || !cursor_names[index].theme) {
        return create_empty_cursor();
    }
    Cursor cursor = XcursorLibraryLoadCursor(x11_display(), cursor_names[index].theme);
    return cursor ? cursor : XcursorLibraryLoadCursor(x11_display(), cursor_names[index].server);
}

} // namespace

void os_set_cursor(uint32_t index) {
    if (index >= CURSOR_TABLE_SIZE || !native_windows()) {
        return;
    }
    if (!cursors[index]) {
        cursors[index] = load_cursor(index);
    }
    for (NativeWindow *native = native_windows(); native; native = native->next) {
        if (native->cursor != cursors[index]) {
            native->cursor = cursors[index];
            XDefineCursor(x11_display(), native->id, native->cursor);
            XFlush(x11_display());
        }
    }
}
