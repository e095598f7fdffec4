#include "app/command_line.h"

#include <string.h>

#include "search/search_state.h"

namespace {

Str behind(Str text, uint64_t count) {
    return {text.count - count, text.data + count};
}

Str skip_blanks(Str text) {
    uint64_t count = 0;
    while (count < text.count && (text.data[count] == ' ' || text.data[count] == '\t')) {
        count++;
    }
    return behind(text, count);
}

// Takes off the bytes before the first end, and end itself; all of them when there is no end.
Str take_until(Str *text, char end) {
    Str taken = *text;
    const void *found = text->count > 0 ? memchr(text->data, end, text->count) : nullptr;
    if (found) {
        taken.count = static_cast<uint64_t>(static_cast<const char *>(found) - text->data);
    }
    *text = behind(*text, found ? taken.count + 1 : taken.count);
    return taken;
}

uint8_t take(Str *text, char byte) {
    if (text->count == 0 || text->data[0] != byte) {
        return 0;
    }
    *text = behind(*text, 1);
    return 1;
}

} // namespace

CommandLine command_line_parse(Str line) {
    CommandLine result = {};
    Str rest = skip_blanks(line);
    take_until(&rest, take(&rest, '"') ? '"' : ' '); // a tab does not end a name without quotes
    rest = skip_blanks(rest);
    // A path without quotes is not taken, and whatever stands there instead of a dash ends the line.
    if (take(&rest, '"')) {
        result.path = take_until(&rest, '"');
        result.has_path = 1;
        rest = skip_blanks(rest);
    }
    if (take(&rest, '-')) {
        result.query = rest;
        result.has_query = 1;
    }
    return result;
}

void command_line_apply(Str line) {
    CommandLine given = command_line_parse(line);
    if (given.has_path && set_request_text(&search_state.path, given.path)) {
        strbuf_clean_path(&search_state.path, 1);
    }
    if (given.has_query) {
        set_request_text(&search_state.query, given.query);
    }
}
