// Scrolling the hits: what a step of the wheel does, and the scroll bar. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"

// Scrolls as one step of the wheel does, a fifth of the client area and at least one hit: up for a positive
// direction, to the first hit at most; down for a negative one, past the last hit as well.
void results_scroll_by(int32_t direction, int32_t client_height);

// Draws the bar at the right edge of the list area, from list_top down: the place of the first visible hit
// among all of them. Drawn when the hits are at least as tall as the area. The thumb is at least 20 pixels
// long, or as long as a lower area, and is cut at the window's bottom. It cannot be dragged.
void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit);
