#include "support/headless_window.h"

#include <stdlib.h>
#include <string.h>

#include "os/memory.h"
#include "os/strings.h"
#include "os/toolkit/window.h"
#include "os/toolkit/window_backend.h"
#include "os/window.h"
#include "os/window_backend.h"

namespace {

// ---- The off-screen system ----

// The system's own memory comes from the C library's heap, as the program's allocation failures are not the
// system's.

// What the system keeps for a window.
struct Offscreen {
    PlatformWindow *window;
    Offscreen *behind; // the next window towards the back
    uint16_t style;    // the WindowFlag bits that decide about the frame
    Rect outer;        // on the screen; where it is restored to while it is minimised
    bool holds_leave;  // reports when the pointer leaves
    HeadlessView view;
};

enum MessageKind : uint8_t {
    MESSAGE_PAINT,
    MESSAGE_MOVE, // outer's place
    MESSAGE_SIZE, // outer's size
    MESSAGE_FOCUS_GAINED,
    MESSAGE_FOCUS_LOST,
    MESSAGE_CLOSE,
    MESSAGE_KEY,       // code, state
    MESSAGE_CHARACTER, // unit
    MESSAGE_POINTER_MOVED,
    MESSAGE_POINTER_LEFT,
    MESSAGE_PRESSED,  // code
    MESSAGE_RELEASED, // code
    MESSAGE_WHEEL,    // delta
    MESSAGE_DROP,     // client, names
    MESSAGE_TITLE_HELD,
    MESSAGE_TITLE_RELEASED,
};

struct Message {
    MessageKind kind;
    uint8_t state;
    uint16_t code;
    uint32_t unit;
    int32_t delta;
    Offscreen *target;
    Point position; // of the pointer when the message was sent
    Point client;   // the same in the client area
    uint32_t time_ms;
    Rect outer;
    DropList names;
};

struct Headless {
    Offscreen *front;
    Offscreen *focused; // null: another program's window
    Offscreen *captor;  // receives the mouse while a button that was pressed in it is down
    Point pointer;
    Message *messages; // a queue: those from next to count wait
    uint32_t message_next;
    uint32_t message_count;
    uint32_t message_capacity;
    bool keys_down[256];
    uint32_t time_ms = 1'000'000;
    DoublePressLimits double_press = {500, 4, 4};
    uint32_t cursor;
    int32_t cursor_shows; // the cursor shows while this is not negative
    bool raw_mouse;
    bool refuses_window;
    bool has_monitors; // set by the test
    MonitorInfo *monitors;
    uint32_t monitor_count;
};
Headless headless;

Offscreen *offscreen(const PlatformWindow *window) {
    return static_cast<Offscreen *>(window->handle);
}

// ---- Places ----

// The client area's offset in a framed window, and what the frame adds.
constexpr Rect frame = {8, 31, 16, 39};

bool has_frame(uint16_t style) {
    return !(style & (WINDOW_FLAG_BORDERLESS | WINDOW_FLAG_POPUP));
}

Size outer_size(Size client, uint16_t style) {
    return has_frame(style) ? Size{client.width + frame.width, client.height + frame.height} : client;
}

int32_t not_negative(int32_t pixels) {
    return pixels < 0 ? 0 : pixels;
}

WindowGeometry geometry_of(const Offscreen *self) {
    const Rect &outer = self->outer;
    if (self->view.is_minimized) {
        return {{-32000, -32000, 160, 31}, {-32000, -32000, 0, 0}}; // as Windows parks them
    }
    if (!has_frame(self->style)) {
        return {outer, outer};
    }
    return {outer,
            {outer.x + frame.x, outer.y + frame.y, not_negative(outer.width - frame.width),
             not_negative(outer.height - frame.height)}};
}

// The window whose client area is seen at that place, or null.
Offscreen *window_at(Point position) {
    for (Offscreen *self = headless.front; self; self = self->behind) {
        WindowGeometry geometry = geometry_of(self);
        if (self->view.is_visible && is_inside(geometry.outer, position)) {
            return is_inside(geometry.client, position) ? self : nullptr;
        }
    }
    return nullptr;
}

// The system aborts when out of memory.
void *taken(void *block) {
    if (!block) {
        abort();
    }
    return block;
}

// A new size of the client area discards its pixels.
void resize_view(Offscreen *self, Size size) {
    if (size.width == self->view.size.width && size.height == self->view.size.height) {
        return;
    }
    free(self->view.pixels);
    size_t pixels = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    self->view.pixels = static_cast<uint32_t *>(taken(calloc(pixels + 1, 4)));
    self->view.size = size;
}

// Sends the window its geometry, after its position, size or frame has changed.
void tell_geometry(Offscreen *self) {
    WindowGeometry geometry = geometry_of(self);
    PlatformWindow *window = self->window;
    const Rect &client = geometry.client;
    bool has_moved = client.x != window->client_position.x || client.y != window->client_position.y;
    bool has_resized =
        client.width != window->client_size.width || client.height != window->client_size.height;
    resize_view(self, {client.width, client.height});
    window_set_geometry(window, geometry);
    if (has_moved) {
        window_moved(window, geometry, static_cast<uint16_t>(client.x), static_cast<uint16_t>(client.y));
    }
    if (has_resized) {
        window_resized(window, geometry, static_cast<uint16_t>(client.width),
                       static_cast<uint16_t>(client.height));
    }
}

void bring_to_front(Offscreen *self) {
    for (Offscreen **link = &headless.front; *link; link = &(*link)->behind) {
        if (*link == self) {
            *link = self->behind;
            break;
        }
    }
    self->behind = headless.front;
    headless.front = self;
}

// ---- Messages ----

Message *post(MessageKind kind, Offscreen *target) {
    if (headless.message_count == headless.message_capacity) {
        uint32_t capacity = headless.message_capacity ? headless.message_capacity * 2 : 64;
        headless.messages =
            static_cast<Message *>(taken(realloc(headless.messages, capacity * sizeof(Message))));
        headless.message_capacity = capacity;
    }
    Message *message = &headless.messages[headless.message_count++];
    Rect client = geometry_of(target).client;
    *message = {};
    message->kind = kind;
    message->target = target;
    message->position = headless.pointer;
    message->client = {headless.pointer.x - client.x, headless.pointer.y - client.y};
    message->time_ms = headless.time_ms;
    return message;
}

// A closed window's messages are lost, as everywhere.
void forget_messages(const Offscreen *target) {
    uint32_t kept = headless.message_next;
    for (uint32_t i = headless.message_next; i < headless.message_count; i++) {
        if (headless.messages[i].target != target) {
            headless.messages[kept++] = headless.messages[i];
        } else {
            os_free(headless.messages[i].names.bytes);
        }
    }
    headless.message_count = kept;
}

void handle(Message message);

// The loop that runs while the title bar is held.
void run_system_loop(PlatformWindow *window) {
    window_system_loop_begin(window);
    while (headless.message_next < headless.message_count) {
        Message message = headless.messages[headless.message_next++];
        if (message.kind == MESSAGE_TITLE_RELEASED) {
            break;
        }
        handle(message);
        window_frame_due(window);
    }
    window_system_loop_end();
}

// A copy, for the callback may post further messages.
void handle(Message message) {
    Offscreen *self = message.target;
    PlatformWindow *window = self->window;
    switch (message.kind) {
    case MESSAGE_PAINT:
        break;
    case MESSAGE_MOVE:
        window_place(window, {message.outer.x, message.outer.y, self->outer.width, self->outer.height});
        break;
    case MESSAGE_SIZE:
        window_place(window, {self->outer.x, self->outer.y, message.outer.width, message.outer.height});
        break;
    case MESSAGE_FOCUS_GAINED:
        window_focus_gained(window);
        break;
    case MESSAGE_FOCUS_LOST:
        window_focus_lost(window);
        break;
    case MESSAGE_CLOSE:
        window_closed(window);
        break;
    case MESSAGE_KEY:
        window_key(window, message.code, message.state);
        break;
    case MESSAGE_CHARACTER:
        window_character(window, message.unit);
        break;
    case MESSAGE_POINTER_MOVED:
        window_pointer_moved(window, message.position);
        break;
    case MESSAGE_POINTER_LEFT:
        window_pointer_left(window, message.position);
        break;
    case MESSAGE_PRESSED:
        window_button_pressed(window, message.code, message.position, message.client, message.time_ms,
                              headless.double_press);
        break;
    case MESSAGE_RELEASED:
        window_button_released(window, message.code, message.position);
        break;
    case MESSAGE_WHEEL:
        window_wheel_turned(window, message.position, message.delta);
        break;
    case MESSAGE_DROP:
        window_files_dropped(window, message.client, &message.names);
        break;
    case MESSAGE_TITLE_HELD:
        run_system_loop(window);
        break;
    case MESSAGE_TITLE_RELEASED:
        break;
    }
}

// The window that the mouse's messages go to, or null.
Offscreen *mouse_target() {
    return headless.captor ? headless.captor : window_at(headless.pointer);
}

void give_focus(Offscreen *self) {
    if (headless.focused == self) {
        return;
    }
    if (headless.focused) {
        post(MESSAGE_FOCUS_LOST, headless.focused);
    }
    headless.focused = self;
    if (self) {
        post(MESSAGE_FOCUS_GAINED, self);
    }
}

// The pointer has moved, or another window is under it.
void pointer_is_at(Point position) {
    headless.pointer = position;
    Offscreen *target = mouse_target();
    for (Offscreen *self = headless.front; self; self = self->behind) {
        if (self != target && self->holds_leave) {
            self->holds_leave = false;
            post(MESSAGE_POINTER_LEFT, self);
        }
    }
    if (target) {
        target->holds_leave = true;
        post(MESSAGE_POINTER_MOVED, target);
    }
}

} // namespace

// ---- The user ----

void headless_move_pointer(Point position) {
    pointer_is_at(position);
}

void headless_press(uint16_t button) {
    if (Offscreen *target = mouse_target()) {
        give_focus(target);
        headless.captor = target;
        post(MESSAGE_PRESSED, target)->code = button;
    }
}

void headless_release(uint16_t button) {
    if (Offscreen *target = mouse_target()) {
        headless.captor = nullptr;
        post(MESSAGE_RELEASED, target)->code = button;
    }
}

void headless_turn_wheel(int32_t delta) {
    if (Offscreen *target = mouse_target()) {
        post(MESSAGE_WHEEL, target)->delta = delta;
    }
}

namespace {

void post_key(uint16_t code, uint8_t state) {
    headless.keys_down[code & 0xFF] = state != KEY_RELEASED;
    if (headless.focused) {
        Message *message = post(MESSAGE_KEY, headless.focused);
        message->code = code;
        message->state = state;
    }
}

} // namespace

void headless_press_key(uint16_t code) {
    post_key(code, headless.keys_down[code & 0xFF] ? KEY_REPEATED : KEY_PRESSED);
}

void headless_release_key(uint16_t code) {
    post_key(code, KEY_RELEASED);
}

void headless_type(uint32_t unit) {
    if (headless.focused) {
        post(MESSAGE_CHARACTER, headless.focused)->unit = unit;
    }
}

void headless_drag_to(PlatformWindow *window, Point position) {
    post(MESSAGE_MOVE, offscreen(window))->outer = {position.x, position.y, 0, 0};
}

void headless_drag_size(PlatformWindow *window, Size client_size) {
    Offscreen *self = offscreen(window);
    Size size = outer_size(client_size, self->style);
    post(MESSAGE_SIZE, self)->outer = {0, 0, size.width, size.height};
}

void headless_close(PlatformWindow *window) {
    post(MESSAGE_CLOSE, offscreen(window));
}

void headless_focus(PlatformWindow *window) {
    give_focus(window ? offscreen(window) : nullptr);
}

void headless_hold_title(PlatformWindow *window) {
    post(MESSAGE_TITLE_HELD, offscreen(window));
}

void headless_release_title(PlatformWindow *window) {
    post(MESSAGE_TITLE_RELEASED, offscreen(window));
}

void headless_drop(PlatformWindow *window, Point client, const Str *names, int32_t count) {
    uint64_t bytes = 0;
    for (int32_t i = 0; i < count; i++) {
        bytes += names[i].count; // no text has more UTF-16 units than bytes
    }
    DropList list;
    if (!drop_list_init(&list, bytes)) {
        return;
    }
    for (int32_t i = 0; i < count; i++) {
        memcpy(drop_list_room(&list), names[i].data, names[i].count);
        drop_list_add(&list, names[i].count);
    }
    Message *message = post(MESSAGE_DROP, offscreen(window));
    message->client = client;
    message->names = list;
}

// ---- The system ----

void headless_ask_redraw(PlatformWindow *window) {
    post(MESSAGE_PAINT, offscreen(window));
}

void headless_set_time(uint32_t ms) {
    headless.time_ms = ms;
}

void headless_set_double_press(uint32_t ms, Size size) {
    headless.double_press = {ms, size.width, size.height};
}

void headless_set_monitors(const HeadlessMonitor *monitors, uint32_t count) {
    free(headless.monitors);
    headless.monitors = static_cast<MonitorInfo *>(taken(calloc(count + 1, sizeof(MonitorInfo))));
    headless.monitor_count = count;
    headless.has_monitors = true;
    for (uint32_t i = 0; i < count; i++) {
        const HeadlessMonitor &from = monitors[i];
        MonitorInfo *monitor = &headless.monitors[i];
        monitor->flags = from.is_primary ? MONITOR_FLAG_PRIMARY : 0;
        monitor->work_area = from.work_area;
        monitor->origin = {from.whole.x, from.whole.y};
        monitor_set_mode(monitor, from.mode_resolution, {from.whole.width, from.whole.height},
                         from.mode_refresh_rate);
        monitor->name = str_from(from.name);
        monitor->handle = monitor;
    }
    monitors_put_primary_first(headless.monitors, headless.monitor_count);
}

void headless_refuse_next_window() {
    headless.refuses_window = true;
}

// ---- What is shown ----

const HeadlessView *headless_view(const PlatformWindow *window) {
    return &offscreen(window)->view;
}

uint32_t headless_cursor() {
    return headless.cursor;
}

bool headless_cursor_is_visible() {
    return headless.cursor_shows >= 0;
}

bool headless_raw_mouse_is_registered() {
    return headless.raw_mouse;
}

// ---- Creation ----

PlatformWindow *os_window_create(int32_t width, int32_t height, Str title, uint16_t flags) {
    if (headless.refuses_window) {
        headless.refuses_window = false;
        return nullptr;
    }
    PlatformWindow *window = static_cast<PlatformWindow *>(os_alloc_zero(sizeof(PlatformWindow)));
    char *raw_title = window_raw_title(title);
    if (!window || !raw_title || !window_list_add(window)) {
        os_free(window);
        os_free(raw_title);
        return nullptr;
    }
    Offscreen *self = static_cast<Offscreen *>(taken(calloc(1, sizeof(Offscreen))));
    self->window = window;
    self->style = flags;
    self->view.title = reinterpret_cast<uint16_t *>(raw_title);
    while (self->view.title[self->view.title_count]) {
        self->view.title_count++;
    }
    Size size = outer_size({width, height}, flags);
    self->outer =
        flags & WINDOW_FLAG_BORDERLESS ? Rect{0, 0, 100, 100} : Rect{26, 26, size.width, size.height};
    bring_to_front(self);

    window->handle = self;
    window->device_context = self;
    window->flags = flags | WINDOW_FLAG_ALIVE | WINDOW_FLAG_FOCUS;
    window_set_geometry(window, geometry_of(self));
    resize_view(self, window->client_size);
    if (flags & WINDOW_FLAG_FRAMEBUFFER) {
        framebuffer_resize(&window->framebuffer, window->client_size);
    }
    if (!(flags & WINDOW_FLAG_HIDDEN)) { // events during the creation reach no callback
        self->view.is_visible = true;
        headless.focused = self;
        headless_ask_redraw(window);
    }
    return window;
}

void window_destroy_native(PlatformWindow *window) {
    Offscreen *self = offscreen(window);
    bring_to_front(self);
    headless.front = self->behind;
    if (headless.captor == self) {
        headless.captor = nullptr;
    }
    if (headless.focused == self) {
        headless.focused = nullptr;
        window_focus_lost(window);
    }
    forget_messages(self);
    free(self->view.pixels);
    os_free(self->view.title);
    free(self);
    window->handle = nullptr;
}

// ---- Messages ----

uint32_t os_pump_messages() {
    uint32_t count = 0;
    while (headless.message_next < headless.message_count) {
        handle(headless.messages[headless.message_next++]);
        count++;
    }
    headless.message_next = headless.message_count = 0;
    return count;
}

uint32_t *framebuffer_block_alloc(uint64_t size) {
    return static_cast<uint32_t *>(os_alloc_zero(size));
}

void framebuffer_block_free(uint32_t *pixels) {
    os_free(pixels);
}

// Where the sizes differ, the nearest pixel is used.
void window_present(const PlatformWindow *window, Rect to, Rect from) {
    HeadlessView *view = &offscreen(window)->view;
    view->presented++;
    for (int32_t y = 0; y < to.height; y++) {
        for (int32_t x = 0; x < to.width; x++) {
            Point at = {to.x + x, to.y + y};
            if (is_inside({0, 0, view->size.width, view->size.height}, at)) {
                int64_t from_x = from.x + int64_t{x} * from.width / to.width;
                int64_t from_y = from.y + int64_t{y} * from.height / to.height;
                view->pixels[int64_t{at.y} * view->size.width + at.x] =
                    window->framebuffer.pixels[from_y * window->framebuffer.width + from_x];
            }
        }
    }
}

// ---- Place, size and frame ----

Size window_outer_size(const PlatformWindow *window, Size client_size) {
    return outer_size(client_size, offscreen(window)->style);
}

void window_place(PlatformWindow *window, Rect outer) {
    Offscreen *self = offscreen(window);
    if (!self->view.is_minimized) { // a minimised one is restored as it was
        self->outer = outer;
        tell_geometry(self);
    }
}

void os_window_show(PlatformWindow *window, bool visible) {
    if (!window_is_alive(window)) {
        return;
    }
    Offscreen *self = offscreen(window);
    if (visible && !self->view.is_visible) {
        self->view.is_visible = true;
        bring_to_front(self);
        Offscreen *previous = headless.focused;
        headless.focused = self;
        if (previous) {
            window_focus_lost(previous->window);
        }
        window_focus_gained(window);
        WindowGeometry geometry = geometry_of(self);
        const Rect &client = geometry.client;
        window_resized(window, geometry, static_cast<uint16_t>(client.width),
                       static_cast<uint16_t>(client.height));
        window_moved(window, geometry, static_cast<uint16_t>(client.x), static_cast<uint16_t>(client.y));
        headless_ask_redraw(window);
    } else if (!visible && self->view.is_visible) {
        self->view.is_visible = false;
        if (headless.focused == self) {
            headless.focused = nullptr;
            window_focus_lost(window);
        }
    }
}

namespace {

void set_minimized(PlatformWindow *window, bool is_minimized) {
    if (window_is_alive(window)) {
        Offscreen *self = offscreen(window);
        self->view.is_minimized = is_minimized;
        tell_geometry(self);
        if (!is_minimized) {
            headless_ask_redraw(window);
        }
    }
}

} // namespace

void os_window_minimize(PlatformWindow *window) {
    set_minimized(window, true);
}

void os_window_restore(PlatformWindow *window) {
    set_minimized(window, false);
}

void os_window_focus(PlatformWindow *window) {
    if (window_is_alive(window)) {
        bring_to_front(offscreen(window));
        give_focus(offscreen(window));
        window->flags |= WINDOW_FLAG_FOCUS;
    }
}

// There is no taskbar to flash in.
void os_window_flash(PlatformWindow *) {}

void os_window_toggle_frame(PlatformWindow *window) {
    if (window_is_alive(window)) {
        Offscreen *self = offscreen(window);
        window->flags ^= WINDOW_FLAG_POPUP;
        self->style = window->flags;
        tell_geometry(self);
    }
}

void os_window_toggle_topmost(PlatformWindow *window) {
    if (window_is_alive(window)) {
        window->flags ^= WINDOW_FLAG_TOPMOST;
    }
}

// ---- Mouse ----

void os_set_cursor(uint32_t index) {
    if (index < CURSOR_TABLE_SIZE) {
        headless.cursor = index;
    }
}

void os_show_system_cursor(bool visible) {
    headless.cursor_shows = visible ? 0 : -1;
}

bool raw_mouse_register(PlatformWindow *) {
    headless.raw_mouse = true;
    return true;
}

void raw_mouse_unregister() {
    headless.raw_mouse = false;
}

// ---- Monitors ----

const MonitorInfo *os_get_monitors(uint32_t *count) {
    if (!headless.has_monitors) {
        Rect whole = {0, 0, 1280, 1024};
        HeadlessMonitor monitor = {1, whole, whole, {1280, 1024}, 60, "off-screen"};
        headless_set_monitors(&monitor, 1);
    }
    *count = headless.monitor_count;
    return headless.monitor_count ? headless.monitors : nullptr;
}
