// settings.txt beside the executable: ten keys, set once at start-up and only read from then on.
//
// A line is a key, white-space and a value up to the line's end; '#' before a key makes it a comment. Spaces,
// tabs, carriage returns and line feeds are white-space, and only a line feed ends a line. A key without a
// value takes the next line as its value. Words that are no key are ignored, the later of two equal keys
// holds, and what a value's parser cannot read is left out without a message.
//
// How to use it: settings_load, once, after scratch_create.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Settings {
    // in pixels; read by whoever lays out or draws text
    int32_t font_size;     // of glyphs: from the highest ascender to the lowest descender
    int32_t line_height;   // of a row
    int32_t text_y_offset; // from a row's top to its baseline

    uint8_t show_full_paths;     // read by the results list
    uint8_t remember_last_path;  // whether the path of the last run comes back; read at start-up
    uint8_t remember_last_query; // the same for the query

    int64_t max_file_size; // bytes; 0: no limit; the worker reads the copy in search_state

    // What a click on a hit runs, placeholders and all. Parts of file, or constants, and not zero-terminated.
    Str left_click_cmd;
    Str right_click_cmd;

    Str file; // the file's bytes, kept for life; empty when it could not be read
};

// Before settings_load: what holds for keys that the file does not have, sizes in pixels as 0.
extern Settings settings;

// Reads settings.txt in folder, which ends with '/', applies it and the fallbacks, and hands max_file_size to
// the worker's state. A file that cannot be read leaves all defaults.
void settings_load(Str folder);

// Applies the keys of a file's bytes, in their order. The click commands point into text. A font_file is
// loaded at once; one that is not absolute lies in folder.
void settings_apply(Str text, Str folder);

// Replaces what the file did not set to something usable; the default font is in folder.
void settings_apply_fallbacks(Str folder);
