#include "app/results_view.h"

#include <algorithm>

#include "actions/command_template.h"
#include "app/scratch.h"
#include "app/settings.h"
#include "render/text.h"
#include "search/results_store.h"
#include "search/search_state.h"

namespace {

constexpr uint32_t file_name_colour = 0xFFFFFF00;
constexpr uint32_t folder_colour = 0xFF7F7F7F;
constexpr uint32_t line_number_colour = 0xFF00FFFF;
constexpr uint32_t line_colour = 0xFFFFFFFF;
constexpr uint32_t hovered_line_colour = 0xFF00FF00;

void draw_header_row(Framebuffer *framebuffer, LayoutCursor *cursor, const FileEntry &file,
                     uint64_t hidden_folder_bytes) {
    int32_t x = 10;
    x += draw_row_text(framebuffer, cursor, x, file_name_colour, file.name);
    x += cursor->font_size / 2;
    uint64_t hidden = std::min(hidden_folder_bytes, file.folder.count);
    draw_row_text(framebuffer, cursor, x, folder_colour,
                  {file.folder.count - hidden, file.folder.data + hidden});
    cursor->y += cursor->line_height;
}

// Runs what a click in this frame asks for, at most once a frame: the cursor remembers. No command has texts
// that the next search may be writing over.
void run_click_command(LayoutCursor *cursor, const FileEntry &file, const ResultRecord &hit, RowCopy copy) {
    uint8_t is_left = ui_went_down(MOUSE_LEFT);
    if (cursor->click_consumed || (!is_left && !ui_went_down(MOUSE_RIGHT))) {
        return;
    }
    cursor->click_consumed = 1;
    if (copy == ROW_COPIED && row_text_set(is_left ? settings.left_click_cmd : settings.right_click_cmd)) {
        expand_command(&file, &hit);
    }
}

// ":12 ", the number with its sign, which is meant: 2^31 and more are negative.
Str line_prefix(uint32_t line) {
    char digits[11];
    Str number = str_from_number(static_cast<int32_t>(line), digits);
    if (!row_text_set(str_from(":"))) {
        return {};
    }
    strbuf_append(&row_text, number.count, number.data);
    strbuf_append(&row_text, 1, " ");
    return strbuf_text(&row_text);
}

void draw_line_row(Framebuffer *framebuffer, LayoutCursor *cursor, const FileEntry &file,
                   const ResultRecord &hit, RowCopy copy) {
    int32_t x = 30;
    x += draw_row_text(framebuffer, cursor, x, line_number_colour, line_prefix(hit.line));
    // The x is not asked for, which is meant: the scroll bar belongs to the rows.
    uint8_t is_hovered = cursor->mouse.y >= cursor->y && cursor->mouse.y < cursor->y + cursor->line_height;
    draw_row_text(framebuffer, cursor, x, is_hovered ? hovered_line_colour : line_colour, hit.text);
    if (is_hovered) {
        run_click_command(cursor, file, hit, copy);
    }
    cursor->y += cursor->line_height;
}

} // namespace

int32_t draw_row_text(Framebuffer *framebuffer, const LayoutCursor *cursor, int32_t x, uint32_t colour,
                      Str text) {
    return static_cast<int32_t>(draw_text(framebuffer, {x, cursor->y + cursor->text_y_offset},
                                          cursor->font_size, cursor->font_size, colour, text));
}

void results_view(Framebuffer *framebuffer, int32_t first_visible_hit, LayoutCursor *cursor) {
    uint64_t hidden_folder_bytes =
        settings.show_full_paths ? 0 : results_hidden_folder_bytes(strbuf_text(&search_state.path));
    uint64_t first = static_cast<uint64_t>(first_visible_hit);
    for (uint64_t i = first; i < results_store.hit_table.count && cursor->y < framebuffer->height; i++) {
        ResultRecord hit;
        FileEntry file;
        RowCopy copy = results_hit_at(i, scratch_room(), &hit, &file);
        if (copy == ROW_GONE) {
            cursor->y += cursor->line_height; // what a search that has just ended left: nothing is shown
            continue;
        }
        if (i == first || hit.kind == RESULT_FILE_HEADER) {
            draw_header_row(framebuffer, cursor, file, hidden_folder_bytes);
        }
        if (hit.kind == RESULT_HIT) {
            draw_line_row(framebuffer, cursor, file, hit, copy);
        }
    }
}

uint64_t results_hidden_folder_bytes(Str path) {
    // The field keeps its text as it is typed. One that the scratch arena does not hold hides nothing.
    return str_name_start(path_clean(scratch_join(path, {}), 0));
}
