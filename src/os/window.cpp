#include "os/window.h"

#include <stdlib.h>
#include <string.h>

#include <bit>
#include <utility>

#include "os/memory.h"
#include "os/paths.h"
#include "os/window_backend.h"

// ---- Windows ----

namespace {

struct WindowList {
    PlatformWindow **windows; // the open ones
    uint32_t count;
    uint32_t capacity;
};
WindowList window_list;

void window_list_remove(const PlatformWindow *window) {
    for (uint32_t i = 0; i < window_list.count; i++) {
        if (window_list.windows[i] == window) {
            window_list.count--;
            memmove(&window_list.windows[i], &window_list.windows[i + 1],
                    (window_list.count - i) * sizeof(PlatformWindow *));
            return;
        }
    }
}

} // namespace

bool window_is_alive(const PlatformWindow *window) {
    return (window->flags & WINDOW_FLAG_ALIVE) != 0;
}

bool window_list_add(PlatformWindow *window) {
    if (window_list.count == window_list.capacity) {
        uint32_t capacity = window_list.capacity ? window_list.capacity * 2 : 4;
        uint64_t size = capacity * sizeof(PlatformWindow *);
        void *grown = window_list.windows ? os_realloc(window_list.windows, size) : os_alloc(size);
        if (!grown) {
            return false;
        }
        window_list.windows = static_cast<PlatformWindow **>(grown);
        window_list.capacity = capacity;
    }
    window_list.windows[window_list.count++] = window;
    return true;
}

PlatformWindow *window_at(uint32_t index) {
    return index < window_list.count ? window_list.windows[index] : nullptr;
}

PlatformWindow *window_from_handle(const void *handle) {
    for (uint32_t i = 0; i < window_list.count; i++) {
        if (window_list.windows[i]->handle == handle) {
            return window_list.windows[i];
        }
    }
    return nullptr;
}

// ---- Title ----

char *window_raw_title(Str title) {
    Str bytes = title.count > 0 ? title : str_from("Window");
    // Not converted: each byte pair is one unit. Five zeros terminate odd and even lengths.
    char *raw = static_cast<char *>(os_alloc_zero(bytes.count + 5));
    if (raw) {
        memcpy(raw, bytes.data, bytes.count);
    }
    return raw;
}

// ---- Framebuffer ----

uint64_t framebuffer_block_size(Size size) {
    if (size.width <= 0 || size.height <= 0) {
        return 0;
    }
    // In 64 bits, as a size that wraps would allocate too little.
    uint64_t bytes = uint64_t{static_cast<uint32_t>(size.width)} * static_cast<uint32_t>(size.height) * 4;
    return bytes > uint64_t{1} << 63 ? UINT64_MAX : std::bit_ceil(bytes);
}

void framebuffer_resize(Framebuffer *framebuffer, Size size) {
    uint64_t block_size = framebuffer_block_size(size);
    if (block_size > framebuffer->capacity) {
        uint32_t *block = framebuffer_block_alloc(block_size);
        if (!block) {
            return;
        }
        framebuffer_block_free(framebuffer->pixels);
        framebuffer->pixels = block;
        framebuffer->capacity = block_size;
    }
    framebuffer->width = size.width;
    framebuffer->height = size.height;
}

// ---- Events ----

namespace {

WindowEvent event;
WindowEventCallback *event_callback;
uint32_t callback_depth; // callbacks that have not returned

// Starts the event; its payload is filled in before deliver.
void begin_event(PlatformWindow *window, uint8_t type) {
    event = {};
    event.type = type;
    event.window = window;
}

void deliver() {
    if (event_callback) {
        callback_depth++;
        event_callback(&event);
        callback_depth--;
    }
}

void deliver_mouse(PlatformWindow *window, uint8_t type, Point position) {
    begin_event(window, type);
    event.mouse.position = position;
    deliver();
}

} // namespace

void os_set_event_callback(WindowEventCallback *callback) {
    event_callback = callback;
}

// ---- The system's own message loop ----

namespace {

WindowFrameCallback *frame_callback;
uint32_t frame_period_ms;
const PlatformWindow *looping_window; // null: the system runs no loop of its own

} // namespace

void os_set_frame_callback(WindowFrameCallback *callback, uint32_t period_ms) {
    frame_callback = callback;
    frame_period_ms = period_ms;
}

uint32_t window_system_loop_begin(PlatformWindow *window) {
    looping_window = window;
    return frame_callback ? frame_period_ms : 0;
}

void window_system_loop_end() {
    looping_window = nullptr;
}

void window_frame_due(PlatformWindow *window) {
    if (frame_callback && window == looping_window && callback_depth == 0) {
        callback_depth++;
        frame_callback(window);
        callback_depth--;
    }
}

// ---- Messages ----

WindowFocusHook *window_focus_hook;

void window_set_geometry(PlatformWindow *window, const WindowGeometry &geometry) {
    window->window_position = {geometry.outer.x, geometry.outer.y};
    window->window_size = {geometry.outer.width, geometry.outer.height};
    window->client_position = {geometry.client.x, geometry.client.y};
    window->client_size = {geometry.client.width, geometry.client.height};
}

void window_moved(PlatformWindow *window, const WindowGeometry &geometry, uint16_t x, uint16_t y) {
    window_set_geometry(window, geometry);
    begin_event(window, EVENT_WINDOW_MOVED);
    event.moved = {x, y};
    deliver();
}

void window_resized(PlatformWindow *window, const WindowGeometry &geometry, uint16_t width, uint16_t height) {
    window_set_geometry(window, geometry);
    if (window->flags & WINDOW_FLAG_FRAMEBUFFER) {
        framebuffer_resize(&window->framebuffer, window->client_size);
    }
    begin_event(window, EVENT_WINDOW_RESIZED);
    event.resized = {width, height};
    deliver();
    window_frame_due(window);
}

namespace {

void call_focus_hook(PlatformWindow *window, bool has_focus) {
    if (window_focus_hook) {
        window_focus_hook(window, has_focus);
    }
}

void deliver_focus(PlatformWindow *window, uint8_t is_gained) {
    begin_event(window, EVENT_FOCUS);
    event.focus.is_gained = is_gained;
    deliver();
}

} // namespace

void window_focus_gained(PlatformWindow *window) {
    window->flags |= WINDOW_FLAG_FOCUS;
    call_focus_hook(window, true);
    deliver_focus(window, 1);
}

void window_focus_lost(PlatformWindow *window) {
    window->flags &= static_cast<uint16_t>(~WINDOW_FLAG_FOCUS);
    call_focus_hook(window, false);
    deliver_focus(window, 0);
}

void window_closed(PlatformWindow *window) {
    if (!window_is_alive(window)) {
        return; // destroying a window sends further messages of this kind
    }
    window->flags &= static_cast<uint16_t>(~WINDOW_FLAG_ALIVE);
    framebuffer_block_free(window->framebuffer.pixels);
    window->framebuffer = {};
    window_destroy_native(window);
    call_focus_hook(window, false);
    window_list_remove(window);
    if (looping_window == window) {
        window_system_loop_end();
    }
    begin_event(window, EVENT_WINDOW_CLOSED);
    deliver();
}

void os_window_destroy(PlatformWindow *window) {
    window_closed(window);
}

void window_key(PlatformWindow *window, uint16_t code, uint8_t state) {
    begin_event(window, EVENT_KEY);
    event.key = {code, state};
    deliver();
}

void window_character(PlatformWindow *window, uint32_t unit) {
    if (unit == '\b') {
        return;
    }
    begin_event(window, EVENT_CHAR);
    event.character.unit = unit == '\r' ? '\n' : unit;
    deliver();
}

bool window_pointer_moved(PlatformWindow *window, Point position) {
    bool has_entered = !(window->input_flags & WINDOW_INPUT_POINTER_INSIDE);
    window->input_flags |= WINDOW_INPUT_POINTER_INSIDE;
    deliver_mouse(window, has_entered ? EVENT_MOUSE_ENTER : EVENT_MOUSE_MOVE, position);
    return has_entered;
}

void window_pointer_left(PlatformWindow *window, Point position) {
    window->input_flags &= static_cast<uint8_t>(~WINDOW_INPUT_POINTER_INSIDE);
    deliver_mouse(window, EVENT_MOUSE_LEAVE, position);
}

namespace {

struct LastPress {
    Point client;
    uint32_t time_ms;
};
LastPress last_presses[3]; // by button, whichever window it was in

void deliver_button(PlatformWindow *window, uint16_t button, Point position, uint8_t state) {
    begin_event(window, EVENT_MOUSE_BUTTON);
    event.button = {button, position, state};
    deliver();
}

} // namespace

void window_button_pressed(PlatformWindow *window, uint16_t button, Point position, Point client,
                           uint32_t time_ms, const DoublePressLimits &limits) {
    LastPress *last = &last_presses[button - MOUSE_LEFT];
    if (time_ms - last->time_ms < limits.time_ms && abs(last->client.x - client.x) < limits.width &&
        abs(last->client.y - client.y) < limits.height) {
        last->time_ms = 0; // a third press is a single one
        deliver_button(window, button, position, BUTTON_DOUBLE_PRESSED);
    } else {
        *last = {client, time_ms};
        deliver_button(window, button, position, BUTTON_PRESSED);
    }
}

void window_button_released(PlatformWindow *window, uint16_t button, Point position) {
    deliver_button(window, button, position, BUTTON_RELEASED);
}

void window_wheel_turned(PlatformWindow *window, Point position, int32_t delta) {
    begin_event(window, EVENT_MOUSE_WHEEL);
    event.wheel = {position, delta >= 0 ? 1 : -1}; // 0 intentionally counts as away from the user
    deliver();
}

// ---- Dropped files ----

bool drop_list_init(DropList *list, uint64_t units) {
    // A unit takes at most three bytes, so each name's zero byte fits as well; one more ends the list.
    *list = {static_cast<char *>(os_alloc_zero(units * 4 + 1)), 0, 0};
    return list->bytes != nullptr;
}

char *drop_list_room(DropList *list) {
    return list->bytes + list->used;
}

void drop_list_add(DropList *list, uint64_t count) {
    str_slashes({count, drop_list_room(list)});
    list->used += count + 1;
    list->count++;
}

void window_files_dropped(PlatformWindow *window, Point client, DropList *list) {
    begin_event(window, EVENT_FILES_DROPPED);
    event.dropped = {client, list->bytes, list->count};
    deliver();
    os_free(list->bytes);
}

// ---- Presentation ----

bool window_can_present(const PlatformWindow *window) {
    const Framebuffer &framebuffer = window->framebuffer;
    return window_is_alive(window) && framebuffer.pixels && framebuffer.width > 0 && framebuffer.height > 0;
}

void os_window_blit(PlatformWindow *window) {
    if (window_can_present(window)) {
        window_present(window, {0, 0, window->client_size.width, window->client_size.height},
                       {0, 0, window->framebuffer.width, window->framebuffer.height});
    }
}

// ---- Place and size ----

void os_window_move(PlatformWindow *window, Point position) {
    if (window_is_alive(window)) {
        window_place(window, {position.x, position.y, window->window_size.width, window->window_size.height});
    }
}

void os_window_center(PlatformWindow *window, const MonitorInfo *monitor) {
    os_window_move(window, {monitor->work_area.width / 2 - window->window_size.width / 2,
                            monitor->work_area.height / 2 - window->window_size.height / 2});
}

// ---- Monitors ----

void monitor_set_mode(MonitorInfo *monitor, Size mode_resolution, Size size, uint32_t mode_refresh_rate) {
    monitor->resolution = mode_resolution.width == 0 || mode_resolution.height == 0 ? size : mode_resolution;
    // 0 and 1 mean the hardware's default.
    monitor->refresh_rate = mode_refresh_rate < 2 ? 60 : static_cast<int32_t>(mode_refresh_rate);
}

void monitors_put_primary_first(MonitorInfo *monitors, uint32_t count) {
    for (uint32_t i = 1; i < count; i++) {
        if (monitors[i].flags & MONITOR_FLAG_PRIMARY) {
            std::swap(monitors[i], monitors[0]);
        }
    }
}
