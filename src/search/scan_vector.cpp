// The scan over vectors of bytes, compiled once for each instruction set: CMakeLists.txt gives the flags.
#include "search/scan.h"

#include <algorithm>

#include <immintrin.h>
#include <string.h>

#ifdef __AVX2__
#define SCAN_NEXT_HIT scan_next_hit_avx2
#define SCAN_NEXT_HIT_IGNORING_CASE scan_next_hit_ignoring_case_avx2
#else
#define SCAN_NEXT_HIT scan_next_hit_sse2
#define SCAN_NEXT_HIT_IGNORING_CASE scan_next_hit_ignoring_case_sse2
#endif

namespace {

#ifdef __AVX2__

constexpr int64_t lanes = 32;
typedef char Vector __attribute__((vector_size(lanes)));

// One bit for each lane, lane 0 lowest.
inline uint32_t mask(Vector v) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(reinterpret_cast<__m256i>(v)));
}

// The sum of the lanes as unsigned bytes.
inline uint32_t sum(Vector v) {
    // Eight bytes at a time are added up into a 64-bit word.
    __m256i words = _mm256_sad_epu8(reinterpret_cast<__m256i>(v), _mm256_setzero_si256());
    __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4));
}

#else

constexpr int64_t lanes = 16;
typedef char Vector __attribute__((vector_size(lanes)));

inline uint32_t mask(Vector v) {
    return static_cast<uint32_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(v)));
}

inline uint32_t sum(Vector v) {
    __m128i halves = _mm_sad_epu8(reinterpret_cast<__m128i>(v), _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4));
}

#endif

inline Vector load(const char *p) {
    Vector v;
    memcpy(&v, p, sizeof(v));
    return v;
}

inline Vector splat(char byte) {
    return Vector{} + byte;
}

// All bits of the lanes that are equal.
inline Vector equal(Vector a, Vector b) {
    return reinterpret_cast<Vector>(a == b);
}

constexpr uint32_t all_lanes = ~uint32_t{0} >> (32 - lanes);

// Prefetches the cache line that many bytes ahead, which need not be mapped.
inline void prefetch(const char *p, uintptr_t ahead) {
    __builtin_prefetch(reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(p) + ahead));
}

// All bits of the lanes whose bytes are the same, or with ignore_case letters that differ only in case.
template <bool ignore_case> inline Vector same(Vector a, Vector b) {
    if constexpr (ignore_case) {
        Vector lower = a | splat(0x20);
        Vector is_letter = reinterpret_cast<Vector>((lower > splat('a' - 1)) & (lower < splat('z' + 1)));
        Vector bits = is_letter & splat(0x20);
        return equal(a | bits, b | bits);
    }
    return equal(a, b);
}

template <bool ignore_case> inline bool same_byte(char a, char b) {
    if constexpr (ignore_case) {
        char bit = case_bit(a);
        return (a | bit) == (b | bit);
    }
    return a == b;
}

// The positions where both chosen bytes match.
template <bool ignore_case> struct Candidates {
    const char *at_rare;
    const char *at_other;
    Vector rare;
    Vector other;
    Vector rare_case; // used with ignore_case only, like the next
    Vector other_case;

    Vector of_rare(const char *p) const {
        if constexpr (ignore_case) {
            return equal(load(p) | rare_case, rare);
        }
        return equal(load(p), rare);
    }

    Vector of_other(const char *p) const {
        if constexpr (ignore_case) {
            return equal(load(p) | other_case, other);
        }
        return equal(load(p), other);
    }

    Vector operator()(int64_t pos) const {
        return of_rare(at_rare + pos) & of_other(at_other + pos);
    }
};

// The bits of two adjacent vectors.
inline uint64_t mask_of_two(Vector low, Vector high) {
    return mask(low) | uint64_t{mask(high)} << lanes;
}

// Whether bytes [from, count) of a and b are the same. Not memcmp, as a call would make the surrounding loop
// spill its vector registers.
template <bool ignore_case> inline bool is_same(const char *a, const char *b, int64_t from, int64_t count) {
    for (; count - from >= 4 * lanes; from += 4 * lanes) {
        Vector low = same<ignore_case>(load(a + from), load(b + from)) &
                     same<ignore_case>(load(a + from + lanes), load(b + from + lanes));
        Vector high = same<ignore_case>(load(a + from + 2 * lanes), load(b + from + 2 * lanes)) &
                      same<ignore_case>(load(a + from + 3 * lanes), load(b + from + 3 * lanes));
        if (mask(low & high) != all_lanes) {
            return false;
        }
    }
    for (; count - from >= lanes; from += lanes) {
        if (mask(same<ignore_case>(load(a + from), load(b + from))) != all_lanes) {
            return false;
        }
    }
    for (; from < count; from++) {
        if (!same_byte<ignore_case>(a[from], b[from])) {
            return false;
        }
    }
    return true;
}

// Whether the query matches at pos, which is below span.
template <bool ignore_case>
inline bool matches_at(const char *text, int64_t pos, int64_t span, const ScanNeedle &needle) {
    uint64_t count = needle.query.count;
    uint64_t checked = 0;
    if (pos + 8 <= span + static_cast<int64_t>(count)) {
        uint64_t eight;
        memcpy(&eight, text + pos, 8);
        if constexpr (ignore_case) {
            eight |= needle.start_case;
        }
        if (((eight ^ needle.start) & needle.start_mask) != 0) {
            return false;
        }
        checked = 8;
    }
    return is_same<ignore_case>(text + pos, needle.query.data, static_cast<int64_t>(checked),
                                static_cast<int64_t>(count));
}

// The first marked position at or after pos where the query matches, or -1.
template <bool ignore_case>
inline int64_t first_match(const char *text, int64_t pos, uint64_t places, int64_t span,
                           const ScanNeedle &needle) {
    for (; places != 0; places &= places - 1) {
        int64_t at = pos + __builtin_ctzll(places);
        if (matches_at<ignore_case>(text, at, span, needle)) {
            return at;
        }
    }
    return -1;
}

// The first match in [from, span), or -1.
template <bool ignore_case>
inline int64_t find(const char *text, int64_t from, int64_t span, const ScanNeedle &needle) {
    const Candidates<ignore_case> candidates = {text + needle.rare_offset, text + needle.other_offset,
                                                splat(needle.rare),        splat(needle.other),
                                                splat(needle.rare_case),   splat(needle.other_case)};
    int64_t pos = from;
    int64_t found = -1;
    if (span - pos >= lanes) {
        // One unaligned vector, as a hit is often close; then continue where loads of the rare byte are
        // aligned.
        found = first_match<ignore_case>(text, pos, mask(candidates(pos)), span, needle);
        if (found >= 0) {
            return found;
        }
        pos += lanes - (reinterpret_cast<intptr_t>(candidates.at_rare + pos) & (lanes - 1));
    }
    for (; span - pos >= 4 * lanes; pos += 4 * lanes) {
        const char *p = candidates.at_rare + pos;
        // Where the branches below are hard to predict, hardware prefetching falls behind.
        prefetch(p, 2048);
        prefetch(p, 2048 + 64);
        Vector rare_low = candidates.of_rare(p) | candidates.of_rare(p + lanes);
        Vector rare_high = candidates.of_rare(p + 2 * lanes) | candidates.of_rare(p + 3 * lanes);
        if (mask(rare_low | rare_high) == 0) {
            continue;
        }
        Vector a = candidates(pos);
        Vector b = candidates(pos + lanes);
        Vector c = candidates(pos + 2 * lanes);
        Vector d = candidates(pos + 3 * lanes);
        if (mask(a | b | c | d) == 0) {
            continue;
        }
        found = first_match<ignore_case>(text, pos, mask_of_two(a, b), span, needle);
        if (found < 0) {
            found = first_match<ignore_case>(text, pos + 2 * lanes, mask_of_two(c, d), span, needle);
        }
        if (found >= 0) {
            return found;
        }
    }
    for (; span - pos >= lanes; pos += lanes) {
        found = first_match<ignore_case>(text, pos, mask(candidates(pos)), span, needle);
        if (found >= 0) {
            return found;
        }
    }
    if (pos < span && span >= lanes) {
        // The last positions, as a whole vector that overlaps the previous one.
        int64_t tail = span - lanes;
        return first_match<ignore_case>(text, tail, mask(candidates(tail)) & ~uint64_t{0} << (pos - tail),
                                        span, needle);
    }
    for (; pos < span; pos++) {
        if (same_byte<ignore_case>(candidates.at_rare[pos], needle.rare) &&
            matches_at<ignore_case>(text, pos, span, needle)) {
            return pos;
        }
    }
    return -1;
}

inline uint32_t count_line_feeds(const char *text, int64_t from, int64_t to) {
    const Vector line_feed = splat('\n');
    uint32_t count = 0;
    int64_t pos = from;
    while (to - pos >= lanes) {
        // A lane holds 255 at most.
        int64_t stop = std::min(to, pos + 255 * lanes);
        Vector counts = {};
        for (; stop - pos >= lanes; pos += lanes) {
            counts -= equal(load(text + pos), line_feed); // all bits set is -1
        }
        count += sum(counts);
    }
    if (pos < to && to >= lanes) {
        int64_t tail = to - lanes;
        uint64_t places = mask(equal(load(text + tail), line_feed)) & ~uint64_t{0} << (pos - tail);
        return count + static_cast<uint32_t>(__builtin_popcountll(places));
    }
    for (; pos < to; pos++) {
        count += text[pos] == '\n';
    }
    return count;
}

// The position after the last line feed below pos, which must exist.
inline int64_t line_start(const char *text, int64_t pos) {
    const Vector line_feed = splat('\n');
    for (; pos >= lanes; pos -= lanes) {
        uint32_t places = mask(equal(load(text + pos - lanes), line_feed));
        if (places != 0) {
            return pos - lanes + 32 - __builtin_clz(places);
        }
    }
    while (text[pos - 1] != '\n') {
        pos--;
    }
    return pos;
}

// The first line feed in [pos, span), or span.
inline int64_t line_end(const char *text, int64_t pos, int64_t span) {
    const Vector line_feed = splat('\n');
    for (; span - pos >= lanes; pos += lanes) {
        uint32_t places = mask(equal(load(text + pos), line_feed));
        if (places != 0) {
            return pos + __builtin_ctz(places);
        }
    }
    while (pos < span && text[pos] != '\n') {
        pos++;
    }
    return pos;
}

template <bool ignore_case>
inline bool next_hit(const char *text, int64_t from, int64_t span, const ScanNeedle &needle, ScanHit *hit) {
    int64_t pos = find<ignore_case>(text, from, span, needle);
    if (pos < 0) {
        return false;
    }
    uint32_t line_feeds = count_line_feeds(text, from, pos);
    *hit = {pos, line_feeds, line_feeds > 0 ? line_start(text, pos) : from, line_end(text, pos, span)};
    return true;
}

} // namespace

bool SCAN_NEXT_HIT(const char *text, int64_t from, int64_t span, const ScanNeedle &needle, ScanHit *hit) {
    return next_hit<false>(text, from, span, needle, hit);
}

bool SCAN_NEXT_HIT_IGNORING_CASE(const char *text, int64_t from, int64_t span, const ScanNeedle &needle,
                                 ScanHit *hit) {
    return next_hit<true>(text, from, span, needle, hit);
}
