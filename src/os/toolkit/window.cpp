#include "os/toolkit/window.h"

#include "os/window_events.h"

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
