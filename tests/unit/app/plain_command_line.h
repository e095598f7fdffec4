// A plain parser of the command line, to compare the program's with.
#pragma once

#include <optional>
#include <string>

struct PlainCommandLine {
    std::optional<std::string> path; // not cleaned
    std::optional<std::string> query;

    explicit PlainCommandLine(std::string line) {
        skip_spaces(&line);
        cut(&line, line[0] == '"' ? closing_quote(line) + 1 : line.find(' '));
        skip_spaces(&line);
        if (line[0] == '"') {
            const size_t close = closing_quote(line);
            path = line.substr(1, close - 1);
            cut(&line, close + 1);
            skip_spaces(&line);
        }
        if (line[0] == '-') {
            query = line.substr(1);
        }
    }

private:
    // Its place, or the line's end.
    static size_t closing_quote(const std::string &line) {
        const size_t close = line.find('"', 1);
        return close == std::string::npos ? line.size() : close;
    }
    static void cut(std::string *line, size_t count) {
        line->erase(0, count);
    }
    static void skip_spaces(std::string *line) {
        cut(line, line->find_first_not_of(" \t"));
    }
};
