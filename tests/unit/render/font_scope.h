// The program's font for a test, cleaned up afterwards.
#pragma once

#include <string>

#include "os/files.h"
#include "os/memory.h"
#include "render/font.h"
#include "render/glyphs.h"
#include "support/test_tree.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

// While it lives, leaks are intentional.
class LeakScope {
public:
    LeakScope() {
#if defined(__SANITIZE_ADDRESS__)
        __lsan_disable();
#endif
    }
    ~LeakScope() {
#if defined(__SANITIZE_ADDRESS__)
        __lsan_enable();
#endif
    }
    LeakScope(const LeakScope &) = delete;
    LeakScope &operator=(const LeakScope &) = delete;
};

inline std::string default_font_path() {
    return to_string(os_exe_folder()) + "source_code_pro.otf";
}

inline std::string default_font_bytes() {
    return bytes_of(default_font_path());
}

// Loads a font as the program's; by default the default font.
class FontScope {
public:
    explicit FontScope(const std::string &path = default_font_path()) {
        font = font_load(str_over(path));
    }
    ~FontScope() {
        for (uint64_t i = 0; i < font.sizes.count; i++) {
            SizedFont *sized = reinterpret_cast<SizedFont *>(font.sizes.data) + i;
            os_free(sized->bitmaps.data);
            os_free(sized->glyphs.data);
        }
        os_free(font.sizes.data);
        os_file_free(&font.file);
        font = {};
    }
    FontScope(const FontScope &) = delete;
    FontScope &operator=(const FontScope &) = delete;

    const uint8_t *file() const {
        return reinterpret_cast<uint8_t *>(font.file.data);
    }
};

// ---- Fonts made for a test ----

inline std::string two_bytes(int number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

inline std::string four_bytes(size_t number) {
    return two_bytes(static_cast<int>(number >> 16)) + two_bytes(static_cast<int>(number & 0xFFFF));
}

// The file of a font, its table old_tag replaced by another one at the file's end.
inline std::string with_table(std::string file, const std::string &old_tag, const std::string &new_tag,
                              const std::string &table) {
    size_t row = file.find(old_tag);
    file.replace(row, 4, new_tag);
    file.replace(row + 8, 8, four_bytes(file.size()) + four_bytes(table.size()));
    return file + table;
}

// A file, padded with zeros so that `following` more bytes end one byte before a multiple of 64.
inline std::string padded_before(std::string file, size_t following) {
    while ((file.size() + following + 1) % 64 != 0) {
        file += '\0';
    }
    return file;
}

// Kerning between two glyphs in font units, as a table kern.
inline std::string kern_table(int left, int right, int units) {
    return two_bytes(0) + two_bytes(1) +                                   // one subtable
           two_bytes(0) + two_bytes(20) + two_bytes(1) +                   // horizontal
           two_bytes(1) + two_bytes(6) + two_bytes(0) + two_bytes(0) +     // one pair
           two_bytes(left) + two_bytes(right) + two_bytes(units) + "\0\0"; // and what a search may touch
}

// The same as a pair adjustment of GPOS.
inline std::string gpos_table(int left, int right, int units) {
    return two_bytes(1) + two_bytes(0) + two_bytes(0) + two_bytes(0) + two_bytes(10) + // head
           two_bytes(1) + two_bytes(4) +                                               // list of one lookup
           two_bytes(2) + two_bytes(0) + two_bytes(1) + two_bytes(8) + // of pairs, one subtable
           two_bytes(1) + two_bytes(18) + two_bytes(4) + two_bytes(0) + two_bytes(1) +
           two_bytes(12) +                                      // its head
           two_bytes(1) + two_bytes(right) + two_bytes(units) + // the pair, at 12
           two_bytes(1) + two_bytes(1) + two_bytes(left);       // the coverage, at 18
}

// The same after a lookup of another kind.
inline std::string gpos_table_of_two(int left, int right, int units) {
    constexpr size_t list = 10, head_of_one = 14; // where the list begins, and where its only lookup does
    std::string table = gpos_table(left, right, units);
    return table.substr(0, list) + two_bytes(2) + two_bytes(6) + two_bytes(12) + // two, at 6 and at 12
           two_bytes(1) + two_bytes(0) + two_bytes(0) +                          // of single glyphs, empty
           table.substr(head_of_one);
}
