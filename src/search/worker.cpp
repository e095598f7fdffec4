#include "search/worker.h"

#include <string.h>

#include "os/arena.h"
#include "os/clock.h"
#include "os/paths.h"
#include "search/readers.h"
#include "search/results_store.h"
#include "search/search_counts.h"
#include "search/search_file.h"
#include "search/search_state.h"
#include "search/skip_folders.h"
#include "search/suggestions.h"
#include "search/walk.h"

void (*worker_sleep_ms)(uint32_t ms) = os_sleep_ms;

namespace {

constexpr EntryCallback every_file = {on_file, nullptr, LIST_FILES};
constexpr EntryCallback every_subfolder = {on_subfolder, nullptr, LIST_SUBFOLDERS};
constexpr uint32_t poll_period_ms = 100;

// The path of the sub-folder being walked. Each level's path begins with that of the level above, so all
// share one buffer.
char walked_path[longest_folder_path + 1];

// Whether the folder that the search began with could be listed.
bool top_is_listed;

// Searches a folder's files, then its sub-folders. Returns false when it cannot be listed.
bool search_folder(Str folder) {
    bool is_listed = walk_folder(folder, every_file);
    // The flag is read before the path's bytes, which an edit may have changed.
    if (!search_state.request_pending) {
        walk_folder(folder, every_subfolder);
    }
    return is_listed;
}

// Searches a sub-folder whose path has at most longest_folder_path bytes.
void search_subfolder(Str path) {
    memcpy(walked_path, path.data, path.count + 1);
    if (!search_folder({path.count, walked_path})) {
        count_one(&search_counts.unreadable);
    }
}

// ---- With readers ----

// Stores the hits of a file that a reader has read.
void store_file(const ReadJob *job, const ReadFile *file, uint64_t *position) {
    uint32_t file_index;
    // Unused, but it takes arena space as in on_file, which cannot read a file without it.
    bool is_stored = results_push_path(job->folder, file->name).data &&
                     results_push_file(job->folder, file->name, &file_index);
    for (uint32_t i = 0; i < file->hit_count; i++) {
        LineHit hit = read_hit(job, position);
        if (is_stored) {
            results_push_hit(file_index, hit);
        }
    }
    if (!is_stored) {
        count_one(&search_counts.unreadable);
    }
}

void store_job(const ReadJob *job) {
    Str path = job->folder;
    if (job->begins_folder && !job->is_top) {
        path = arena_push_string(&results_store.arena, path); // as in on_subfolder
        if (!path.data || path.count > longest_folder_path) {
            count_one(&search_counts.unreadable);
        }
    }
    if (job->is_left && path.data) {
        // Enough for each of its files, one at a time.
        int64_t limit = search_state.max_file_size;
        uint64_t room = limit > 0 && limit < UINT32_MAX ? static_cast<uint64_t>(limit) : UINT32_MAX;
        readers_take_room(room);
        if (job->is_top) {
            top_is_listed = search_folder(path);
        } else {
            search_subfolder(job->folder);
        }
        readers_give_room_back(room);
    }
    uint64_t position = 0;
    for (uint32_t i = 0; i < job->file_count && !search_state.request_pending; i++) {
        const ReadFile *file = &job->files[i];
        if (file->outcome == FILE_READ) {
            store_file(job, file, &position);
        } else if (file->outcome == FILE_TOO_LARGE) {
            count_one(&search_counts.too_large);
        } else if (file->outcome == FILE_LEFT) {
            FolderEntry entry;
            entry.name = file->name;
            entry.size = file->size;
            entry.is_folder = false;
            uint64_t room = static_cast<uint32_t>(file->size); // as os_file_read_all reads
            readers_take_room(room);
            on_file(nullptr, job->folder, entry);
            readers_give_room_back(room);
        }
    }
}

// Returns false when the search has to do without readers.
bool search_with_readers(Str folder) {
    if (search_state.reader_count == 0) {
        return false;
    }
    // Readers get copies, as the interface may edit the fields in place.
    Str query = str_copy(strbuf_text(&search_state.query));
    folder = str_copy(folder);
    bool has_begun = query.data && folder.data && readers_begin(folder, query);
    if (has_begun) {
        const ReadJob *job = nullptr;
        while (!search_state.request_pending && readers_next(&job)) {
            if (job) {
                store_job(job);
            }
        }
        readers_end();
    }
    os_free(query.data);
    os_free(folder.data);
    return has_begun;
}

SearchOutcome search_contents(Str folder) {
    if (search_state.query.count == 0) {
        return SEARCH_NONE;
    }
    search_counts_set(SEARCH_RUNS);
    search_state.search_busy = 1;
    top_is_listed = true;
    if (!search_with_readers(folder)) {
        top_is_listed = search_folder(folder);
    }
    search_state.search_busy = 0;
    if (top_is_listed) {
        return SEARCH_FINISHED;
    }
    bool is_file = search_state.keeps_counts && !os_path_is_folder(folder);
    return is_file ? SEARCH_NOT_A_FOLDER : SEARCH_UNREADABLE_FOLDER;
}

} // namespace

bool on_subfolder(void *, Str folder, const FolderEntry &entry) {
    if (search_state.request_pending) {
        return false;
    }
    if (!entry.is_folder || is_skipped_folder(entry.name)) {
        return true;
    }
    Str subfolder = results_push_path(folder, entry.name);
    // Walking the empty path would walk the root.
    if (!subfolder.data || subfolder.count > longest_folder_path) {
        count_one(&search_counts.unreadable);
        return true;
    }
    // Walked from a copy: a search with many strings may overwrite the one in the arena.
    search_subfolder(subfolder);
    return true;
}

bool search_worker_turn() {
    release_retired(&results_store.retired);
    if (!has_request()) {
        return false;
    }
    Str path = take_request();
    search_counts_begin();
    bool is_searched = path.count > 0 && path.data[path.count - 1] != '/' && os_path_exists(path);
    search_counts_set(is_searched ? search_contents(path) : suggest_folders(path));
    return true;
}

uint32_t search_worker(void *) {
    os_thread_hide_error_boxes();
    results_store_start_arena();
    // Last, so that readers take neither the worker's thread nor the arena's memory.
    search_state.reader_count = readers_start(search_state.reader_count);
    for (;;) {
        search_state.worker_pass = search_state.worker_pass + 1;
        search_worker_turn();
        worker_sleep_ms(poll_period_ms);
    }
}

Thread *search_worker_start() {
    // Set before the thread runs: from then on either thread may be reading what the other replaces.
    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    Thread *thread = os_thread_start(search_worker, nullptr);
    if (!thread) {
        search_state.worker_pass = 0;
    }
    return thread;
}
