#include "search/worker.h"

#include <string.h>

#include "search/matcher.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/walk.h"

namespace {

constexpr EntryCallback every_file = {on_file, nullptr, LIST_FILES};
constexpr EntryCallback every_subfolder = {on_subfolder, nullptr, LIST_SUBFOLDERS};
constexpr uint32_t poll_period_ms = 100;

// The path of the sub-folder that is walked. Each level's path begins with that of the level above, so one
// buffer serves them all. Longer than any path that the system opens.
char walked_path[4096];

void search_contents(Str folder) {
    if (search_state.query.count == 0) {
        return;
    }
    search_state.search_busy = 1;
    walk_folder(folder, every_file);
    // The flag is read before the path's bytes, which an edit may have changed.
    if (!search_state.request_pending) {
        walk_folder(folder, every_subfolder);
    }
    search_state.search_busy = 0;
}

// Splits the path into a folder and the start of a name; returns false when it has no folder part.
bool split_path(Str path, Str *folder, Str *prefix) {
    uint64_t end = str_name_start(path);
    *prefix = {path.count - end, path.data + end};
    if (prefix->count == 0) {
        while (end > 0 && path.data[end - 1] == '/') {
            end--;
        }
    } else if (end > 0) {
        end--; // the '/'
    }
    *folder = {end, path.data};
    return end > 0;
}

void suggest_folders(Str path) {
    Str folder;
    Str prefix;
    if (split_path(path, &folder, &prefix) && os_path_exists(folder)) {
        walk_folder(folder, {on_folder_suggestion, &prefix, LIST_DETAILS});
    }
}

} // namespace

uint8_t on_subfolder(void *, Str folder, const FolderEntry &entry) {
    if (search_state.request_pending) {
        return 0;
    }
    if (!entry.is_folder) {
        return 1;
    }
    Str subfolder = results_push_path(folder, entry.name);
    if (!subfolder.data) {
        return 1; // walking the empty path would walk the root
    }
    if (subfolder.count >= sizeof(walked_path)) {
        return 1;
    }
    // Walked from this copy: a search of many texts may overwrite the one in the arena.
    memcpy(walked_path, subfolder.data, subfolder.count + 1);
    subfolder.data = walked_path;
    walk_folder(subfolder, every_file);
    if (!search_state.request_pending) {
        walk_folder(subfolder, every_subfolder);
    }
    return 1;
}

uint8_t search_worker_turn() {
    release_retired(&results_store.retired);
    if (!has_request()) {
        return 0;
    }
    Str path = take_request();
    if (path.count > 0 && path.data[path.count - 1] != '/' && os_path_exists(path)) {
        search_contents(path);
    } else {
        suggest_folders(path);
    }
    return 1;
}

uint32_t search_worker(void *) {
    os_thread_hide_error_boxes();
    results_store_start_arena();
    for (;;) {
        search_state.worker_pass = search_state.worker_pass + 1;
        search_worker_turn();
        os_sleep_ms(poll_period_ms);
    }
}

Thread *search_worker_start() {
    // Set before the thread runs: from then on each of the two may be reading what the other one replaces.
    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    Thread *thread = os_thread_start(search_worker, nullptr);
    if (!thread) {
        search_state.worker_pass = 0;
    }
    return thread;
}
