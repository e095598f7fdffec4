// Runs one search exactly as the program's worker does and prints what it stored:
//
//   search_dump [--max-file-size BYTES] [--readers COUNT] [--ignore-case] [--skip-folders NAMES] PATH QUERY
//
// NAMES are separated by spaces, as in settings.txt.
//
//   files <rows of file_table>
//   file <folder>/<name>                          one for each header row
//   hit <line> <column> <byte offset> <text>      one for each hit row
//   match <name>                                  one for each row of matching_folders
//   other <name>                                  one for each row of other_folders
//
// Lines end with LF, and bytes are printed unchanged. Exits with 0, or with 2 and a line on standard error
// for wrong arguments.

#include <charconv>
#include <initializer_list>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os/arrays.h"
#include "os/console.h"
#include "search/readers.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/worker.h"

#ifdef _WIN32
extern "C" {
int _dowildcard = 0; // no wildcard expansion: a query may be '*'
}
#endif

namespace {

constexpr uint64_t output_size = 65536;
char output[output_size];
uint64_t output_used;

void flush_output() {
    os_console_write({output_used, output});
    output_used = 0;
}

void put(Str text) {
    if (text.count > output_size - output_used) {
        flush_output();
    }
    if (text.count > output_size) {
        os_console_write(text);
        return;
    }
    if (text.count > 0) {
        memcpy(output + output_used, text.data, text.count);
    }
    output_used += text.count;
}

// Prints label, then the number.
void put_number(Str label, uint64_t number) {
    char digits[20];
    char *end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    put(label);
    put({static_cast<uint64_t>(end - digits), digits});
}

void put_names(Str label, const DynArray *list) {
    TableRows rows = table_rows(list);
    const Str *names = reinterpret_cast<const Str *>(rows.data);
    for (uint64_t i = 0; i < rows.count; i++) {
        put(label);
        put(names[i]);
        put(str_from("\n"));
    }
}

void put_results() {
    TableRows file_rows = table_rows(&results_store.file_table);
    TableRows hit_rows = table_rows(&results_store.hit_table);
    const FileEntry *files = reinterpret_cast<const FileEntry *>(file_rows.data);
    const ResultRecord *hits = reinterpret_cast<const ResultRecord *>(hit_rows.data);
    const Str space = str_from(" ");
    const Str line_end = str_from("\n");
    const Str hit_label = str_from("hit ");
    put_number(str_from("files "), file_rows.count);
    put(line_end);
    for (uint64_t i = 0; i < hit_rows.count; i++) {
        const ResultRecord *row = &hits[i];
        if (row->kind == RESULT_FILE_HEADER) {
            put(str_from("file "));
            put(files[row->file_index].folder);
            put(str_from("/"));
            put(files[row->file_index].name);
        } else {
            put_number(hit_label, row->line);
            put_number(space, row->column);
            put_number(space, row->byte_offset);
            put(space);
            put(row->text);
        }
        put(line_end);
    }
    put_names(str_from("match "), &results_store.matching_folders);
    put_names(str_from("other "), &results_store.other_folders);
    flush_output();
}

// Parses decimal digits; returns 0 when text has anything else or does not fit.
uint8_t parse_size(const char *text, int64_t *size) {
    *size = 0;
    for (const char *at = text; *at; at++) {
        if (*at < '0' || *at > '9' || *size > (INT64_MAX - (*at - '0')) / 10) {
            return 0;
        }
        *size = *size * 10 + (*at - '0');
    }
    return *text != 0;
}

uint8_t is_option(const char *text) {
    for (const char *option : {"--max-file-size", "--readers", "--ignore-case", "--skip-folders"}) {
        if (strcmp(text, option) == 0) {
            return 1;
        }
    }
    return 0;
}

void set_text(StrBuf *field, const char *text) {
    strbuf_init(field, 1024);
    strbuf_append(field, strlen(text), text);
}

} // namespace

int main(int argc, char **argv) {
    int64_t max_file_size = search_state.max_file_size;
    int64_t reader_count = 0;
    char **rest = argv + 1;
    for (char **end = argv + argc; end - rest > 2;) {
        if (strcmp(rest[0], "--ignore-case") == 0) {
            search_state.ignore_case = true;
            rest += 1;
        } else if (strcmp(rest[0], "--skip-folders") == 0) {
            search_state.skip_folders = str_from(rest[1]);
            rest += 2;
        } else if ((strcmp(rest[0], "--max-file-size") == 0 && parse_size(rest[1], &max_file_size)) ||
                   (strcmp(rest[0], "--readers") == 0 && parse_size(rest[1], &reader_count) &&
                    reader_count <= most_readers)) {
            rest += 2;
        } else {
            break;
        }
    }
    if (argv + argc - rest != 2 || is_option(rest[0])) {
        fputs("usage: search_dump [--max-file-size BYTES] [--readers COUNT] [--ignore-case] "
              "[--skip-folders NAMES] PATH QUERY\n",
              stderr);
        return 2;
    }
    search_state.max_file_size = max_file_size;
    search_state.reader_count = readers_start(static_cast<uint32_t>(reader_count));
    results_store_reserve();
    results_store_start_arena();
    set_text(&search_state.path, rest[0]);
    set_text(&search_state.query, rest[1]);
    publish_request();
    search_worker_turn();
    put_results();
    return 0;
}
