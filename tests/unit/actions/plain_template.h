// Plain command templates to check the real ones with: on a std::string, byte by byte.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

struct PlainHit {
    std::string folder;
    std::string name;
    int32_t row;
    int32_t column;
    int32_t byte;
};

// has_room: whether the text can grow to that number of bytes. A text longer than limit becomes empty.
inline std::string plain_command(std::string text, const PlainHit &hit, size_t limit,
                                 const std::function<bool(size_t)> &has_room) {
    std::string backslashed = hit.folder;
    std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
    const std::pair<std::string, std::string> values[] = {
        {"{tarn_row}", std::to_string(hit.row)},   {"{tarn_column}", std::to_string(hit.column)},
        {"{tarn_byte}", std::to_string(hit.byte)}, {"{tarn_file_name}", hit.name},
        {"{tarn_file_folder}", hit.folder},        {"{tarn_file_folder_bs}", backslashed},
    };
    for (size_t i = 0; i < text.size();) {
        if (text.size() > limit) {
            return "";
        }
        if (text[i] != '{') {
            i++;
            continue;
        }
        size_t step = 1;
        for (const auto &[placeholder, value] : values) {
            if (text.compare(i, placeholder.size(), placeholder) != 0) {
                continue;
            }
            text.erase(i, placeholder.size());
            bool is_inserted = has_room(text.size() + value.size());
            if (is_inserted) {
                text.insert(i, value);
            }
            if (placeholder == "{tarn_file_name}" || placeholder == "{tarn_file_folder}") {
                step = is_inserted ? value.size() : 0;
            }
            break;
        }
        i += step;
    }
    return text.size() > limit ? "" : text;
}
