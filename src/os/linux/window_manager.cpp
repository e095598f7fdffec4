#include "os/linux/window_manager.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include "os/linux/icon.h"
#include "os/linux/x11.h"

// ---- Properties ----

namespace {

bool is_frameless(uint16_t flags) {
    return flags & (WINDOW_FLAG_BORDERLESS | WINDOW_FLAG_POPUP);
}

// Sets whether the window manager draws a frame.
void set_frame_hint(const NativeWindow *native, bool has_frame) {
    constexpr unsigned long has_decorations = 2; // the third member is valid
    unsigned long hints[5] = {has_decorations, 0, has_frame, 0, 0};
    Atom property = x11_atom(ATOM_MOTIF_WM_HINTS);
    x11_write_numbers(native->id, property, property, hints, 5);
}

} // namespace

void wm_set_size_hints(const NativeWindow *native, uint16_t flags, bool is_placed) {
    XSizeHints hints = {};
    hints.flags = PWinGravity | (is_placed ? USPosition | PPosition : 0);
    hints.win_gravity = StaticGravity;
    hints.x = native->client.x;
    hints.y = native->client.y;
    if (flags & WINDOW_FLAG_FIXED_SIZE) {
        hints.flags |= PMinSize | PMaxSize;
        hints.min_width = hints.max_width = native->client.width;
        hints.min_height = hints.max_height = native->client.height;
    }
    XSetWMNormalHints(x11_display(), native->id, &hints);
}

void wm_set_first_states(const NativeWindow *native, uint16_t flags) {
    Atom states[2];
    uint64_t count = 0;
    if (flags & WINDOW_FLAG_TOPMOST) {
        states[count++] = x11_atom(ATOM_NET_WM_STATE_ABOVE);
    }
    if ((flags & WINDOW_FLAG_TOOLWINDOW) && !(flags & WINDOW_FLAG_APPWINDOW)) {
        states[count++] = x11_atom(ATOM_NET_WM_STATE_SKIP_TASKBAR);
    }
    x11_write_numbers(native->id, x11_atom(ATOM_NET_WM_STATE), XA_ATOM, states, count);
}

void wm_set_properties(const NativeWindow *native, const char *title, uint16_t flags) {
    Display *display = x11_display();
    XWMHints hints = {};
    hints.flags = InputHint | StateHint;
    hints.input = True;
    hints.initial_state = NormalState;
    XClassHint class_hint = {program_invocation_short_name, program_invocation_short_name};
    Xutf8SetWMProperties(display, native->id, title, title, nullptr, 0, nullptr, &hints, &class_hint);
    XChangeProperty(display, native->id, x11_atom(ATOM_NET_WM_NAME), x11_atom(ATOM_UTF8_STRING), 8,
                    PropModeReplace, reinterpret_cast<const uint8_t *>(title),
                    static_cast<int>(strlen(title)));
    unsigned long process = static_cast<unsigned long>(getpid());
    x11_write_numbers(native->id, x11_atom(ATOM_NET_WM_PID), XA_CARDINAL, &process, 1);
    Atom protocols[] = {x11_atom(ATOM_WM_DELETE_WINDOW), x11_atom(ATOM_NET_WM_PING),
                        x11_atom(ATOM_NET_WM_SYNC_REQUEST)};
    XSetWMProtocols(display, native->id, protocols, native->resize.counter ? 3 : 2);
    unsigned long counter = native->resize.counter;
    x11_write_numbers(native->id, x11_atom(ATOM_NET_WM_SYNC_REQUEST_COUNTER), XA_CARDINAL, &counter,
                      counter ? 1 : 0);
    if (flags & WINDOW_FLAG_TOOLWINDOW) {
        Atom type = x11_atom(ATOM_NET_WM_WINDOW_TYPE_UTILITY);
        x11_write_numbers(native->id, x11_atom(ATOM_NET_WM_WINDOW_TYPE), XA_ATOM, &type, 1);
    }
    set_frame_hint(native, !is_frameless(flags));
    wm_set_size_hints(native, flags, flags & WINDOW_FLAG_BORDERLESS);
    wm_set_first_states(native, flags);
    icon_set(native->id);
}

// ---- Requests ----

namespace {

int is_new_frame_extents(Display *, XEvent *event, XPointer argument) {
    return event->type == PropertyNotify &&
           event->xproperty.window == reinterpret_cast<const NativeWindow *>(argument)->id &&
           event->xproperty.atom == x11_atom(ATOM_NET_FRAME_EXTENTS);
}

bool is_supported(Atom atom) {
    constexpr uint64_t most = 1024;
    Atom supported[most];
    uint64_t count = x11_read_numbers(DefaultRootWindow(x11_display()), x11_atom(ATOM_NET_SUPPORTED), XA_ATOM,
                                      supported, most);
    return x11_contains_atom(supported, count, atom);
}

void send_to_root(const NativeWindow *native, Atom type, long first, long second, long third, long fourth) {
    Window root = DefaultRootWindow(x11_display());
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = native->id;
    event.xclient.message_type = type;
    event.xclient.format = 32;
    event.xclient.data.l[0] = first;
    event.xclient.data.l[1] = second;
    event.xclient.data.l[2] = third;
    event.xclient.data.l[3] = fourth;
    XSendEvent(x11_display(), root, False, SubstructureNotifyMask | SubstructureRedirectMask, &event);
}

} // namespace

void wm_read_frame_extents(NativeWindow *native) {
    constexpr unsigned long most = 1024; // no frame is wider; any client can write this property
    unsigned long extents[4] = {};
    if (x11_read_numbers(native->id, x11_atom(ATOM_NET_FRAME_EXTENTS), XA_CARDINAL, extents, 4) != 4) {
        return;
    }
    for (unsigned long extent : extents) {
        if (extent > most) {
            return;
        }
    }
    native->extents = {static_cast<int32_t>(extents[0]), static_cast<int32_t>(extents[1]),
                       static_cast<int32_t>(extents[2]), static_cast<int32_t>(extents[3])};
}

void wm_ask_frame_extents(NativeWindow *native, uint16_t flags) {
    native->extents = {};
    if (!is_frameless(flags) && is_supported(x11_atom(ATOM_NET_REQUEST_FRAME_EXTENTS))) {
        send_to_root(native, x11_atom(ATOM_NET_REQUEST_FRAME_EXTENTS), 0, 0, 0, 0);
        XEvent event;
        x11_wait_for_event(&event, is_new_frame_extents, native, wm_answer_ms);
        wm_read_frame_extents(native);
    }
}

// ---- Requests of os/toolkit ----

void wm_set_state(const NativeWindow *native, Atom state, bool is_added) {
    constexpr long from_program = 1;
    send_to_root(native, x11_atom(ATOM_NET_WM_STATE), is_added, static_cast<long>(state), 0, from_program);
    XFlush(x11_display());
}

void wm_activate(const NativeWindow *native) {
    if (is_supported(x11_atom(ATOM_NET_ACTIVE_WINDOW))) {
        constexpr long from_program = 1;
        send_to_root(native, x11_atom(ATOM_NET_ACTIVE_WINDOW), from_program,
                     static_cast<long>(x11_last_time()), 0, 0);
    } else {
        XRaiseWindow(x11_display(), native->id);
        XSetInputFocus(x11_display(), native->id, RevertToParent, CurrentTime);
    }
    XFlush(x11_display());
}

void wm_set_frame(PlatformWindow *window) {
    NativeWindow *native = native_window(window);
    set_frame_hint(native, !is_frameless(window->flags));
    if (!native->is_mapped) {
        wm_ask_frame_extents(native, window->flags);
        return;
    }
    XEvent event;
    if (x11_wait_for_event(&event, is_new_frame_extents, native, wm_answer_ms)) {
        wm_read_frame_extents(native);
    }
}
