// For every x86-64 processor.
#include <emmintrin.h>
#include <string.h>

#include "search/scan.h"

namespace {

using Vector = __m128i;
constexpr int64_t lanes = 16;

inline Vector load(const char *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(p));
}

inline Vector splat(char byte) {
    return _mm_set1_epi8(byte);
}

inline Vector equal(Vector a, Vector b) {
    return _mm_cmpeq_epi8(a, b);
}

inline Vector both(Vector a, Vector b) {
    return _mm_and_si128(a, b);
}

inline Vector either(Vector a, Vector b) {
    return _mm_or_si128(a, b);
}

inline Vector minus(Vector a, Vector b) {
    return _mm_sub_epi8(a, b);
}

inline uint32_t sum(Vector v) {
    // Eight bytes at a time are added up into a 64-bit word.
    __m128i halves = _mm_sad_epu8(v, _mm_setzero_si128());
    return static_cast<uint32_t>(_mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4));
}

inline uint32_t mask(Vector v) {
    return static_cast<uint32_t>(_mm_movemask_epi8(v));
}

#include "search/scan_kernel.inl"

} // namespace

uint8_t scan_next_hit_sse2(const char *text, int64_t from, int64_t span, const ScanNeedle &needle,
                           ScanHit *hit) {
    return next_hit(text, from, span, needle, hit);
}
