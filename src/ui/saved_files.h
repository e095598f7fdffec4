// The files beside the executable that keep each field's last text and saved entries from one start to the
// next. Interface thread only.
//
// How to use it: set saved_folder, reserve the lists (saved_entries.h), load both, the paths first. A file is
// written after each change of the text or of the entries.
//
// A file is the field's text, then the live entries in their order, with "\r\n" between them and nothing
// else. There is intentionally no quoting: what follows a line feed in a text loads as further entries.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "ui/field_state.h"

// The folder of both files, with a '/' at its end; no file is used while it is empty.
extern Str saved_folder;

// Adds the entries in a file's bytes to the field's list. With restore_text the first line becomes the
// field's text, unless it is empty or unterminated. Turns every '\' of contents into '/'.
void saved_list_load_contents(Field *field, Str contents, bool restore_text);

// Appends the contents of the field's file to out. Returns false when out of memory; out is then incomplete.
bool saved_list_contents(const Field *field, StrBuf *out);

// Reads the field's file; changes nothing when it is missing, empty or cannot be read. First finishes a write
// that was cut off by a kill; docs/architecture.md describes the two files.
void saved_list_load(Field *field, bool restore_text);

// Replaces the field's file. One that could not be read is loaded first; while it still cannot be read, it is
// not replaced. Failures are ignored: when out of memory or disk space, or when a file cannot be deleted or
// created, the old content stays. After a kill at any moment, the next load finds the list as it was before
// or as it is now; only with a folder in the second file's place may a kill or a full disk lose it.
void saved_list_write(Field *field);
