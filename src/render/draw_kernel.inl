// The blit of coverage over opaque pixels, written once over a vector of pixels. Included by one file for
// each instruction set, inside an unnamed namespace that defines before:
//   Pixels, Floats, lanes        a vector of pixels, one of floats, and how many each has (4 or 8)
//   load(p), load_halves(p, q)   the pixels at p; half as many from p and from q
//   store(p, v), store_halves(p, q, v)
//   load_bytes(p), load_bytes_halves(p, q)    bytes of coverage, each widened to the size of a pixel
//   all_opaque(v)                whether every pixel's alpha is 255
//   splat(u), splat_float(f)     one value in every lane
//   both(a, b)
//   joined(red, green, blue)     opaque pixels of the channels, each standing in its place; what red and
//                                green have below theirs is cut off
//   to_floats(v), to_whole(f)    as numbers, the latter cut towards zero
//   times(f, g), plus(f, g), minus(f, g), over(f, g)
//   blit_narrow(blit)            draws what is narrower than half a vector
//
// Over an opaque pixel the rules need no cases: a coverage of 0 leaves every channel as it is, one of 255
// gives the colour, exactly. A row that no whole number of vectors fills is drawn by two that overlap: both
// are computed from what was there before, so both give the same where they meet, and nothing beside the row
// is touched.
//
// Green and red are computed where they stand in a pixel, as 256 and 65536 times their value. A power of two
// changes no digit of a float, so what is cut off stays the same and lies below the channel.

// What is the same for all pixels of a blit.
struct Ink {
    Floats red, green, blue; // as they stand in a pixel
    Floats scale;            // the colour's alpha as a part of 1
    Floats all;              // 255
    Floats one;
    Pixels red_bits, green_bits, blue_bits;
};

inline Ink ink_of(uint32_t colour) {
    return {splat_float(static_cast<float>(colour & 0xFF0000)),
            splat_float(static_cast<float>(colour & 0xFF00)),
            splat_float(static_cast<float>(colour & 0xFF)),
            splat_float(static_cast<float>(colour >> 24) / 255.0f),
            splat_float(255.0f),
            splat_float(1.0f),
            splat(0xFF0000),
            splat(0xFF00),
            splat(0xFF)};
}

inline Pixels mix(Floats ink, Floats part, Pixels channel, Floats rest) {
    return to_whole(plus(times(ink, part), times(to_floats(channel), rest)));
}

// The pixels, which are opaque, with the ink laid over them. scaled: whether the ink's alpha is below 255.
template <bool scaled> inline Pixels laid_over(Pixels pixels, Pixels coverage, const Ink &ink) {
    Floats alpha = to_floats(coverage);
    if (scaled) {
        alpha = to_floats(to_whole(times(alpha, ink.scale)));
    }
    Floats part = over(alpha, ink.all);
    Floats rest = minus(ink.one, part);
    return joined(mix(ink.red, part, both(pixels, ink.red_bits), rest),
                  mix(ink.green, part, both(pixels, ink.green_bits), rest),
                  mix(ink.blue, part, both(pixels, ink.blue_bits), rest));
}

// The three loops below draw rows from the given one on, down to the first that has a pixel which is not
// opaque. They return that row, or the height. No call stands in them: it would cost them their registers.

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

// Columns first to the last, more than one vector and less than two.
template <bool scaled>
inline int64_t draw_two(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row) {
    uint32_t *pixels = blit.pixels + row * blit.pixel_stride + first;
    const uint8_t *coverage = blit.coverage + row * blit.coverage_stride + first;
    int64_t second = blit.width - first - lanes;
    int64_t height = blit.height, pixel_stride = blit.pixel_stride, coverage_stride = blit.coverage_stride;
    for (; row < height; row++) {
        Pixels under = load(pixels);
        Pixels under_second = load(pixels + second);
        if (!all_opaque(both(under, under_second))) {
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

// Columns first to the last, half a vector to a whole one.
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

// The columns from first on, count of them, of the rows from row on, count_rows of them.
inline CoverageBlit part_of(const CoverageBlit &blit, int64_t first, int64_t count, int64_t row,
                            int64_t count_rows) {
    CoverageBlit part = blit;
    part.pixels += row * blit.pixel_stride + first;
    part.coverage += row * blit.coverage_stride + first;
    part.width = count;
    part.height = count_rows;
    return part;
}

typedef int64_t DrawColumns(const CoverageBlit &blit, const Ink &ink, int64_t first, int64_t row);

// Draws count columns from first on; rows the vectors cannot draw are drawn pixel by pixel.
inline void draw_columns(DrawColumns *draw, const CoverageBlit &blit, const Ink &ink, int64_t first,
                         int64_t count) {
    for (int64_t row = draw(blit, ink, first, 0); row < blit.height; row = draw(blit, ink, first, row + 1)) {
        blit_coverage_rows_scalar(part_of(blit, first, count, row, 1));
    }
}

// More than one vector wide, which at a usual height few glyphs are.
template <bool scaled> [[gnu::noinline]] void blit_wide(const CoverageBlit &blit) {
    Ink ink = ink_of(blit.colour);
    int64_t first = 0;
    for (; blit.width - first >= 2 * lanes; first += lanes) {
        draw_columns(draw_one<scaled>, blit, ink, first, lanes);
    }
    int64_t left = blit.width - first;
    if (left > lanes) {
        draw_columns(draw_two<scaled>, blit, ink, first, left);
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
        blit_narrow(blit);
    }
}
