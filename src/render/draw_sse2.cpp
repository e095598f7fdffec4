// For every x86-64 processor.
#include <emmintrin.h>
#include <string.h>

#include "render/draw.h"

namespace {

using Pixels = __m128i;
using Floats = __m128;
constexpr int64_t lanes = 4;

inline Pixels load(const uint32_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(p));
}

inline Pixels load_halves(const uint32_t *p, const uint32_t *q) {
    return _mm_unpacklo_epi64(_mm_loadu_si64(p), _mm_loadu_si64(q));
}

inline void store(uint32_t *p, Pixels v) {
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(p), v);
}

inline void store_halves(uint32_t *p, uint32_t *q, Pixels v) {
    _mm_storeu_si64(p, v);
    _mm_storeu_si64(q, _mm_unpackhi_epi64(v, v));
}

inline Pixels widened(int32_t bytes) {
    __m128i zero = _mm_setzero_si128();
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero), zero);
}

inline Pixels load_bytes(const uint8_t *p) {
    int32_t bytes;
    memcpy(&bytes, p, 4);
    return widened(bytes);
}

inline Pixels load_bytes_halves(const uint8_t *p, const uint8_t *q) {
    uint16_t low, high;
    memcpy(&low, p, 2);
    memcpy(&high, q, 2);
    return widened(low | high << 16);
}

inline bool all_opaque(Pixels v) {
    // The alphas in the words' lowest bytes are 255 when no bit of them is missing.
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(v, 24), _mm_set1_epi32(0xFF))) == 0xFFFF;
}

inline Pixels splat(uint32_t u) {
    return _mm_set1_epi32(static_cast<int32_t>(u));
}

inline Floats splat_float(float f) {
    return _mm_set1_ps(f);
}

inline Pixels both(Pixels a, Pixels b) {
    return _mm_and_si128(a, b);
}

inline Pixels joined(Pixels red, Pixels green, Pixels blue) {
    Pixels red_green = _mm_or_si128(both(red, splat(0xFF0000)), both(green, splat(0xFF00)));
    return _mm_or_si128(red_green, _mm_or_si128(blue, splat(0xFF000000)));
}

inline Floats to_floats(Pixels v) {
    return _mm_cvtepi32_ps(v);
}

inline Pixels to_whole(Floats f) {
    return _mm_cvttps_epi32(f);
}

inline Floats times(Floats f, Floats g) {
    return _mm_mul_ps(f, g);
}

inline Floats plus(Floats f, Floats g) {
    return _mm_add_ps(f, g);
}

inline Floats minus(Floats f, Floats g) {
    return _mm_sub_ps(f, g);
}

inline Floats over(Floats f, Floats g) {
    return _mm_div_ps(f, g);
}

inline void blit_narrow(const CoverageBlit &blit) {
    blit_coverage_rows_scalar(blit);
}

#include "render/draw_kernel.inl"

} // namespace

void blit_coverage_rows_sse2(const CoverageBlit &blit) {
    if (blit.colour >> 24 == 0xFF) {
        blit_rows<false>(blit);
    } else {
        blit_rows<true>(blit);
    }
}
