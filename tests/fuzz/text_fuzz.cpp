// Drawing compared with the plain rules, pixel by pixel, in each of the processor's variants: rectangles,
// bitmaps of coverage, and texts with their extents, of bytes and of UTF-8.
//
// An input: the font and its height, the picture's size and first colour, then drawings, one over the other.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fuzz.h"
#include "os/files.h"
#include "os/processor.h"
#include "render/draw.h"
#include "render/font.h"
#include "render/glyphs.h"
#include "render/plain_draw.h"
#include "render/plain_text.h"
#include "render/plain_utf8_text.h"
#include "render/test_font.h"
#include "render/text.h"
#include "render/utf8_glyphs.h"

namespace {

// ---- Fonts ----

constexpr int32_t heights[] = {14, 1, 2, 7, 20, 33};

const std::string &font_bytes() {
    static const std::string bytes = [] {
        std::ifstream file(to_string(os_exe_folder()) + "source_code_pro.otf", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
    if (bytes.empty()) {
        fprintf(stderr, "source_code_pro.otf is missing beside the program\n");
        abort();
    }
    return bytes;
}

std::string two_bytes(int number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string four_bytes(size_t number) {
    return two_bytes(static_cast<int>(number >> 16)) + two_bytes(static_cast<int>(number & 0xFFFF));
}

// The font with a table that kerns AV, VA and pairs of the missing glyph, since its own kerns little.
std::string kerned(std::string file) {
    stbtt_fontinfo info;
    stbtt_InitFont(&info, reinterpret_cast<const uint8_t *>(file.data()), 0);
    const int a = stbtt_FindGlyphIndex(&info, 'A'), v = stbtt_FindGlyphIndex(&info, 'V');
    std::map<std::pair<int, int>, int> pairs = {{{0, 0}, 300}, {{0, a}, 90}, {{a, v}, -250}, {{v, a}, -251}};
    std::string table = two_bytes(0) + two_bytes(1) + two_bytes(0) +
                        two_bytes(14 + 6 * static_cast<int>(pairs.size())) + two_bytes(1) +
                        two_bytes(static_cast<int>(pairs.size())) + std::string(6, '\0');
    for (const auto &[glyphs, units] : pairs) {
        table += two_bytes(glyphs.first) + two_bytes(glyphs.second) + two_bytes(units);
    }
    table += std::string(8, '\0'); // a search may read beyond the pairs
    const size_t row = file.find("GPOS");
    file.replace(row, 4, "kern");
    file.replace(row + 8, 8, four_bytes(file.size()) + four_bytes(table.size()));
    return file + table;
}

Font loaded(const std::string &bytes) {
    const std::string name =
        (std::filesystem::temp_directory_path() / ("text_fuzz_" + std::to_string(getpid()))).string();
    std::ofstream(name, std::ios::binary) << bytes;
    const Font result = font_load(str_over(name));
    std::filesystem::remove(name);
    return result;
}

// For each font file the program's font with the sizes made so far, and the plain fonts.
struct Fonts {
    Font real[2] = {loaded(font_bytes()), loaded(kerned(font_bytes()))};
    Font fallback = loaded(TestFont::file(ideographs_and_emoji));
    std::unique_ptr<PlainFont> plain[2][std::size(heights)];
};

Fonts &fonts() {
    static Fonts all;
    return all;
}

const PlainFont &plain_font(size_t which, size_t height) {
    std::unique_ptr<PlainFont> &made = fonts().plain[which][height];
    if (!made) {
        const uint8_t *file = reinterpret_cast<const uint8_t *>(fonts().real[which].file.data);
        made = std::make_unique<PlainFont>(file, heights[height]);
    }
    return *made;
}

// Forgets the glyphs, so that they are rasterised again.
void forget_sizes(Font *which) {
    for (uint64_t i = 0; i < which->sizes.count; i++) {
        SizedFont *sized = reinterpret_cast<SizedFont *>(which->sizes.data) + i;
        os_free(sized->bitmaps.data);
        os_free(sized->glyphs.data);
    }
    which->sizes.count = 0;
}

// ---- Pictures ----

// A framebuffer in a block of exactly its size.
struct Canvas {
    std::unique_ptr<uint32_t[]> pixels;
    Framebuffer framebuffer;

    Canvas(int32_t width, int32_t height, uint32_t colour)
        : pixels(new uint32_t[static_cast<size_t>(width * height)]),
          framebuffer{width, height, pixels.get(), static_cast<uint64_t>(width * height) * 4} {
        std::fill_n(pixels.get(), width * height, colour);
    }
};

void compare(const char *what, const Canvas &real, const Canvas &plain) {
    const int32_t width = real.framebuffer.width;
    for (int32_t i = 0; i < width * real.framebuffer.height; i++) {
        if (real.pixels[static_cast<size_t>(i)] != plain.pixels[static_cast<size_t>(i)]) {
            fprintf(stderr,
                    "DIFFERENCE: %s\n  the pixel at %d, %d of %d x %d\n  the program: %08x\n"
                    "  the rules:   %08x\n",
                    what, i % width, i / width, width, real.framebuffer.height,
                    real.pixels[static_cast<size_t>(i)], plain.pixels[static_cast<size_t>(i)]);
            abort();
        }
    }
}

// A coordinate or a size: mostly near the picture, sometimes any number.
int32_t number(FuzzInput *input) {
    const uint8_t near = input->byte();
    return near == 255 ? static_cast<int32_t>(input->number()) : near - 64;
}

struct Run {
    FuzzInput input;
    size_t which_font, which_height;
    Canvas real, plain;

    void draw_next() {
        const uint8_t what = input.byte();
        const uint32_t colour = what & 0x40 ? input.number() : input.number() | 0xFF000000;
        Framebuffer *to = &real.framebuffer, *to_plain = &plain.framebuffer;
        ClipSize clip = whole_of(to);
        if (what & 0x80) {
            clip.width = number(&input);
            clip.height = number(&input);
        }
        const int32_t x = number(&input), y = number(&input);
        switch (what % 8) {
        case 0: {
            const Rect rect = {x, y, number(&input), number(&input)};
            fill_rect(to, clip, rect, colour);
            plain_fill_rect(to_plain, clip, rect, colour);
            compare("a filled rectangle", real, plain);
            break;
        }
        case 1: {
            const Rect rect = {x, y, number(&input), number(&input)};
            blend_rect(to, clip, rect, colour);
            plain_blend_rect(to_plain, clip, rect, colour);
            compare("a translucent rectangle", real, plain);
            break;
        }
        case 2: {
            const Size size = {static_cast<int32_t>(input.below(48)), static_cast<int32_t>(input.below(24))};
            const Rect limit = {0, 0, number(&input), number(&input)};
            std::string coverage = input.text(static_cast<size_t>(size.width * size.height));
            coverage.resize(static_cast<size_t>(size.width * size.height), '\x7F');
            const ExactBytes exact(coverage);
            const uint8_t *bytes = reinterpret_cast<const uint8_t *>(exact.str.data);
            blit_coverage(to, clip, bytes, size, limit, {x, y}, colour);
            plain_blit_coverage(to_plain, clip, bytes, size, limit, {x, y}, colour);
            compare("a bitmap", real, plain);
            break;
        }
        default: {
            text_is_utf8 = what % 8 > 5;
            const int32_t line_height = number(&input);
            const std::string text = input.text(input.byte());
            const ExactBytes exact(text);
            const uint64_t extent =
                draw_text(to, {x, y}, heights[which_height], line_height, colour, exact.str);
            const PlainFont &plain_one = plain_font(which_font, which_height);
            const PlainExtent expected =
                text_is_utf8 ? plain_draw_utf8_text(plain_one, &fallback_font.info, to_plain, {x, y},
                                                    line_height, colour, text)
                             : plain_draw_text(plain_one, to_plain, {x, y}, line_height, colour, exact.str);
            fuzz_expect("the width of a text", static_cast<int32_t>(extent), expected.width);
            fuzz_expect("the height of a text", static_cast<int32_t>(extent >> 32), expected.height);
            compare("a text", real, plain);
        }
        }
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<BlitCoverageRows *> variants = {blit_coverage_rows_scalar, blit_coverage_rows_sse2};
    if (os_has_avx2()) {
        variants.push_back(blit_coverage_rows_avx2);
    }
    for (BlitCoverageRows *variant : variants) {
        blit_coverage_rows = variant;
        FuzzInput input(data, size);
        const uint8_t how = input.byte();
        const size_t which_font = how & 1;
        const size_t which_height = how / 2 % std::size(heights);
        if (how >= 0xF0) {
            forget_sizes(&fonts().real[which_font]);
        }
        font = fonts().real[which_font];
        fallback_font = fonts().fallback;
        glyph_cache_empty();
        const int32_t width = static_cast<int32_t>(input.below(100)),
                      height = static_cast<int32_t>(input.below(40));
        const uint32_t colour = input.number();
        Run run = {input, which_font, which_height, {width, height, colour}, {width, height, colour}};
        while (!run.input.is_over()) {
            run.draw_next();
        }
        fonts().real[which_font] = font; // now with the sizes it made
    }
    font = {};
    return 0;
}
