#include "os/window.h"

#include <algorithm>

#include <X11/Xutil.h>
#include <X11/extensions/Xfixes.h>
#include <X11/extensions/shapeconst.h>

#include "os/linux/clipboard.h"
#include "os/linux/drop.h"
#include "os/linux/keys.h"
#include "os/linux/native_window.h"
#include "os/linux/window_manager.h"
#include "os/linux/x11.h"
#include "os/linux/xsettings.h"
#include "os/memory.h"
#include "os/window_backend.h"

// ---- The open windows ----

namespace {

NativeWindow *first_window;
PlatformWindow *focused_window; // null: none of ours

void *handle_of(Window id) {
    return reinterpret_cast<void *>(id);
}

} // namespace

NativeWindow *native_window(const PlatformWindow *window) {
    return static_cast<NativeWindow *>(window->device_context);
}

NativeWindow *native_windows() {
    return first_window;
}

// ---- Place and size as the server has them ----

namespace {

WindowGeometry geometry_of(const NativeWindow *native) {
    Point origin = primary_monitor_origin();
    Rect client = native->client;
    const FrameExtents &extents = native->extents;
    client.x -= origin.x;
    client.y -= origin.y;
    if (native->is_minimized) {
        client.width = client.height = 0;
    }
    Rect outer = {client.x - extents.left, client.y - extents.top,
                  client.width + extents.left + extents.right, client.height + extents.top + extents.bottom};
    return {outer, client};
}

// Updates the window's geometry and delivers the events for what changed, or both events if both.
void deliver_geometry(PlatformWindow *window, bool both) {
    WindowGeometry geometry = geometry_of(native_window(window));
    const Rect &client = geometry.client;
    bool is_resized =
        both || client.width != window->client_size.width || client.height != window->client_size.height;
    bool is_moved = both || client.x != window->client_position.x || client.y != window->client_position.y;
    window_set_geometry(window, geometry);
    if (is_resized) {
        window_resized(window, geometry, static_cast<uint16_t>(client.width),
                       static_cast<uint16_t>(client.height));
    }
    if (is_moved && window_is_alive(window)) {
        window_moved(window, geometry, static_cast<uint16_t>(client.x), static_cast<uint16_t>(client.y));
    }
}

// Asks the server for the client area's position: most events give it relative to the window manager's frame.
void read_position(NativeWindow *native) {
    Window child = None;
    XTranslateCoordinates(x11_display(), native->id, DefaultRootWindow(x11_display()), 0, 0,
                          &native->client.x, &native->client.y, &child);
}

void configured(PlatformWindow *window, const XConfigureEvent &event) {
    NativeWindow *native = native_window(window);
    native->client.width = event.width;
    native->client.height = event.height;
    if (event.send_event && native->is_mapped) { // from the window manager, in root coordinates
        native->client.x = event.x;
        native->client.y = event.y;
    } else {
        read_position(native);
    }
    native->resize.is_due = native->resize.is_due || native->resize.needs_answer;
    native->resize.needs_answer = false;
    deliver_geometry(window, false);
}

void read_state(PlatformWindow *window) {
    NativeWindow *native = native_window(window);
    unsigned long state[2] = {};
    Atom property = x11_atom(ATOM_WM_STATE);
    if (x11_read_numbers(native->id, property, property, state, 2) == 0) {
        return;
    }
    bool was_minimized = native->is_minimized;
    native->is_minimized = state[0] == IconicState;
    if (native->is_minimized != was_minimized) {
        deliver_geometry(window, was_minimized);
    }
}

} // namespace

// ---- Events ----

namespace {

Point on_screen(int x_root, int y_root) {
    Point origin = primary_monitor_origin();
    return {x_root - origin.x, y_root - origin.y};
}

// The server may report the same position twice; only a new one is delivered.
void pointer_moved(PlatformWindow *window, int x_root, int y_root) {
    NativeWindow *native = native_window(window);
    bool was_inside = window->input_flags & WINDOW_INPUT_POINTER_INSIDE;
    if (!was_inside || native->pointer.x != x_root || native->pointer.y != y_root) {
        native->pointer = {x_root, y_root};
        window_pointer_moved(window, on_screen(x_root, y_root));
    }
}

void pointer_left(PlatformWindow *window, int x_root, int y_root) {
    if (window->input_flags & WINDOW_INPUT_POINTER_INSIDE) {
        window_pointer_left(window, on_screen(x_root, y_root));
    }
}

DoublePressLimits double_press_limits() {
    int32_t time_ms = 500;
    int32_t distance = 4;
    xsettings_number("Net/DoubleClickTime", &time_ms);
    xsettings_number("Net/DoubleClickDistance", &distance);
    return {static_cast<uint32_t>(time_ms), distance, distance};
}

constexpr uint16_t buttons[] = {0, MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}; // by X button number
constexpr int32_t wheel_step = 120;

// While a button is held, the window receives all pointer events. Each notch of the wheel arrives as a press
// of button 4 or 5.
void button_pressed(PlatformWindow *window, const XButtonEvent &event) {
    Point position = on_screen(event.x_root, event.y_root);
    if (event.button == Button4 || event.button == Button5) {
        window_wheel_turned(window, position, event.button == Button4 ? wheel_step : -wheel_step);
    } else if (event.button >= Button1 && event.button <= Button3) {
        native_window(window)->held_buttons |= 1u << event.button;
        window_button_pressed(window, buttons[event.button], position, {event.x, event.y},
                              static_cast<uint32_t>(event.time), double_press_limits());
    }
}

void button_released(PlatformWindow *window, const XButtonEvent &event) {
    if (event.button < Button1 || event.button > Button3) {
        return;
    }
    NativeWindow *native = native_window(window);
    native->held_buttons &= ~(1u << event.button);
    window_button_released(window, buttons[event.button], on_screen(event.x_root, event.y_root));
    Rect client = {0, 0, native->client.width, native->client.height};
    if (window_is_alive(window) && native->held_buttons == 0 && !is_inside(client, {event.x, event.y})) {
        pointer_left(window, event.x_root, event.y_root); // delayed while a button was held
    }
}

void crossed(PlatformWindow *window, const XCrossingEvent &event) {
    if (event.detail == NotifyInferior) {
        return;
    }
    if (event.type == EnterNotify) {
        pointer_moved(window, event.x_root, event.y_root);
    } else if (native_window(window)->held_buttons == 0) {
        pointer_left(window, event.x_root, event.y_root);
    }
}

// Ignores events that a keyboard grab or the pointer's position causes: the focus has not changed.
void focus_changed(PlatformWindow *window, const XFocusChangeEvent &event) {
    if (event.mode == NotifyGrab || event.mode == NotifyUngrab || event.detail == NotifyInferior ||
        event.detail >= NotifyPointer) {
        return;
    }
    NativeWindow *native = native_window(window);
    keys_forget_down();
    focused_window = event.type == FocusIn ? window : nullptr;
    if (event.type == FocusIn) {
        if (native->input_context) {
            XSetICFocus(native->input_context);
        }
        window_focus_gained(window);
    } else {
        if (native->input_context) {
            XUnsetICFocus(native->input_context);
        }
        window_focus_lost(window);
    }
}

// Handles the window manager's requests: to close the window, to answer a ping, to report the next frame.
void handle_protocol_request(PlatformWindow *window, XEvent *event) {
    if (event->xclient.message_type != x11_atom(ATOM_WM_PROTOCOLS) || event->xclient.format != 32) {
        return;
    }
    Atom protocol = static_cast<Atom>(event->xclient.data.l[0]);
    if (protocol == x11_atom(ATOM_WM_DELETE_WINDOW)) {
        window_closed(window);
    } else if (protocol == x11_atom(ATOM_NET_WM_SYNC_REQUEST)) {
        ResizeSync *resize = &native_window(window)->resize;
        XSyncIntsToValue(&resize->value, static_cast<uint32_t>(event->xclient.data.l[2]),
                         static_cast<int32_t>(event->xclient.data.l[3]));
        resize->needs_answer = resize->counter != None;
    } else if (protocol == x11_atom(ATOM_NET_WM_PING)) {
        Window root = DefaultRootWindow(x11_display());
        event->xclient.window = root;
        XSendEvent(x11_display(), root, False, SubstructureNotifyMask | SubstructureRedirectMask, event);
    }
}

void property_changed(PlatformWindow *window, const XPropertyEvent &event) {
    if (event.atom == x11_atom(ATOM_WM_STATE)) {
        read_state(window);
    } else if (event.atom == x11_atom(ATOM_NET_FRAME_EXTENTS)) {
        wm_read_frame_extents(native_window(window));
        read_position(native_window(window));
        deliver_geometry(window, false);
    }
}

void handle_window_event(PlatformWindow *window, XEvent *event) {
    NativeWindow *native = native_window(window);
    switch (event->type) {
    case ConfigureNotify:
        configured(window, event->xconfigure);
        break;
    case MapNotify:
        native->is_mapped = true;
        native->is_minimized = false;
        read_position(native); // the window manager has reparented it into its frame
        deliver_geometry(window, true);
        break;
    case UnmapNotify:
        native->is_mapped = false;
        break;
    case DestroyNotify:
        native->id = None;
        window_closed(window);
        break;
    case Expose:
        native_frame_refresh(
            window, {event->xexpose.x, event->xexpose.y, event->xexpose.width, event->xexpose.height});
        break;
    case PropertyNotify:
        property_changed(window, event->xproperty);
        break;
    case FocusIn:
    case FocusOut:
        focus_changed(window, event->xfocus);
        break;
    case ClientMessage:
        handle_protocol_request(window, event);
        break;
    case KeyPress:
        keys_pressed(window, &event->xkey);
        break;
    case KeyRelease:
        keys_released(window, event->xkey);
        break;
    case MotionNotify:
        pointer_moved(window, event->xmotion.x_root, event->xmotion.y_root);
        break;
    case EnterNotify:
    case LeaveNotify:
        crossed(window, event->xcrossing);
        break;
    case ButtonPress:
        button_pressed(window, event->xbutton);
        break;
    case ButtonRelease:
        button_released(window, event->xbutton);
        break;
    }
}

void note_time(const XEvent &event) {
    switch (event.type) {
    case KeyPress:
    case KeyRelease:
        x11_note_time(event.xkey.time);
        break;
    case ButtonPress:
    case ButtonRelease:
        x11_note_time(event.xbutton.time);
        break;
    case MotionNotify:
        x11_note_time(event.xmotion.time);
        break;
    case EnterNotify:
    case LeaveNotify:
        x11_note_time(event.xcrossing.time);
        break;
    case PropertyNotify:
        x11_note_time(event.xproperty.time);
        break;
    }
}

void handle(XEvent *event) {
    if (event->type == MappingNotify) {
        XRefreshKeyboardMapping(&event->xmapping);
        return;
    }
    if (event->type == KeymapNotify) { // has no window
        if (focused_window) {
            keys_sync_down(focused_window, event->xkeymap);
        }
        return;
    }
    note_time(*event);
    PlatformWindow *window = window_from_handle(handle_of(event->xany.window));
    if (event->type == KeyPress && window) {
        keys_open_input(native_window(window)); // not earlier: loading the Compose table takes time
    }
    if (XFilterEvent(event, None)) {
        return;
    }
    if (!clipboard_handle_event(*event) && !drop_handle_event(*event, window) && window) {
        handle_window_event(window, event);
    }
}

} // namespace

// ---- Creation ----

namespace {

bool has_framebuffer_format(const Visual *visual) {
    return visual->red_mask == 0xFF0000 && visual->green_mask == 0xFF00 && visual->blue_mask == 0xFF;
}

// Chooses a visual with the framebuffer's pixel format, and with alpha for a layered window if there is one.
// Returns whether the pixel format matches.
bool choose_visual(NativeWindow *native, bool is_layered) {
    Display *display = x11_display();
    XVisualInfo found;
    native->visual = DefaultVisual(display, DefaultScreen(display));
    native->depth = DefaultDepth(display, DefaultScreen(display));
    int depth = is_layered ? 32 : 24;
    if (native->depth != depth &&
        XMatchVisualInfo(display, DefaultScreen(display), depth, TrueColor, &found)) {
        native->visual = found.visual;
        native->depth = depth;
    }
    return native->depth >= 24 && has_framebuffer_format(native->visual);
}

int32_t valid_length(int32_t length) {
    return std::clamp(length, 1, int32_t{INT16_MAX}); // X11 coordinates are 16 bits
}

// Creates the X window. Returns whether it succeeded.
bool create_native(NativeWindow *native, Size size, const char *title, uint16_t flags) {
    bool is_layered = flags & WINDOW_FLAG_LAYERED;
    if (!choose_visual(native, is_layered)) {
        return false;
    }
    Display *display = x11_display();
    Window root = DefaultRootWindow(display);
    Point origin = primary_monitor_origin();
    native->client = {origin.x, origin.y, valid_length(size.width), valid_length(size.height)};
    XSetWindowAttributes attributes = {};
    attributes.background_pixmap = None; // the old picture stays until the next frame
    attributes.border_pixel = 0;
    attributes.bit_gravity = NorthWestGravity;
    attributes.colormap = XCreateColormap(display, root, native->visual, AllocNone);
    attributes.event_mask = KeyPressMask | KeyReleaseMask | KeymapStateMask | ButtonPressMask |
                            ButtonReleaseMask | PointerMotionMask | EnterWindowMask | LeaveWindowMask |
                            ExposureMask | StructureNotifyMask | PropertyChangeMask | FocusChangeMask;
    x11_trap_errors();
    native->id = XCreateWindow(
        display, root, native->client.x, native->client.y, static_cast<uint32_t>(native->client.width),
        static_cast<uint32_t>(native->client.height), 0, native->depth, InputOutput, native->visual,
        CWBackPixmap | CWBorderPixel | CWBitGravity | CWColormap | CWEventMask, &attributes);
    XFreeColormap(display, attributes.colormap); // only needed to create the window
    if (x11_untrap_errors()) {
        return false;
    }
    native->graphics_context = XCreateGC(display, native->id, 0, nullptr);
    XSetGraphicsExposures(display, native->graphics_context, False);
    int first_event = 0;
    int first_error = 0;
    int major = 0;
    int minor = 0;
    if (XSyncQueryExtension(display, &first_event, &first_error) &&
        XSyncInitialize(display, &major, &minor)) {
        XSyncValue zero;
        XSyncIntToValue(&zero, 0);
        native->resize.counter = XSyncCreateCounter(display, zero);
    }
    wm_set_properties(native, title, flags);
    if (flags & WINDOW_FLAG_CLICK_THROUGH) {
        XserverRegion nothing = XFixesCreateRegion(display, nullptr, 0);
        XFixesSetWindowShapeRegion(display, native->id, ShapeInput, 0, 0, nothing);
        XFixesDestroyRegion(display, nothing);
    }
    wm_ask_frame_extents(native, flags);
    return true;
}

void destroy_native(NativeWindow *native) {
    keys_close_input(native);
    native_frame_free(native);
    XFreeGC(x11_display(), native->graphics_context);
    if (native->resize.counter) {
        XSyncDestroyCounter(x11_display(), native->resize.counter);
    }
    if (native->id != None) { // None: another client has destroyed it
        XDestroyWindow(x11_display(), native->id);
    }
    XFlush(x11_display());
}

} // namespace

PlatformWindow *os_window_create(int32_t width, int32_t height, Str title, uint16_t flags) {
    if (!x11_display()) {
        return nullptr;
    }
    if (!first_window) {
        keys_init();
    }
    Size size = flags & WINDOW_FLAG_BORDERLESS ? Size{100, 100} : Size{width, height};
    PlatformWindow *window = static_cast<PlatformWindow *>(os_alloc_zero(sizeof(PlatformWindow)));
    NativeWindow *native = static_cast<NativeWindow *>(os_alloc_zero(sizeof(NativeWindow)));
    char *text = str_copy(title.count > 0 ? title : str_from("Window")).data;
    bool is_created = window && native && text && create_native(native, size, text, flags);
    if (is_created) {
        window->handle = handle_of(native->id);
        window->device_context = native;
    }
    if (!is_created || !window_list_add(window)) {
        if (is_created) {
            destroy_native(native);
        }
        os_free(text);
        os_free(native);
        os_free(window);
        return nullptr;
    }
    os_free(text);
    native->next = first_window;
    first_window = native;
    drop_accept(window);
    window->flags = flags | WINDOW_FLAG_ALIVE | WINDOW_FLAG_FOCUS;
    window_set_geometry(window, geometry_of(native));
    if (flags & WINDOW_FLAG_FRAMEBUFFER) {
        framebuffer_resize(&window->framebuffer, window->client_size);
    }
    if (!(flags & WINDOW_FLAG_HIDDEN)) {
        os_window_show(window, 1);
    }
    return window;
}

void window_destroy_native(PlatformWindow *window) {
    NativeWindow *native = native_window(window);
    NativeWindow **link = &first_window;
    while (*link != native) {
        link = &(*link)->next;
    }
    *link = native->next;
    if (focused_window == window) {
        focused_window = nullptr;
    }
    destroy_native(native);
    os_free(native);
    window->device_context = nullptr;
    if (!first_window) {
        clipboard_hand_over();
    }
}

// ---- The pump and presentation ----

uint32_t os_pump_messages() {
    Display *display = x11_display();
    uint32_t count = 0;
    while (display && XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        handle(&event);
        count++;
    }
    return count;
}

void window_present(const PlatformWindow *window, Rect to, Rect from) {
    native_frame_show(window, to, from);
}

// ---- Place, size and frame ----

Size window_outer_size(const PlatformWindow *window, Size client_size) {
    const FrameExtents &extents = native_window(window)->extents;
    return {client_size.width + extents.left + extents.right,
            client_size.height + extents.top + extents.bottom};
}

namespace {

int is_configured(Display *, XEvent *event, XPointer argument) {
    return event->type == ConfigureNotify &&
           event->xconfigure.window == reinterpret_cast<const NativeWindow *>(argument)->id;
}

bool is_same(const Rect &a, const Rect &b) {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

} // namespace

void window_place(PlatformWindow *window, Rect outer) {
    NativeWindow *native = native_window(window);
    const FrameExtents &extents = native->extents;
    Point origin = primary_monitor_origin();
    Rect client = {outer.x + extents.left + origin.x, outer.y + extents.top + origin.y,
                   valid_length(outer.width - extents.left - extents.right),
                   valid_length(outer.height - extents.top - extents.bottom)};
    if (is_same(client, native->client)) {
        return;
    }
    NativeWindow placed = *native;
    placed.client = client;
    wm_set_size_hints(&placed, window->flags, true);
    XMoveResizeWindow(x11_display(), native->id, client.x, client.y, static_cast<uint32_t>(client.width),
                      static_cast<uint32_t>(client.height));
    // The window manager may give a mapped window another geometry.
    XEvent event;
    while (window_is_alive(window) && !is_same(client, native->client) &&
           x11_wait_for_event(&event, is_configured, native, wm_answer_ms)) {
        configured(window, event.xconfigure);
    }
}

void os_window_show(PlatformWindow *window, bool visible) {
    if (!window_is_alive(window)) {
        return;
    }
    NativeWindow *native = native_window(window);
    if (!visible) {
        XWithdrawWindow(x11_display(), native->id, DefaultScreen(x11_display()));
    } else if (!native->is_mapped) {
        wm_set_first_states(native, window->flags);
        XMapRaised(x11_display(), native->id);
    }
    XFlush(x11_display());
}
