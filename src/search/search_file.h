// What a search does with each file: on_file reads it and records its hits.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"

// An EntryFn: reads the file and appends its file row and its hits. The context is not used. Returns false
// when a new request is pending. A file that cannot be read is left out.
bool on_file(void *context, Str folder, const FolderEntry &entry);

// Whether a file of size bytes is skipped for its size. Worker and readers.
bool is_above_size_limit(uint64_t size);

// Appends the hits of one file's bytes. contents is a block as os_file_read_all returns it, and tabs in hit
// lines are replaced by spaces in place. A file of 2 GiB or more has no hits.
void scan_contents(Str contents, Str query, uint32_t file_index);
