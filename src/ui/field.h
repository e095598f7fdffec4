// One of the two fields, "Path: " and "Src: ": its text, its saved entries and the file that keeps both.
// Interface thread only, except for the text.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Field {
    // set once
    StrBuf *text;             // search_state's path or query, which the worker reads in place
    uint8_t is_path;          // its text is cleaned, and Enter completes it
    const char *file_name;    // beside the executable; null: a field without saved entries
    const char *second_name;  // of the file that exists while file_name is being replaced; not longer
    const char *earlier_name; // of the second file in version 0.9.5

    DynArray entries;  // SavedEntry (saved_entries.h)
    uint8_t is_saved;  // 1: the text equals a live entry, as far as the last mark update knew
    uint8_t is_unread; // 1: the file could not be read; each write tries that first
};

extern Field path_field;
extern Field query_field;

// What follows from a change of the focused field's text by a key: cleans a path, finds out whether the text
// is saved, clamps the carets, writes the file and starts a search, in this order.
void field_changed(Field *field);
