// The command that a click on a hit runs: a template whose placeholders are replaced by the hit's values.
//
// How to use it: row_text_set with the template, then expand_command. The placeholders are {tarn_row},
// {tarn_column}, {tarn_byte}, {tarn_file_name}, {tarn_file_folder} and {tarn_file_folder_bs}, the folder with
// '\' for '/'. All other text is kept. Values are not quoted: the template has to quote those that may
// contain spaces. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "search/results_store.h"

// ---- The row-text buffer ----

// Scratch text for work on a row of the results; nothing survives from one use to the next. Without storage
// until the first row_text_set.
extern StrBuf row_text;

// Makes text the whole of row_text, zero-terminated. Returns false, row_text unchanged, when out of memory.
// text may not lie in row_text itself.
bool row_text_set(Str text);

// ---- Commands ----

// A longer command, in bytes, is not started: no system accepts it, and a folder that is named like a
// placeholder would make the command grow forever.
constexpr uint64_t longest_command = 0x4000000;

// Replaces the placeholders of the template in row_text by the hit's values, and starts the result, unless it
// is empty, without a console window and without waiting. Returns 0, or the system's error code when it could
// not be started; row_text then has the command. A value is left out when out of memory for it. row is
// a whole copy (ROW_COPIED): the worker may overwrite other rows' texts.
//
// Placeholders in inserted values are not replaced, except in the folder of {tarn_file_folder_bs}, unless it
// begins with one. Intentional.
uint32_t expand_command(const HitRow &row);
