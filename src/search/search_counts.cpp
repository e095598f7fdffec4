#include "search/search_counts.h"

#include "os/clock.h"

volatile SearchCounts search_counts;

namespace {

int64_t begin_ticks; // worker only

} // namespace

void search_counts_begin() {
    if (!search_state.keeps_counts) {
        return;
    }
    begin_ticks = os_ticks();
    search_counts.outcome = SEARCH_NONE;
    search_counts.files = 0;
    search_counts.files_with_hits = 0;
    search_counts.hits = 0;
    search_counts.too_large = 0;
    search_counts.unreadable = 0;
    search_counts.request_number = search_state.requests_taken;
}

void search_counts_set(SearchOutcome outcome) {
    if (search_state.keeps_counts && !search_state.request_pending) {
        search_counts.us = os_ticks_to_us(os_ticks() - begin_ticks);
        search_counts.outcome = outcome;
    }
}

SearchCounts search_counts_now() {
    SearchCounts counts = {};
    counts.request_number = search_counts.request_number; // read before the others
    counts.outcome = search_counts.outcome; // read before the counts, which the worker completes before it
    counts.files = search_counts.files;
    counts.files_with_hits = search_counts.files_with_hits;
    counts.hits = search_counts.hits;
    counts.too_large = search_counts.too_large;
    counts.unreadable = search_counts.unreadable;
    counts.us = search_counts.us;
    bool is_of_one_search = search_state.requests_taken == counts.request_number;
    return is_of_one_search && !search_state.request_pending ? counts : SearchCounts{};
}
