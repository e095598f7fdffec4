// Scrolling of the hits, and the scroll bar. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"

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

// The thumb of the scroll bar, in pixels from the top of the list area.
struct ScrollThumb {
    int32_t offset;
    int32_t length; // 0: there is no scroll bar
};

// area: the list area's height.
ScrollThumb scroll_thumb(int32_t area, int32_t first_visible_hit);

// Draws the bar at the right edge of the list area, which reaches from list_top to the framebuffer's bottom,
// if the hits are at least as tall as the area. The thumb shows the place of the first visible hit among all;
// it is at least theme::shortest_thumb long, but no longer than the area, and ends at the area's bottom at
// the latest. Only list_keys lets the user drag it.
void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit);
