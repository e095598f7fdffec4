#include "os/toolkit/window.h"

#include "os/toolkit/window_backend.h"
#include "os/window_backend.h"

// ---- Presentation ----

void os_window_blit_rect(PlatformWindow *window, Rect rect) {
    if (window_can_present(window)) {
        window_present(window, rect, rect);
    }
}

// ---- Place and size ----

void os_window_move_client(PlatformWindow *window, Point position) {
    os_window_move(window, {position.x - (window->client_position.x - window->window_position.x),
                            position.y - (window->client_position.y - window->window_position.y)});
}

void os_window_resize(PlatformWindow *window, Size client_size) {
    if (window_is_alive(window)) {
        Size size = window_outer_size(window, client_size);
        window_place(window, {window->window_position.x, window->window_position.y, size.width, size.height});
    }
}

void os_window_resize_centered(PlatformWindow *window, Size client_size) {
    if (window_is_alive(window)) {
        Size size = window_outer_size(window, client_size);
        window_place(window, {window->window_position.x + (window->window_size.width - size.width) / 2,
                              window->window_position.y + (window->window_size.height - size.height) / 2,
                              size.width, size.height});
    }
}

// ---- Mouse ----

namespace {

void raw_mouse_start(PlatformWindow *window) {
    if (!(window->input_flags & WINDOW_INPUT_RAW_REGISTERED) && raw_mouse_register(window)) {
        window->input_flags |= WINDOW_INPUT_RAW_REGISTERED;
    }
    if (window->input_flags & WINDOW_INPUT_RAW_REGISTERED) {
        window->input_flags |= WINDOW_INPUT_RAW_ACTIVE;
    }
}

// The mouse is registered for the whole process, so unregistering it concerns every window.
void raw_mouse_stop(PlatformWindow *window) {
    if (!(window->input_flags & WINDOW_INPUT_RAW_ACTIVE)) {
        return;
    }
    raw_mouse_unregister();
    window->input_flags &= static_cast<uint8_t>(~WINDOW_INPUT_RAW_ACTIVE);
    for (uint32_t i = 0; PlatformWindow *open = window_at(i); i++) {
        open->input_flags &= static_cast<uint8_t>(~WINDOW_INPUT_RAW_REGISTERED);
    }
}

void follow_focus(PlatformWindow *window, bool has_focus) {
    if (!has_focus) {
        raw_mouse_stop(window);
    } else if (window->input_flags & WINDOW_INPUT_RAW_WANTED) {
        raw_mouse_start(window);
    }
}

} // namespace

void os_window_request_raw_mouse(PlatformWindow *window) {
    window_focus_hook = follow_focus;
    if (window_is_alive(window)) {
        window->input_flags |= WINDOW_INPUT_RAW_WANTED;
        if (window->flags & WINDOW_FLAG_FOCUS) {
            raw_mouse_start(window);
        }
    }
}
