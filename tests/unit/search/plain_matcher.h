// The rules of matching in plain code, byte by byte, to compare the real ones with.
#pragma once

#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

struct PlainHit {
    uint32_t line;
    uint32_t column;
    uint32_t byte_offset;
    std::string text;

    bool operator==(const PlainHit &) const = default;
};

inline bool plain_is_same(const char *a, const char *b, size_t count, bool ignore_case) {
    static const std::string upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ", lower = "abcdefghijklmnopqrstuvwxyz";
    for (size_t i = 0; i < count; i++) {
        char x = a[i], y = b[i];
        if (ignore_case && upper.find(x) != std::string::npos) {
            x = lower[upper.find(x)];
        }
        if (ignore_case && upper.find(y) != std::string::npos) {
            y = lower[upper.find(y)];
        }
        if (x != y) {
            return false;
        }
    }
    return true;
}

// text may change: tabs in stored lines become spaces.
inline std::vector<PlainHit> plain_hits(std::string &text, const std::string &query,
                                        bool ignore_case = false) {
    std::vector<PlainHit> hits;
    int64_t span = static_cast<int64_t>(text.size()) - static_cast<int64_t>(query.size());
    int64_t pos = 0;
    uint32_t line = 1;
    int64_t line_start = 0;
    while (pos < span) {
        // An empty query is searched for as its terminating zero byte.
        size_t compared = query.empty() ? 1 : query.size();
        if (plain_is_same(text.data() + pos, query.c_str(), compared, ignore_case)) {
            int64_t end = pos;
            while (end < span && text[static_cast<size_t>(end)] != '\n') {
                end++;
            }
            std::string stored =
                text.substr(static_cast<size_t>(line_start), static_cast<size_t>(end - line_start));
            if (stored.size() > 400) {
                stored.resize(400);
            }
            size_t begin = static_cast<size_t>(line_start);
            while (!stored.empty() && strchr("\t\r ", stored.back()) && stored.back() != 0) {
                stored.pop_back();
            }
            while (!stored.empty() && strchr("\t\r ", stored.front()) && stored.front() != 0) {
                stored.erase(0, 1);
                begin++;
            }
            for (size_t i = 0; i < stored.size(); i++) {
                if (stored[i] == '\t') {
                    stored[i] = ' ';
                    text[begin + i] = ' ';
                }
            }
            hits.push_back(
                {line, static_cast<uint32_t>(pos - line_start + 1), static_cast<uint32_t>(pos), stored});
            pos = end + 1;
            line_start = pos;
            line++;
        } else {
            bool line_feed = text[static_cast<size_t>(pos)] == '\n';
            pos++;
            if (line_feed) {
                line++;
                line_start = pos;
            }
        }
    }
    return hits;
}
