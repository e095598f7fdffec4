// What a search does with each entry of a folder: on_file records the lines of a file that contain the query,
// on_folder_suggestion sorts sub-folders by whether their names begin with the typed one.
//
// Matching is exact and byte by byte: no case folding, no wildcards, binary files like text.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"

// An EntryFn: reads the file and appends its file row and its hits. The context is not used. Returns 0 when a
// new request is pending, else 1. A file that cannot be read is left out.
uint8_t on_file(void *context, Str folder, const FolderEntry &entry);

// An EntryFn: appends a folder's name to matching_folders or other_folders. context points to the
// typed prefix, a Str. Returns 0 when a new request is pending, else 1.
uint8_t on_folder_suggestion(void *context, Str folder, const FolderEntry &entry);

// Appends the hits of one file's bytes. contents is a block as os_file_read_all returns it, and tabs in hit
// lines are replaced by spaces in place. A file of 2 GiB or more has no hits.
void scan_contents(Str contents, Str query, uint32_t file_index);
