#include "search/search_state.h"

#include "os/arena.h"
#include "search/results_store.h"

SearchState search_state = {
    .path = {},
    .query = {},
    .max_file_size = default_max_file_size,
    .reader_count = 0,
    .keeps_counts = false,
    .ignore_case = false,
    .skip_folders = {},
    .requests_published = 0,
    .interface_pass = 0,
    .retired_text = {nullptr, &search_state.worker_pass},
    .request_pending = 1,
    .search_busy = 0,
    .worker_pass = 0,
    .requests_taken = 0,
    .requests_seen = 0,
    .results_dirty = 0,
    .results_scroll = 0,
};

bool set_request_text(StrBuf *text, Str replacement) {
    return set_request_text_end(text, 0, replacement);
}

bool set_request_text_end(StrBuf *text, uint64_t start, Str end) {
    return strbuf_set_end(text, start, end, &search_state.retired_text);
}

void publish_request() {
    results_store.hit_table.count = 0;
    search_state.results_dirty = 1;
    search_state.requests_published = search_state.requests_published + 1;
    search_state.request_pending = 1;
}

uint64_t current_search_number() {
    return uint64_t{search_state.requests_published} << 32 | search_state.requests_taken;
}

bool has_request() {
    return search_state.request_pending || search_state.requests_published != search_state.requests_seen;
}

Str take_request() {
    // The flag is cleared before the path is read: an edit that this search does not see raises it again. But
    // the processor may delay the store until after the read, and so clear the flag of such an edit.
    // has_request still notices it: loads stay in order, so requests_seen is older than that edit's number.
    search_state.requests_seen = search_state.requests_published;
    search_state.request_pending = 0;
    Str path = strbuf_text(&search_state.path);
    results_store.file_table.count = 0;
    arena_rewind(&results_store.arena);
    results_store.hit_table.count = 0;
    results_store.matching_folders.count = 0;
    results_store.other_folders.count = 0;
    search_state.results_scroll = 0;
    // Rows of the old results are overwritten from here on.
    search_state.requests_taken = search_state.requests_taken + 1;
    // results_dirty stays as it is: the interface set it when it published.
    return path;
}
