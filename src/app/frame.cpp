#include "app/frame.h"

#include <algorithm>

#include "app/input.h"
#include "app/results_view.h"
#include "app/scratch.h"
#include "app/scrolling.h"
#include "app/settings.h"
#include "os/threads.h"
#include "render/draw.h"
#include "render/text.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/field_widget.h"
#include "ui/ui_state.h"

FrameClock frame_clock;

// ---- Drawing ----

namespace {

constexpr uint32_t busy_colour = 0xFFFFFF00;
constexpr uint32_t matching_folder_colour = 0xFF00FFFF;
constexpr uint32_t other_folder_colour = 0xFF7F7F7F;

// More pixels than a window has, and few enough for sums of them.
constexpr int32_t far_below = 1 << 24;

// Draws the names of a table of folders, a row each, from the cursor on to the framebuffer's lower edge, and
// moves the cursor below them.
void draw_folder_rows(Framebuffer *framebuffer, const DynArray *folders, uint32_t colour,
                      LayoutCursor *cursor) {
    for (uint64_t i = 0; i < folders->count && cursor->y < framebuffer->height; i++) {
        Str name;
        if (results_folder_at(folders, i, scratch_room(), &name)) {
            draw_row_text(framebuffer, cursor, 10, colour, name);
        }
        cursor->y += cursor->line_height;
    }
}

} // namespace

void frame_draw(Framebuffer *framebuffer, Point mouse) {
    fill_rect(framebuffer, whole_of(framebuffer), whole_of(framebuffer), frame_colour);
    int32_t line_height = std::clamp(settings.line_height, -far_below, far_below);
    LayoutCursor cursor = {};
    cursor.x = 6;
    cursor.y = 4;
    cursor.width = framebuffer->width;
    cursor.row_advance = line_height + 8;
    cursor.mouse = mouse;
    cursor.text_y_offset = std::clamp(settings.text_y_offset, -far_below, far_below);
    cursor.font_size = settings.font_size;
    cursor.line_height = line_height;
    field_widget(framebuffer, str_from("Path: "), &path_field, &cursor);
    if (!cursor.stop) {
        field_widget(framebuffer, str_from("Src: "), &query_field, &cursor);
    }
    if (cursor.stop) {
        return;
    }
    int32_t list_top = cursor.y;
    if (search_state.search_busy) { // comes and goes with a redraw only, and that is meant
        fill_outline(framebuffer, whole_of(framebuffer),
                     {0, list_top, framebuffer->width, framebuffer->height - list_top}, 2, busy_colour);
    }
    draw_folder_rows(framebuffer, &results_store.matching_folders, matching_folder_colour, &cursor);
    draw_folder_rows(framebuffer, &results_store.other_folders, other_folder_colour, &cursor);
    int32_t first_visible_hit = search_state.results_scroll; // once: the worker may set it to 0 meanwhile
    results_view(framebuffer, first_visible_hit, &cursor);
    draw_scroll_bar(framebuffer, list_top, first_visible_hit);
}

// ---- The loop ----

int64_t frame_time_us(int32_t refresh_rate) {
    return 1000000 / std::max(refresh_rate, 30);
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

// Where the pointer is in the window's client area, as the events told.
Point mouse_in(const PlatformWindow *window) {
    Point position = ui_pointer_position();
    return {position.x - window->client_position.x, position.y - window->client_position.y};
}

// Whether the cursor is ours: over the window's frame the system's own stay. The edges count as inside.
uint8_t is_in_client_area(const PlatformWindow *window, Point mouse) {
    return (window->input_flags & WINDOW_INPUT_POINTER_INSIDE) && mouse.x >= 0 &&
           mouse.x <= window->client_size.width && mouse.y >= 0 && mouse.y <= window->client_size.height;
}

// Returns whether an event waited for this frame.
uint8_t begin_frame() {
    begin_frame_time();
    scratch_empty();
    // Nothing of the worker's is held here: blocks it retired may go, and those retired for it.
    search_state.interface_pass = search_state.interface_pass + 1;
    release_retired(&search_state.retired_text);
    return input_begin_frame() > 0;
}

void end_frame(PlatformWindow *window, uint8_t has_input) {
    if (has_input || search_state.results_dirty) {
        search_state.results_dirty = 0;
        frame_draw(&window->framebuffer, mouse_in(window));
        os_window_blit(window);
        frame_clock.drawn_count++;
    }
}

uint8_t is_pumping; // a frame has begun and has not ended

} // namespace

uint8_t frame_turn(PlatformWindow *window) {
    uint8_t has_input = begin_frame();
    is_pumping = 1;
    if (os_pump_messages() > 0) {
        has_input = 1;
    }
    is_pumping = 0;
    if (!(window->flags & WINDOW_FLAG_ALIVE)) {
        return 0;
    }
    if (is_in_client_area(window, mouse_in(window))) {
        os_set_cursor(CURSOR_ARROW);
    }
    end_frame(window, has_input);
    // Less than a millisecond is not waited for: a sleep of none only gives way, and hundreds of them a frame
    // would cost an idle window more than all its sleeping.
    // More than a frame is left when the ticks of a machine that slept for days have overflowed.
    int64_t left = time_left_us();
    while (left >= 1000 && left <= frame_clock.target_us) {
        os_sleep_us(left);
        left = time_left_us();
    }
    return 1;
}

void frame_in_system_loop(PlatformWindow *window) {
    if (!is_pumping) {
        return; // an event that waited has made the system run its loop
    }
    // Ends the frame that the pump is in and begins the next one, so that a press is acted on once.
    is_pumping = 0;
    end_frame(window, 1);
    begin_frame();
    is_pumping = 1;
}
