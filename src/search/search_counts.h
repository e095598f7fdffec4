// What the status line shows of a search: whether it runs, what it has found so far, and what it has skipped.
// Nothing is counted without search_state.keeps_counts.
//
// The worker writes and the interface reads without a lock, as with the results: the worker zeroes the counts
// and then sets request_number, after it has incremented requests_taken. So a copy is of one search if the
// number that it began with is still requests_taken at its end.
#pragma once

#include <stdint.h>

#include "search/search_state.h"

enum SearchOutcome : uint8_t {
    SEARCH_NONE = 0, // without a path or a query
    SEARCH_RUNS,
    SEARCH_FINISHED,
    SEARCH_NO_SUCH_FOLDER,
    SEARCH_NOT_A_FOLDER,       // but a file
    SEARCH_UNREADABLE_FOLDER,  // it cannot be listed
    SEARCH_PATH_ENDS_IN_SLASH, // so its folders are listed instead
};

struct SearchCounts {
    uint32_t request_number; // requests_taken of this search; set last when it begins
    SearchOutcome outcome;
    uint64_t files; // read and searched
    uint64_t files_with_hits;
    uint64_t hits;       // lines
    uint64_t too_large;  // files above max_file_size
    uint64_t unreadable; // files and sub-folders that could not be opened or read
    int64_t us;          // microseconds from taking the request to the outcome

    bool operator==(const SearchCounts &) const = default;
};
extern volatile SearchCounts search_counts;

// Worker, after take_request: begins to count.
void search_counts_begin();

// Worker: sets the outcome, unless a new request is pending.
void search_counts_set(SearchOutcome outcome);

// Worker: increments one of the counts.
inline void count_one(volatile uint64_t *count) {
    if (search_state.keeps_counts) {
        *count = *count + 1;
    }
}

// Interface: the counts of the search whose results are shown; all zero while a request is pending.
SearchCounts search_counts_now();
