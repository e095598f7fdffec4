#include "search/scan.h"

#include <algorithm>

#include <string.h>

#include "os/processor.h"

ScanNextHit *scan_next_hit_variant = os_has_avx2() ? scan_next_hit_avx2 : scan_next_hit_sse2;
ScanNextHit *scan_next_hit_ignoring_case_variant =
    os_has_avx2() ? scan_next_hit_ignoring_case_avx2 : scan_next_hit_ignoring_case_sse2;

namespace {

// The most common bytes in source code, commonest first; all others are rarer. Counted over 130 MB of C.
constexpr char common_bytes[] =
    " et_\tsrin\naocdluf0p*,m)(h;xbgETk-SAIvC/NR=L>OPyD1Mw.2FU#B{}G34&86qHKX:zV\"579<WY+";

struct CommonRank {
    uint8_t rank[256]; // 0: rare; higher is commoner

    constexpr CommonRank() : rank() {
        constexpr uint8_t count = sizeof(common_bytes) - 1;
        for (uint8_t i = 0; i < count; i++) {
            rank[static_cast<uint8_t>(common_bytes[i])] = static_cast<uint8_t>(count - i);
        }
    }
};
constexpr CommonRank common;

// The byte as the scan compares it: in lower case if case is ignored. That is also a letter's commoner case.
char compared_byte(char byte, bool ignore_case) {
    return ignore_case ? lower_case(byte) : byte;
}

// The offset of the query's rarest byte of a value other than except (-1: any value), or -1.
int64_t rarest_byte(Str query, int32_t except, bool ignore_case) {
    int64_t best = -1;
    uint32_t best_rank = UINT32_MAX;
    for (uint64_t i = 0; i < query.count; i++) {
        uint8_t byte = static_cast<uint8_t>(compared_byte(query.data[i], ignore_case));
        if (byte != except && common.rank[byte] < best_rank) {
            best = static_cast<int64_t>(i);
            best_rank = common.rank[byte];
        }
    }
    return best;
}

// Makes a needle ignore case.
void ignore_case_of(ScanNeedle *needle) {
    needle->ignore_case = true;
    needle->rare_case = case_bit(needle->rare);
    needle->other_case = case_bit(needle->other);
    char bits[8];
    memcpy(bits, &needle->start, sizeof(bits));
    for (char &byte : bits) {
        byte = case_bit(byte);
    }
    memcpy(&needle->start_case, bits, sizeof(bits));
    needle->start |= needle->start_case;
}

} // namespace

ScanNeedle scan_needle(Str query, bool ignore_case) {
    ScanNeedle needle = {};
    needle.query = query;
    if (query.count > 0) {
        needle.rare_offset = rarest_byte(query, -1, ignore_case);
        needle.rare = compared_byte(query.data[needle.rare_offset], ignore_case);
        needle.other_offset = rarest_byte(query, static_cast<uint8_t>(needle.rare), ignore_case);
        if (needle.other_offset < 0) { // all bytes are equal
            needle.other_offset = static_cast<int64_t>(query.count) - 1;
        }
        needle.other = compared_byte(query.data[needle.other_offset], ignore_case);
        uint64_t start_count = std::min(query.count, uint64_t{8});
        memcpy(&needle.start, query.data, start_count);
        needle.start_mask = ~uint64_t{0} >> (64 - 8 * start_count);
    }
    if (ignore_case) {
        ignore_case_of(&needle);
    }
    return needle;
}

bool scan_next_hit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle, ScanHit *hit) {
    ScanNextHit *variant = needle.ignore_case ? scan_next_hit_ignoring_case_variant : scan_next_hit_variant;
    return from < span && variant(text, from, span, needle, hit);
}
