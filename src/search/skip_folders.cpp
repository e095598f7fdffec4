#include "search/skip_folders.h"

#include "os/files.h"
#include "search/search_state.h"

bool is_skipped_folder(Str name) {
    Str names = search_state.skip_folders;
    for (uint64_t at = 0; at < names.count; at++) {
        uint64_t start = at;
        while (at < names.count && !is_whitespace(names.data[at])) {
            at++;
        }
        if (at > start && os_is_same_name(name, {at - start, names.data + start})) {
            return true;
        }
    }
    return false;
}
