#include "os/linux/x11.h"

#include <algorithm>

#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <X11/Xatom.h>

#include "os/linux/clock.h"

namespace {

const char *const atom_names[X11_ATOM_COUNT] = {
    "CLIPBOARD",
    "UTF8_STRING",
    // window managers
    "WM_PROTOCOLS",
    "WM_DELETE_WINDOW",
    "WM_STATE",
    "_MOTIF_WM_HINTS",
    "_NET_ACTIVE_WINDOW",
    "_NET_CURRENT_DESKTOP",
    "_NET_FRAME_EXTENTS",
    "_NET_REQUEST_FRAME_EXTENTS",
    "_NET_SUPPORTED",
    "_NET_WM_ICON",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_WM_PING",
    "_NET_WM_STATE",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_STATE_DEMANDS_ATTENTION",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_SYNC_REQUEST",
    "_NET_WM_SYNC_REQUEST_COUNTER",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WORKAREA",
    "_XSETTINGS_SETTINGS",
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
    bool has_error; // since x11_trap_errors
};
Connection connection;

// Requests for a window that was just destroyed fail, which is harmless.
int note_error(Display *, XErrorEvent *) {
    connection.has_error = true;
    return 0;
}

int end_program(Display *) {
    fputs("tarnwick: The connection to the X server is lost.\n", stderr);
    _exit(1);
}

} // namespace

Display *x11_display() {
    if (!connection.display) {
        Display *display = XOpenDisplay(nullptr);
        if (!display) {
            return nullptr;
        }
        connection.display = display;
        XSetErrorHandler(note_error);
        XSetIOErrorHandler(end_program);
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
    // The event for a changed property carries the server's time.
    x11_write_numbers(connection.helper_window, connection.atoms[ATOM_OWN_TIME], XA_INTEGER, nullptr, 0);
    XEvent event;
    XIfEvent(connection.display, &event, is_time_noted, nullptr);
    return event.xproperty.time;
}

void x11_trap_errors() {
    XSync(connection.display, False); // errors of earlier requests do not count
    connection.has_error = false;
}

bool x11_untrap_errors() {
    XSync(connection.display, False);
    return connection.has_error;
}

bool x11_wait_for_event(XEvent *event, X11EventMatch *matches, const void *argument, uint32_t timeout_ms) {
    Display *display = connection.display;
    XPointer pointer = static_cast<XPointer>(const_cast<void *>(argument));
    int64_t end_ms = monotonic_ms() + timeout_ms;
    while (!XCheckIfEvent(display, event, matches, pointer)) {
        int64_t left_ms = end_ms - monotonic_ms();
        if (left_ms <= 0) {
            return false;
        }
        pollfd waiting = {ConnectionNumber(display), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left_ms));
    }
    return true;
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

uint64_t x11_read_numbers(Window window, Atom property, Atom type, unsigned long *numbers,
                          uint64_t capacity) {
    X11Property found;
    if (!x11_read_property(window, property, capacity * 4, false, &found)) {
        return 0;
    }
    uint64_t count = found.type == type && found.format == 32 ? found.count : 0;
    memcpy(numbers, found.bytes, count * sizeof(unsigned long));
    XFree(found.bytes);
    return count;
}

void x11_write_numbers(Window window, Atom property, Atom type, const unsigned long *numbers,
                       uint64_t count) {
    XChangeProperty(connection.display, window, property, type, 32, PropModeReplace,
                    reinterpret_cast<const uint8_t *>(numbers), static_cast<int>(count));
}

bool x11_contains_atom(const Atom *atoms, uint64_t count, Atom atom) {
    return std::find(atoms, atoms + count, atom) != atoms + count;
}
