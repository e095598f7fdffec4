#include "ui/field_widget.h"

#include <algorithm>
#include <utility>

#include "os/arrays.h"
#include "os/console.h"
#include "os/paths.h"
#include "os/utf8.h"
#include "render/draw.h"
#include "render/text.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/input_state.h"
#include "ui/line_editor.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"
#include "ui/theme.h"

namespace {

// The square button at a row's left end.
Rect button_in(Rect row) {
    int32_t side = row.height - 2 * theme::button_margin;
    return {row.x + theme::button_margin, row.y + theme::button_margin, side, side};
}

void draw_button(Framebuffer *framebuffer, Rect rect, bool is_on, Point mouse) {
    fill_rect(framebuffer, whole_of(framebuffer), rect, theme::button[is_inside(rect, mouse)][is_on]);
}

// Whether the button is pressed in this frame; if so, consumes the press and asks for another frame.
bool take_button_press(Rect rect, const Layout *layout) {
    if (is_inside(rect, layout->mouse) && !layout->click_consumed && ui_consume_press(MOUSE_LEFT)) {
        search_state.results_dirty = 1;
        return true;
    }
    return false;
}

} // namespace

bool toggle_button(Framebuffer *framebuffer, Rect rect, bool is_on, const Layout *layout) {
    draw_button(framebuffer, rect, is_on, layout->mouse);
    return take_button_press(rect, layout);
}

// ---- Text and carets ----

namespace {

// Draws text at the field's size, cut at bottom: lines after a line feed must not cover what is below.
// Returns its width.
int32_t draw_cut_text(Framebuffer *framebuffer, const Layout *layout, Point baseline, int32_t bottom,
                      uint32_t colour, Str text) {
    Framebuffer row = *framebuffer;
    row.height = std::min(bottom, row.height);
    uint64_t extent = draw_text(&row, baseline, layout->font_size, layout->font_size, colour, text);
    return static_cast<int32_t>(extent);
}

// The same in the field's row.
int32_t draw_line(Framebuffer *framebuffer, const Layout *layout, int32_t x, uint32_t colour, Str text) {
    return draw_cut_text(framebuffer, layout, {x, layout->y + layout->text_y_offset},
                         layout->y + layout->row_advance, colour, text);
}

int32_t width_of(const Layout *layout, Str text) {
    Framebuffer none = {};
    return draw_line(&none, layout, 0, 0, text);
}

// The pen's x at the byte at that offset, from the text's left edge, with the kerning before it.
int32_t pen_at(const Layout *layout, Str text, uint64_t offset) {
    offset = text_is_utf8 ? utf8_start(text, offset) : offset;
    uint64_t line_start = offset;
    while (line_start > 0 && text.data[line_start - 1] != '\n') {
        line_start--;
    }
    Str line = {offset - line_start, text.data + line_start};
    constexpr uint8_t first_drawn = 32;
    if (offset < text.count && static_cast<uint8_t>(text.data[offset]) >= first_drawn) {
        uint64_t length = text_is_utf8 ? utf8_end(text, offset) - offset : 1;
        return width_of(layout, {line.count + length, line.data}) -
               width_of(layout, {length, text.data + offset});
    }
    return width_of(layout, line);
}

// A selection of no width, such as a whole line with its line feed, shows as two sides of the outline.
void draw_selection_box(Framebuffer *framebuffer, Rect box) {
    ClipSize clip = whole_of(framebuffer);
    blend_rect(framebuffer, clip, box, theme::selection);
    if (std::min(box.width, box.height) < theme::smallest_selection) {
        blend_rect(framebuffer, clip, box, theme::selection_outline); // intentionally under the outline too
    }
    constexpr int32_t side = theme::selection_outline_thickness;
    int32_t right = box.x + box.width - side;
    int32_t bottom = box.y + box.height - side;
    const Rect outline[] = {{box.x, box.y, box.width, side},
                            {box.x, bottom, box.width, side},
                            {box.x, box.y + side, side, box.height - 2 * side},
                            {right, box.y + side, side, box.height - 2 * side}};
    for (Rect rect : outline) {
        blend_rect(framebuffer, clip, rect, theme::selection_outline);
    }
}

void draw_carets(Framebuffer *framebuffer, const Layout *layout, int32_t text_x, Str text) {
    for (Caret caret : field_carets()) {
        auto [start, end] = std::minmax(caret.anchor, caret.caret);
        int32_t left = text_x + pen_at(layout, text, static_cast<uint64_t>(start));
        if (start == end) {
            Rect bar = {left, layout->y, theme::caret_width, layout->row_advance};
            blend_rect(framebuffer, whole_of(framebuffer), bar, theme::caret);
            continue;
        }
        int32_t right = text_x + pen_at(layout, text, static_cast<uint64_t>(end));
        if (right < left) { // over a line feed: each line begins at the row's start
            std::swap(left, right);
        }
        draw_selection_box(framebuffer, {left, layout->y, right - left, layout->row_advance});
    }
}

// The part of the first completion that is not typed yet. Intentionally the path's completion for either
// field. room: for the folder's name.
Str completion_tail(Str text, Str room) {
    FolderRow folder = results_completion(room);
    if (folder.copy == ROW_GONE) {
        return {};
    }
    Str name = folder.name;
    uint64_t typed = text.count - str_name_start(text);
    uint64_t skipped = std::min(typed, name.count);
    if (text_is_utf8 && skipped > 0) { // whole characters
        skipped = utf8_end(name, skipped - 1);
    }
    return {name.count - skipped, name.data + skipped};
}

} // namespace

// ---- The saved entries ----

namespace {

// Makes a saved entry the field's text, selected, and searches for it. As field_changed, but the search
// starts before the file is written.
void pick_entry(Field *field, Str entry) {
    set_request_text(field->text, entry); // out of memory: the old text is searched for again
    input_field.dropdown_open = false;
    saved_mark_update(field);
    publish_request();
    saved_list_write(field);
    field_set_single_caret(0, field_text_end(field));
}

// Draws the open list below the field and moves the layout below it. Removed entries are shown too, so that
// they can be brought back.
void dropdown(Framebuffer *framebuffer, Field *field, Layout *layout) {
    const DynArray *list = &field->entries;
    if (field != input_field.focused_field || !dropdown_is_shown()) {
        return;
    }
    layout->stop = true;
    int32_t height = layout->line_height + theme::entry_padding;
    uint64_t picked = UINT64_MAX;
    for (uint64_t i = 0; i < list->count && layout->y < framebuffer->height; i++) {
        const SavedEntry *entry = saved_entry_at(list, i);
        Rect row = {layout->x, layout->y, layout->width, height};
        bool is_hovered = is_inside(row, layout->mouse);
        Point baseline = {row.x + height + theme::entry_text_x,
                          row.y + theme::entry_text_y + layout->text_y_offset};
        draw_cut_text(framebuffer, layout, baseline, row.y + height,
                      is_hovered ? theme::hovered_entry_text : theme::entry_text, saved_entry_text(entry));
        if (toggle_button(framebuffer, button_in(row), entry->in_use != 0, layout)) {
            os_print("ungav %i\n", static_cast<int32_t>(entry->in_use));
            saved_entry_flip(field, i);
        } else if (is_hovered && ui_went_down(MOUSE_LEFT)) {
            picked = i;
        }
        layout->y += height;
    }
    if (picked != UINT64_MAX) {
        pick_entry(field, saved_entry_text(saved_entry_at(list, picked)));
    }
}

} // namespace

bool dropdown_is_shown() {
    const Field *field = input_field.focused_field;
    return field && input_field.dropdown_open && field->entries.count > 0;
}

// ---- The field ----

void field_widget(Framebuffer *framebuffer, Str label, Field *field, Layout *layout) {
    bool is_focused = input_field.focused_field == field;
    bool is_saved = field->is_saved; // before this frame's click
    Rect row = {layout->x, layout->y, layout->width, layout->row_advance};
    bool is_hovered = is_inside(row, layout->mouse);
    ClipSize clip = whole_of(framebuffer);
    uint32_t row_colour = is_focused ? theme::focused_field : theme::background;
    if (is_focused) {
        fill_rect(framebuffer, clip, row, row_colour);
    }

    Rect button = button_in(row);
    button.x = row.x + row.width - theme::button_margin - button.width;
    bool has_list = field->file_stem != nullptr;
    if (has_list && take_button_press(button, layout)) { // before the text is drawn: saving cleans a path
        layout->click_consumed = true;
        saved_list_save(field, input_field.focused_field);
    }

    Str shown = strbuf_text(field->text);
    uint32_t colour = is_hovered   ? theme::hovered_field_text
                      : is_focused ? theme::focused_field_text
                                   : theme::field_text;
    int32_t text_x = row.x + draw_line(framebuffer, layout, row.x, colour, label);
    draw_line(framebuffer, layout, text_x, colour, shown);
    if (is_focused) {
        draw_carets(framebuffer, layout, text_x, shown);
    }
    int32_t end_x = text_x + pen_at(layout, shown, shown.count);
    char room[1024] = {}; // names of folders are shorter
    draw_line(framebuffer, layout, end_x, theme::completion, completion_tail(shown, {sizeof(room), room}));

    if (has_list) { // over the end of a long text
        int32_t left = std::max(button.x - theme::button_margin, row.x);
        fill_rect(framebuffer, clip, {left, row.y, row.x + row.width - left, row.height}, row_colour);
        draw_button(framebuffer, button, is_saved, layout->mouse);
    }
    Rect underline = {row.x, row.y + layout->line_height, row.width, theme::underline_thickness};
    fill_rect(framebuffer, clip, underline, theme::underline);
    layout->y += row.height;
    dropdown(framebuffer, field, layout);

    if (is_hovered && !layout->click_consumed) {
        bool is_left = ui_went_down(MOUSE_LEFT);
        if (is_left || ui_went_down(MOUSE_RIGHT)) {
            input_field.dropdown_open = !is_left && !(is_focused && input_field.dropdown_open);
            input_field.focused_field = field;
            field_set_single_caret(0, field_text_end(field));
            if (is_left) { // the right button's release draws the next frame
                search_state.results_dirty = 1;
            }
            layout->click_consumed = true;
        }
    }
}
