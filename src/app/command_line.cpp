#include "app/command_line.h"

#include <algorithm>
#include <string_view>

#include "os/paths.h"
#include "search/search_state.h"

namespace {

// The text without its first count bytes; empty when it has no more.
Str after(Str text, uint64_t count) {
    count = std::min(count, text.count);
    return {text.count - count, text.data + count};
}

Str skip_spaces(Str text) {
    return after(text, std::string_view(text.data, text.count).find_first_not_of(" \t"));
}

// Removes and returns the bytes before the first end, and removes end itself; takes all when there is no end.
Str take_until(Str *text, char end) {
    Str taken = *text;
    taken.count = std::min<uint64_t>(std::string_view(text->data, text->count).find(end), text->count);
    *text = after(*text, taken.count + 1);
    return taken;
}

bool take(Str *text, char byte) {
    if (text->count == 0 || text->data[0] != byte) {
        return false;
    }
    *text = after(*text, 1);
    return true;
}

} // namespace

CommandLine command_line_parse(Str line) {
    CommandLine result = {};
    Str rest = skip_spaces(line);
    take_until(&rest, take(&rest, '"') ? '"' : ' '); // a tab does not end an unquoted name
    rest = skip_spaces(rest);
    // An unquoted path is ignored; anything but '-' ends parsing.
    result.has_path = take(&rest, '"');
    if (result.has_path) {
        result.path = take_until(&rest, '"');
        rest = skip_spaces(rest);
    }
    result.has_query = take(&rest, '-');
    if (result.has_query) {
        result.query = rest;
    }
    return result;
}

void command_line_apply(Str line) {
    CommandLine given = command_line_parse(line);
    if (given.has_path && set_request_text(&search_state.path, given.path)) {
        strbuf_clean_path(&search_state.path, true);
    }
    if (given.has_query) {
        set_request_text(&search_state.query, given.query);
    }
}
