// The list: a row for each suggested folder, then for each file a header row with its name and a row for each
// hit. The hit under the mouse is highlighted, and a click on it runs a command. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/strings.h"
#include "search/results_store.h"
#include "ui/layout.h"

// Draws text in the layout's current row, at that x. Returns its width in pixels.
int32_t draw_row_text(Framebuffer *framebuffer, const Layout *layout, int32_t x, uint32_t colour, Str text);

// Draws the matching folders, then the others, one name per row, from the layout's place down to the
// framebuffer's lower edge, and moves the layout below them.
void folders_view(Framebuffer *framebuffer, Layout *layout);

// Draws the rows of the hit table from first_visible_hit on, from the layout's place down to the
// framebuffer's lower edge, and moves the layout below them. A header row precedes the first hit, even in the
// middle of a file. The first hit under the mouse, at any x, runs left_click_cmd or right_click_cmd when that
// button went down in this frame and the click is not consumed yet; left_click_cmd when both did.
void results_view(Framebuffer *framebuffer, int32_t first_visible_hit, Layout *layout);

// Runs a click command with a hit's row. Runs none with texts that the next search may be writing over.
void results_run_command(Str command, const HitRow &row);

// The number of bytes at the start of a file's folder that the list leaves out while show_full_paths is off:
// all before the name of the searched folder. path: the Path field's text. May exceed the folder's length
// when path has been edited since the search.
uint64_t results_hidden_folder_bytes(Str path);
