// What the interface and the search worker share: the request, and a few flags and counters.
//
// Intentionally, no lock, atomic operation or barrier guards it. The interface edits path and query in
// place, then publishes; the worker polls, takes the request and reads both texts where they are. A search
// that read a half-edited text is cancelled by the request that follows it.
#pragma once

#include <stdint.h>

#include "os/strings.h"

inline constexpr int64_t default_max_file_size = 10000000; // bytes

struct SearchState {
    // interface writes, worker reads
    StrBuf path;  // the Path field's own text: a folder, or a folder and the start of a name
    StrBuf query; // the Src field's own text, matched byte for byte
    volatile int64_t max_file_size; // bytes; larger files are skipped; 0: no limit; set at start-up only
    uint32_t reader_count;          // threads that read ahead of the worker; 0: none; set at start-up only
    volatile uint32_t requests_published; // goes up with each request, before request_pending is set
    volatile uint32_t interface_pass; // goes up at the top of each frame; 0 where nobody reads the results
    RetiredBlocks retired_text;       // interface only: replaced storage of path and query

    // interface sets to 1, worker clears
    volatile uint8_t request_pending; // a search is wanted; cancels the running one

    // worker writes, interface reads
    volatile uint8_t search_busy;  // 1 while a content search walks
    volatile uint32_t worker_pass; // goes up at each turn of the poll loop; 0 until the worker thread starts
    volatile uint32_t requests_taken; // goes up with each request, once the old results are no longer counted
    uint32_t requests_seen;           // worker only: requests_published before the path was read for a search

    // both write
    // set by whoever changes the results; the interface clears it, then redraws
    volatile uint8_t results_dirty;
    volatile int32_t results_scroll; // first visible row; the interface scrolls, each request sets it to 0
};

// request_pending starts as 1, so the worker takes a first request with the texts that start-up has loaded.
extern SearchState search_state;

// Interface: replaces the whole of text, which is path or query. Returns 0, text unchanged, when out of
// memory. replacement may not lie in text itself. A search that reads text meanwhile is not cancelled: that
// takes a request.
uint8_t set_request_text(StrBuf *text, Str replacement);

// The same for what follows the first start bytes of text, which it has and keeps.
uint8_t set_request_text_end(StrBuf *text, uint64_t start, Str end);

// Interface: asks for a new search with the texts as they are now. The list of hits empties at once.
void publish_request();

// Worker: whether a search is wanted.
uint8_t has_request();

// Worker: accepts the request and empties the results. Returns the path, in the field's own storage.
Str take_request();
