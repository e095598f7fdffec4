// The connection to the X server, which the window, the clipboard and drag and drop share. Interface thread
// only.
//
// The window pumps the connection's events and offers each to the functions of clipboard.h and drop.h first.
// When the connection is lost the process writes a line to standard error and ends with status 1: the saved
// lists are on the disk by then. Protocol errors are ignored.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>

// Opens the connection at the first call. Returns null when there is no display or it refuses; a later call
// tries again.
Display *x11_display();

// The connection's number for an atom's name, from a table that is filled when the connection opens.
enum X11Atom : uint32_t {
    ATOM_CLIPBOARD,
    ATOM_UTF8_STRING,
    // window managers
    ATOM_WM_PROTOCOLS,
    ATOM_WM_DELETE_WINDOW,
    ATOM_WM_STATE,
    ATOM_MOTIF_WM_HINTS,
    ATOM_NET_ACTIVE_WINDOW,
    ATOM_NET_CURRENT_DESKTOP,
    ATOM_NET_FRAME_EXTENTS,
    ATOM_NET_REQUEST_FRAME_EXTENTS,
    ATOM_NET_SUPPORTED,
    ATOM_NET_WM_ICON,
    ATOM_NET_WM_NAME,
    ATOM_NET_WM_PID,
    ATOM_NET_WM_PING,
    ATOM_NET_WM_STATE,
    ATOM_NET_WM_STATE_ABOVE,
    ATOM_NET_WM_STATE_DEMANDS_ATTENTION,
    ATOM_NET_WM_STATE_SKIP_TASKBAR,
    ATOM_NET_WM_SYNC_REQUEST,
    ATOM_NET_WM_SYNC_REQUEST_COUNTER,
    ATOM_NET_WM_WINDOW_TYPE,
    ATOM_NET_WM_WINDOW_TYPE_UTILITY,
    ATOM_NET_WORKAREA,
    ATOM_XSETTINGS_SETTINGS,
    // selections: what the targets and types mean is in the conventions for communication between clients
    ATOM_ATOM_PAIR,
    ATOM_C_STRING,
    ATOM_CLIPBOARD_MANAGER,
    ATOM_IMAGE_PNG,
    ATOM_INCR,
    ATOM_MULTIPLE,
    ATOM_NULL,
    ATOM_SAVE_TARGETS,
    ATOM_STRING,
    ATOM_TARGETS,
    ATOM_TEXT,
    ATOM_TEXT_PLAIN_UTF8,
    ATOM_TEXT_URI_LIST,
    ATOM_TIMESTAMP,
    ATOM_OWN_TIME,
    // drag and drop
    ATOM_XDND_ACTION_COPY,
    ATOM_XDND_AWARE,
    ATOM_XDND_DROP,
    ATOM_XDND_ENTER,
    ATOM_XDND_FINISHED,
    ATOM_XDND_LEAVE,
    ATOM_XDND_POSITION,
    ATOM_XDND_SELECTION,
    ATOM_XDND_STATUS,
    ATOM_XDND_TYPE_LIST,
    X11_ATOM_COUNT,
};
Atom x11_atom(X11Atom atom);

// A window that is never shown: it owns the clipboard's selection and receives conversions.
Window x11_helper_window();

// The time of the last event that had one, for requests that other clients order by time.
Time x11_last_time();
void x11_note_time(Time time);

// The server's time now; waits for its answer.
Time x11_server_time();

// For requests whose failure matters, as when another client's window may be gone. Untrapping waits for the
// server and returns whether there were protocol errors since x11_trap_errors.
void x11_trap_errors();
bool x11_untrap_errors();

// Takes the first event that matches from the queue, waiting for it up to timeout_ms milliseconds. matches
// must call no function of Xlib. Returns whether there was one.
typedef int X11EventMatch(Display *display, XEvent *event, XPointer argument);
bool x11_wait_for_event(XEvent *event, X11EventMatch *matches, const void *argument, uint32_t timeout_ms);

// What a property holds.
struct X11Property {
    uint8_t *bytes; // format 32 comes as the longs that Xlib makes of it
    uint64_t count; // items
    Atom type;
    int format; // bits of an item: 8, 16 or 32
};

// Reads a property whole, or nothing when it is longer than longest bytes (4 for each item of format 32),
// missing, or the window is gone. Returns whether it was read; the bytes are then freed with XFree. Deletes
// it if asked.
bool x11_read_property(Window window, Atom property, uint64_t longest, bool is_deleted, X11Property *result);

// Reads a property of items of 32 bits. Returns how many there are, at most capacity; 0 when it is missing,
// longer or of another type.
uint64_t x11_read_numbers(Window window, Atom property, Atom type, unsigned long *numbers, uint64_t capacity);
