#include "os/linux/x11.h"

#include <X11/Xatom.h>

namespace {

const char *const atom_names[X11_ATOM_COUNT] = {
    "CLIPBOARD",
    "UTF8_STRING",
    // selections
    "ATOM_PAIR",
    "C_STRING",
    "CLIPBOARD_MANAGER",
    "image/png",
    "INCR",
    "MULTIPLE",
    "NULL",
    "SAVE_TARGETS",
    "STRING",
    "TARGETS",
    "TEXT",
    "text/plain;charset=utf-8",
    "text/uri-list",
    "TIMESTAMP",
    "TARNWICK_SELECTION",
    "TARNWICK_TIME",
    // drag and drop
    "XdndActionCopy",
    "XdndAware",
    "XdndDrop",
    "XdndEnter",
    "XdndFinished",
    "XdndLeave",
    "XdndPosition",
    "XdndSelection",
    "XdndStatus",
    "XdndTypeList",
};

struct Connection {
    Display *display;
    Atom atoms[X11_ATOM_COUNT];
    Window helper_window;
    Time last_time;
    bool has_error; // since errors were trapped
    int (*old_error_handler)(Display *, XErrorEvent *);
};
Connection connection;

int note_error(Display *, XErrorEvent *) {
    connection.has_error = true;
    return 0;
}

} // namespace

Display *x11_display() {
    if (!connection.display) {
        Display *display = XOpenDisplay(nullptr);
        if (!display) {
            return nullptr;
        }
        connection.display = display;
        XInternAtoms(display, const_cast<char **>(atom_names), X11_ATOM_COUNT, False, connection.atoms);
        connection.helper_window =
            XCreateSimpleWindow(display, DefaultRootWindow(display), -1, -1, 1, 1, 0, 0, 0);
        XSelectInput(display, connection.helper_window, PropertyChangeMask);
    }
    return connection.display;
}

Atom x11_atom(X11Atom atom) {
    return connection.atoms[atom];
}

Window x11_helper_window() {
    return connection.helper_window;
}

Time x11_last_time() {
    return connection.last_time;
}

void x11_note_time(Time time) {
    connection.last_time = time;
}

namespace {

Bool is_time_noted(Display *, XEvent *event, XPointer) {
    return event->type == PropertyNotify && event->xproperty.window == connection.helper_window &&
           event->xproperty.atom == connection.atoms[ATOM_OWN_TIME];
}

} // namespace

Time x11_server_time() {
    // A change of a property is told with the time.
    XChangeProperty(connection.display, connection.helper_window, connection.atoms[ATOM_OWN_TIME], XA_INTEGER,
                    32, PropModeReplace, nullptr, 0);
    XEvent event;
    XIfEvent(connection.display, &event, is_time_noted, nullptr);
    return event.xproperty.time;
}

void x11_trap_errors() {
    XSync(connection.display, False); // those of earlier requests are not meant
    connection.has_error = false;
    connection.old_error_handler = XSetErrorHandler(note_error);
}

bool x11_untrap_errors() {
    XSync(connection.display, False);
    XSetErrorHandler(connection.old_error_handler);
    return connection.has_error;
}

bool x11_read_property(Window window, Atom property, uint64_t longest, bool is_deleted, X11Property *result) {
    unsigned long left = 0;
    *result = {};
    x11_trap_errors();
    int status =
        XGetWindowProperty(connection.display, window, property, 0, static_cast<long>(longest / 4 + 1),
                           is_deleted ? True : False, AnyPropertyType, &result->type, &result->format,
                           &result->count, &left, &result->bytes);
    bool has_error = x11_untrap_errors();
    uint64_t size = result->count * static_cast<uint64_t>(result->format) / 8;
    if (status == Success && !has_error && result->bytes && result->type != None && left == 0 &&
        size <= longest) {
        return true;
    }
    if (result->bytes) {
        XFree(result->bytes);
    }
    *result = {};
    return false;
}
