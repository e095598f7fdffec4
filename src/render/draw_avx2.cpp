// Built with -mavx2 and called only where the processor has it.
#include <immintrin.h>
#include <string.h>

#include "render/draw.h"

namespace {

using Pixels = __m256i;
using Floats = __m256;
constexpr int64_t lanes = 8;

inline Pixels load(const uint32_t *p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i_u *>(p));
}

inline __m128i load_half(const uint32_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(p));
}

inline Pixels load_halves(const uint32_t *p, const uint32_t *q) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load_half(p)), load_half(q), 1);
}

inline void store(uint32_t *p, Pixels v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i_u *>(p), v);
}

inline void store_halves(uint32_t *p, uint32_t *q, Pixels v) {
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(p), _mm256_castsi256_si128(v));
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(q), _mm256_extracti128_si256(v, 1));
}

inline Pixels load_bytes(const uint8_t *p) {
    return _mm256_cvtepu8_epi32(_mm_loadu_si64(p));
}

inline Pixels load_bytes_halves(const uint8_t *p, const uint8_t *q) {
    int32_t low, high;
    memcpy(&low, p, 4);
    memcpy(&high, q, 4);
    return _mm256_cvtepu8_epi32(_mm_insert_epi32(_mm_cvtsi32_si128(low), high, 1));
}

inline bool all_opaque(Pixels v) {
    return _mm256_testc_si256(v, _mm256_set1_epi32(static_cast<int32_t>(0xFF000000)));
}

inline Pixels splat(uint32_t u) {
    return _mm256_set1_epi32(static_cast<int32_t>(u));
}

inline Floats splat_float(float f) {
    return _mm256_set1_ps(f);
}

inline Pixels both(Pixels a, Pixels b) {
    return _mm256_and_si256(a, b);
}

inline Pixels joined(Pixels red, Pixels green, Pixels blue) {
    Pixels red_green = _mm256_blend_epi16(green, red, 0xAA); // red stands in the upper half of each pixel
    return _mm256_or_si256(both(red_green, splat(0xFFFF00)), _mm256_or_si256(blue, splat(0xFF000000)));
}

inline Floats to_floats(Pixels v) {
    return _mm256_cvtepi32_ps(v);
}

inline Pixels to_whole(Floats f) {
    return _mm256_cvttps_epi32(f);
}

inline Floats times(Floats f, Floats g) {
    return _mm256_mul_ps(f, g);
}

inline Floats plus(Floats f, Floats g) {
    return _mm256_add_ps(f, g);
}

inline Floats minus(Floats f, Floats g) {
    return _mm256_sub_ps(f, g);
}

inline Floats over(Floats f, Floats g) {
    return _mm256_div_ps(f, g);
}

inline void blit_narrow(const CoverageBlit &blit) {
    blit_coverage_rows_sse2(blit);
}

#include "render/draw_kernel.inl"

} // namespace

void blit_coverage_rows_avx2(const CoverageBlit &blit) {
    if (blit.colour >> 24 == 0xFF) {
        blit_rows<false>(blit);
    } else {
        blit_rows<true>(blit);
    }
}
