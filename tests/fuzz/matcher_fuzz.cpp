// The matcher compared with byte-by-byte rules: a file's hits in each variant of the scan, exact and with
// case ignored, and the sorting of sub-folders.
//
// An input: a byte of options, a byte of the text's offset in its block and its repetitions, a byte of the
// query's length, the query, the text.

#include <string>
#include <vector>

#include "fuzz.h"
#include "os/arena.h"
#include "os/arrays.h"
#include "os/processor.h"
#include "search/plain_matcher.h"
#include "search/results_store.h"
#include "search/scan.h"
#include "search/search_file.h"
#include "search/search_state.h"
#include "search/suggestions.h"

namespace {

void reserve_once() {
    static bool is_reserved = false;
    if (!is_reserved) {
        dynarray_init(&results_store.hit_table, sizeof(ResultRecord), 16);
        results_store_reserve_folders();
        results_store_start_arena();
        search_state.request_pending = 0;
        is_reserved = true;
    }
    results_store.hit_table.count = 0;
    results_store.matching_folders.count = 0;
    results_store.other_folders.count = 0;
    arena_rewind(&results_store.arena);
}

// ---- Hits ----

std::string written(const std::vector<PlainHit> &hits, uint32_t file_index) {
    std::string all = hits.empty() ? "" : "header " + std::to_string(file_index) + "\n";
    for (const PlainHit &hit : hits) {
        all += std::to_string(hit.line) + " " + std::to_string(hit.column) + " " +
               std::to_string(hit.byte_offset) + " " + hit.text + "\n";
    }
    return all;
}

std::string stored_rows(uint32_t file_index) {
    std::string all;
    const ResultRecord *rows = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        const ResultRecord &row = rows[i];
        if (row.kind == RESULT_FILE_HEADER) {
            bool is_bare = !row.line && !row.column && !row.byte_offset && !row.text.count && !row.text.data;
            all += "header " + std::to_string(row.file_index) + (is_bare ? "\n" : " with a hit in it\n");
            continue;
        }
        all += std::to_string(row.line) + " " + std::to_string(row.column) + " " +
               std::to_string(row.byte_offset) + " " + to_string(row.text) + "\n";
        fuzz_expect("a hit's file", row.file_index, file_index);
        fuzz_expect("the byte after a line's text", row.text.data[row.text.count], 0);
    }
    return all;
}

void check_hits(const std::string &text, const std::string &query, size_t offset, uint32_t file_index,
                bool ignore_case) {
    std::string plain_text = text;
    const std::string expected = written(plain_hits(plain_text, query, ignore_case), file_index);
    const ExactBytes real_query(query);
    std::vector<ScanNextHit *> variants = {ignore_case ? scan_next_hit_ignoring_case_sse2
                                                       : scan_next_hit_sse2};
    if (os_has_avx2()) {
        variants.push_back(ignore_case ? scan_next_hit_ignoring_case_avx2 : scan_next_hit_avx2);
    }
    for (ScanNextHit *variant : variants) {
        reserve_once();
        search_state.ignore_case = ignore_case;
        (ignore_case ? scan_next_hit_ignoring_case_variant : scan_next_hit_variant) = variant;
        const ExactBytes contents(text, offset);
        scan_contents(contents.str, real_query.str, file_index);
        fuzz_expect("hits", stored_rows(file_index), expected);
        fuzz_expect("the text afterwards", to_string(contents.str), plain_text);
    }
}

// ---- Sub-folders ----

std::string plain_lower(std::string text) {
    for (char &c : text) {
        size_t letter = std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ").find(c);
        c = letter == std::string::npos ? c : "abcdefghijklmnopqrstuvwxyz"[letter];
    }
    return text;
}

std::string joined(const DynArray &list) {
    std::string all;
    for (uint64_t i = 0; i < list.count; i++) {
        all += to_string(reinterpret_cast<const Str *>(list.data)[i]) + "\n";
    }
    return all;
}

struct Folders {
    Str prefix;
    std::string plain_prefix;
    std::string matching, others;

    void check(const std::string &name, bool is_folder) {
        if (is_folder) {
            const std::string start = name.substr(0, plain_prefix.size());
            (plain_lower(start) == plain_lower(plain_prefix) ? matching : others) += name + "\n";
        }
        const ExactBytes bytes(name);
        FolderEntry entry = {};
        entry.name = bytes.str;
        entry.is_folder = is_folder;
        fuzz_expect("the listing goes on", on_folder_suggestion(&prefix, {}, entry), 1);
    }
};

// names: separated by slashes, a file's with a '.' before it.
void check_folders(const std::string &names, const std::string &prefix) {
    reserve_once();
    const ExactBytes bytes(prefix);
    Folders folders = {bytes.str, prefix, "", ""};
    FuzzInput input(reinterpret_cast<const uint8_t *>(names.data()), names.size());
    while (!input.is_over()) {
        const std::string name = input.text_before('/');
        folders.check(name, name.rfind(".", 0) != 0);
    }
    // The prefix with bit 5 of one byte flipped, which for a letter is the other case.
    for (size_t i = 0; i < prefix.size(); i++) {
        std::string name = prefix;
        name[i] = static_cast<char>(name[i] ^ 0x20);
        folders.check(name, true);
    }
    fuzz_expect("matching folders", joined(results_store.matching_folders), folders.matching);
    fuzz_expect("other folders", joined(results_store.other_folders), folders.others);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    uint8_t how = input.byte();
    uint8_t place = input.byte();
    std::string query = input.text(input.byte());
    std::string text = input.rest();
    if (how & 1) {
        check_folders(text, query);
        return 0;
    }
    if (how & 2) {
        text += query; // a match that ends the file is not a hit
    }
    std::string all;
    for (int repeats = 1 + place / 64; repeats > 0; repeats--) {
        all += text;
    }
    check_hits(all, query, place % 64, how >> 2, false);
    check_hits(all, query, place % 64, how >> 2, true);
    return 0;
}
