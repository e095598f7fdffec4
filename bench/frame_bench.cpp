// Time to draw a whole frame, 1000 x 810 pixels cleared and 54 rows of 110 glyphs of 14 pixels, with each
// variant and with the plain rules that the tests use; and the parts of a frame alone. With utf8_text the
// same frame again, and one of as many different ideographs of a fallback font, in 66 rows of 90.

#include <benchmark/benchmark.h>

#include <stdio.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "os/files.h"
#include "os/processor.h"
#include "render/draw.h"
#include "render/font.h"
#include "render/plain_draw.h"
#include "render/plain_text.h"
#include "render/plain_utf8_text.h"
#include "render/test_font.h"
#include "render/text.h"

namespace {

constexpr int32_t width = 1000, height = 810;
constexpr int32_t rows = 54, row_height = 15, glyphs_in_row = 110, glyph_height = 14;
// Not constants, so that the compiler cannot optimise for one colour.
uint32_t clear_colour = 0xFF1A1A1A, text_colour = 0xFFE0C080;
const Rect whole = {0, 0, width, height};

std::vector<uint32_t> pixels(static_cast<size_t>(width) * height);
Framebuffer framebuffer = {width, height, pixels.data(), pixels.size() * sizeof(uint32_t)};
std::vector<std::string> lines;
constexpr int32_t ideograph_rows = 66, ideograph_row_height = 12, ideographs_in_row = 90;
static_assert(ideograph_rows * ideographs_in_row == rows * glyphs_in_row);
std::vector<std::string> ideograph_lines;
PlainFont *plain_font;

// Capitals, the largest glyphs.
void make_lines() {
    for (int row = 0; row < rows; row++) {
        std::string line;
        for (int i = 0; i < glyphs_in_row; i++) {
            line += static_cast<char>('A' + (row * glyphs_in_row + i) % 26);
        }
        lines.push_back(line);
    }
}

void make_ideograph_lines() {
    for (uint32_t row = 0; row < ideograph_rows; row++) {
        std::string line;
        for (uint32_t i = 0; i < ideographs_in_row; i++) {
            line += plain_encoded(0x4E00 + row * ideographs_in_row + i);
        }
        ideograph_lines.push_back(line);
    }
}

Point row_start(size_t row) {
    return {4, static_cast<int32_t>(row) * row_height + 12};
}

void clear() {
    fill_rect(&framebuffer, whole, whole, clear_colour);
}

void draw_rows() {
    for (size_t row = 0; row < lines.size(); row++) {
        draw_text(&framebuffer, row_start(row), glyph_height, row_height, text_colour,
                  {lines[row].size(), lines[row].data()});
    }
}

Point ideograph_row_start(size_t row) {
    return {4, static_cast<int32_t>(row) * ideograph_row_height + 12};
}

void draw_utf8_rows() {
    text_is_utf8 = true;
    draw_rows();
    text_is_utf8 = false;
}

void draw_ideographs() {
    text_is_utf8 = true;
    for (size_t row = 0; row < ideograph_lines.size(); row++) {
        draw_text(&framebuffer, ideograph_row_start(row), glyph_height, ideograph_row_height, text_colour,
                  {ideograph_lines[row].size(), ideograph_lines[row].data()});
    }
    text_is_utf8 = false;
}

void plain_draw_ideographs() {
    for (size_t row = 0; row < ideograph_lines.size(); row++) {
        plain_draw_utf8_text(*plain_font, &fallback_font.info, &framebuffer, ideograph_row_start(row),
                             ideograph_row_height, text_colour, ideograph_lines[row]);
    }
}

void plain_clear() {
    plain_fill_rect(&framebuffer, whole, whole, clear_colour);
}

void plain_draw_rows() {
    for (size_t row = 0; row < lines.size(); row++) {
        plain_draw_text(*plain_font, &framebuffer, row_start(row), row_height, text_colour,
                        {lines[row].size(), lines[row].data()});
    }
}

void draws_nothing(const CoverageBlit &) {}

// draw_text with only the pixels drawn by the plain rules.
void blit_plain_rows(const CoverageBlit &blit) {
    float scale = static_cast<float>(blit.colour >> 24) / 255.0f;
    for (int64_t y = 0; y < blit.height; y++) {
        for (int64_t x = 0; x < blit.width; x++) {
            plain_cover_pixel(&blit.pixels[y * blit.pixel_stride + x], blit.colour, scale,
                              blit.coverage[y * blit.coverage_stride + x]);
        }
    }
}

typedef void Step();

void steps(benchmark::State &state, Step *first, Step *second, BlitCoverageRows *variant) {
    blit_coverage_rows = variant;
    for (auto _ : state) {
        first();
        if (second) {
            second();
        }
        benchmark::ClobberMemory();
    }
}

void measure(const std::string &name, Step *first, Step *second, BlitCoverageRows *variant) {
    benchmark::RegisterBenchmark(name.c_str(), steps, first, second, variant)->Unit(benchmark::kMicrosecond);
}

// Whether the variant draws the same frame as the plain rules.
bool draws_the_plain_frame(BlitCoverageRows *variant, Step *draw, Step *plain_draw) {
    plain_clear();
    plain_draw();
    std::vector<uint32_t> plain = pixels;
    blit_coverage_rows = variant;
    clear();
    draw();
    return plain == pixels;
}

// Loads the font that is made for tests as the fallback font.
void load_fallback_font() {
    std::string name = std::filesystem::temp_directory_path() / ("frame_bench_" + std::to_string(getpid()));
    std::ofstream(name, std::ios::binary) << TestFont::file(ideographs);
    fallback_font = font_load({name.size(), name.data()});
    std::filesystem::remove(name);
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    Str folder = os_exe_folder();
    std::string font_file = std::string(folder.data, folder.count) + "source_code_pro.otf";
    font = font_load({font_file.size(), font_file.data()});
    if (!font.file.data) {
        fprintf(stderr, "frame_bench: no font at %s\n", font_file.c_str());
        return 2;
    }
    plain_font = new PlainFont(reinterpret_cast<uint8_t *>(font.file.data), glyph_height);
    load_fallback_font();
    make_lines();
    make_ideograph_lines();
    benchmark::DoNotOptimize(clear_colour);
    benchmark::DoNotOptimize(text_colour);

    struct Variant {
        std::string name;
        BlitCoverageRows *draw;
    };
    std::vector<Variant> variants = {{"SSE2", blit_coverage_rows_sse2}};
    if (os_has_avx2()) {
        variants.push_back({"AVX2", blit_coverage_rows_avx2});
    }
    std::vector<Variant> checked = variants;
    checked.push_back({"plain pixels", blit_plain_rows});
    for (const Variant &variant : checked) {
        if (!draws_the_plain_frame(variant.draw, draw_rows, plain_draw_rows) ||
            !draws_the_plain_frame(variant.draw, draw_utf8_rows, plain_draw_rows) ||
            !draws_the_plain_frame(variant.draw, draw_ideographs, plain_draw_ideographs)) {
            fprintf(stderr, "frame_bench: %s draws another frame than the plain version\n",
                    variant.name.c_str());
            return 1;
        }
    }
    measure("frame, plain", plain_clear, plain_draw_rows, nullptr);
    measure("frame, plain pixels", clear, draw_rows, blit_plain_rows);
    for (const Variant &variant : variants) {
        measure("frame, " + variant.name, clear, draw_rows, variant.draw);
        measure("frame, utf8_text, " + variant.name, clear, draw_utf8_rows, variant.draw);
        measure("frame of ideographs, " + variant.name, clear, draw_ideographs, variant.draw);
    }
    measure("clear alone, plain", plain_clear, nullptr, nullptr);
    measure("clear alone", clear, nullptr, nullptr);
    measure("text alone, plain", plain_draw_rows, nullptr, nullptr);
    for (const Variant &variant : variants) {
        measure("text alone, " + variant.name, draw_rows, nullptr, variant.draw);
    }
    measure("text alone, no pixel drawn", draw_rows, nullptr, draws_nothing);
    measure("text alone, utf8_text, no pixel drawn", draw_utf8_rows, nullptr, draws_nothing);
    measure("ideographs alone, no pixel drawn", draw_ideographs, nullptr, draws_nothing);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
