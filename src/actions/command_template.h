// What a click on a hit runs: a command line made from a template and the hit.
//
// How to use it: row_text_set with the template, then expand_command. A template's placeholders are
// {tarn_row}, {tarn_column}, {tarn_byte}, {tarn_file_name}, {tarn_file_folder} and {tarn_file_folder_bs}, the
// folder with '\' for '/'. Everything else stands for itself, and nothing is quoted: a template has its own
// quotes around what may have blanks. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "search/results_store.h"

// ---- The row-text buffer ----

// Scratch text of whoever works on a row of the results: nothing survives from one use to the next. Made by
// the first row_text_set; no storage before.
extern StrBuf row_text;

// Makes text the whole of row_text, zero-terminated. Returns 0, row_text unchanged, when there is no memory
// for it. text may not lie in row_text itself.
uint8_t row_text_set(Str text);

// ---- Commands ----

// A command whose text passes this many bytes is not started: no system takes one, and a folder that is named
// like a placeholder would have it grow for ever.
constexpr uint64_t longest_command = 0x4000000;

// Replaces the placeholders of the template in row_text by what they mean for the hit, and starts the result,
// unless it is empty, without a console window and without waiting; whether it could be started is not told.
// A value that finds no memory is left out. file and hit must not change meanwhile: for rows that the worker
// may rewrite the caller passes copies.
//
// Inserted text is not looked at again, except for the folder in {tarn_file_folder_bs}: a placeholder in its
// name is replaced as well, unless the name begins with it. That is meant.
void expand_command(const FileEntry *file, const ResultRecord *hit);
