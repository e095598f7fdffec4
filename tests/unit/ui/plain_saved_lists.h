// Plain saved lists to check the real ones with, on strings and vectors.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

inline std::string plain_clean(std::string path, bool keep_trailing_slashes) {
    for (char &c : path) {
        const size_t which = std::string("\n\r\t\"\\").find(c);
        c = which == std::string::npos ? c : "    /"[which];
    }
    path.erase(0, path.find_first_not_of(' '));
    path.erase(path.find_last_not_of(keep_trailing_slashes ? " " : " /") + 1); // npos + 1 is 0
    return path;
}

struct PlainEntry {
    bool is_live;
    std::string text;
};

// One field and its list.
struct PlainSavedList {
    bool is_path = false;
    std::string text;
    std::vector<PlainEntry> entries;
    bool is_saved = false; // at the last mark update

    // What the field's file holds.
    std::string contents() const {
        std::string all = text;
        for (const PlainEntry &entry : entries) {
            all += entry.is_live ? "\r\n" + entry.text : "";
        }
        return all;
    }

    void load(std::string file, bool restore_text) {
        std::replace(file.begin(), file.end(), '\\', '/');
        std::vector<std::string> lines;
        for (size_t end; (end = file.find('\n')) != std::string::npos; file.erase(0, end + 1)) {
            lines.push_back(file.substr(0, end));
            if (!lines.back().empty() && lines.back().back() == '\r') {
                lines.back().pop_back();
            }
        }
        for (size_t i = 0; i < lines.size(); i++) {
            if (i == 0) {
                text = restore_text && !lines[0].empty() ? lines[0] : text;
                continue;
            }
            const std::string line = is_path ? plain_clean(lines[i], true) : lines[i];
            if (!line.empty()) {
                entries.push_back({true, line});
            }
        }
        if (!file.empty()) {
            entries.push_back({true, file});
        }
    }

    void update_mark() {
        text = is_path ? plain_clean(text, true) : text;
        is_saved = std::any_of(entries.begin(), entries.end(),
                               [&](const PlainEntry &entry) { return entry.is_live && entry.text == text; });
    }

    // What the save button does. Returns whether the file is written and the focused field's mark updated.
    bool save() {
        text = is_path ? plain_clean(text, true) : text;
        const auto equal = [&](bool only_removed) {
            return std::find_if(entries.begin(), entries.end(), [&](const PlainEntry &entry) {
                return entry.text == text && !(only_removed && entry.is_live);
            });
        };
        if (is_saved) {
            return equal(true) != entries.end();
        }
        if (text.empty()) {
            return false;
        }
        const auto same = equal(false);
        if (same != entries.end()) {
            same->is_live = true;
            return false;
        }
        const auto is_removed = [](const PlainEntry &entry) { return !entry.is_live; };
        if (std::count_if(entries.begin(), entries.end(), is_removed) > 20) {
            entries.erase(std::find_if(entries.begin(), entries.end(), is_removed));
        }
        entries.push_back({true, text});
        return true;
    }
};
