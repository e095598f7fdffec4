// A plain version of the results list, to check the real one with: each hit's row is worked out by itself.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "app/settings.h"
#include "os/framebuffer.h"
#include "render/text.h"
#include "support/test_tree.h"

// ---- Rows ----

inline int32_t plain_text(Framebuffer *framebuffer, int32_t x, int32_t row_top, uint32_t colour,
                          const std::string &text) {
    return static_cast<int32_t>(draw_text(framebuffer, {x, row_top + settings.text_y_offset},
                                          settings.font_size, settings.font_size, colour, str_over(text)));
}

inline void plain_header_row(Framebuffer *framebuffer, int32_t row_top, const std::string &name,
                             const std::string &folder) {
    int32_t width = plain_text(framebuffer, 10, row_top, 0xFFFFFF00, name);
    plain_text(framebuffer, 10 + width + settings.font_size / 2, row_top, 0xFF7F7F7F, folder);
}

inline void plain_line_row(Framebuffer *framebuffer, int32_t row_top, const std::string &prefix,
                           const std::string &text, bool is_hovered) {
    int32_t width = plain_text(framebuffer, 30, row_top, 0xFF00FFFF, prefix);
    plain_text(framebuffer, 30 + width, row_top, is_hovered ? 0xFF00FF00 : 0xFFFFFFFF, text);
}

// ---- Folders ----

// The searched path: trimmed, with forward slashes.
inline std::string plain_clean(std::string path) {
    for (char &byte : path) {
        byte = std::string("\n\r\t\"").find(byte) != std::string::npos ? ' ' : byte == '\\' ? '/' : byte;
    }
    path.erase(path.find_last_not_of(" /") + 1);
    path.erase(0, path.find_first_not_of(' '));
    return path;
}

// A folder as the list shows it.
inline std::string plain_short_folder(const std::string &folder, const std::string &path) {
    size_t slash = plain_clean(path).rfind('/');
    return slash == std::string::npos ? folder : folder.substr(std::min(slash + 1, folder.size()));
}

// ---- The list ----

struct PlainFile {
    std::string folder;
    std::string name;
};

struct PlainResult {
    bool opens_file;
    uint32_t file;
    int32_t line;
    int32_t column;
    int32_t byte;
    std::string text;
};

struct PlainList {
    std::vector<PlainFile> files;
    std::vector<PlainResult> results;
    std::string path;
    bool shows_full_paths;
    int64_t first; // visible row of results
    int32_t top;   // of the list, in pixels
    int32_t mouse_y;

    bool has_file(int64_t i) const {
        return results[static_cast<size_t>(i)].file < files.size();
    }
    // Whether the first row is the header of a file that begins further up.
    bool names_its_file_again() const {
        return first < count() && has_file(first) && !results[static_cast<size_t>(first)].opens_file;
    }
    int64_t count() const {
        return static_cast<int64_t>(results.size());
    }
    // The index of a result's own row in the list.
    int64_t row_of(int64_t i) const {
        return i - first + names_its_file_again();
    }
    int64_t top_of(int64_t row) const {
        return top + row * settings.line_height;
    }
    // Whether there was room left for a result.
    bool is_begun(int64_t i, int32_t height) const {
        return top_of(i == first ? 0 : row_of(i)) < height;
    }
    // The index of the row under the mouse; there may be no such row.
    int64_t mouse_row() const {
        int64_t below = int64_t{mouse_y} - top;
        return below < 0 ? -1 : below / settings.line_height;
    }
};

// The result whose line the mouse is on.
inline std::optional<PlainResult> plain_hovered(const PlainList &list, int32_t height) {
    for (int64_t i = list.first; i < list.count(); i++) {
        const PlainResult &result = list.results[static_cast<size_t>(i)];
        if (list.row_of(i) == list.mouse_row() && list.is_begun(i, height) && list.has_file(i) &&
            !result.opens_file) {
            return result;
        }
    }
    return {};
}

inline void plain_list(Framebuffer *framebuffer, const PlainList &list) {
    for (int64_t i = list.first; i < list.count(); i++) {
        if (!list.is_begun(i, framebuffer->height) || !list.has_file(i)) {
            continue;
        }
        const PlainResult &result = list.results[static_cast<size_t>(i)];
        const PlainFile &file = list.files[result.file];
        int32_t row_top = static_cast<int32_t>(list.top_of(list.row_of(i)));
        if (result.opens_file || i == list.first) {
            plain_header_row(
                framebuffer, static_cast<int32_t>(list.top_of(i == list.first ? 0 : list.row_of(i))),
                file.name, list.shows_full_paths ? file.folder : plain_short_folder(file.folder, list.path));
        }
        if (!result.opens_file) {
            plain_line_row(framebuffer, row_top, ":" + std::to_string(result.line) + " ", result.text,
                           list.row_of(i) == list.mouse_row());
        }
    }
}
