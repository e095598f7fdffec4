// A tree for tests that look for rows mixed from two others. Each name and each line with the query ends in
// its own length, as three digits. Lines have the same lengths in all files, but a line has the query only if
// its number is congruent modulo 7 to the folder's number, as is the length of the file's name. So a row's
// numbers alone tell whether it is mixed, even after its texts have been overwritten.
#pragma once

#include <stdint.h>

#include <array>
#include <string>

#include "search/results_store.h"
#include "support/test_tree.h"

namespace self_checking {

constexpr int folder_count = 14;
constexpr int files_in_folder = 6;
constexpr uint32_t line_count = 120;
constexpr uint32_t classes = 7;

// start, filled up to length bytes, which end in this length.
inline std::string text_of_length(std::string start, uint64_t length) {
    std::string digits = std::to_string(1000 + length).substr(1);
    start.resize(length - digits.size(), '+');
    return start + digits;
}

constexpr uint64_t folder_name_length(int i) {
    return 8 + 11 * static_cast<uint64_t>(i);
}

inline std::string folder_name(int i) {
    return text_of_length("folder", folder_name_length(i));
}

inline std::string file_name(int i, int j) {
    return text_of_length("file",
                          classes * static_cast<uint64_t>(j + 2) + static_cast<uint64_t>(i) % classes);
}

// The path of the files of folder i, relative to the tree.
inline std::string folder_of_files(int i) {
    return folder_name(i) + "/" + text_of_length("deeper", folder_name_length(i));
}

// Bytes of a line as it is stored, 0 to 400.
constexpr uint64_t text_length(uint32_t line) {
    uint64_t length = line % 50 == 0 ? 400 : line % 50 == 1 ? 0 : line * 37 % 401;
    return length < 16 ? 0 : length;
}

// The tabs before a line's text. A line is cut to 400 bytes before it is trimmed, so the longest has none.
constexpr uint64_t tab_count(uint32_t line) {
    return text_length(line) == 0 ? 3 : text_length(line) == 400 ? 0 : 1;
}

constexpr uint64_t line_length(uint32_t line) {
    return tab_count(line) + text_length(line) + 1;
}

// The offset of each line in its file, then that of the rest.
inline constexpr auto line_starts = [] {
    std::array<uint64_t, line_count + 2> starts = {};
    for (uint32_t line = 1; line <= line_count; line++) {
        starts[line + 1] = starts[line] + line_length(line);
    }
    return starts;
}();

inline std::string line_text(uint32_t line) {
    return text_length(line) > 0 ? text_of_length("needle in hay", text_length(line)) : "";
}

inline std::string file_bytes(int i) {
    std::string bytes;
    for (uint32_t line = 1; line <= line_count; line++) {
        if (line % classes == static_cast<uint32_t>(i) % classes) {
            bytes += std::string(tab_count(line), '\t') + line_text(line) + "\n";
        } else {
            bytes += std::string(line_length(line) - 1, '-') + "\n";
        }
    }
    return bytes + std::string(400, '-') + "\n"; // no hit ends the file, which would cut it
}

inline void fill(const TestTree &tree) {
    for (int i = 0; i < folder_count; i++) {
        for (int j = 0; j < files_in_folder; j++) {
            tree.file(folder_of_files(i) + "/" + file_name(i, j), file_bytes(i));
        }
    }
}

// What stored_rows gives, sorted, for "needle" in the whole tree.
inline std::string needle_rows() {
    std::string rows = "files " + std::to_string(folder_count * files_in_folder) + "\n";
    for (int i = 0; i < folder_count; i++) {
        for (int j = 0; j < files_in_folder; j++) {
            rows += "file " + folder_of_files(i) + "/" + file_name(i, j) + "\n";
            for (uint32_t line = 1; line <= line_count; line++) {
                if (line % classes == static_cast<uint32_t>(i) % classes && text_length(line) > 0) {
                    rows += "hit " + std::to_string(line) + " " + std::to_string(tab_count(line) + 1) + " " +
                            std::to_string(line_starts[line] + tab_count(line)) + " " + line_text(line) +
                            "\n";
                }
            }
        }
    }
    return sort_file_groups(rows);
}

// ---- What must hold of every row, whatever is searched for in the tree ----

// Whether the numbers of a hit fit each other and the length of its file's name.
inline bool numbers_fit(uint32_t line, uint32_t column, uint64_t byte_offset, uint64_t name_length) {
    return line >= 1 && line <= line_count && column >= 1 && column < line_length(line) &&
           byte_offset == line_starts[line] + column - 1 && line % classes == name_length % classes;
}

// Whether a row and its file are whole and belong together, by their numbers alone.
inline bool row_fits(const ResultRecord &hit, const FileEntry &file, uint64_t root_length) {
    uint64_t names = file.folder.count - root_length - 2; // two folders' names of equal length
    if (names < 16 || names > 2 * folder_name_length(folder_count) || (names / 2 - 8) % 11 != 0 ||
        (names / 2 - 8) / 11 % classes != file.name.count % classes) {
        return false;
    }
    if (hit.kind == RESULT_FILE_HEADER) {
        return hit.line == 0 && hit.column == 0 && hit.byte_offset == 0 && hit.text.count == 0;
    }
    return hit.kind == RESULT_HIT && numbers_fit(hit.line, hit.column, hit.byte_offset, file.name.count) &&
           hit.text.count == text_length(hit.line);
}

// Whether a text ends in its own length; a path's last name counts. The bytes may change meanwhile.
inline bool text_fits(Str text) {
    if (text.count == 0) {
        return true;
    }
    const volatile char *bytes = text.data;
    uint64_t start = text.count;
    while (start > 0 && bytes[start - 1] != '/') {
        start--;
    }
    uint64_t length = 0;
    for (uint64_t i = text.count < 3 ? 0 : text.count - 3; i < text.count; i++) {
        length = length * 10 + static_cast<uint64_t>(bytes[i] - '0');
    }
    return length == text.count - start && bytes[text.count] == 0;
}

} // namespace self_checking
