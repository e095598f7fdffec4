// The extension list_keys: a selected hit, the keys that move it, run its commands and scroll the list, and
// the mouse on the scroll bar. Used only while settings.list_keys is set. Interface thread only.
//
// The selection is a row of the hit table together with the search that it belongs to (current_search), so
// rows that are added do not move it, and a new search ends it.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/window.h"
#include "ui/ui_state.h"

struct ListKeys {
    // the hits' area in the last frame that drew them, in pixels of the client area
    int32_t rows_top;
    int32_t rows_bottom;

    uint64_t search; // current_search() when this frame's list or this key began

    bool has_selection;       // counts only while selected_search is the current search
    uint64_t selected_search; // the search in which the row was selected
    int64_t selected_row;     // of the hit table

    bool is_dragging;   // the scroll bar's thumb
    int32_t drag_top_y; // on the screen: of the pointer when it drags the thumb to the list's top
    int32_t drag_y;     // on the screen: of the pointer when the drag last scrolled
};
extern ListKeys list_keys;

// Handles a key, with the geometry of the last frame. Returns false when the key is not for the
// list: another key or modifier, a release, an open drop-down, or no selection to act on.
bool list_keys_handle(const KeyPayload &key);

// Before the hits are drawn from the layout's place on: notes that place, and handles the mouse on the scroll
// bar, which may scroll. The bar reaches from list_top to the framebuffer's lower edge. While the pointer is
// on it or drags the thumb, the layout's mouse is moved off every row.
void list_keys_mouse(const Framebuffer *framebuffer, int32_t list_top, Layout *layout);

// Whether the row, read in this frame, is the selected hit.
bool list_keys_is_selected(uint64_t row);

// Selects the hit in that row, read in this frame, without scrolling.
void list_keys_select(uint64_t row);

// How far the thumb is below the top of the list, in pixels: between 0 and travel. It is at the bottom when
// the last hit is at the bottom of the list, and when the list is scrolled further.
int32_t list_keys_thumb_offset(int32_t travel, int32_t first_visible_hit);
