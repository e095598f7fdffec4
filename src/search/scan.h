// Scans a file's bytes, up to 128 positions at a time.
//
// Picks the query's two bytes that are rarest in source code. The scan looks for the rarest alone, then for
// both, and compares the whole query only where both match. Line feeds are counted only up to a hit. The
// tests compare it with a plain byte-by-byte scan.
//
// To ignore case, separate functions set the bit that tells lower case from upper case in letters before they
// compare them.
//
// The scan of a file cannot be interrupted. In the worst case, a text that matches the start of the query at
// every position, it compares as many bytes as a loop of memchr and memcmp, a whole vector at a time.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// A query, prepared for scanning. Its bytes stay the caller's: some are copied here, the rest are read in
// place. If they change during a scan, the matches are undefined, but nothing beyond the query is read.
struct ScanNeedle {
    char rare;            // the rarest byte
    char other;           // the rarest of another value; the last byte if all are equal
    int64_t rare_offset;  // bytes
    int64_t other_offset; // bytes
    uint64_t start;       // the query's first eight bytes, or fewer
    uint64_t start_mask;  // all bits of those bytes
    Str query;

    // To ignore case: rare, other and start are in lower case, and these bits are set in the text's bytes
    // before a comparison: case_bit for letters, else 0.
    bool ignore_case;
    char rare_case;
    char other_case;
    uint64_t start_case;
};

// The bit that is set in lower-case ASCII letters and clear in upper-case ones; 0 for all other bytes.
constexpr char case_bit(char byte) {
    char lower = static_cast<char>(byte | 0x20);
    return lower >= 'a' && lower <= 'z' ? 0x20 : 0;
}

// An empty query matches at every zero byte. With ignore_case, ASCII letters match in either case.
ScanNeedle scan_needle(Str query, bool ignore_case = false);

// A match, and the line around it.
struct ScanHit {
    int64_t pos;
    uint32_t line_feeds; // between from and pos
    int64_t line_start;  // after the last of those, or from
    int64_t line_end;    // the first line feed at or after pos, or span
};

// Finds the first match in [from, span); from is the start of a line. Returns false, with hit undefined,
// when there is none (also for from >= span). Never reads text beyond span + the query's length.
bool scan_next_hit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle, ScanHit *hit);

// ---- The processor's variants ----

// The same function for from < span, for one instruction set.
typedef bool ScanNextHit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle,
                         ScanHit *hit);

ScanNextHit scan_next_hit_sse2; // every x86-64 processor
ScanNextHit scan_next_hit_avx2; // only where os_has_avx2

// For a needle that ignores case.
ScanNextHit scan_next_hit_ignoring_case_sse2;
ScanNextHit scan_next_hit_ignoring_case_avx2;

// The variants in use: the best ones this processor has, chosen at start-up.
extern ScanNextHit *scan_next_hit_variant;
extern ScanNextHit *scan_next_hit_ignoring_case_variant;
