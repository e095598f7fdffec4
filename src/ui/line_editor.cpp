#include "ui/line_editor.h"

#include <algorithm>
#include <bit>

#include <stdlib.h>
#include <string.h>

#include "os/arrays.h"
#include "os/clipboard.h"
#include "os/memory.h"
#include "os/utf16.h"
#include "os/utf8.h"
#include "render/text.h"
#include "search/search_state.h"
#include "ui/input_state.h"

namespace {

// ---- Characters and words ----

// The bytes that end a word, as bit numbers: tab, line feed, space and !()+,-./:; below 63, and ?[\]{}
// counted from 63. Intentionally without '_', '=', quotes, '<' and '>'.
constexpr uint64_t separators_below_63 = 0x0C00FB0300000600;
constexpr uint64_t separators_from_63 = 0x5000000070000001;

bool is_separator(char c) {
    uint8_t byte = static_cast<uint8_t>(c);
    if (byte < 63) {
        return separators_below_63 >> byte & 1;
    }
    return byte < 127 && (separators_from_63 >> (byte - 63) & 1);
}

// Bytes of the character that starts with lead; 1 for a byte that cannot start one. Intentionally follows the
// pattern beyond 4 bytes, though no such characters exist.
int32_t character_length(char lead) {
    uint8_t byte = static_cast<uint8_t>(lead);
    return byte < 0xC0 ? 1 : std::countl_one(byte);
}

bool is_continuation(char c) {
    return (static_cast<uint8_t>(c) & 0xC0) == 0x80;
}

int32_t character_left(Str text, int32_t at) {
    if (text_is_utf8) {
        return at > 0 ? static_cast<int32_t>(utf8_start(text, static_cast<uint64_t>(at - 1))) : 0;
    }
    while (at > 0 && is_continuation(text.data[--at])) {
    }
    return at;
}

int32_t character_right(Str text, int32_t at) {
    if (text_is_utf8) {
        return static_cast<int32_t>(utf8_end(text, static_cast<uint64_t>(at)));
    }
    int32_t end = static_cast<int32_t>(text.count);
    int32_t length = character_length(text.data[at]);
    return length < end - at ? at + length : end;
}

// Where a caret at that offset moves to. Always passes at least one character; with word it then stops after
// a separator on the left, but before one on the right. The asymmetry is intentional.
int32_t offset_left(Str text, int32_t at, bool word) {
    int32_t before = character_left(text, at);
    do {
        at = before;
        before = character_left(text, at);
    } while (word && at > 0 && !is_separator(text.data[before]));
    return at;
}

int32_t offset_right(Str text, int32_t at, bool word) {
    int32_t end = static_cast<int32_t>(text.count);
    if (at < end) {
        do {
            at = character_right(text, at);
        } while (word && at < end && !is_separator(text.data[at]));
    }
    return at;
}

int32_t offset_beside(const Field *field, int32_t at, CaretDirection direction, bool word) {
    Str text = {static_cast<uint64_t>(field_text_end(field)), field->text->data};
    return direction == CARET_LEFT ? offset_left(text, at, word) : offset_right(text, at, word);
}

// ---- Selections ----

struct Range {
    int32_t start;
    int32_t end;
};

Range selection_of(Caret caret) {
    return {std::min(caret.anchor, caret.caret), std::max(caret.anchor, caret.caret)};
}

bool has_selection(Caret caret) {
    return caret.anchor != caret.caret;
}

int32_t clamped(int64_t offset, int32_t end) {
    return static_cast<int32_t>(std::clamp<int64_t>(offset, 0, end));
}

// Puts the selections on the clipboard with nothing between them. Leaves the clipboard as it is when nothing
// is selected or out of memory.
void copy_selections(const StrBuf *text) {
    StrBuf copy;
    strbuf_init(&copy, 1024);
    bool is_whole = true;
    for (Caret caret : field_carets()) {
        Range selection = selection_of(caret);
        Str selected = {static_cast<uint64_t>(selection.end - selection.start), text->data + selection.start};
        is_whole = is_whole && strbuf_try_append(&copy, selected);
    }
    if (is_whole && copy.count > 0) {
        os_clipboard_set_text(strbuf_text(&copy));
    }
    os_free(copy.data);
}

// ---- Changes of the text ----

// Makes room for count bytes in place of removed ones. Returns false when out of memory, or when the text
// would be longer than carets can count.
bool make_room(StrBuf *text, uint64_t removed, uint64_t count) {
    if (count <= removed) {
        return true;
    }
    uint64_t more = count - removed;
    return more <= INT32_MAX && text->count <= INT32_MAX - more &&
           strbuf_make_room(text, more, &search_state.retired_text);
}

void remove_bytes(StrBuf *text, Range range) {
    if (range.start == range.end) {
        return;
    }
    char *data = text->data;
    uint64_t length = text->count;
    uint64_t start = static_cast<uint64_t>(range.start);
    uint64_t end = static_cast<uint64_t>(range.end);
    // The terminator moves along and the old one stays: the worker finds one after either count.
    memmove(data + start, data + end, length - end + 1);
    text->count = length - (end - start);
}

// Merges the first pair that overlaps or touches. Returns false when there is none.
bool merge_one_pair() {
    std::span<Caret> carets = field_carets();
    for (Caret &earlier : carets) {
        Range first = selection_of(earlier);
        for (Caret &later : carets.subspan(static_cast<size_t>(&earlier - carets.data()) + 1)) {
            Range second = selection_of(later);
            if (first.start > second.end || second.start > first.end) {
                continue;
            }
            int32_t start = std::min(first.start, second.start);
            int32_t end = std::max(first.end, second.end);
            earlier = earlier.anchor > earlier.caret ? Caret{end, start} : Caret{start, end};
            later = carets.back();
            input_field.caret_list.count = carets.size() - 1;
            return true;
        }
    }
    return false;
}

// ---- Keys and characters ----

struct Effect {
    bool handled;
    bool text_changed;
};
constexpr Effect no_effect = {false, false};
constexpr Effect carets_moved = {true, false};
constexpr Effect text_edited = {true, true};

// Replaces all carets by one at the text's start or end; does nothing without carets. With extend, it selects
// from the anchor furthest away.
void move_to_edge(int32_t edge, bool extend) {
    int32_t anchor = edge;
    for (Caret caret : field_carets()) {
        if (extend && abs(caret.anchor - edge) > abs(anchor - edge)) {
            anchor = caret.anchor;
        }
    }
    if (!field_carets().empty()) {
        field_set_single_caret(anchor, edge);
    }
}

Effect paste(Field *field) {
    Str pasted = os_clipboard_get_text();
    if (pasted.count > 0) {
        field_replace_selections(field, pasted.count, pasted.data);
    }
    os_free(pasted.data);
    return pasted.count > 0 ? text_edited : no_effect;
}

// With Ctrl held. AltGr is Ctrl and Alt: the letters intentionally act with it too, before their character is
// typed.
Effect press_letter(Field *field, uint16_t code) {
    switch (code) {
    case KEY_A:
        field_set_single_caret(0, field_text_end(field)); // also when there is no caret
        return carets_moved;
    case KEY_C:
        copy_selections(field->text);
        return no_effect;
    case KEY_X:
        copy_selections(field->text);
        field_replace_selections(field, 0, nullptr); // intentionally also when copying has failed
        return text_edited;
    case KEY_V:
        return paste(field);
    default:
        return no_effect;
    }
}

Effect press_key(Field *field, uint16_t code) {
    bool shift = ui_is_down(KEY_SHIFT);
    bool ctrl = ui_is_down(KEY_CTRL);
    switch (code) {
    case KEY_BACKSPACE:
        field_delete(field, CARET_LEFT, ctrl);
        return text_edited;
    case KEY_DELETE:
        field_delete(field, CARET_RIGHT, ctrl);
        return text_edited;
    case KEY_LEFT:
        field_move_carets(field, CARET_LEFT, ctrl, shift);
        return carets_moved;
    case KEY_RIGHT:
        field_move_carets(field, CARET_RIGHT, ctrl, shift);
        return carets_moved;
    case KEY_END:
        move_to_edge(field_text_end(field), shift);
        return carets_moved;
    case KEY_HOME:
        move_to_edge(0, shift);
        return carets_moved;
    default:
        return ctrl ? press_letter(field, code) : no_effect;
    }
}

Effect release_key(uint16_t code) {
    if (code != KEY_SHIFT) {
        return no_effect;
    }
    field_merge_carets();
    return carets_moved;
}

// Writes the code point as UTF-8 and returns the number of bytes. Intentional: unless texts are UTF-8, three
// bytes begin at 0x701, not at 0x800; lone surrogates are encoded like others, and 0 has no bytes.
uint64_t encode(uint32_t code, char *bytes) {
    return code == 0 ? 0 : utf8_encode(code, bytes, text_is_utf8 ? 0x7FF : 0x700);
}

// Joins the two UTF-16 units of a character, which are typed one after the other. Returns false for the first
// one, which is kept for the second, and for a second one without a first.
bool join_units(uint32_t *code) {
    uint32_t first = input_field.first_unit;
    input_field.first_unit = 0;
    if (utf16_is_first(*code)) {
        input_field.first_unit = *code;
        return false;
    }
    if (utf16_is_second(*code)) {
        *code = utf16_join(first, *code);
        return first != 0;
    }
    return true;
}

Effect type_character(Field *field, uint32_t code) {
    // Ctrl alone is for shortcuts, which type nothing; Ctrl and Alt are AltGr.
    if (ui_is_down(KEY_CTRL) && !ui_is_down(KEY_ALT)) {
        return no_effect;
    }
    if (text_is_utf8 && !join_units(&code)) {
        return no_effect;
    }
    char bytes[4];
    field_replace_selections(field, encode(code, bytes), bytes);
    return text_edited;
}

Effect handle_event(Field *field, const WindowEvent *event) {
    if (event->type == EVENT_CHAR) {
        return type_character(field, event->character.unit);
    }
    if (event->type != EVENT_KEY) {
        return no_effect;
    }
    switch (event->key.state) {
    case KEY_PRESSED:
    case KEY_REPEATED:
        return press_key(field, event->key.code);
    case KEY_RELEASED:
        return release_key(event->key.code);
    default:
        return no_effect;
    }
}

} // namespace

// ---- Carets ----

int32_t field_text_end(const Field *field) {
    return static_cast<int32_t>(std::min<uint64_t>(strbuf_text(field->text).count, INT32_MAX));
}

void field_set_single_caret(int32_t anchor, int32_t caret) {
    input_field.caret_list.count = 0;
    if (input_field.caret_list.capacity > 0) { // a push would never return
        Caret only = {anchor, caret};
        dynarray_push(&input_field.caret_list, sizeof(only), &only);
    }
}

void field_clamp_carets(const Field *field) {
    int32_t end = field_text_end(field);
    for (Caret &caret : field_carets()) {
        caret = {clamped(caret.anchor, end), clamped(caret.caret, end)};
    }
}

void field_merge_carets() {
    while (merge_one_pair()) {
    }
}

// ---- Events ----

void field_handle_key(Field *field, const WindowEvent *event, bool *handled, bool *text_changed) {
    field_clamp_carets(field);
    Effect effect = handle_event(field, event);
    *handled = effect.handled;
    *text_changed = effect.text_changed;
}

// ---- Edits ----

void field_move_carets(const Field *field, CaretDirection direction, bool word, bool extend) {
    for (Caret &caret : field_carets()) {
        if (has_selection(caret) && !extend) {
            Range selection = selection_of(caret);
            caret.caret = direction == CARET_LEFT ? selection.start : selection.end;
        } else {
            caret.caret = offset_beside(field, caret.caret, direction, word);
        }
        if (!extend) {
            caret.anchor = caret.caret;
        }
    }
}

void field_delete(Field *field, CaretDirection direction, bool word) {
    if (std::ranges::none_of(field_carets(), has_selection)) {
        field_move_carets(field, direction, word, true);
    }
    field_replace_selections(field, 0, nullptr);
}

void field_replace_selections(Field *field, uint64_t count, const char *bytes) {
    StrBuf *text = field->text;
    std::span<Caret> carets = field_carets();
    int64_t total_change = 0; // of the text's length
    for (size_t i = 0; i < carets.size(); i++) {
        Range selection = selection_of(carets[i]);
        uint64_t removed = static_cast<uint64_t>(selection.end - selection.start);
        if (!make_room(text, removed, count)) {
            break;
        }
        remove_bytes(text, selection);
        uint64_t start = static_cast<uint64_t>(selection.start);
        strbuf_insert(text, start, count, bytes);
        int32_t after = static_cast<int32_t>(start + count);
        carets[i] = {after, after};
        total_change += static_cast<int64_t>(count) - static_cast<int64_t>(removed);
        // Later carets whose anchors were after the change's start move by all changes so far, not only by
        // this one. A third caret therefore moves too far; intentional.
        int32_t end = field_text_end(field);
        for (Caret &later : carets.subspan(i + 1)) {
            if (later.anchor > selection.start) {
                later = {clamped(later.anchor + total_change, end), clamped(later.caret + total_change, end)};
            }
        }
        field_clamp_carets(field);
    }
    field_merge_carets();
}
