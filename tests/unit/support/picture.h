// Pictures that are kept: what a test has drawn, compared with a PNG of tests/data.
#pragma once

#include <string>

#include "os/framebuffer.h"

// Expects the framebuffer's colours to be those of tests/data/NAME.png, pixel for pixel; alpha must be 255
// everywhere, as a window shows none. Otherwise the test fails, and NAME.actual.png and NAME.difference.png
// (the differing pixels white) are written beside the test program. If the new picture is right, copy the
// former to tests/data.
void expect_picture(const Framebuffer &framebuffer, const std::string &name);

// A framebuffer that a test owns, filled with one opaque colour.
class Canvas {
public:
    Canvas(int32_t width, int32_t height, uint32_t colour);
    ~Canvas();
    Canvas(const Canvas &) = delete;
    Canvas &operator=(const Canvas &) = delete;

    Framebuffer framebuffer;
};
