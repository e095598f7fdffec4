#include "search/matcher.h"

#include <algorithm>

#include "search/search_state.h"

namespace {

constexpr int64_t longest_line_text = 400; // bytes

// The text of a line as stored: cut, then trimmed, with tabs replaced by spaces in place.
Str line_text(char *line, int64_t length) {
    length = std::min(length, longest_line_text);
    while (length > 0 && is_whitespace(line[length - 1])) {
        length--;
    }
    while (length > 0 && is_whitespace(line[0])) {
        line++;
        length--;
    }
    for (int64_t i = 0; i < length; i++) {
        line[i] = line[i] == '\t' ? ' ' : line[i];
    }
    return {static_cast<uint64_t>(length), line};
}

} // namespace

LineScan line_scan(Str contents, Str query) {
    // Lengths are intentionally signed 32-bit numbers: a file of 2 GiB or more is not searched. The span is
    // intentionally one short of the last place where the query fits: a match that ends the file is not a
    // hit.
    int64_t length = static_cast<int32_t>(contents.count);
    int64_t span = length - static_cast<int64_t>(query.count);
    if (query.count > INT32_MAX || span <= 0) {
        return {};
    }
    return {contents.data, 0, span, 1, scan_needle(query, search_state.ignore_case)};
}

bool line_scan_next(LineScan *scan, LineHit *hit) {
    ScanHit found;
    if (!scan_next_hit(scan->text, scan->from, scan->span, scan->needle, &found)) {
        return false;
    }
    hit->line = scan->line + found.line_feeds;
    hit->column = static_cast<uint32_t>(found.pos - found.line_start + 1);
    hit->byte_offset = static_cast<uint32_t>(found.pos);
    // Lines end at span at the latest: an unterminated last line loses as many bytes as the query has.
    hit->text = line_text(scan->text + found.line_start, found.line_end - found.line_start);
    hit->is_cut = found.line_end - found.line_start > longest_line_text || found.line_end == scan->span;
    scan->from = found.line_end + 1;
    scan->line = hit->line + 1;
    return true;
}
