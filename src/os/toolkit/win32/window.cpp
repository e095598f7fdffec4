#include "os/toolkit/window.h"

#include <windows.h>

#include "os/toolkit/window_backend.h"
#include "os/win32/window.h"
#include "os/window_backend.h"

// ---- Appearance ----

void os_window_minimize(PlatformWindow *window) {
    if (window_is_alive(window)) {
        ShowWindow(static_cast<HWND>(window->handle), SW_MINIMIZE);
    }
}

void os_window_restore(PlatformWindow *window) {
    if (window_is_alive(window)) {
        ShowWindow(static_cast<HWND>(window->handle), SW_RESTORE);
    }
}

void os_window_focus(PlatformWindow *window) {
    if (window_is_alive(window)) {
        HWND handle = static_cast<HWND>(window->handle);
        SetForegroundWindow(handle);
        SetFocus(handle);
        window->flags |= WINDOW_FLAG_FOCUS;
    }
}

void os_window_flash(PlatformWindow *window) {
    if (window_is_alive(window)) {
        FLASHWINFO flash = {};
        flash.cbSize = sizeof(flash);
        flash.hwnd = static_cast<HWND>(window->handle);
        flash.dwFlags = FLASHW_TRAY | FLASHW_TIMERNOFG;
        flash.uCount = 1;
        FlashWindowEx(&flash);
    }
}

void os_window_toggle_frame(PlatformWindow *window) {
    if (!window_is_alive(window)) {
        return;
    }
    HWND handle = static_cast<HWND>(window->handle);
    Rect outer = {window->window_position.x, window->window_position.y, window->window_size.width,
                  window->window_size.height};
    window->flags ^= WINDOW_FLAG_POPUP;
    // The other bits stay: whether it is visible or maximised may have changed since the creation.
    constexpr LONG_PTR frame_bits = WS_POPUP | WS_OVERLAPPEDWINDOW;
    LONG_PTR style = GetWindowLongPtrW(handle, GWL_STYLE);
    SetWindowLongPtrW(handle, GWL_STYLE, (style & ~frame_bits) | window_frame_style(window->flags));
    SetWindowPos(handle, nullptr, outer.x, outer.y, outer.width, outer.height,
                 SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

void os_window_toggle_topmost(PlatformWindow *window) {
    if (window_is_alive(window)) {
        window->flags ^= WINDOW_FLAG_TOPMOST;
        SetWindowPos(static_cast<HWND>(window->handle),
                     window->flags & WINDOW_FLAG_TOPMOST ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }
}

// ---- Mouse ----

void os_show_system_cursor(bool visible) {
    // The system counts the calls; the cursor shows while the count is not negative.
    if (visible) {
        while (ShowCursor(TRUE) < 0) {
        }
    } else {
        while (ShowCursor(FALSE) >= 0) {
        }
    }
}

namespace {

bool register_mouse(DWORD flags, HWND target) {
    RAWINPUTDEVICE device = {};
    device.usUsagePage = 1; // generic desktop controls
    device.usUsage = 2;     // mouse
    device.dwFlags = flags;
    device.hwndTarget = target;
    return RegisterRawInputDevices(&device, 1, sizeof(device)) != 0;
}

} // namespace

bool raw_mouse_register(PlatformWindow *window) {
    return register_mouse(RIDEV_INPUTSINK, static_cast<HWND>(window->handle));
}

void raw_mouse_unregister() {
    register_mouse(RIDEV_REMOVE, nullptr);
}
