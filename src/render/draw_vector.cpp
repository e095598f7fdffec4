// The blit of coverage over opaque pixels, compiled once for each instruction set: CMakeLists.txt gives the
// flags.
//
// Opaque pixels need no special cases: a coverage of 0 leaves every channel as it is, and one of 255 gives
// the colour exactly. A row that is not a whole number of vectors wide is drawn by two that overlap: both are
// computed from the old pixels, so they agree where they overlap, and nothing outside the row is touched.
//
// Green and red are computed in place, i.e. times 256 and 65536; scaling by a power of two keeps the
// mantissa, so truncation drops the same bits.
#include "render/draw.h"

#include <immintrin.h>
#include <string.h>

// The name of this blit, and of the one for glyphs narrower than half a vector.
#ifdef __AVX2__
#define BLIT_ROWS blit_coverage_rows_avx2
#define BLIT_NARROW blit_coverage_rows_sse2
#else
#define BLIT_ROWS blit_coverage_rows_sse2
#define BLIT_NARROW blit_coverage_rows_scalar
#endif

namespace {

constexpr int32_t opaque = static_cast<int32_t>(0xFF000000);

#ifdef __AVX2__

constexpr int64_t lanes = 8;
typedef int32_t Pixels __attribute__((vector_size(4 * lanes)));
typedef float Floats __attribute__((vector_size(4 * lanes)));

inline __m128i load_half(const uint32_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(p));
}

// Half a vector of pixels from p and half from q.
inline Pixels load_halves(const uint32_t *p, const uint32_t *q) {
    return reinterpret_cast<Pixels>(_mm256_set_m128i(load_half(q), load_half(p)));
}

inline void store_halves(uint32_t *p, uint32_t *q, Pixels v) {
    __m256i pixels = reinterpret_cast<__m256i>(v);
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(p), _mm256_castsi256_si128(pixels));
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(q), _mm256_extracti128_si256(pixels, 1));
}

// Bytes of coverage, each widened to a pixel's size.
inline Pixels load_bytes(const uint8_t *p) {
    return reinterpret_cast<Pixels>(_mm256_cvtepu8_epi32(_mm_loadu_si64(p)));
}

inline Pixels load_bytes_halves(const uint8_t *p, const uint8_t *q) {
    int32_t low, high;
    memcpy(&low, p, 4);
    memcpy(&high, q, 4);
    return reinterpret_cast<Pixels>(_mm256_cvtepu8_epi32(_mm_insert_epi32(_mm_cvtsi32_si128(low), high, 1)));
}

// Whether every pixel's alpha is 255.
inline bool all_opaque(Pixels v) {
    return _mm256_testc_si256(reinterpret_cast<__m256i>(v), _mm256_set1_epi32(opaque));
}

// Opaque pixels from channels that are at their places; bits below red's and green's are cut off.
inline Pixels joined(Pixels red, Pixels green, Pixels blue) {
    // red is in the upper half of each pixel
    __m256i red_green =
        _mm256_blend_epi16(reinterpret_cast<__m256i>(green), reinterpret_cast<__m256i>(red), 0xAA);
    return (reinterpret_cast<Pixels>(red_green) & 0xFFFF00) | (blue | opaque);
}

#else

constexpr int64_t lanes = 4;
typedef int32_t Pixels __attribute__((vector_size(4 * lanes)));
typedef float Floats __attribute__((vector_size(4 * lanes)));

inline Pixels load_halves(const uint32_t *p, const uint32_t *q) {
    return reinterpret_cast<Pixels>(_mm_unpacklo_epi64(_mm_loadu_si64(p), _mm_loadu_si64(q)));
}

inline void store_halves(uint32_t *p, uint32_t *q, Pixels v) {
    __m128i pixels = reinterpret_cast<__m128i>(v);
    _mm_storeu_si64(p, pixels);
    _mm_storeu_si64(q, _mm_unpackhi_epi64(pixels, pixels));
}

inline Pixels widened(int32_t bytes) {
    __m128i zero = _mm_setzero_si128();
    return reinterpret_cast<Pixels>(
        _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(bytes), zero), zero));
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
    // The shift extends the sign, so an alpha of 255 becomes -1.
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(v >> 24 == -1)) == 0xFFFF;
}

inline Pixels joined(Pixels red, Pixels green, Pixels blue) {
    return (red & 0xFF0000) | (green & 0xFF00) | (blue | opaque);
}

#endif

inline Pixels load(const uint32_t *p) {
    Pixels v;
    memcpy(&v, p, sizeof(v));
    return v;
}

inline void store(uint32_t *p, Pixels v) {
    memcpy(p, &v, sizeof(v));
}

inline Floats to_floats(Pixels v) {
    return __builtin_convertvector(v, Floats);
}

// Truncated.
inline Pixels to_whole(Floats f) {
    return __builtin_convertvector(f, Pixels);
}

inline Floats splat(float f) {
    return f - Floats{}; // compiles to a broadcast: minus 0 changes no float
}

// Constants of a blit, as vectors that the loops below keep in registers.
struct Ink {
    Floats red, green, blue; // at their places in a pixel
    Floats scale;            // the colour's alpha, 0 to 1
    Floats all;              // 255
    Floats one;
    Pixels red_bits, green_bits, blue_bits;
};

inline Ink ink_of(uint32_t colour) {
    return {splat(static_cast<float>(colour & 0xFF0000)),
            splat(static_cast<float>(colour & 0xFF00)),
            splat(static_cast<float>(colour & 0xFF)),
            splat(static_cast<float>(colour >> 24) / 255.0f),
            splat(255.0f),
            splat(1.0f),
            Pixels{} + 0xFF0000,
            Pixels{} + 0xFF00,
            Pixels{} + 0xFF};
}

inline Pixels mix(Floats ink, Floats part, Pixels channel, Floats rest) {
    return to_whole(ink * part + to_floats(channel) * rest);
}

// The ink blended over opaque pixels. scaled: whether the ink's alpha is below 255.
template <bool scaled> inline Pixels laid_over(Pixels pixels, Pixels coverage, const Ink &ink) {
    Floats alpha = to_floats(coverage);
    if (scaled) {
        alpha = to_floats(to_whole(alpha * ink.scale));
    }
    Floats part = alpha / ink.all;
    Floats rest = ink.one - part;
    return joined(mix(ink.red, part, pixels & ink.red_bits, rest),
                  mix(ink.green, part, pixels & ink.green_bits, rest),
                  mix(ink.blue, part, pixels & ink.blue_bits, rest));
}

// The loops below draw rows starting at row and return the first with a non-opaque pixel, or the height. They
// call nothing, to keep the constants in registers.

// Columns first to first + lanes.
template <bool scaled>
inline int64_t draw_one(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row) {
    uint32_t *pixels = blit.pixels + row * blit.pixel_stride + first;
    const uint8_t *coverage = blit.coverage + row * blit.coverage_stride + first;
    int64_t height = blit.height, pixel_stride = blit.pixel_stride, coverage_stride = blit.coverage_stride;
    for (; row < height; row++) {
        Pixels under = load(pixels);
        if (!all_opaque(under)) {
            break;
        }
        store(pixels, laid_over<scaled>(under, load_bytes(coverage), ink));
        pixels += pixel_stride;
        coverage += coverage_stride;
    }
    return row;
}

// Columns first to the last: more than one vector, less than two.
template <bool scaled>
inline int64_t draw_two(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row) {
    uint32_t *pixels = blit.pixels + row * blit.pixel_stride + first;
    const uint8_t *coverage = blit.coverage + row * blit.coverage_stride + first;
    int64_t second = blit.width - first - lanes;
    int64_t height = blit.height, pixel_stride = blit.pixel_stride, coverage_stride = blit.coverage_stride;
    for (; row < height; row++) {
        Pixels under = load(pixels);
        Pixels under_second = load(pixels + second);
        if (!all_opaque(under & under_second)) {
            break;
        }
        Pixels drawn = laid_over<scaled>(under, load_bytes(coverage), ink);
        store(pixels + second, laid_over<scaled>(under_second, load_bytes(coverage + second), ink));
        store(pixels, drawn);
        pixels += pixel_stride;
        coverage += coverage_stride;
    }
    return row;
}

// The same for up to one and a half vectors: the columns after the first vector of two rows are drawn as one.
template <bool scaled>
inline int64_t draw_one_and_half(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row) {
    uint32_t *pixels = blit.pixels + row * blit.pixel_stride + first;
    const uint8_t *coverage = blit.coverage + row * blit.coverage_stride + first;
    int64_t second = blit.width - first - lanes / 2;
    int64_t height = blit.height, pixel_stride = blit.pixel_stride, coverage_stride = blit.coverage_stride;
    for (; row + 1 < height; row += 2) {
        uint32_t *lower = pixels + pixel_stride;
        const uint8_t *lower_coverage = coverage + coverage_stride;
        Pixels under = load(pixels);
        Pixels under_lower = load(lower);
        Pixels under_second = load_halves(pixels + second, lower + second);
        if (!all_opaque(under & under_lower & under_second)) {
            break;
        }
        Pixels second_coverage = load_bytes_halves(coverage + second, lower_coverage + second);
        store(pixels, laid_over<scaled>(under, load_bytes(coverage), ink));
        store(lower, laid_over<scaled>(under_lower, load_bytes(lower_coverage), ink));
        store_halves(pixels + second, lower + second, laid_over<scaled>(under_second, second_coverage, ink));
        pixels += 2 * pixel_stride;
        coverage += 2 * coverage_stride;
    }
    return draw_two<scaled>(blit, ink, first, row);
}

// Columns first to the last: half a vector to a whole one.
template <bool scaled>
inline int64_t draw_halves(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row) {
    uint32_t *pixels = blit.pixels + row * blit.pixel_stride + first;
    const uint8_t *coverage = blit.coverage + row * blit.coverage_stride + first;
    int64_t second = blit.width - first - lanes / 2;
    int64_t height = blit.height, pixel_stride = blit.pixel_stride, coverage_stride = blit.coverage_stride;
    for (; row < height; row++) {
        Pixels under = load_halves(pixels, pixels + second);
        if (!all_opaque(under)) {
            break;
        }
        Pixels drawn = laid_over<scaled>(under, load_bytes_halves(coverage, coverage + second), ink);
        store_halves(pixels, pixels + second, drawn);
        pixels += pixel_stride;
        coverage += coverage_stride;
    }
    return row;
}

// count columns starting at first, of one row.
inline CoverageBlit part_of(const CoverageBlit &blit, int64_t first, int64_t count, int64_t row) {
    CoverageBlit part = blit;
    part.pixels += row * blit.pixel_stride + first;
    part.coverage += row * blit.coverage_stride + first;
    part.width = count;
    part.height = 1;
    return part;
}

typedef int64_t DrawColumns(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row);

// Draws count columns starting at first; rows with pixels that are not opaque are drawn pixel by pixel.
inline void draw_columns(DrawColumns *draw, const CoverageBlit &blit, const Ink &ink, int64_t first,
                         int64_t count) {
    for (int64_t row = draw(blit, ink, first, 0); row < blit.height; row = draw(blit, ink, first, row + 1)) {
        blit_coverage_rows_scalar(part_of(blit, first, count, row));
    }
}

// For more than one vector; at usual heights few glyphs are that wide.
template <bool scaled> [[gnu::noinline]] void blit_wide(const CoverageBlit &blit) {
    Ink ink = ink_of(blit.colour);
    int64_t first = 0;
    for (; blit.width - first >= 2 * lanes; first += lanes) {
        draw_columns(draw_one<scaled>, blit, ink, first, lanes);
    }
    int64_t left = blit.width - first;
    if (left > lanes + lanes / 2) {
        draw_columns(draw_two<scaled>, blit, ink, first, left);
    } else if (left > lanes) {
        draw_columns(draw_one_and_half<scaled>, blit, ink, first, left);
    } else {
        draw_columns(draw_one<scaled>, blit, ink, first, left);
    }
}

template <bool scaled> inline void blit_rows(const CoverageBlit &blit) {
    if (blit.width > lanes) {
        blit_wide<scaled>(blit);
    } else if (blit.width >= lanes / 2) {
        draw_columns(draw_halves<scaled>, blit, ink_of(blit.colour), 0, blit.width);
    } else {
        BLIT_NARROW(blit);
    }
}

} // namespace

void BLIT_ROWS(const CoverageBlit &blit) {
    if (blit.colour >> 24 == 0xFF) {
        blit_rows<false>(blit);
    } else {
        blit_rows<true>(blit);
    }
}
