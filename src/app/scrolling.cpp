#include "app/scrolling.h"

#include <algorithm>

#include "app/settings.h"
#include "render/draw.h"
#include "search/search_state.h"
#include "ui/input_state.h"
#include "ui/theme.h"

Scrolling scrolling;

int32_t list_bottom(int32_t client_height) {
    if (!settings.status_line) {
        return client_height;
    }
    int64_t fields = theme::first_row_y + 2 * (int64_t{settings.line_height} + theme::field_padding);
    int64_t row = int64_t{settings.line_height} + theme::status_padding;
    return static_cast<int32_t>(std::max(client_height - row, std::min<int64_t>(fields, client_height)));
}

void results_scroll_to(int64_t row) {
    search_state.results_scroll = static_cast<int32_t>(std::clamp<int64_t>(row, 0, INT32_MAX));
}

void results_scroll_by(int32_t direction, int32_t client_height) {
    int32_t step =
        static_cast<int32_t>(list_bottom(client_height) * theme::wheel_step / settings.line_height);
    results_scroll_to(search_state.results_scroll - int64_t{direction} * std::max(step, 1));
}

// ---- Pages ----

int64_t results_row_count() {
    return static_cast<int64_t>(table_rows(&results_store.hit_table).count);
}

bool results_row_is(int64_t row, ResultKind kind) {
    HitRow at = results_hit_at(static_cast<uint64_t>(row), {});
    return at.copy != ROW_GONE && at.hit.kind == kind;
}

namespace {

// 0 or below when not even one row fits.
int64_t fitting_rows() {
    return (scrolling.rows_bottom - scrolling.rows_top) / settings.line_height;
}

// The first row when that row is the last one that is fully visible.
int64_t first_ending_at(int64_t row) {
    int64_t first = std::max(row - fitting_rows() + 1, int64_t{0});
    first += results_row_is(first, RESULT_HIT);
    return std::max(std::min(first, row), int64_t{0});
}

} // namespace

int64_t last_visible_row(int64_t first) {
    bool is_named_again = results_row_is(first, RESULT_HIT); // its file's name takes a row
    return std::max(first + fitting_rows() - 1 - is_named_again, first);
}

int64_t last_first_row() {
    return first_ending_at(results_row_count() - 1);
}

int64_t page_from(int64_t first, int32_t direction) {
    if (direction > 0) {
        int64_t next = std::max(last_visible_row(first), first + 1);
        return std::max(first, std::min(next, last_first_row()));
    }
    first = std::min(first, results_row_count() - 1);
    return std::max(std::min(first_ending_at(first), first - 1), int64_t{0});
}

void show_row(int64_t row) {
    int64_t first = search_state.results_scroll;
    if (row < first) {
        // From the file's header row it looks the same, but the list's start is reached.
        results_scroll_to(row - results_row_is(row - 1, RESULT_FILE_HEADER));
    } else if (row > last_visible_row(first)) {
        results_scroll_to(first_ending_at(row));
    }
}

// ---- The scroll bar ----

namespace {

// In pixels from the top of the list area.
struct ScrollThumb {
    int32_t offset;
    int32_t length; // 0: there is no scroll bar
};

// How far the thumb is below the top of the list with list_keys, in pixels: between 0 and travel. It is at
// the bottom when the last hit is at the bottom of the list, and when the list is scrolled further.
int32_t thumb_offset(int32_t travel, int32_t first_visible_hit) {
    int64_t last = last_first_row();
    int64_t first = std::min<int64_t>(first_visible_hit, last);
    return last > 0 ? static_cast<int32_t>((first * travel + last / 2) / last) : 0;
}

// area: the list area's height.
ScrollThumb scroll_thumb(int32_t area, int32_t first_visible_hit) {
    int64_t hits = static_cast<int64_t>(results_store.hit_table.count);
    int64_t content = hits * settings.line_height;
    if (area <= 0 || area > content) {
        return {};
    }
    int32_t shortest = std::min(area, theme::shortest_thumb);
    int32_t length = std::max(static_cast<int32_t>(int64_t{area} * area / content), shortest);
    if (settings.list_keys) {
        return {thumb_offset(area - length, first_visible_hit), length};
    }
    int64_t share_above = int64_t{area} * first_visible_hit / hits;
    int32_t offset = static_cast<int32_t>(std::min<int64_t>(share_above, area - shortest));
    return {offset, std::min(length, area - offset)};
}

} // namespace

void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit) {
    int32_t area = framebuffer->height - list_top;
    auto [offset, length] = scroll_thumb(area, first_visible_hit);
    if (length == 0) {
        return;
    }
    constexpr int32_t width = theme::scroll_bar_width, border = theme::scroll_border_width;
    constexpr int32_t outline = theme::thumb_outline_thickness, grip = theme::grip_size;
    int32_t x = framebuffer->width - width;
    ClipSize clip = whole_of(framebuffer);
    fill_rect(framebuffer, clip, {x - border, list_top, border, area}, theme::scroll_border);
    fill_rect(framebuffer, clip, {x, list_top, width, area}, theme::scroll_track);
    Rect thumb = {x, list_top + offset, width, length};
    fill_rect(framebuffer, clip, thumb, theme::thumb);
    fill_outline(framebuffer, clip, thumb, outline, theme::thumb_outline);
    for (int32_t from_middle : theme::grip_ys) {
        int32_t y = length / 2 + from_middle;
        if (y >= outline && y + grip <= length - outline) { // a short thumb has no room for all
            fill_rect(framebuffer, clip, {framebuffer->width - theme::grip_x, thumb.y + y, grip, grip},
                      theme::grip);
        }
    }
}

namespace {

// y: of the press, from the list's top.
void press_bar(const ScrollThumb &thumb, int32_t y) {
    if (y < thumb.offset || y >= thumb.offset + thumb.length) {
        results_scroll_to(page_from(search_state.results_scroll, y < thumb.offset ? -1 : 1));
        return;
    }
    int32_t screen_y = input_state.slots[MOUSE_LEFT].press_position.y;
    scrolling.is_dragging = true;
    scrolling.drag_top_y = screen_y - thumb.offset;
    scrolling.drag_y = screen_y;
}

// Scrolls only when the pointer has moved: rows that are added do not move those under a thumb that is held.
// travel: how far the thumb can move.
void drag_bar(int32_t travel) {
    bool is_held = ui_is_down(MOUSE_LEFT);
    int32_t y = is_held ? ui_pointer_position().y : input_state.slots[MOUSE_LEFT].release_position.y;
    if (y != scrolling.drag_y && travel > 0) {
        scrolling.drag_y = y;
        int64_t offset = std::clamp<int64_t>(int64_t{y} - scrolling.drag_top_y, 0, travel);
        results_scroll_to((offset * last_first_row() + travel / 2) / travel);
    }
    scrolling.is_dragging = is_held;
}

} // namespace

void scroll_bar_mouse(const Framebuffer *framebuffer, int32_t list_top, Layout *layout) {
    scrolling.rows_top = layout->y;
    scrolling.rows_bottom = framebuffer->height;
    int32_t area = framebuffer->height - list_top;
    ScrollThumb thumb = scroll_thumb(area, search_state.results_scroll);
    constexpr int32_t width = theme::scroll_bar_width + theme::scroll_border_width;
    Rect bar = {framebuffer->width - width, list_top, width, thumb.length > 0 ? area : 0};
    bool is_on_bar = is_inside(bar, layout->mouse);
    if (ui_went_down(MOUSE_LEFT)) {
        scrolling.is_dragging = false;
        if (is_on_bar) {
            press_bar(thumb, layout->mouse.y - list_top);
        }
    } else if (scrolling.is_dragging) {
        drag_bar(thumb.length > 0 ? area - thumb.length : 0);
    }
    if (is_on_bar || scrolling.is_dragging) {
        layout->mouse = {INT32_MIN, INT32_MIN};
    }
}
