// The extension list_keys: a selected hit, the keys that move it, run its commands and scroll the list. Used
// only while settings.list_keys is set. Interface thread only.
//
// The selection is a row of the hit table together with the search that it belongs to
// (current_search_number), so rows that are added do not move it, and a new search ends it.
#pragma once

#include <stdint.h>

#include "os/window.h"

struct ListKeys {
    uint64_t search_number; // current_search_number() when this key began

    bool has_selection;       // counts only while selected_number is the current one
    uint64_t selected_number; // of the search in which the row was selected
    int64_t selected_row;     // of the hit table
};
extern ListKeys list_keys;

// Handles a key, with the geometry of the last frame. Returns false when the key is not for the
// list: another key or modifier, a release, an open drop-down, or no selection to act on.
bool list_keys_handle(const KeyPayload &key);

// Whether that row of that search is the selected hit.
bool list_keys_is_selected(uint64_t search_number, uint64_t row);

// Selects the hit in that row, without scrolling.
void list_keys_select(uint64_t search_number, uint64_t row);
