#include "support/picture.h"

#include <gtest/gtest.h>

#include <vector>

#include <stb_image.h>
#include <stb_image_write.h>

#include "os/files.h"
#include "support/test_tree.h"

namespace {

// Red, green and blue, a byte each.
struct Rgb {
    int width = 0, height = 0;
    std::vector<uint8_t> bytes;
};

Rgb rgb_of(const Framebuffer &framebuffer) {
    Rgb picture = {framebuffer.width, framebuffer.height, {}};
    for (int64_t i = 0; i < int64_t{framebuffer.width} * framebuffer.height; i++) {
        for (int shift : {16, 8, 0}) {
            picture.bytes.push_back(static_cast<uint8_t>(framebuffer.pixels[i] >> shift));
        }
    }
    return picture;
}

Rgb read_picture(const std::string &path) {
    Rgb picture;
    int channels;
    uint8_t *bytes = stbi_load(path.c_str(), &picture.width, &picture.height, &channels, 3);
    if (bytes) {
        picture.bytes.assign(bytes, bytes + picture.width * picture.height * 3);
        stbi_image_free(bytes);
    }
    return picture;
}

void write_picture(const std::string &path, const Rgb &picture) {
    EXPECT_TRUE(stbi_write_png(path.c_str(), picture.width, picture.height, 3, picture.bytes.data(),
                               picture.width * 3))
        << path;
}

// White where they differ, also where only one of them is.
Rgb difference_of(const Rgb &a, const Rgb &b) {
    Rgb difference = {std::max(a.width, b.width), std::max(a.height, b.height), {}};
    const auto pixel = [](const Rgb &picture, int x, int y) {
        size_t at = static_cast<size_t>(y * picture.width + x) * 3;
        const uint8_t *p = picture.bytes.data() + at;
        return x < picture.width && y < picture.height ? p[0] << 16 | p[1] << 8 | p[2] : -1;
    };
    for (int y = 0; y < difference.height; y++) {
        for (int x = 0; x < difference.width; x++) {
            difference.bytes.insert(difference.bytes.end(), 3, pixel(a, x, y) == pixel(b, x, y) ? 0 : 255);
        }
    }
    return difference;
}

} // namespace

void expect_picture(const Framebuffer &framebuffer, const std::string &name) {
    for (int64_t i = 0; i < int64_t{framebuffer.width} * framebuffer.height; i++) {
        ASSERT_EQ(framebuffer.pixels[i] >> 24, 255u)
            << "not opaque at column " << i % framebuffer.width << ", row " << i / framebuffer.width;
    }
    Rgb actual = rgb_of(framebuffer);
    Rgb expected = read_picture(TEST_DATA_FOLDER "/" + name + ".png");
    if (actual.width == expected.width && actual.height == expected.height &&
        actual.bytes == expected.bytes) {
        return;
    }
    std::string beside = to_string(os_exe_folder()) + name;
    write_picture(beside + ".actual.png", actual);
    write_picture(beside + ".difference.png", difference_of(actual, expected));
    ADD_FAILURE() << "drawn otherwise than tests/data/" << name << ".png"
                  << (expected.bytes.empty() ? " (missing)" : "") << ": see " << beside << ".actual.png and "
                  << beside << ".difference.png";
}

Canvas::Canvas(int32_t width, int32_t height, uint32_t colour) : framebuffer() {
    uint64_t count = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    framebuffer = {width, height, new uint32_t[count], count * sizeof(uint32_t)};
    std::fill_n(framebuffer.pixels, count, colour);
}

Canvas::~Canvas() {
    delete[] framebuffer.pixels;
}
