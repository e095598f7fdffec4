#include "ui/field_widget.h"

#include <algorithm>
#include <utility>

#include "os/console.h"
#include "render/draw.h"
#include "render/text.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/line_editor.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"

namespace {

constexpr uint32_t focused_colour = 0xFF323232;
constexpr uint32_t completion_colour = 0xFF7F7F7F;
constexpr uint32_t underline_colour = 0xFF505050;
constexpr uint32_t caret_colour = 0xC8FFFFFF;
constexpr uint32_t selection_colour = 0x32FFFFFF;

constexpr uint32_t white(uint32_t alpha) {
    return alpha << 24 | 0xFFFFFF;
}

uint8_t left_went_down() {
    return ui_went_down(MOUSE_LEFT);
}

void draw_button(Framebuffer *framebuffer, Rect rect, uint8_t state, Point mouse) {
    uint8_t is_hovered = is_inside(rect, mouse);
    uint32_t colour = is_hovered ? (state ? 0xFFFF0000 : 0xFF969696) : (state ? 0xFFFFFF00 : 0xFF505050);
    fill_rect(framebuffer, whole_of(framebuffer), rect, colour);
}

// Whether the button is pressed in this frame: then takes the press and asks for another frame.
uint8_t take_button_press(Rect rect, const LayoutCursor *cursor) {
    if (is_inside(rect, cursor->mouse) && !cursor->click_consumed && ui_consume_press(MOUSE_LEFT)) {
        search_state.results_dirty = 1;
        return 1;
    }
    return 0;
}

} // namespace

uint8_t toggle_button(Framebuffer *framebuffer, Rect rect, uint8_t state, const LayoutCursor *cursor) {
    draw_button(framebuffer, rect, state, cursor->mouse);
    return take_button_press(rect, cursor);
}

// ---- Text and carets ----

namespace {

// Draws text at the field's size, cut at that lower edge: a line feed in it must not disturb what follows
// below. Returns its width.
int32_t draw_cut_text(Framebuffer *framebuffer, const LayoutCursor *cursor, Point baseline, int32_t bottom,
                      uint32_t colour, Str text) {
    Framebuffer row = *framebuffer;
    row.height = std::min(bottom, row.height);
    uint64_t extent = draw_text(&row, baseline, cursor->font_size, cursor->font_size, colour, text);
    return static_cast<int32_t>(extent);
}

// The same in the field's row.
int32_t draw_line(Framebuffer *framebuffer, const LayoutCursor *cursor, int32_t x, uint32_t colour,
                  Str text) {
    return draw_cut_text(framebuffer, cursor, {x, cursor->y + cursor->text_y_offset},
                         cursor->y + cursor->row_advance, colour, text);
}

int32_t width_of(const LayoutCursor *cursor, Str text) {
    Framebuffer none = {};
    return draw_line(&none, cursor, 0, 0, text);
}

// Where the pen stands before the byte at that offset, from the text's left edge, with the kerning before it.
int32_t pen_at(const LayoutCursor *cursor, Str text, uint64_t offset) {
    uint64_t line_start = offset;
    while (line_start > 0 && text.data[line_start - 1] != '\n') {
        line_start--;
    }
    Str line = {offset - line_start, text.data + line_start};
    constexpr uint8_t first_drawn = 32;
    if (offset < text.count && static_cast<uint8_t>(text.data[offset]) >= first_drawn) {
        return width_of(cursor, {line.count + 1, line.data}) - width_of(cursor, {1, text.data + offset});
    }
    return width_of(cursor, line);
}

// A selection of no width, as of a whole line with its line feed, is two lines of the outline.
void draw_selection_box(Framebuffer *framebuffer, Rect box) {
    ClipSize clip = whole_of(framebuffer);
    blend_rect(framebuffer, clip, box, selection_colour);
    if (box.width < 3 || box.height < 3) {
        blend_rect(framebuffer, clip, box, caret_colour); // and the outline as well, which is meant
    }
    int32_t right = box.x + box.width - 1;
    int32_t bottom = box.y + box.height - 1;
    blend_rect(framebuffer, clip, {box.x, box.y, box.width, 1}, caret_colour);
    blend_rect(framebuffer, clip, {box.x, bottom, box.width, 1}, caret_colour);
    blend_rect(framebuffer, clip, {box.x, box.y + 1, 1, box.height - 2}, caret_colour);
    blend_rect(framebuffer, clip, {right, box.y + 1, 1, box.height - 2}, caret_colour);
}

void draw_carets(Framebuffer *framebuffer, const LayoutCursor *cursor, int32_t text_x, Str text) {
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        Caret caret = field_carets()[i];
        int32_t start = std::min(caret.anchor, caret.caret);
        int32_t end = std::max(caret.anchor, caret.caret);
        int32_t left = text_x + pen_at(cursor, text, static_cast<uint64_t>(start));
        if (start == end) {
            Rect bar = {left, cursor->y, 2, cursor->row_advance};
            blend_rect(framebuffer, whole_of(framebuffer), bar, caret_colour);
            continue;
        }
        int32_t right = text_x + pen_at(cursor, text, static_cast<uint64_t>(end));
        if (right < left) { // the selection goes over a line feed: from the row's start
            std::swap(left, right);
        }
        draw_selection_box(framebuffer, {left, cursor->y, right - left, cursor->row_advance});
    }
}

// What of the first completion is not typed yet. The path's completions are shown on either field: that is
// meant. room: for the folder's name.
Str completion_tail(Str text, Str room) {
    Str name;
    if (results_folder_at(&results_store.matching_folders, 0, room, &name) == ROW_GONE) {
        return {};
    }
    uint64_t typed = text.count - str_name_start(text);
    uint64_t skipped = std::min(typed, name.count);
    return {name.count - skipped, name.data + skipped};
}

} // namespace

// ---- The saved entries ----

namespace {

// Makes a saved entry the field's text, selected, and searches for it. Not field_changed: here the search
// starts before the file is written.
void pick_entry(Field *field, Str entry) {
    set_request_text(field->text, entry); // without memory the text stays, and the search starts all the same
    input_field.dropdown_open = 0;
    saved_mark_update(field); // cleans a path, so it comes before the request
    publish_request();
    saved_list_write(field);
    field_set_single_caret(0, field_text_end(field->text));
}

// Draws the list below the field and moves the cursor below it. Removed entries are shown too, so that they
// can be brought back.
void dropdown(Framebuffer *framebuffer, Field *field, LayoutCursor *cursor) {
    const DynArray *list = &field->entries;
    if (input_field.focused_field != field || !input_field.dropdown_open || list->count == 0) {
        return;
    }
    cursor->stop = 1;
    int32_t height = cursor->line_height + 2;
    int32_t side = height - 4;
    uint64_t picked = UINT64_MAX;
    for (uint64_t i = 0; i < list->count && cursor->y < framebuffer->height; i++) {
        const SavedEntry *entry = saved_entry_at(list, i);
        Rect row = {cursor->x, cursor->y, cursor->width, height};
        uint8_t is_hovered = is_inside(row, cursor->mouse);
        Point baseline = {row.x + height + 2, row.y + 1 + cursor->text_y_offset};
        draw_cut_text(framebuffer, cursor, baseline, row.y + height, white(is_hovered ? 255 : 180),
                      saved_entry_text(entry));
        Rect button = {row.x + 2, row.y + 2, side, side};
        if (toggle_button(framebuffer, button, entry->in_use != 0, cursor)) {
            os_print("ungav %i\n", static_cast<int32_t>(entry->in_use));
            saved_entry_flip(field, i);
            field_clamp_carets(field->text);
        } else if (is_hovered && left_went_down()) {
            picked = i;
        }
        cursor->y += height;
    }
    if (picked != UINT64_MAX) {
        pick_entry(field, saved_entry_text(saved_entry_at(list, picked)));
    }
}

} // namespace

// ---- The field ----

void field_widget(Framebuffer *framebuffer, Str label, Field *field, LayoutCursor *cursor) {
    uint8_t is_focused = input_field.focused_field == field;
    uint8_t is_saved = field->is_saved; // before this frame's click
    Rect row = {cursor->x, cursor->y, cursor->width, cursor->row_advance};
    uint8_t is_hovered = is_inside(row, cursor->mouse);
    ClipSize clip = whole_of(framebuffer);
    uint32_t row_colour = is_focused ? focused_colour : frame_colour;
    if (is_focused) {
        fill_rect(framebuffer, clip, row, row_colour);
    }

    int32_t side = row.height - 4;
    Rect button = {row.x + row.width - 2 - side, row.y + 2, side, side};
    uint8_t has_list = field->file_name != nullptr;
    if (has_list && take_button_press(button, cursor)) { // before the text is drawn: saving cleans a path
        cursor->click_consumed = 1;
        saved_list_save(field, input_field.focused_field);
        if (input_field.focused_field) { // the path may have got shorter, whichever field was saved
            field_clamp_carets(input_field.focused_field->text);
        }
    }

    Str shown = strbuf_text(field->text);
    uint32_t colour = white(is_hovered ? 255 : is_focused ? 220 : 140);
    int32_t text_x = row.x + draw_line(framebuffer, cursor, row.x, colour, label);
    draw_line(framebuffer, cursor, text_x, colour, shown);
    if (is_focused) {
        draw_carets(framebuffer, cursor, text_x, shown);
    }
    int32_t end_x = text_x + pen_at(cursor, shown, shown.count);
    char room[1024] = {}; // names of folders are shorter
    draw_line(framebuffer, cursor, end_x, completion_colour, completion_tail(shown, {sizeof(room), room}));

    if (has_list) {
        // The text ends at the button, which stands on a ground of its own.
        int32_t left = std::max(button.x - 2, row.x);
        fill_rect(framebuffer, clip, {left, row.y, row.x + row.width - left, row.height}, row_colour);
        draw_button(framebuffer, button, is_saved, cursor->mouse);
    }
    fill_rect(framebuffer, clip, {row.x, row.y + cursor->line_height, row.width, 1}, underline_colour);
    cursor->y += row.height;
    dropdown(framebuffer, field, cursor);

    if (is_hovered && !cursor->click_consumed) {
        uint8_t is_left = left_went_down();
        if (is_left || ui_went_down(MOUSE_RIGHT)) {
            input_field.dropdown_open = !is_left && !(is_focused && input_field.dropdown_open);
            input_field.focused_field = field;
            field_set_single_caret(0, field_text_end(field->text));
            if (is_left) { // the right button's release draws the next frame
                search_state.results_dirty = 1;
            }
            cursor->click_consumed = 1;
        }
    }
}
