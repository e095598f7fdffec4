// Scrolling of the hits, and the scroll bar. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "search/results_store.h"
#include "ui/layout.h"

// Where the list area ends in a window of that client height: at its lower edge or, with a status line, at
// the top of that line. In a low window the fields come first, then the status line, then the list.
int32_t list_bottom(int32_t client_height);

// Makes that row of the hit table the first visible one; one below 0 counts as 0. If the worker takes a
// request at the same time, the new list may be scrolled instead of starting at its top.
void results_scroll_to(int64_t row);

// Scrolls by one step of the wheel: a fifth of the client height without the status line, in pixels, and at
// least one hit. A positive direction scrolls up, stopping at the first hit; a negative one scrolls down,
// even past the last hit.
void results_scroll_by(int32_t direction, int32_t client_height);

// Draws the bar at the right edge of the list area, which reaches from list_top to the framebuffer's bottom,
// if the hits are at least as tall as the area. The thumb shows the place of the first visible hit among all;
// it is at least theme::shortest_thumb long, but no longer than the area, and ends at the area's bottom at
// the latest.
void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit);

// ---- With list_keys: pages, and the mouse on the scroll bar ----

// Used only while settings.list_keys is set.
struct Scrolling {
    // the hits' area in the last frame that drew them, in pixels of the client area
    int32_t rows_top;
    int32_t rows_bottom;

    bool is_dragging;   // the scroll bar's thumb
    int32_t drag_top_y; // on the screen: of the pointer when it drags the thumb to the list's top
    int32_t drag_y;     // on the screen: of the pointer when the drag last scrolled
};
extern Scrolling scrolling;

// The rows of the hit table.
int64_t results_row_count();
bool results_row_is(int64_t row, ResultKind kind);

// The last row that is fully visible when the list begins with that row.
int64_t last_visible_row(int64_t first);

// The first row when the last hit is at the bottom of the list.
int64_t last_first_row();

// The first row a page further in that direction, 1 or -1: the last row that was fully visible becomes the
// first one, or the other way round. Stops at the ends; a list scrolled past its end stays there.
int64_t page_from(int64_t first, int32_t direction);

// Scrolls as little as makes the row fully visible.
void show_row(int64_t row);

// Before the hits are drawn from the layout's place on: notes that place, and handles the mouse on the scroll
// bar, which may scroll. The bar reaches from list_top to the framebuffer's lower edge. While the pointer is
// on it or drags the thumb, the layout's mouse is moved off every row.
void scroll_bar_mouse(const Framebuffer *framebuffer, int32_t list_top, Layout *layout);
