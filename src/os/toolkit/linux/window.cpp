#include "os/toolkit/window.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xfixes.h>

#include "os/linux/native_window.h"
#include "os/linux/window_manager.h"
#include "os/linux/x11.h"
#include "os/toolkit/window_backend.h"
#include "os/window_backend.h"

void os_window_minimize(PlatformWindow *window) {
    if (window_is_alive(window)) {
        XIconifyWindow(x11_display(), native_window(window)->id, DefaultScreen(x11_display()));
        XFlush(x11_display());
    }
}

void os_window_restore(PlatformWindow *window) {
    if (window_is_alive(window)) {
        XMapWindow(x11_display(), native_window(window)->id);
        wm_activate(native_window(window)); // for window managers that keep minimized windows mapped
    }
}

void os_window_focus(PlatformWindow *window) {
    if (window_is_alive(window)) {
        wm_activate(native_window(window));
        window->flags |= WINDOW_FLAG_FOCUS;
    }
}

void os_window_flash(PlatformWindow *window) {
    if (window_is_alive(window)) {
        wm_set_state(native_window(window), x11_atom(ATOM_NET_WM_STATE_DEMANDS_ATTENTION), true);
    }
}

void os_window_toggle_frame(PlatformWindow *window) {
    if (!window_is_alive(window)) {
        return;
    }
    Rect outer = {window->window_position.x, window->window_position.y, window->window_size.width,
                  window->window_size.height};
    window->flags ^= WINDOW_FLAG_POPUP;
    wm_set_frame(window);
    window_place(window, outer);
}

void os_window_toggle_topmost(PlatformWindow *window) {
    if (window_is_alive(window)) {
        window->flags ^= WINDOW_FLAG_TOPMOST;
        wm_set_state(native_window(window), x11_atom(ATOM_NET_WM_STATE_ABOVE),
                     window->flags & WINDOW_FLAG_TOPMOST);
    }
}

void os_show_system_cursor(bool visible) {
    static bool is_hidden; // the server counts these requests
    if (is_hidden == !visible || !x11_display()) {
        return;
    }
    is_hidden = !visible;
    if (visible) {
        XFixesShowCursor(x11_display(), DefaultRootWindow(x11_display()));
    } else {
        XFixesHideCursor(x11_display(), DefaultRootWindow(x11_display()));
    }
    XFlush(x11_display());
}

// No event reports raw mouse movements, so there is nothing to register.
bool raw_mouse_register(PlatformWindow *) {
    return true;
}

void raw_mouse_unregister() {}
