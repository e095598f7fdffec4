// The line editor: what keys and characters do to the focused field's text and carets.
//
// The carets are input_field.caret_list. The program only ever sets one; several are supported, and every key
// acts on all of them in list order. Offsets are bytes, and every caret lies inside the text: any other code
// that shortens a text calls field_clamp_carets. The search worker reads the text in place, without a lock:
// it is zero-terminated after each change, and storage that it outgrows is retired. Interface thread only.
#pragma once

#include <span>

#include <stddef.h>
#include <stdint.h>

#include "os/window.h"
#include "ui/field_state.h"

// ---- Carets ----

// A place in the text, and the selection between it and the anchor; none when they are equal.
struct Caret {
    int32_t anchor; // byte offset; stays when Shift extends the selection
    int32_t caret;  // byte offset; moves
};

// The focused field's carets. Valid until carets are set.
inline std::span<Caret> field_carets() {
    return {reinterpret_cast<Caret *>(input_field.caret_list.data), input_field.caret_list.count};
}

// The last offset that a caret can have: the text's length, at most 2 GiB - 1.
int32_t field_text_end(const Field *field);

// Replaces all carets by this one; there is none when the list has no storage.
void field_set_single_caret(int32_t anchor, int32_t caret);

// Moves carets that lie outside the text to its nearer end.
void field_clamp_carets(const Field *field);

// Merges carets whose selections overlap or touch; the result has the direction of the first in the list.
void field_merge_carets();

// ---- Events ----

// Handles a key or character event; ignores others. *handled: a redraw is needed. *text_changed: a new search
// is needed; intentionally also set when Backspace, Delete, cutting, pasting or a character change nothing.
// Sets both.
void field_handle_key(Field *field, const WindowEvent *event, bool *handled, bool *text_changed);

// ---- Edits ----

enum CaretDirection : uint8_t {
    CARET_LEFT,
    CARET_RIGHT,
};

// Moves every caret by a character; with word, on to just after a word separator on the left, or just before
// one on the right. With extend the anchors stay; without, a caret that has a selection only moves to the
// selection's end on that side. Carets that meet are not merged.
void field_move_carets(const Field *field, CaretDirection direction, bool word, bool extend);

// Removes the selections; without any, removes what field_move_carets passes in that direction.
void field_delete(Field *field, CaretDirection direction, bool word);

// Replaces each caret's selection by the bytes and puts the caret after them; a count of 0 only removes.
// bytes may not lie in the text. When the storage cannot grow, or the text would be longer than carets can
// count, that caret and those after it in the list keep their selections and text: with one caret nothing
// changes.
void field_replace_selections(Field *field, uint64_t count, const char *bytes);

static_assert(sizeof(Caret) == 8 && offsetof(Caret, caret) == 4);
