// Reader threads: they list folders, and read and scan files, ahead of the worker.
//
// A search has the order of a walk: a folder's files, then its sub-folders depth first. Folders that are not
// read yet are a list in this order, in which a listing puts a folder's sub-folders behind it. Listed folders
// go, up to 16 files at a time, into a ring of 256 jobs. Readers take folders and jobs from the front, the
// worker takes the results of the jobs in order. One lock guards all that they share with the worker. Of what
// the worker shares with the interface, readers only look at request_pending, for each entry and file.
//
// What a reader cannot do, for want of memory, or because a file or folder cannot be opened or read, it
// leaves to the worker, which then does it as without readers. So nothing is lost that one thread would find.
//
// How to use it: readers_start once; for a search readers_begin, readers_next until it returns 0,
// readers_end.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "search/matcher.h"

inline constexpr uint32_t most_readers = 64;

// Interface, before the worker starts: from now on count readers work, at most most_readers, or as many as
// can be started. Returns how many. A later call may change the number while no search runs.
uint32_t readers_start(uint32_t count);

enum FileOutcome : uint8_t {
    FILE_LEFT,      // to the worker
    FILE_TOO_LARGE, // above the limit
    FILE_READ,
};

struct ReadFile {
    Str name;      // zero-terminated
    uint64_t size; // bytes, as listed or, where a listing does not have it, as opened
    uint32_t hit_count;
    FileOutcome outcome;
    uint8_t has_size;   // as listed
    uint8_t is_special; // as listed
};

// Some files of a folder, with what was found in them.
struct ReadJob {
    Str folder;
    uint8_t begins_folder; // the first job of its folder; one without files has a job, too
    uint8_t ends_folder;   // the last one
    uint8_t is_top;        // of the folder that the search began with
    uint8_t is_left;       // the folder, with all that is below it, is left to the worker
    uint32_t file_count;
    ReadFile *files;
    Str hits; // for read_hit
};

// Worker: begins a search of everything below folder, for files of at most max_file_size bytes; 0: no limit.
// query stays the caller's until readers_end. Returns 0 when there are no readers or no memory; the
// search has then not begun.
uint8_t readers_begin(Str folder, Str query, int64_t max_file_size);

// Worker: the next job, valid until the next call, or null when it is not done within some milliseconds.
// Returns 0 when there is none left.
uint8_t readers_next(const ReadJob **job);

// Worker: ends the search, finished or not: readers finish the files and the entries that they are at.
void readers_end();

// Worker: the hit at a position in a job's hits, which moves on; a file's hits follow those of the file
// before.
LineHit read_hit(const ReadJob *job, uint64_t *position);
