// The connection to the X server, shared by the window, the clipboard and drag and drop. Interface thread
// only.
//
// The window's message pump offers each event to clipboard.h and drop.h first. When the connection is lost,
// the process writes a line to standard error and exits with status 1; the saved lists are already on disk.
// Protocol errors are ignored.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>

// Opens the connection on the first call. Returns null when that fails; a later call tries again.
Display *x11_display();

// The atoms in use; they are interned when the connection opens.
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
    // selections; the ICCCM defines the targets and types
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

// A window that is never mapped: it owns the clipboard's selection and receives conversions.
Window x11_helper_window();

// The timestamp of the last event that had one, for requests that need one.
Time x11_last_time();
void x11_note_time(Time time);

// The server's current time; waits for its answer.
Time x11_server_time();

// For requests whose failure matters, such as for another client's window, which may be gone. Both wait for
// the server; x11_untrap_errors returns whether there were protocol errors since x11_trap_errors.
void x11_trap_errors();
bool x11_untrap_errors();

// Takes the first matching event from the queue, waiting up to timeout_ms milliseconds for it. matches must
// not call Xlib. Returns whether there was one.
typedef int X11EventMatch(Display *display, XEvent *event, XPointer argument);
bool x11_wait_for_event(XEvent *event, X11EventMatch *matches, const void *argument, uint32_t timeout_ms);

// A property's contents.
struct X11Property {
    uint8_t *bytes; // format 32: an array of long, as Xlib returns it
    uint64_t count; // items
    Atom type;
    int format; // bits per item: 8, 16 or 32
};

// Reads a whole property. Returns false when it is missing or longer than longest bytes (4 per item of format
// 32), or the window is gone; otherwise the caller frees the bytes with XFree. is_deleted: also
// deletes the property after reading it.
bool x11_read_property(Window window, Atom property, uint64_t longest, bool is_deleted, X11Property *result);

// Reads a property of 32-bit items. Returns how many there are; 0 when it is missing, of another type or has
// more than capacity items.
uint64_t x11_read_numbers(Window window, Atom property, Atom type, unsigned long *numbers, uint64_t capacity);

// Replaces a property by these 32-bit items; null for a count of 0 is allowed.
void x11_write_numbers(Window window, Atom property, Atom type, const unsigned long *numbers, uint64_t count);

// Whether the array contains the atom.
bool x11_contains_atom(const Atom *atoms, uint64_t count, Atom atom);
