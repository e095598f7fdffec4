// Paths as texts: their separators and names, and cleaning what was typed.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// Bytes; no system opens longer ones, and a search does not enter them.
inline constexpr uint64_t longest_folder_path = 4095;

// Where the text after the last '/' begins, as a byte offset; 0 when there is no '/'.
uint64_t str_name_start(Str path);

// Turns every '\' into '/', in place.
void str_slashes(Str text);

// Turns every '\' into '/', in place, and cuts the text after its last '/' with a zero byte; without a '/' it
// is not cut.
Str str_cut_to_folder(Str path);

// Cleans a typed path in place: line feeds, carriage returns, tabs and double quotes become spaces,
// backslashes become slashes, and spaces are removed at both ends; without keep_trailing_slashes slashes are
// removed at the end too. Returns what is left of text, not zero-terminated.
Str path_clean(Str text, bool keep_trailing_slashes);

// path_clean for a whole text: the result moves to the start of the storage and is zero-terminated.
void strbuf_clean_path(StrBuf *buf, bool keep_trailing_slashes);
