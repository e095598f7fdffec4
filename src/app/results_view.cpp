#include "app/results_view.h"

#include <algorithm>

#include "actions/command_template.h"
#include "app/list_keys.h"
#include "app/scratch.h"
#include "app/settings.h"
#include "app/status_line.h"
#include "os/arrays.h"
#include "os/paths.h"
#include "os/utf8.h"
#include "render/draw.h"
#include "render/text.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/input_state.h"
#include "ui/theme.h"

namespace {

void draw_folder_rows(Framebuffer *framebuffer, const DynArray *folders, uint32_t colour, Layout *layout) {
    for (uint64_t i = 0; i < folders->count && layout->y < framebuffer->height; i++) {
        FolderRow folder = results_folder_at(folders, i, scratch_room());
        if (folder.copy != ROW_GONE) {
            draw_row_text(framebuffer, layout, theme::folder_x, colour, folder.name);
        }
        layout->y += layout->line_height;
    }
}

void draw_header_row(Framebuffer *framebuffer, Layout *layout, const FileEntry &file,
                     uint64_t hidden_folder_bytes) {
    int32_t x = theme::file_x;
    x += draw_row_text(framebuffer, layout, x, theme::file_name, file.name);
    x += theme::file_folder_gap(layout->font_size);
    uint64_t hidden = std::min(hidden_folder_bytes, file.folder.count);
    draw_row_text(framebuffer, layout, x, theme::file_folder,
                  {file.folder.count - hidden, file.folder.data + hidden});
    layout->y += layout->line_height;
}

// Runs the command of a click in this frame and consumes the click. Returns whether there was one.
bool run_click_command(Layout *layout, const HitRow &row) {
    bool is_left = ui_went_down(MOUSE_LEFT);
    if (layout->click_consumed || (!is_left && !ui_went_down(MOUSE_RIGHT))) {
        return false;
    }
    layout->click_consumed = true;
    results_run_command(is_left ? settings.left_click_cmd : settings.right_click_cmd, row);
    return true;
}

// The line number with a colon and a space around it. Intentionally signed: 2^31 and more are negative.
Str line_prefix(uint32_t line) {
    char digits[longest_number_text];
    Str number = str_from_number(static_cast<int32_t>(line), digits);
    if (!row_text_set(str_from(":"))) {
        return {};
    }
    strbuf_append(&row_text, number.count, number.data);
    strbuf_append(&row_text, 1, " ");
    return strbuf_text(&row_text);
}

// Returns whether the row was clicked.
bool draw_line_row(Framebuffer *framebuffer, Layout *layout, const HitRow &row) {
    int32_t x = theme::hit_x;
    x += draw_row_text(framebuffer, layout, x, theme::line_number, line_prefix(row.hit.line));
    Str text = text_is_utf8 && row.hit.is_cut ? utf8_without_cut(row.hit.text) : row.hit.text;
    // x is ignored: the scroll bar is part of the row, unless list_keys has moved the mouse off it.
    bool is_hovered = layout->mouse.y >= layout->y && layout->mouse.y < layout->y + layout->line_height;
    draw_row_text(framebuffer, layout, x, is_hovered ? theme::hovered_line_text : theme::line_text, text);
    bool is_clicked = is_hovered && run_click_command(layout, row);
    layout->y += layout->line_height;
    return is_clicked;
}

// Leaves the sides free for the busy frame.
void draw_selection(Framebuffer *framebuffer, const Layout *layout) {
    constexpr int32_t margin = theme::busy_frame_thickness;
    Rect row = {margin, layout->y, framebuffer->width - 2 * margin, layout->line_height};
    fill_rect(framebuffer, whole_of(framebuffer), row, theme::selected_hit);
}

} // namespace

int32_t draw_row_text(Framebuffer *framebuffer, const Layout *layout, int32_t x, uint32_t colour, Str text) {
    return static_cast<int32_t>(draw_text(framebuffer, {x, layout->y + layout->text_y_offset},
                                          layout->font_size, layout->font_size, colour, text));
}

void folders_view(Framebuffer *framebuffer, Layout *layout) {
    draw_folder_rows(framebuffer, &results_store.matching_folders, theme::matching_folder, layout);
    draw_folder_rows(framebuffer, &results_store.other_folders, theme::other_folder, layout);
}

void results_view(Framebuffer *framebuffer, int32_t first_visible_hit, Layout *layout) {
    uint64_t hidden_folder_bytes =
        settings.show_full_paths ? 0 : results_hidden_folder_bytes(strbuf_text(&search_state.path));
    uint64_t first = static_cast<uint64_t>(first_visible_hit);
    for (uint64_t i = first; i < results_store.hit_table.count && layout->y < framebuffer->height; i++) {
        HitRow row = results_hit_at(i, scratch_room());
        if (row.copy == ROW_GONE) {
            layout->y += layout->line_height; // its file is missing, or a new search has begun: an empty row
            continue;
        }
        if (i == first || row.hit.kind == RESULT_FILE_HEADER) {
            draw_header_row(framebuffer, layout, row.file, hidden_folder_bytes);
        }
        if (row.hit.kind == RESULT_HIT) {
            if (settings.list_keys && list_keys_is_selected(row.search_number, i)) {
                draw_selection(framebuffer, layout);
            }
            if (draw_line_row(framebuffer, layout, row) && settings.list_keys) {
                list_keys_select(row.search_number, i);
            }
        }
    }
}

void results_run_command(Str command, const HitRow &row) {
    if (row.copy == ROW_COPIED && row_text_set(command)) {
        status_line_command_run(expand_command(row));
    }
}

uint64_t results_hidden_folder_bytes(Str path) {
    // Cleans a copy, as the field keeps its text as typed. Nothing is left out when the scratch arena is
    // full.
    return str_name_start(path_clean(scratch_join(path, {}), false));
}
