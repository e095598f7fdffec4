#include "support/picture.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "os/files.h"
#include "support/test_tree.h"

namespace {

// A small picture, kept as tests/data/picture_test.png: a red, a green and a blue pixel, white below.
void draw(Framebuffer *framebuffer) {
    const uint32_t colours[] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF};
    std::copy_n(colours, 3, framebuffer->pixels);
}

std::filesystem::path written(const std::string &name) {
    return to_string(os_exe_folder()) + name;
}

} // namespace

TEST(Picture, TheSamePixelsAreTheSamePicture) {
    Canvas canvas(3, 2, 0xFFFFFFFF);
    draw(&canvas.framebuffer);
    expect_picture(canvas.framebuffer, "picture_test");
}

TEST(Picture, OneBitInOnePixelIsADifferenceAndIsShown) {
    static Canvas canvas(3, 2, 0xFFFFFFFF);
    draw(&canvas.framebuffer);
    canvas.framebuffer.pixels[4] ^= 1;
    EXPECT_NONFATAL_FAILURE(expect_picture(canvas.framebuffer, "picture_test"),
                            "picture_test.difference.png");
    for (const char *name : {"picture_test.actual.png", "picture_test.difference.png"}) {
        EXPECT_TRUE(std::filesystem::remove(written(name))) << name;
    }
}

TEST(Picture, AnotherSizeIsADifference) {
    static Canvas canvas(2, 3, 0xFFFFFFFF);
    EXPECT_NONFATAL_FAILURE(expect_picture(canvas.framebuffer, "picture_test"), "drawn otherwise");
    std::filesystem::remove(written("picture_test.actual.png"));
    std::filesystem::remove(written("picture_test.difference.png"));
}

TEST(Picture, AMissingPictureFails) {
    static Canvas canvas(1, 1, 0xFFFFFFFF);
    EXPECT_NONFATAL_FAILURE(expect_picture(canvas.framebuffer, "no_such_picture"), "(missing)");
    std::filesystem::remove(written("no_such_picture.actual.png"));
    std::filesystem::remove(written("no_such_picture.difference.png"));
}

TEST(Picture, APixelThatIsNotOpaqueFails) {
    static Canvas canvas(3, 2, 0xFFFFFFFF);
    draw(&canvas.framebuffer);
    canvas.framebuffer.pixels[5] = 0xFEFFFFFF;
    EXPECT_FATAL_FAILURE(expect_picture(canvas.framebuffer, "picture_test"), "column 2, row 1");
}
