// The status line, with the setting status_line: a row at the bottom of the window with the counts of the
// search, or with why a click's command could not be started. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/strings.h"
#include "search/search_counts.h"
#include "ui/layout.h"

// ---- The text ----

struct StatusText {
    uint64_t count; // bytes
    bool is_problem;
    char bytes[1024]; // of a longer text the start; no control bytes
};

// What the line says of a search.
void status_of_search(const SearchCounts &counts, StatusText *text);

// The text for a command that could not be started; error is the system's code.
void status_of_failed_start(Str cmd, uint32_t error, StatusText *text);

// ---- The row ----

// After expand_command, with its result. A failure is shown until the next search or click.
void status_line_command_run(uint32_t error);

// Before each drawing of a frame: takes the counts that it shows; a click removes a failure.
void status_line_begin_frame();

// Whether the counts have changed since they were drawn, so that a frame is needed. False without the
// setting.
bool status_line_is_outdated();

// Fills the framebuffer from top on, and draws the text there with the layout's sizes.
void draw_status_line(Framebuffer *framebuffer, int32_t top, const Layout &layout);
