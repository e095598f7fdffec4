// What the interface and the search worker share: the request, and a few flags and counters.
//
// Intentionally, no lock, atomic operation or barrier guards it. The interface edits path and query in
// place, then publishes; the worker polls, takes the request and reads both texts in place. A search that
// read a half-edited text is cancelled by the request that follows.
#pragma once

#include <stdint.h>

#include "os/shared_blocks.h"
#include "os/strings.h"

inline constexpr int64_t default_max_file_size = 10000000; // bytes
inline constexpr uint64_t reserved_text_size = 1024;       // bytes, of path and of query, at start-up

struct SearchState {
    // interface writes, worker reads
    StrBuf path;  // the Path field's own text: a folder, or a folder and the start of a name
    StrBuf query; // the Src field's own text
    volatile int64_t max_file_size; // bytes; larger files are skipped; 0: no limit; set at start-up only
    uint32_t reader_count; // threads that read ahead of the worker; 0: none; set at start-up, then lowered
                           // by the worker to those that it could start
    bool keeps_counts;     // whether the worker keeps search_counts; set at start-up only
    bool ignore_case;      // whether the query's ASCII letters match in either case; set at start-up only
    Str skip_folders;      // names of folders not entered, separated by whitespace; set at start-up only
    volatile uint32_t requests_published; // incremented by each request, before request_pending is set
    volatile uint32_t interface_pass;     // incremented at the start of each frame; 0: nobody reads results
    RetiredBlocks retired_text;           // interface only: replaced storage of path and query

    // interface sets to 1, worker clears
    volatile uint8_t request_pending; // a search is wanted; cancels the running one

    // worker writes, interface reads
    volatile uint8_t search_busy;     // 1 while a content search walks
    volatile uint32_t worker_pass;    // incremented by each poll; 0 until the worker thread starts
    volatile uint32_t requests_taken; // incremented per request taken, once the old results are dropped
    uint32_t requests_seen;           // worker only: requests_published before the search read the path

    // both write
    // set when the results change; the interface clears it, then redraws
    volatile uint8_t results_dirty;
    volatile int32_t results_scroll; // first visible row; the interface scrolls, each request sets it to 0
};

// request_pending starts as 1, so the worker's first request uses the texts loaded at start-up.
extern SearchState search_state;

// Interface: replaces all of text, which is path or query. Returns false, text unchanged, when out of memory.
// replacement must not point into text itself. Does not cancel a running search: only a request does.
bool set_request_text(StrBuf *text, Str replacement);

// The same for what follows the first start bytes of text, which must exist and are kept.
bool set_request_text_end(StrBuf *text, uint64_t start, Str end);

// Interface: requests a search with the current texts. The list of hits empties at once.
void publish_request();

// Interface: a number that changes with each request published or taken. While it stays the same, the results
// are of the same search.
uint64_t current_search_number();

// Worker: whether a search is wanted.
bool has_request();

// Worker: accepts the request and empties the results. Returns the path, in the field's own storage.
Str take_request();
