#include "ui/saved_files.h"

#include <string.h>

#include "os/arrays.h"
#include "os/files.h"
#include "os/paths.h"
#include "os/replace_file.h"
#include "search/search_state.h"
#include "ui/saved_entries.h"

Str saved_folder;

// ---- A file's bytes ----

void saved_list_load_contents(Field *field, Str contents, bool restore_text) {
    str_slashes(contents); // intentionally in queries too
    uint64_t start = 0;
    for (uint64_t end = 0; end < contents.count; end++) {
        if (contents.data[end] != '\n') {
            continue;
        }
        Str line = {end - start, contents.data + start};
        if (line.count > 0 && line.data[line.count - 1] == '\r') {
            line.count--;
        }
        if (start == 0) {
            // Verbatim, even a path: the first mark update with the focus on it cleans it.
            if (restore_text && line.count > 0) {
                set_request_text(field->text, line);
            }
        } else {
            line = field->is_path ? path_clean(line, true) : line;
            if (line.count > 0) {
                saved_list_add(&field->entries, line);
            }
        }
        start = end + 1;
    }
    // An unterminated last line becomes an entry verbatim, carriage return included, even when it is the only
    // line: a text without saved entries intentionally comes back as an entry.
    if (start < contents.count) {
        saved_list_add(&field->entries, {contents.count - start, contents.data + start});
    }
}

bool saved_list_contents(const Field *field, StrBuf *out) {
    const DynArray *list = &field->entries;
    bool is_whole = strbuf_try_append(out, strbuf_text(field->text));
    for (uint64_t row = 0; is_whole && row < list->count; row++) {
        const SavedEntry *entry = saved_entry_at(list, row);
        if (entry->in_use) {
            is_whole =
                strbuf_try_append(out, str_from("\r\n")) && strbuf_try_append(out, saved_entry_text(entry));
        }
    }
    return is_whole;
}

// ---- Files ----

namespace {

constexpr uint64_t longest_name = 32;

struct FilePaths {
    char bytes[3][longest_folder_path + longest_name];
    ReplacedFile file; // of these bytes
};

// The path of a file in saved_folder.
Str join(char *path, const char *stem, const char *extension) {
    char *end = path;
    const Str parts[] = {saved_folder, str_from(stem), str_from(extension)};
    for (Str part : parts) {
        memcpy(end, part.data, part.count);
        end += part.count;
    }
    *end = 0;
    return str_from(path);
}

// Returns false when the field has no files, or none can be used.
bool file_paths(const Field *field, FilePaths *paths) {
    if (!field->file_stem || saved_folder.count == 0 || saved_folder.count > longest_folder_path) {
        return false;
    }
    paths->file = {
        join(paths->bytes[0], field->file_stem, ".txt"),
        join(paths->bytes[1], field->file_stem, ".new"),      // no longer than the first, so it fits too
        join(paths->bytes[2], field->file_stem, ".txt.new")}; // of version 0.9.5
    return true;
}

void load(Field *field, const ReplacedFile *file, bool restore_text) {
    Str contents;
    field->is_unread = !read_replaced_file(file, &contents);
    saved_list_load_contents(field, contents, restore_text);
    os_file_free(&contents);
}

} // namespace

void saved_list_load(Field *field, bool restore_text) {
    FilePaths paths = {};
    if (file_paths(field, &paths)) {
        load(field, &paths.file, restore_text);
    }
}

void saved_list_write(Field *field) {
    FilePaths paths = {};
    if (!file_paths(field, &paths) || field->entries.capacity == 0) {
        return;
    }
    // A list that could not be read must not be replaced by one without its entries.
    if (field->is_unread) {
        load(field, &paths.file, false);
        if (field->is_unread) {
            return;
        }
    }
    StrBuf block;
    strbuf_init(&block, 16384);
    strbuf_append(&block, replaced_length_size, nullptr);
    if (saved_list_contents(field, &block)) {
        replace_file(&paths.file, strbuf_text(&block));
    }
    os_free(block.data);
}
