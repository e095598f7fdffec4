// The command line, and the fields after it is applied, compared with a plain parser. An input is a command
// line.

#include <optional>
#include <string>

#include "app/command_line.h"
#include "app/plain_command_line.h"
#include "fuzz.h"
#include "search/search_state.h"
#include "ui/plain_saved_lists.h"

namespace {

std::string written(const std::optional<std::string> &text) {
    return text ? "given: " + *text : "not given";
}

std::string written(uint8_t is_given, Str text) {
    return is_given ? "given: " + to_string(text) : "not given";
}

// The field's text with its terminator.
std::string stored(const StrBuf &field) {
    return std::string(field.data, field.count + 1);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string line(data, data + size);
    const PlainCommandLine plain(line);
    const ExactBytes bytes(line);

    const CommandLine parsed = command_line_parse(bytes.str);
    fuzz_expect("the path", written(parsed.has_path, parsed.path), written(plain.path));
    fuzz_expect("the query", written(parsed.has_query, parsed.query), written(plain.query));

    for (StrBuf *text : {&search_state.path, &search_state.query}) {
        os_free(text->data);
        strbuf_init(text, 16); // small, so that it sometimes grows
        set_request_text(text, str_from("old"));
    }
    command_line_apply(bytes.str);
    const std::string end(1, '\0');
    fuzz_expect("the path's field", stored(search_state.path),
                (plain.path ? plain_clean(*plain.path, true) : "old") + end);
    fuzz_expect("the query's field", stored(search_state.query), plain.query.value_or("old") + end);
    return 0;
}
