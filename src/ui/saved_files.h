// The files beside the executable that keep each field's saved entries, with its last text, from one start to
// the next. Interface thread only.
//
// How to use it: set saved_folder, reserve the lists (saved_entries.h), load both, the paths first. A file is
// written after each change of the text or of the entries.
//
// A file is the field's text, then the live entries in their order, with "\r\n" between them and nothing
// else. Line feeds in a text break that: what follows them loads as further entries. Kept: there is no
// quoting.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "ui/field.h"

// Of both files, with a '/' at its end; no file is used while it is empty.
extern Str saved_folder;

// Adds to the field's list what a file's bytes hold, and makes the first line the field's text when
// restore_text is set and the line is neither empty nor the only one. Turns every '\' of contents into '/'.
void saved_list_load_contents(Field *field, Str contents, uint8_t restore_text);

// Appends to out the bytes that the field's file has to hold. Returns 0 when there is no memory for them; out
// is then incomplete.
uint8_t saved_list_contents(const Field *field, StrBuf *out);

// Reads the field's file; nothing happens when it is missing or empty, or cannot be read. Finishes the
// writing of it that a killed program began. docs/architecture.md tells what the two files of a list may be.
void saved_list_load(Field *field, uint8_t restore_text);

// Replaces the field's file, after loading what could not be read before; what still cannot be read is not
// replaced. A failure is ignored; short of memory or room, or where a file cannot be deleted or made, the old
// content stays. Whenever the program is killed meanwhile, the next load finds the list as it was before or
// as it is now; only with a folder in the second file's place may a kill or a full disk leave none.
void saved_list_write(Field *field);
