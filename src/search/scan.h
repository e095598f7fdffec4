// The scan of a file's bytes, up to 128 places at a time.
//
// Two of the query's bytes are chosen, the ones that source texts have least of. The scan looks for the
// rarest alone, then for both where it stands, and compares the whole query only where both stand right. Line
// feeds are counted only up to a hit. The plain scan, byte by byte, stands in the tests as the check.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// A query, made ready for looking. Its bytes stay the caller's: what stands here is a copy of some, the rest
// is read in place. When they change meanwhile, what is found is undefined but nothing else is read.
struct ScanNeedle {
    char rare;            // the rarest byte, and where it stands in the query
    char other;           // the next rarest; the same one for a query of one byte
    int64_t rare_offset;  // bytes
    int64_t other_offset; // bytes
    uint64_t start;       // the query's first eight bytes, as many as there are
    uint64_t start_mask;  // all bits of those
    Str query;
};

// An empty query stands wherever a zero byte does.
ScanNeedle scan_needle(Str query);

// A place where the query stands, and the line around it.
struct ScanHit {
    int64_t pos;
    uint32_t line_feeds; // between from and pos
    int64_t line_start;  // behind the last of those, or from
    int64_t line_end;    // the first line feed at or behind pos, or span
};

// Finds the first place from from on, below span, at which the query stands; from is the start of a line.
// Returns 0, with hit undefined, when there is none (also for from >= span). Reads text from its start up to
// span + the query's length only.
uint8_t scan_next_hit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle, ScanHit *hit);

// ---- The processor's variants ----

// The same function for from < span, in the instructions of one kind of processor.
typedef uint8_t ScanNextHit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle,
                            ScanHit *hit);

ScanNextHit scan_next_hit_sse2; // every x86-64 processor
ScanNextHit scan_next_hit_avx2; // only where os_has_avx2

// The variant in use: the best one this processor has, chosen at start-up.
extern ScanNextHit *scan_next_hit_variant;
