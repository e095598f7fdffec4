#include "ui/line_editor.h"

#include <algorithm>
#include <bit>

#include <stdlib.h>
#include <string.h>

#include "os/clipboard.h"
#include "os/memory.h"
#include "search/search_state.h"

namespace {

// ---- Characters and words ----

// What ends a word, as bit numbers: tab, line feed, space and !()+,-./:; below 63, and ?[\]{} counted
// from 63.
// '_', '=', quotes and '<', '>' are left out, which is meant.
constexpr uint64_t separators_below_63 = 0x0C00FB0300000600;
constexpr uint64_t separators_from_63 = 0x5000000070000001;

uint8_t is_separator(char c) {
    uint8_t byte = static_cast<uint8_t>(c);
    if (byte < 63) {
        return separators_below_63 >> byte & 1;
    }
    return byte < 127 && (separators_from_63 >> (byte - 63) & 1);
}

// Bytes of the character that starts with lead; a byte that starts none stands alone. The lengths beyond 4 go
// on with the pattern though no such characters exist, which is meant.
int32_t character_length(char lead) {
    uint8_t byte = static_cast<uint8_t>(lead);
    return byte < 0xC0 ? 1 : std::countl_one(byte);
}

uint8_t is_continuation(char c) {
    return (static_cast<uint8_t>(c) & 0xC0) == 0x80;
}

int32_t character_left(const char *text, int32_t at) {
    while (at > 0 && is_continuation(text[--at])) {
    }
    return at;
}

int32_t character_right(const char *text, int32_t end, int32_t at) {
    int32_t length = character_length(text[at]);
    return length < end - at ? at + length : end;
}

// Where a caret goes from there. A word ends behind a separator on the left but before one on the right, and
// the first character is always passed; both are meant.
int32_t place_left(const char *text, int32_t at, uint8_t word) {
    int32_t before = character_left(text, at);
    do {
        at = before;
        before = character_left(text, at);
    } while (word && at > 0 && !is_separator(text[before]));
    return at;
}

int32_t place_right(const char *text, int32_t end, int32_t at, uint8_t word) {
    if (at < end) {
        do {
            at = character_right(text, end, at);
        } while (word && at < end && !is_separator(text[at]));
    }
    return at;
}

int32_t place_beside(const StrBuf *field, int32_t at, CaretDirection direction, uint8_t word) {
    return direction == CARET_LEFT ? place_left(field->data, at, word)
                                   : place_right(field->data, field_text_end(field), at, word);
}

// ---- Selections ----

struct Range {
    int32_t start;
    int32_t end;
};

Range selection_of(Caret caret) {
    return caret.anchor < caret.caret ? Range{caret.anchor, caret.caret} : Range{caret.caret, caret.anchor};
}

uint8_t has_selection(Caret caret) {
    return caret.anchor != caret.caret;
}

int32_t clamped(int64_t offset, int32_t end) {
    return static_cast<int32_t>(std::clamp<int64_t>(offset, 0, end));
}

// Puts the selections on the clipboard with nothing between them; nothing when there is none, or no memory.
void copy_selections(const StrBuf *field) {
    StrBuf copy;
    strbuf_init(&copy, 1024);
    uint8_t is_whole = 1;
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        Range selection = selection_of(field_carets()[i]);
        uint64_t count = static_cast<uint64_t>(selection.end - selection.start);
        is_whole = is_whole && strbuf_make_room(&copy, count, nullptr);
        if (is_whole) {
            strbuf_append(&copy, count, field->data + selection.start);
        }
    }
    if (is_whole && copy.count > 0) {
        os_clipboard_set_text(strbuf_text(&copy));
    }
    os_free(copy.data);
}

// ---- Changes of the text ----

// Whether count bytes can stand in the place of removed ones; then there is room for them.
uint8_t make_room(StrBuf *field, uint64_t removed, uint64_t count) {
    if (count <= removed) {
        return 1;
    }
    uint64_t more = count - removed;
    return more <= INT32_MAX && field->count <= INT32_MAX - more &&
           strbuf_make_room(field, more, &search_state.retired_text);
}

void remove_bytes(StrBuf *field, Range range) {
    if (range.start == range.end) {
        return;
    }
    char *data = field->data;
    uint64_t length = field->count;
    uint64_t start = static_cast<uint64_t>(range.start);
    uint64_t end = static_cast<uint64_t>(range.end);
    // The terminator moves along and the old one stays: the worker finds one behind either count.
    memmove(data + start, data + end, length - end + 1);
    field->count = length - (end - start);
}

// Merges the first pair that overlaps or touches; returns 0 when there is none.
uint8_t merge_one_pair() {
    Caret *carets = field_carets();
    uint64_t count = input_field.caret_list.count;
    for (uint64_t i = 0; i < count; i++) {
        Range first = selection_of(carets[i]);
        for (uint64_t j = i + 1; j < count; j++) {
            Range second = selection_of(carets[j]);
            if (first.start > second.end || second.start > first.end) {
                continue;
            }
            int32_t start = std::min(first.start, second.start);
            int32_t end = std::max(first.end, second.end);
            carets[i] = carets[i].anchor > carets[i].caret ? Caret{end, start} : Caret{start, end};
            carets[j] = carets[count - 1];
            input_field.caret_list.count = count - 1;
            return 1;
        }
    }
    return 0;
}

// ---- Keys and characters ----

struct Effect {
    uint8_t handled;
    uint8_t text_changed;
};
constexpr Effect no_effect = {0, 0};
constexpr Effect carets_moved = {1, 0};
constexpr Effect text_edited = {1, 1};

// To the text's start or end, as one caret; without a caret there stays none. The selection that Shift
// extends begins at the anchor furthest from there.
void move_to_edge(int32_t edge, uint8_t extend) {
    uint64_t count = input_field.caret_list.count;
    int32_t anchor = edge;
    for (uint64_t i = 0; extend && i < count; i++) {
        int32_t other = field_carets()[i].anchor;
        anchor = abs(other - edge) > abs(anchor - edge) ? other : anchor;
    }
    if (count > 0) {
        field_set_single_caret(anchor, edge);
    }
}

Effect paste(StrBuf *field) {
    Str text = os_clipboard_get_text();
    if (text.count > 0) {
        field_replace_selections(field, text.count, text.data);
    }
    os_free(text.data);
    return text.count > 0 ? text_edited : no_effect;
}

// Only Ctrl is asked for: with AltGr, which is Ctrl and Alt, the letters act too before their character is
// typed. That is meant.
Effect press_letter(StrBuf *field, uint16_t code) {
    switch (code) {
    case KEY_A:
        field_set_single_caret(0, field_text_end(field)); // also when there is no caret
        return carets_moved;
    case KEY_C:
        copy_selections(field);
        return no_effect;
    case KEY_X:
        copy_selections(field);
        field_replace_selections(field, 0, nullptr); // also when the copy was refused, which is meant
        return text_edited;
    case KEY_V:
        return paste(field);
    default:
        return no_effect;
    }
}

Effect press_key(StrBuf *field, uint16_t code) {
    uint8_t shift = ui_is_down(KEY_SHIFT);
    uint8_t ctrl = ui_is_down(KEY_CTRL);
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

// Writes the code point as UTF-8 and returns how many bytes that are. Three bytes begin at 0x701 and not at
// 0x800, lone surrogates are encoded like others, and 0 has no bytes; all of that is meant.
uint64_t encode(uint32_t code, char *bytes) {
    static constexpr uint32_t last_codes[] = {0, 0x7F, 0x700, 0xFFFF, 0x1FFFFF};
    static constexpr uint32_t leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    uint32_t length = 0;
    while (length < 5 && code > last_codes[length]) {
        length++;
    }
    if (length == 5) {
        return 0;
    }
    for (uint32_t i = length; i > 1; i--) {
        bytes[i - 1] = static_cast<char>(0x80 | (code & 0x3F));
        code >>= 6;
    }
    bytes[0] = static_cast<char>(leads[length] | code);
    return length;
}

Effect type_character(StrBuf *field, uint32_t code) {
    // Ctrl alone makes shortcuts, which type nothing; with Alt it is AltGr.
    if (ui_is_down(KEY_CTRL) && !ui_is_down(KEY_ALT)) {
        return no_effect;
    }
    char bytes[4];
    field_replace_selections(field, encode(code, bytes), bytes);
    return text_edited;
}

Effect handle_event(StrBuf *field, const WindowEvent *event) {
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

int32_t field_text_end(const StrBuf *field) {
    uint64_t length = strbuf_text(field).count;
    return static_cast<int32_t>(std::min<uint64_t>(length, INT32_MAX));
}

void field_set_single_caret(int32_t anchor, int32_t caret) {
    input_field.caret_list.count = 0;
    if (input_field.caret_list.capacity > 0) { // a push would never return
        Caret only = {anchor, caret};
        dynarray_push(&input_field.caret_list, sizeof(only), &only);
    }
}

void field_clamp_carets(const StrBuf *field) {
    int32_t end = field_text_end(field);
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        Caret *caret = &field_carets()[i];
        *caret = {clamped(caret->anchor, end), clamped(caret->caret, end)};
    }
}

void field_merge_carets() {
    while (merge_one_pair()) {
    }
}

// ---- Events ----

void field_handle_key(StrBuf *field, const WindowEvent *event, uint8_t *handled, uint8_t *text_changed) {
    field_clamp_carets(field);
    Effect effect = handle_event(field, event);
    *handled = effect.handled;
    *text_changed = effect.text_changed;
}

// ---- Edits ----

void field_move_carets(const StrBuf *field, CaretDirection direction, uint8_t word, uint8_t extend) {
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        Caret *caret = &field_carets()[i];
        if (has_selection(*caret) && !extend) {
            Range selection = selection_of(*caret);
            caret->caret = direction == CARET_LEFT ? selection.start : selection.end;
        } else {
            caret->caret = place_beside(field, caret->caret, direction, word);
        }
        if (!extend) {
            caret->anchor = caret->caret;
        }
    }
}

void field_delete(StrBuf *field, CaretDirection direction, uint8_t word) {
    uint8_t any_selection = 0;
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        any_selection = any_selection || has_selection(field_carets()[i]);
    }
    if (!any_selection) {
        field_move_carets(field, direction, word, 1);
    }
    field_replace_selections(field, 0, nullptr);
}

void field_replace_selections(StrBuf *field, uint64_t count, const char *bytes) {
    Caret *carets = field_carets();
    uint64_t caret_count = input_field.caret_list.count;
    int64_t total_change = 0; // of the text's length
    for (uint64_t i = 0; i < caret_count; i++) {
        Range selection = selection_of(carets[i]);
        uint64_t removed = static_cast<uint64_t>(selection.end - selection.start);
        if (!make_room(field, removed, count)) {
            break;
        }
        remove_bytes(field, selection);
        uint64_t start = static_cast<uint64_t>(selection.start);
        strbuf_insert(field, start, count, bytes);
        int32_t behind = static_cast<int32_t>(start + count);
        carets[i] = {behind, behind};
        total_change += static_cast<int64_t>(count) - static_cast<int64_t>(removed);
        // The later carets whose anchors stood beyond the change's start move by all changes so far, not only
        // by this one, so a third caret goes too far; that is meant.
        int32_t end = field_text_end(field);
        for (uint64_t j = i + 1; j < caret_count; j++) {
            if (carets[j].anchor > selection.start) {
                carets[j] = {clamped(carets[j].anchor + total_change, end),
                             clamped(carets[j].caret + total_change, end)};
            }
        }
        field_clamp_carets(field);
    }
    field_merge_carets();
}
