#include "search/walk.h"

decltype(os_folder_first) *walk_folder_first = os_folder_first;

namespace {

bool is_dot_or_dot_dot(Str name) {
    return (name.count == 1 && name.data[0] == '.') ||
           (name.count == 2 && name.data[0] == '.' && name.data[1] == '.');
}

} // namespace

bool walk_folder(Str folder, EntryCallback callback) {
    if (!callback.call) {
        return false;
    }
    FolderEntry entry;
    void *listing = walk_folder_first(folder, callback.use, &entry);
    if (!listing) {
        return false;
    }
    do {
        if (is_dot_or_dot_dot(entry.name)) {
            continue;
        }
        if (!callback.call(callback.context, folder, entry)) {
            break;
        }
    } while (os_folder_next(listing, &entry));
    os_folder_close(listing);
    return true;
}
