#include "search/suggestions.h"

#include "os/arena.h"
#include "os/arrays.h"
#include "os/paths.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/walk.h"

namespace {

// Whether the name begins with the prefix; A to Z match either case.
bool begins_with(Str name, Str prefix) {
    if (name.count < prefix.count) {
        return false;
    }
    for (uint64_t i = 0; i < prefix.count; i++) {
        if (lower_case(name.data[i]) != lower_case(prefix.data[i])) {
            return false;
        }
    }
    return true;
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

} // namespace

bool on_folder_suggestion(void *context, Str, const FolderEntry &entry) {
    if (search_state.request_pending) {
        return false;
    }
    if (!entry.is_folder) {
        return true;
    }
    const Str *prefix = static_cast<const Str *>(context);
    Str copy = arena_push_string(&results_store.arena, entry.name);
    DynArray *list =
        begins_with(entry.name, *prefix) ? &results_store.matching_folders : &results_store.other_folders;
    dynarray_push_shared(list, sizeof(copy), &copy, &results_store.retired);
    search_state.results_dirty = 1;
    return true;
}

SearchOutcome suggest_folders(Str path) {
    Str folder;
    Str prefix;
    bool has_folder = split_path(path, &folder, &prefix);
    bool is_there = has_folder && os_path_exists(folder);
    if (is_there) {
        walk_folder(folder, {on_folder_suggestion, &prefix, LIST_DETAILS});
    }
    if (path.count == 0) {
        return SEARCH_NONE;
    }
    if (prefix.count > 0 || (has_folder && !is_there)) { // only slashes: the root
        return SEARCH_NO_SUCH_FOLDER;
    }
    return search_state.query.count > 0 ? SEARCH_PATH_ENDS_IN_SLASH : SEARCH_NONE;
}
