// Replaces a whole file so that a program killed at any moment leaves either the old content or the new one.
// One version for all systems, above files.h.
//
// A file cannot be shortened, so it is deleted and written again. Before that, a second file gets the new
// content, which it keeps until the first file is whole again. It begins with the content's length, so an
// incomplete second file is detected: the first one has not been touched then. An incomplete first file is
// missing or a proper prefix of the second's content. docs/architecture.md has every state of the two files.
//
// How to use it: read_replaced_file at each start, then replace_file for each new content.
#pragma once

#include <stdint.h>

#include "os/files.h"

// The paths of a file that is replaced, in the same folder.
struct ReplacedFile {
    Str first;   // the file itself
    Str second;  // exists while the first is being replaced; its path is no longer than first
    Str earlier; // what an earlier version called the second file; finished as well, then deleted
};

// A block for replace_file begins with this many bytes for the length, in bytes, of the content after them.
inline constexpr uint64_t replaced_length_size = sizeof(uint64_t);

// The calls that change the disk. Tests replace them.
struct FileCalls {
    decltype(os_file_write) *write;
    decltype(os_file_delete) *remove;
};
extern FileCalls replace_file_calls;

// Finishes an interrupted replacement and reads the content, which the caller frees with os_file_free; a
// missing file's is empty. Returns false, with null data, when the content is, or may be, in a file that
// cannot be read, or is in a second file of an earlier version whose replacement cannot be finished; such a
// file must not be replaced.
bool read_replaced_file(const ReplacedFile *file, Str *content);

// Replaces the content by what follows the block's first bytes, which are filled in here. A failure is not
// reported: the old content stays, or the second file has the new one. Only with a folder in the second
// file's place may a kill in between or a full disk lose both.
void replace_file(const ReplacedFile *file, Str block);
