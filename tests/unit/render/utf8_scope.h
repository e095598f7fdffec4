// The setting utf8_text for a test, with a fallback font.
#pragma once

#include <string>

#include "os/files.h"
#include "os/memory.h"
#include "render/font.h"
#include "render/test_font.h"
#include "render/text.h"
#include "render/utf8_glyphs.h"
#include "support/test_tree.h"

// While it lives, texts are UTF-8. Lives shorter than the program's font.
class Utf8Scope {
public:
    // file: of the fallback font; none if empty.
    explicit Utf8Scope(const std::string &file = TestFont::file(ideographs_and_emoji)) {
        text_is_utf8 = true;
        glyph_cache_empty();
        TestTree tree;
        tree.file("font", file);
        fallback_font = font_load(str_over(tree.path("font")));
    }
    ~Utf8Scope() {
        text_is_utf8 = false;
        glyph_cache_empty();
        os_free(fallback_font.sizes.data);
        os_file_free(&fallback_font.file);
        fallback_font = {};
    }
    Utf8Scope(const Utf8Scope &) = delete;
    Utf8Scope &operator=(const Utf8Scope &) = delete;
};
