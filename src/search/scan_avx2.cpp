// Built with -mavx2 and called only where the processor has it.
#include <immintrin.h>
#include <string.h>

#include "search/scan.h"

namespace {

using Vector = __m256i;
constexpr int64_t lanes = 32;

inline Vector load(const char *p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i_u *>(p));
}

inline Vector splat(char byte) {
    return _mm256_set1_epi8(byte);
}

inline Vector equal(Vector a, Vector b) {
    return _mm256_cmpeq_epi8(a, b);
}

inline Vector both(Vector a, Vector b) {
    return _mm256_and_si256(a, b);
}

inline Vector either(Vector a, Vector b) {
    return _mm256_or_si256(a, b);
}

inline Vector minus(Vector a, Vector b) {
    return _mm256_sub_epi8(a, b);
}

inline uint32_t sum(Vector v) {
    // Eight bytes at a time are added up into a 64-bit word.
    __m256i words = _mm256_sad_epu8(v, _mm256_setzero_si256());
    __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4));
}

inline uint32_t mask(Vector v) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(v));
}

#include "search/scan_kernel.inl"

} // namespace

uint8_t scan_next_hit_avx2(const char *text, int64_t from, int64_t span, const ScanNeedle &needle,
                           ScanHit *hit) {
    return next_hit(text, from, span, needle, hit);
}
