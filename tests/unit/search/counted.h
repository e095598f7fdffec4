// What a search has counted, for tests.
#pragma once

#include <string>

#include "os/clock.h"
#include "search/search_counts.h"

// The worker counts while it lives, from zero.
struct CountsScope {
    CountsScope() {
        os_init(); // the clock
        search_state.keeps_counts = true;
        search_counts_begin();
    }
    ~CountsScope() {
        search_counts_begin();
        search_state.keeps_counts = false;
    }
    CountsScope(const CountsScope &) = delete;
    CountsScope &operator=(const CountsScope &) = delete;
};

// Counts, by default as the interface sees them, without the time.
inline std::string counted(const SearchCounts &counts = search_counts_now()) {
    static const char *const outcomes[] = {
        "none", "runs", "finished", "no such folder", "not a folder", "unreadable folder", "ends in slash"};
    return std::string(outcomes[counts.outcome]) + ": " + std::to_string(counts.hits) + " hits in " +
           std::to_string(counts.files_with_hits) + " of " + std::to_string(counts.files) + ", " +
           std::to_string(counts.too_large) + " too large, " + std::to_string(counts.unreadable) +
           " unreadable";
}
