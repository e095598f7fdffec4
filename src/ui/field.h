// One of the two fields, "Path: " and "Src: ": its text, its saved entries and the file that keeps both.
// Interface thread only, except for the text.
#pragma once

#include <stdint.h>

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

// After a key has changed the focused field's text: cleans a path, updates the mark, writes the file and
// starts a search, in this order.
void field_changed(Field *field);
