// The list of hits: a row with its name for each file, then one for each line of it. The row under the mouse
// is highlighted, and a click on it runs a command. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/strings.h"
#include "ui/ui_state.h"

// Draws text in the cursor's row, at that x. Returns its width in pixels.
int32_t draw_row_text(Framebuffer *framebuffer, const LayoutCursor *cursor, int32_t x, uint32_t colour,
                      Str text);

// Draws the hits from that row of the hit table on, from the cursor down to the framebuffer's lower edge, and
// moves the cursor below them. The first one's file is named above it, wherever in the file it is. A row is
// under the mouse at any x. The first row under it runs left_click_cmd or right_click_cmd when that button
// went down in this frame and nobody has acted on it, the left one when both did.
void results_view(Framebuffer *framebuffer, int32_t first_visible_hit, LayoutCursor *cursor);

// What of a file's folder is left out in the list while show_full_paths is off, in bytes: all before the name
// of the searched folder, path being the text of its field. May be more than the folder has, when path has
// been edited since.
uint64_t results_hidden_folder_bytes(Str path);
