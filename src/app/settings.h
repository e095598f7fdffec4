// settings.txt beside the executable: ten keys and the extensions, set once at start-up and only read from
// then on.
//
// A line is a key, whitespace and a value up to the line's end; a line that starts with '#' is a comment.
// Spaces, tabs, carriage returns and line feeds are whitespace, and only a line feed ends a line. A key
// without a value takes the next line as its value. Unknown keys are ignored, and if a key is repeated, the
// last one wins. There are no messages about bad values.
//
// How to use it: settings_load, once, after scratch_create.
#pragma once

#include <stdint.h>

#include "os/strings.h"

struct Settings {
    // in pixels
    int32_t font_size;     // from the highest ascender to the lowest descender
    int32_t line_height;   // of a row
    int32_t text_y_offset; // from a row's top to its baseline

    bool show_full_paths;     // in the results list
    bool remember_last_path;  // whether start-up restores the path of the last run
    bool remember_last_query; // the same for the query

    int64_t max_file_size; // bytes; 0: no limit; the worker reads the copy in search_state

    // Extensions. The worker reads its copies in search_state.
    uint32_t reader_count; // 0 to 64
    bool status_line;      // whether there is one, and whether the worker counts for it
    bool ignore_case;      // whether ASCII letters match in either case
    Str skip_folders;      // names separated by whitespace; part of file, not zero-terminated
    bool list_keys;        // see list_keys.h
    bool utf8_text;        // handed to the drawing as text_is_utf8
    Str fallback_font;     // its path as written, part of file; loaded only with utf8_text

    // Templates of the commands that a click on a hit runs; parts of file, or constants; not zero-terminated.
    Str left_click_cmd;
    Str right_click_cmd;

    Str file; // the file's bytes, never freed; empty when it could not be read
};

// Before settings_load: the defaults, with the sizes in pixels 0.
extern Settings settings;

// Reads settings.txt in folder, which ends with '/', applies it and the fallbacks, copies to search_state
// what the worker needs, sets text_is_utf8 and loads the fallback font. All defaults apply when the file
// cannot be read.
void settings_load(Str folder);

// Applies the keys in a file's bytes, in their order. The click commands, skip_folders and fallback_font
// point into text. A font_file is loaded at once; its path is relative to folder unless it is absolute.
void settings_apply(Str text, Str folder);

// Replaces sizes, a limit or a font that are unusable after settings_apply; the default font is in folder.
void settings_apply_fallbacks(Str folder);
