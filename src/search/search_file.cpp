#include "search/search_file.h"

#include "search/matcher.h"
#include "search/results_store.h"
#include "search/search_counts.h"
#include "search/search_state.h"

bool is_above_size_limit(uint64_t size) {
    int64_t limit = search_state.max_file_size;
    return limit != 0 && limit < static_cast<int64_t>(size);
}

bool on_file(void *, Str folder, const FolderEntry &entry) {
    if (search_state.request_pending) {
        return false;
    }
    if (entry.is_folder) {
        return true;
    }
    if (is_above_size_limit(entry.size)) {
        count_one(&search_counts.too_large);
        return true;
    }
    Str contents = os_file_read_entry(results_push_path(folder, entry.name), entry.name);
    if (!contents.data) {
        count_one(&search_counts.unreadable);
        return true;
    }
    uint32_t file_index;
    if (results_push_file(folder, entry.name, &file_index)) {
        scan_contents(contents, strbuf_text(&search_state.query), file_index);
    }
    os_file_free(&contents);
    return true;
}

void scan_contents(Str contents, Str query, uint32_t file_index) {
    LineScan scan = line_scan(contents, query);
    LineHit hit;
    while (line_scan_next(&scan, &hit)) {
        results_push_hit(file_index, hit);
    }
}
