#include "app/list_keys.h"

#include <algorithm>

#include "actions/command_template.h"
#include "app/results_view.h"
#include "app/scratch.h"
#include "app/scrolling.h"
#include "app/settings.h"
#include "os/clipboard.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/field_widget.h"
#include "ui/theme.h"

ListKeys list_keys;

// ---- Rows ----

namespace {

int64_t row_count() {
    return static_cast<int64_t>(table_rows(&results_store.hit_table).count);
}

bool row_is(int64_t row, ResultKind kind) {
    HitRow at = results_hit_at(static_cast<uint64_t>(row), {});
    return at.copy != ROW_GONE && at.hit.kind == kind;
}

// The first hit from the row on in that direction, 1 or -1, or else the first one in the other. -1 when there
// is none.
int64_t hit_from(int64_t row, int32_t direction) {
    int64_t start = std::min(std::max(row, int64_t{0}), row_count() - 1);
    for (int32_t step : {direction, -direction}) {
        for (int64_t i = start; i >= 0 && i < row_count(); i += step) {
            if (row_is(i, RESULT_HIT)) {
                return i;
            }
        }
    }
    return -1;
}

} // namespace

// ---- Scrolling ----

namespace {

// 0 or below when not even one row fits.
int64_t fitting_rows() {
    return (list_keys.rows_bottom - list_keys.rows_top) / settings.line_height;
}

// The last row that is wholly visible when the list begins with that row.
int64_t last_visible(int64_t first) {
    bool is_named_again = row_is(first, RESULT_HIT); // its file's name takes a row
    return std::max(first + fitting_rows() - 1 - is_named_again, first);
}

// The first row when that row is the last one that is wholly visible.
int64_t first_ending_at(int64_t row) {
    int64_t first = std::max(row - fitting_rows() + 1, int64_t{0});
    first += row_is(first, RESULT_HIT);
    return std::max(std::min(first, row), int64_t{0});
}

// The first row when the last hit is at the bottom of the list.
int64_t last_first() {
    return first_ending_at(row_count() - 1);
}

// Scrolls as little as makes the row wholly visible.
void show_row(int64_t row) {
    int64_t first = search_state.results_scroll;
    if (row < first) {
        // From the file's header row it looks the same, but the list's start is reached.
        results_scroll_to(row - row_is(row - 1, RESULT_FILE_HEADER));
    } else if (row > last_visible(first)) {
        results_scroll_to(first_ending_at(row));
    }
}

// The first row a page further in that direction, 1 or -1: the last row that was wholly visible becomes the
// first one, or the other way round. Stops at the ends; a list scrolled past its end stays there.
int64_t page_from(int64_t first, int32_t direction) {
    if (direction > 0) {
        int64_t next = std::max(last_visible(first), first + 1);
        return std::max(first, std::min(next, last_first()));
    }
    first = std::min(first, row_count() - 1);
    return std::max(std::min(first_ending_at(first), first - 1), int64_t{0});
}

} // namespace

// ---- The selection ----

namespace {

// -1: there is none.
int64_t selected_row() {
    bool is_current = list_keys.has_selection && list_keys.selected_search == current_search();
    return is_current ? list_keys.selected_row : -1;
}

// Selects and shows the first hit from the row on in that direction, or else the last one before it.
void select_from(int64_t row, int32_t direction) {
    int64_t hit = hit_from(row, direction);
    if (hit >= 0) {
        list_keys_select(static_cast<uint64_t>(hit));
        show_row(hit);
    }
}

} // namespace

void list_keys_select(uint64_t row) {
    list_keys.has_selection = true;
    list_keys.selected_search = list_keys.search;
    list_keys.selected_row = static_cast<int64_t>(row);
}

bool list_keys_is_selected(uint64_t row) {
    return selected_row() == static_cast<int64_t>(row);
}

// ---- Keys ----

namespace {

// Without a selection Down begins with the first visible hit and Up with the last one.
void select_next(int32_t direction) {
    int64_t selected = selected_row();
    int64_t first = search_state.results_scroll;
    int64_t edge = direction > 0 ? first : last_visible(first);
    select_from(selected >= 0 ? selected + direction : edge, direction);
}

void go_to_end(int32_t direction) {
    results_scroll_to(direction > 0 ? last_first() : 0);
    if (selected_row() >= 0) {
        select_from(direction > 0 ? row_count() - 1 : 0, direction);
    }
}

// The selection keeps its place in the window. Where the list cannot scroll it goes to the end instead.
void go_page(int32_t direction) {
    int64_t first = search_state.results_scroll;
    int64_t next = page_from(first, direction);
    if (next == first) {
        if (selected_row() >= 0) {
            select_from(direction > 0 ? row_count() - 1 : 0, direction);
        }
        return;
    }
    results_scroll_to(next);
    if (selected_row() >= 0) {
        select_from(std::clamp(selected_row() + next - first, next, last_visible(next)), direction);
    }
}

// Copies the selected hit, its texts into the scratch arena's free part. ROW_GONE when there is none.
HitRow selected_hit() {
    int64_t selected = selected_row();
    if (selected < 0) {
        return {};
    }
    HitRow row = results_hit_at(static_cast<uint64_t>(selected), scratch_room());
    return selected_row() == selected ? row : HitRow{}; // else it may be the next search's
}

bool run_selected(Str command) {
    HitRow row = selected_hit();
    if (row.copy == ROW_GONE) {
        return false;
    }
    results_run_command(command, row);
    return true;
}

// Puts "folder/name:line: text" on the clipboard, with the line number that the list shows. Out of memory the
// clipboard stays as it is.
bool copy_selected() {
    HitRow row = selected_hit();
    if (row.copy == ROW_GONE) {
        return false;
    }
    char digits[11];
    Str line = str_from_number(static_cast<int32_t>(row.hit.line), digits);
    bool is_whole = row_text_set(row.file.folder);
    for (Str part : {str_from("/"), row.file.name, str_from(":"), line, str_from(": "), row.hit.text}) {
        is_whole = is_whole && strbuf_try_append(&row_text, part);
    }
    // Texts that did not fit the scratch arena were read in place: whole only if the search is still the
    // same.
    if (is_whole && selected_row() >= 0) {
        os_clipboard_set_text(strbuf_text(&row_text));
    }
    return true;
}

} // namespace

bool list_keys_handle(const KeyPayload &key) {
    bool is_fresh = key.state == KEY_PRESSED;
    if ((!is_fresh && key.state != KEY_REPEATED) || ui_is_down(KEY_ALT) || dropdown_is_shown(&path_field) ||
        dropdown_is_shown(&query_field)) {
        return false;
    }
    list_keys.search = current_search();
    bool ctrl = ui_is_down(KEY_CTRL);
    if (ui_is_down(KEY_SHIFT)) {
        return ctrl && key.code == KEY_C && copy_selected();
    }
    int32_t direction = key.code == KEY_DOWN || key.code == KEY_PAGE_DOWN ? 1 : -1;
    switch (key.code) {
    case KEY_UP:
    case KEY_DOWN:
        if (ctrl) {
            return false;
        }
        select_next(direction);
        return true;
    case KEY_PAGE_UP:
    case KEY_PAGE_DOWN:
        if (ctrl) {
            go_to_end(direction);
        } else {
            go_page(direction);
        }
        return true;
    case KEY_ENTER:
        return is_fresh && input_field.focused_field == &query_field &&
               run_selected(ctrl ? settings.right_click_cmd : settings.left_click_cmd);
    default:
        return false;
    }
}

// ---- The mouse on the scroll bar ----

namespace {

// y: of the press, from the list's top.
void press_bar(const ScrollThumb &thumb, int32_t y) {
    if (y < thumb.offset || y >= thumb.offset + thumb.length) {
        results_scroll_to(page_from(search_state.results_scroll, y < thumb.offset ? -1 : 1));
        return;
    }
    int32_t screen_y = ui_state.slots[MOUSE_LEFT].press_position.y;
    list_keys.is_dragging = true;
    list_keys.drag_top_y = screen_y - thumb.offset;
    list_keys.drag_y = screen_y;
}

// Scrolls only when the pointer has moved: rows that are added do not move those under a thumb that is held.
// travel: how far the thumb can move.
void drag_bar(int32_t travel) {
    bool is_held = ui_is_down(MOUSE_LEFT);
    int32_t y = is_held ? ui_pointer_position().y : ui_state.slots[MOUSE_LEFT].release_position.y;
    if (y != list_keys.drag_y && travel > 0) {
        list_keys.drag_y = y;
        int64_t offset = std::clamp<int64_t>(int64_t{y} - list_keys.drag_top_y, 0, travel);
        results_scroll_to((offset * last_first() + travel / 2) / travel);
    }
    list_keys.is_dragging = is_held;
}

} // namespace

void list_keys_mouse(const Framebuffer *framebuffer, int32_t list_top, Layout *layout) {
    list_keys.search = current_search();
    list_keys.rows_top = layout->y;
    list_keys.rows_bottom = framebuffer->height;
    int32_t area = framebuffer->height - list_top;
    ScrollThumb thumb = scroll_thumb(area, search_state.results_scroll);
    constexpr int32_t width = theme::scroll_bar_width + theme::scroll_border_width;
    Rect bar = {framebuffer->width - width, list_top, width, thumb.length > 0 ? area : 0};
    bool is_on_bar = is_inside(bar, layout->mouse);
    if (ui_went_down(MOUSE_LEFT)) {
        list_keys.is_dragging = false;
        if (is_on_bar) {
            press_bar(thumb, layout->mouse.y - list_top);
        }
    } else if (list_keys.is_dragging) {
        drag_bar(thumb.length > 0 ? area - thumb.length : 0);
    }
    if (is_on_bar || list_keys.is_dragging) {
        layout->mouse = {INT32_MIN, INT32_MIN};
    }
}

int32_t list_keys_thumb_offset(int32_t travel, int32_t first_visible_hit) {
    int64_t last = last_first();
    int64_t first = std::min<int64_t>(first_visible_hit, last);
    return last > 0 ? static_cast<int32_t>((first * travel + last / 2) / last) : 0;
}
