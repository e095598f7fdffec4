#include "app/frame.h"

#include <algorithm>

#include "app/input.h"
#include "app/results_view.h"
#include "app/scratch.h"
#include "app/scrolling.h"
#include "app/settings.h"
#include "app/status_line.h"
#include "os/clock.h"
#include "render/draw.h"
#include "search/search_state.h"
#include "ui/field_widget.h"
#include "ui/input_state.h"
#include "ui/layout.h"
#include "ui/theme.h"

FrameClock frame_clock;
void (*frame_sleep_us)(int64_t us) = os_sleep_us;

// ---- Drawing ----

namespace {

// In pixels: more than any window has, and small enough for sums to fit 32 bits.
constexpr int32_t far_below = 1 << 24;

void draw_fields_and_list(Framebuffer *framebuffer, Layout *layout) {
    fill_rect(framebuffer, whole_of(framebuffer), whole_of(framebuffer), theme::background);
    field_widget(framebuffer, str_from("Path: "), &path_field, layout);
    if (!layout->stop) {
        field_widget(framebuffer, str_from("Src: "), &query_field, layout);
    }
    if (layout->stop) {
        scrolling.is_dragging = false; // the scroll bar is covered
        return;
    }
    int32_t list_top = layout->y;
    if (search_state.search_busy) { // intentionally asks for no redraw of its own
        Rect list = {0, list_top, framebuffer->width, framebuffer->height - list_top};
        fill_outline(framebuffer, whole_of(framebuffer), list, theme::busy_frame_thickness,
                     theme::busy_frame);
    }
    folders_view(framebuffer, layout);
    if (settings.list_keys) {
        scroll_bar_mouse(framebuffer, list_top, layout);
    }
    int32_t first_visible_hit = search_state.results_scroll; // read once: the worker may set it to 0
    results_view(framebuffer, first_visible_hit, layout);
    draw_scroll_bar(framebuffer, list_top, first_visible_hit);
}

} // namespace

void frame_draw(Framebuffer *framebuffer, Point mouse) {
    int32_t line_height = std::clamp(settings.line_height, -far_below, far_below);
    Layout layout = {};
    layout.x = theme::first_row_x;
    layout.y = theme::first_row_y;
    layout.width = framebuffer->width;
    layout.row_advance = line_height + theme::field_padding;
    layout.mouse = mouse;
    layout.text_y_offset = std::clamp(settings.text_y_offset, -far_below, far_below);
    layout.font_size = settings.font_size;
    layout.line_height = line_height;
    if (!settings.status_line) {
        draw_fields_and_list(framebuffer, &layout);
        return;
    }
    status_line_begin_frame();
    // For everything else the framebuffer ends above the status line, and a pointer there is below every row.
    Framebuffer above = *framebuffer;
    above.height = list_bottom(framebuffer->height);
    if (mouse.y >= above.height) {
        layout.mouse.y += layout.row_advance;
    }
    draw_fields_and_list(&above, &layout);
    draw_status_line(framebuffer, above.height, layout);
}

// ---- The loop ----

int64_t frame_time_us(int32_t refresh_rate) {
    constexpr int32_t lowest_refresh_rate = 30;
    return 1000000 / std::max(refresh_rate, lowest_refresh_rate);
}

void frame_clock_start(int32_t refresh_rate) {
    frame_clock = {};
    frame_clock.target_us = frame_time_us(refresh_rate);
    frame_clock.origin_ticks = os_ticks();
    frame_clock.frame_start_ticks = frame_clock.origin_ticks;
}

namespace {

void begin_frame_time() {
    int64_t now = os_ticks();
    int64_t us = os_ticks_to_us(now - frame_clock.frame_start_ticks);
    frame_clock.frame_start_ticks = now;
    frame_clock.last_us = static_cast<int32_t>(us);
    frame_clock.last_ms = us / 1000;
    frame_clock.total_us += us;
    frame_clock.total_ms = frame_clock.total_us / 1000;
    frame_clock.last_fraction = static_cast<double>(us) / static_cast<double>(frame_clock.target_us);
}

int64_t time_left_us() {
    return frame_clock.target_us - os_ticks_to_us(os_ticks() - frame_clock.frame_start_ticks);
}

// The pointer in the window's client area, according to the events.
Point mouse_in(const PlatformWindow *window) {
    Point position = ui_pointer_position();
    return {position.x - window->client_position.x, position.y - window->client_position.y};
}

// Edges included.
bool is_in_client_area(const PlatformWindow *window, Point mouse) {
    return (window->input_flags & WINDOW_INPUT_POINTER_INSIDE) && mouse.x >= 0 &&
           mouse.x <= window->client_size.width && mouse.y >= 0 && mouse.y <= window->client_size.height;
}

// Returns whether an event waited for this frame.
bool begin_frame() {
    begin_frame_time();
    scratch_empty();
    // No pointer of the worker's is held here, so a pass counts, and retired blocks can be freed.
    search_state.interface_pass = search_state.interface_pass + 1;
    release_retired(&search_state.retired_text);
    return input_begin_frame() > 0;
}

void end_frame(PlatformWindow *window, bool has_input) {
    if (has_input || search_state.results_dirty || status_line_is_outdated()) {
        search_state.results_dirty = 0;
        frame_draw(&window->framebuffer, mouse_in(window));
        os_window_blit(window);
        frame_clock.drawn_count++;
    }
}

bool is_pumping; // frame_turn is in its pump

} // namespace

bool frame_turn(PlatformWindow *window) {
    bool has_waiting = begin_frame();
    is_pumping = true;
    bool has_messages = os_pump_messages() > 0;
    is_pumping = false;
    if (!(window->flags & WINDOW_FLAG_ALIVE)) {
        return false;
    }
    if (is_in_client_area(window, mouse_in(window))) { // over its frame the system sets the cursor
        os_set_cursor(CURSOR_ARROW);
    }
    end_frame(window, has_waiting || has_messages);
    // Less than a millisecond is not slept: it would round down to 0, which only yields, and hundreds of
    // these per frame would make an idle window busy. More than a frame is left only when the machine slept
    // for days and the microseconds have overflowed.
    int64_t left = time_left_us();
    while (left >= 1000 && left <= frame_clock.target_us) {
        frame_sleep_us(left);
        left = time_left_us();
    }
    return true;
}

void frame_in_system_loop(PlatformWindow *window) {
    if (!is_pumping) {
        return; // called for an event held over from the last frame, outside the pump
    }
    // Each drawing is a frame of its own, so that a press is acted on once.
    is_pumping = false;
    end_frame(window, true);
    begin_frame();
    is_pumping = true;
}
