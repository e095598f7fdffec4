// The hits in a file's bytes: the lines that contain the query.
//
// Matching is byte by byte: exact, or with ASCII letters in either case (search_state.ignore_case). There are
// no wildcards, and binary files are searched like text.
#pragma once

#include <stdint.h>

#include "os/strings.h"
#include "search/results_store.h"
#include "search/scan.h"

// Iterates over the hits in one file's bytes.
struct LineScan {
    char *text;
    int64_t from; // the start of the first line not yet searched
    int64_t span;
    uint32_t line; // its number
    ScanNeedle needle;
};

// contents and query stay the caller's and must outlive the scan. Tabs in hit lines are replaced by spaces in
// place. A file of 2 GiB or more has no hits.
LineScan line_scan(Str contents, Str query);

// Fills in the next hit, whose text points into contents; returns false after the last one.
bool line_scan_next(LineScan *scan, LineHit *hit);
