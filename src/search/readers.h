// Reader threads list folders, and read and scan files, ahead of the worker.
//
// Results are in walk order: a folder's files, then its sub-folders, depth first. The folders that the worker
// is not done with are in a list in this order; listing a folder inserts its sub-folders after it. The files
// of listed folders go into a ring of 256 jobs of up to 16 files each. Readers take folders and jobs from the
// front; the worker takes finished jobs in order. One lock guards everything that readers and worker share.
// Of what the worker shares with the interface, readers read only request_pending, before each entry and
// file, and the settings max_file_size, ignore_case and skip_folders, which never change.
//
// When memory runs out, or a file or folder cannot be opened or read, the reader leaves it to the worker,
// which then does what it does without readers. So readers lose nothing that one thread would find.
//
// Usage: readers_start once; for each search readers_begin, readers_next until it returns false, readers_end.
#pragma once

#include <stdint.h>

#include "os/files.h"
#include "os/strings.h"
#include "os/threads.h"
#include "search/results_store.h"

inline constexpr uint32_t most_readers = 64;

// Readers' calls of the system. Tests replace them.
struct ReaderCalls {
    decltype(os_files_of) *files_of;
    decltype(os_file_open) *file_open;
    decltype(os_file_read) *file_read;
    decltype(os_condition_wait) *wait_for_work;
};
extern ReaderCalls reader_calls;

// Worker, before its first search: sets the number of readers to count, at most most_readers, or to as
// many as can be started and have enough file descriptors. Returns the number. A later call may change it
// while no search runs.
uint32_t readers_start(uint32_t count);

enum FileOutcome : uint8_t {
    FILE_LISTED,    // not read yet
    FILE_LEFT,      // left to the worker
    FILE_TOO_LARGE, // above the limit
    FILE_READ,
};

struct ReadFile {
    Str name;      // zero-terminated
    uint64_t size; // bytes, as listed; if the listing lacks it, as opened
    uint32_t hit_count;
    FileOutcome outcome;
    bool has_size; // as listed
};

// Some files of a folder and their hits.
struct ReadJob {
    Str folder;
    bool begins_folder; // the folder's first job; an empty folder has one too
    bool ends_folder;   // the folder's last job
    bool is_top;        // of the folder the search began with
    bool is_left;       // the folder and everything below it are left to the worker
    bool is_done;       // used by the readers alone
    uint32_t file_count;
    ReadFile *files;
    Str hits; // for read_hit
};

// Worker: begins a search of all files below folder. query must stay valid and unchanged until readers_end.
// Returns false, with no search begun, when there are no readers or no memory.
bool readers_begin(Str folder, Str query);

// Worker: gives *job back, unless it is null as before the first call, and sets it to the next one, or to
// null if that is not done within a few milliseconds. Returns false when no job is left.
bool readers_next(const ReadJob **job);

// Worker: ends the search, finished or not. Waits until readers have finished their current file or entry.
void readers_end();

// Worker: reserves memory to read files of up to size bytes itself, so that together with those of the
// readers they take at most 64 MiB. With a size above 48 MiB it waits until readers hold no contents at all,
// and they read nothing until it gives the memory back.
void readers_take_room(uint64_t size);
void readers_give_room_back(uint64_t size);

// Worker: returns the hit at position in a job's hits and advances position. Hits are in file order.
LineHit read_hit(const ReadJob *job, uint64_t *position);
