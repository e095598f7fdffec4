// The line editor: what keys and characters do to the focused field's text and carets.
//
// The carets are input_field.caret_list. Whoever sets carets sets exactly one; several are allowed, and every
// key acts on all of them in the list's order. Offsets are bytes, and every caret lies inside the text:
// whoever else shortens a text calls field_clamp_carets. The search worker reads the text where it is,
// without a lock: it is zero-terminated after each change, and storage that it outgrows is retired. Interface
// thread only.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/strings.h"
#include "os/window.h"
#include "ui/ui_state.h"

// ---- Carets ----

// A place in the text, and the selection between it and the anchor; none when they are equal.
struct Caret {
    int32_t anchor; // byte offset; stays when Shift extends the selection
    int32_t caret;  // byte offset; moves
};

// The focused field's carets, input_field.caret_list.count of them. Valid until carets are set.
inline Caret *field_carets() {
    return reinterpret_cast<Caret *>(input_field.caret_list.data);
}

// The end of the text as carets count it: its length, or 2 GiB - 1 in a longer text, whose rest no caret
// reaches.
int32_t field_text_end(const StrBuf *field);

// Makes this the only caret. Without storage for carets there stays none.
void field_set_single_caret(int32_t anchor, int32_t caret);

// Moves carets that lie outside the text to its nearer end.
void field_clamp_carets(const StrBuf *field);

// Makes one caret of each group whose selections overlap or touch; it keeps the direction of the first in the
// list.
void field_merge_carets();

// ---- Events ----

// Does what a key event or a character event means for the field; other events mean nothing. *handled: a
// redraw is needed. *text_changed: a new search is needed, which Backspace, Delete, cutting, pasting and
// characters say even when they change nothing; that is meant. Both are set to 0 or 1.
void field_handle_key(StrBuf *field, const WindowEvent *event, uint8_t *handled, uint8_t *text_changed);

// ---- Edits ----

enum CaretDirection : uint8_t {
    CARET_LEFT,
    CARET_RIGHT,
};

// Moves every caret by a character; with word on to just behind a word separator on the left, to just before
// one on the right. With extend the anchors stay; without it a caret that has a selection only moves to the
// selection's end on that side. Carets that meet are not merged.
void field_move_carets(const StrBuf *field, CaretDirection direction, uint8_t word, uint8_t extend);

// Removes the selections; when there is none, what field_move_carets passes in that direction.
void field_delete(StrBuf *field, CaretDirection direction, uint8_t word);

// Replaces each caret's selection by the bytes, which lie outside the field, and puts the caret behind them;
// a count of 0 only removes. When the storage cannot grow, or the text would be longer than carets can count,
// that caret and those after it in the list keep their selections and text: with one caret nothing changes.
void field_replace_selections(StrBuf *field, uint64_t count, const char *bytes);

static_assert(sizeof(Caret) == 8 && offsetof(Caret, caret) == 4);
