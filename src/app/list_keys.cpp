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
#include "ui/input_state.h"

ListKeys list_keys;

namespace {

// The first hit from the row on in that direction, 1 or -1, or else the first one in the other. -1 when there
// is none.
int64_t hit_from(int64_t row, int32_t direction) {
    int64_t start = std::min(std::max(row, int64_t{0}), results_row_count() - 1);
    for (int32_t step : {direction, -direction}) {
        for (int64_t i = start; i >= 0 && i < results_row_count(); i += step) {
            if (results_row_is(i, RESULT_HIT)) {
                return i;
            }
        }
    }
    return -1;
}

} // namespace

// ---- The selection ----

namespace {

// -1: there is none.
int64_t selected_row() {
    bool is_current = list_keys.has_selection && list_keys.selected_number == current_search_number();
    return is_current ? list_keys.selected_row : -1;
}

// Selects and shows the first hit from the row on in that direction, or else the last one before it.
void select_from(int64_t row, int32_t direction) {
    int64_t hit = hit_from(row, direction);
    if (hit >= 0) {
        list_keys_select(list_keys.search_number, static_cast<uint64_t>(hit));
        show_row(hit);
    }
}

} // namespace

void list_keys_select(uint64_t search_number, uint64_t row) {
    list_keys.has_selection = true;
    list_keys.selected_number = search_number;
    list_keys.selected_row = static_cast<int64_t>(row);
}

bool list_keys_is_selected(uint64_t search_number, uint64_t row) {
    return list_keys.has_selection && list_keys.selected_number == search_number &&
           list_keys.selected_row == static_cast<int64_t>(row);
}

// ---- Keys ----

namespace {

// Without a selection Down begins with the first visible hit and Up with the last one.
void select_next(int32_t direction) {
    int64_t selected = selected_row();
    int64_t first = search_state.results_scroll;
    int64_t edge = direction > 0 ? first : last_visible_row(first);
    select_from(selected >= 0 ? selected + direction : edge, direction);
}

void go_to_end(int32_t direction) {
    results_scroll_to(direction > 0 ? last_first_row() : 0);
    if (selected_row() >= 0) {
        select_from(direction > 0 ? results_row_count() - 1 : 0, direction);
    }
}

// The selection keeps its place in the window. Where the list cannot scroll it goes to the end instead.
void go_page(int32_t direction) {
    int64_t first = search_state.results_scroll;
    int64_t next = page_from(first, direction);
    if (next == first) {
        if (selected_row() >= 0) {
            select_from(direction > 0 ? results_row_count() - 1 : 0, direction);
        }
        return;
    }
    results_scroll_to(next);
    if (selected_row() >= 0) {
        select_from(std::clamp(selected_row() + next - first, next, last_visible_row(next)), direction);
    }
}

// Copies the selected hit, its texts into the scratch arena's free part. ROW_GONE when there is none.
HitRow selected_hit() {
    if (!list_keys.has_selection) {
        return {};
    }
    HitRow row = results_hit_at(static_cast<uint64_t>(list_keys.selected_row), scratch_room());
    return row.search_number == list_keys.selected_number ? row : HitRow{};
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
    char digits[longest_number_text];
    Str line = str_from_number(static_cast<int32_t>(row.hit.line), digits);
    bool is_whole = row_text_set(row.file.folder);
    for (Str part : {str_from("/"), row.file.name, str_from(":"), line, str_from(": "), row.hit.text}) {
        is_whole = is_whole && strbuf_try_append(&row_text, part);
    }
    // Texts that did not fit the scratch arena were read in place: whole only if the search is still the
    // same.
    if (is_whole && row.search_number == current_search_number()) {
        os_clipboard_set_text(strbuf_text(&row_text));
    }
    return true;
}

} // namespace

bool list_keys_handle(const KeyPayload &key) {
    bool is_fresh = key.state == KEY_PRESSED;
    if ((!is_fresh && key.state != KEY_REPEATED) || ui_is_down(KEY_ALT) || dropdown_is_shown()) {
        return false;
    }
    list_keys.search_number = current_search_number();
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
