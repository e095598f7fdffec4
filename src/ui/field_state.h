// The two fields, "Path: " and "Src: ": the text of each, its saved entries and the file that keeps both; and
// which of them has the focus. Interface thread only, except for the texts.
#pragma once

#include <stdint.h>

#include "os/arrays.h"
#include "os/strings.h"

struct Field {
    // set once
    StrBuf *text;          // search_state's path or query, which the worker reads in place
    bool is_path;          // the text is cleaned, and Enter completes it
    const char *file_stem; // its files' name without extension; null: a field without saved entries

    DynArray entries; // SavedEntry (saved_entries.h)
    bool is_saved;    // whether the text equalled a live entry at the last mark update
    bool is_unread;   // the file could not be read; each write first tries to
};

extern Field path_field;
extern Field query_field;

// The field with the keyboard focus, and its carets.
struct InputField {
    Field *focused_field; // gets the keys; null: none
    DynArray caret_list;  // of Caret (line_editor.h), the focused field's
    bool dropdown_open;   // the saved entries of the focused field are shown below it
    uint32_t first_unit;  // the first UTF-16 unit of a character whose second is not typed yet; 0: none
};
extern InputField input_field;

inline constexpr uint64_t reserved_carets = 16; // by start-up, in caret_list

// After a key has changed the focused field's text: cleans a path, updates the mark, writes the file and
// starts a search, in this order.
void field_changed(Field *field);
