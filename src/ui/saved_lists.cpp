#include "ui/saved_lists.h"

#include <string.h>

#include "os/files.h"
#include "os/replace_file.h"
#include "search/search_state.h"

SavedLists saved_lists;

namespace {

// What belongs to one of the two fields.
struct FieldList {
    StrBuf *field;
    DynArray *entries;
    uint8_t *is_saved;
    uint8_t *is_unread;
    const char *file_name;
    const char *second_name;  // of the file that exists while file_name is being replaced; not longer
    const char *earlier_name; // of the second file in version 0.9.5
    uint8_t is_path;
};

const FieldList field_lists[] = {
    {&search_state.path, &saved_lists.paths, &saved_lists.path_saved, &saved_lists.paths_unread,
     "saved_paths.txt", "saved_paths.new", "saved_paths.txt.new", 1},
    {&search_state.query, &saved_lists.queries, &saved_lists.query_saved, &saved_lists.queries_unread,
     "saved_queries.txt", "saved_queries.new", "saved_queries.txt.new", 0},
};

const FieldList *field_list_of(const StrBuf *field) {
    for (const FieldList &row : field_lists) {
        if (row.field == field) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

// ---- Entries ----

namespace {

constexpr uint64_t removed_entries_kept = 20;

uint64_t entry_capacity(uint64_t length) {
    uint64_t capacity = 8;
    while (capacity < length) {
        capacity *= 2;
    }
    return capacity;
}

void add_entry(DynArray *list, Str text) {
    if (list->capacity == 0) {
        return; // a push onto it would never return
    }
    uint64_t capacity = entry_capacity(text.count);
    char *copy = static_cast<char *>(os_alloc(capacity + 1));
    SavedEntry entry = {1, 0, nullptr, 0}; // without memory an empty entry, which is kept and written
    if (copy) {
        memcpy(copy, text.data, text.count);
        copy[text.count] = 0;
        entry = {1, text.count, copy, capacity};
    }
    // A list that cannot grow is empty from then on; its entries' texts stay allocated.
    if (!dynarray_push(list, sizeof(SavedEntry), &entry)) {
        os_free(copy);
    }
}

// Deletes the first removed entry for good when there are more than enough of them.
void compact_removed(DynArray *list) {
    uint64_t removed = 0;
    uint64_t first = 0;
    for (uint64_t row = list->count; row-- > 0;) {
        if (!saved_entry_at(list, row)->in_use) {
            removed++;
            first = row;
        }
    }
    if (removed <= removed_entries_kept) {
        return;
    }
    SavedEntry *entry = saved_entry_at(list, first);
    os_free(entry->text);
    memmove(entry, entry + 1, (list->count - first - 1) * sizeof(SavedEntry));
    list->count = list->count - 1;
}

} // namespace

void saved_lists_reserve() {
    dynarray_init(&saved_lists.paths, sizeof(SavedEntry), 128);
    dynarray_init(&saved_lists.queries, sizeof(SavedEntry), 128);
}

DynArray *saved_list_of(const StrBuf *field) {
    const FieldList *saved = field_list_of(field);
    return saved ? saved->entries : nullptr;
}

SavedEntry *saved_entry_at(const DynArray *list, uint64_t row) {
    return reinterpret_cast<SavedEntry *>(list->data + row * sizeof(SavedEntry));
}

Str saved_entry_text(const SavedEntry *entry) {
    return {entry->length, entry->text};
}

SavedEntry *saved_list_find(const DynArray *list, Str text, SavedEntryState wanted) {
    for (uint64_t row = 0; row < list->count; row++) {
        SavedEntry *entry = saved_entry_at(list, row);
        if ((wanted == SAVED_ANY || (wanted == SAVED_LIVE) == (entry->in_use != 0)) &&
            str_equal(saved_entry_text(entry), text)) {
            return entry;
        }
    }
    return nullptr;
}

void saved_lists_update_mark(StrBuf *focused) {
    const FieldList *saved = field_list_of(focused);
    if (!saved) {
        return;
    }
    if (saved->is_path) {
        // A blank or a quote typed at the end of the path is gone at once, and that is meant.
        strbuf_clean_path(focused, 1);
    }
    *saved->is_saved = saved_list_find(saved->entries, strbuf_text(focused), SAVED_LIVE) != nullptr;
}

void saved_list_save(StrBuf *field, StrBuf *focused) {
    const FieldList *saved = field_list_of(field);
    if (!saved) {
        return;
    }
    if (saved->is_path) {
        strbuf_clean_path(field, 1);
    }
    Str text = strbuf_text(field);
    if (*saved->is_saved) {
        if (!saved_list_find(saved->entries, text, SAVED_REMOVED)) {
            return;
        }
    } else {
        if (text.count == 0) {
            return;
        }
        SavedEntry *same = saved_list_find(saved->entries, text, SAVED_ANY);
        if (same) {
            same->in_use = 1; // neither written nor marked before the next change, and that is meant
            return;
        }
        compact_removed(saved->entries);
        add_entry(saved->entries, text);
    }
    saved_list_write(field);
    saved_lists_update_mark(focused);
}

void saved_entry_flip(StrBuf *focused, uint64_t row) {
    const FieldList *saved = field_list_of(focused);
    if (!saved || row >= saved->entries->count) {
        return;
    }
    SavedEntry *entry = saved_entry_at(saved->entries, row);
    entry->in_use = entry->in_use ? 0 : 1;
    saved_list_write(focused);
    saved_lists_update_mark(focused);
}

// ---- A file's bytes ----

void saved_list_load_contents(StrBuf *field, Str contents, uint8_t restore_text) {
    const FieldList *saved = field_list_of(field);
    if (!saved) {
        return;
    }
    str_slashes(contents); // in queries too, and that is meant
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
            // As it stands, even a path: it is cleaned with the first mark update that it has the focus for.
            if (restore_text && line.count > 0) {
                set_field_text(field, line);
            }
        } else {
            line = saved->is_path ? path_clean(line, 1) : line;
            if (line.count > 0) {
                add_entry(saved->entries, line);
            }
        }
        start = end + 1;
    }
    // What no line feed ends is an entry as it stands, its carriage return and all, even the only line of the
    // file: a text that was left without saved entries comes back as an entry. That is meant.
    if (start < contents.count) {
        add_entry(saved->entries, {contents.count - start, contents.data + start});
    }
}

namespace {

uint8_t append(StrBuf *out, Str text) {
    if (!strbuf_make_room(out, text.count, nullptr)) {
        return 0;
    }
    strbuf_append(out, text.count, text.data);
    return 1;
}

} // namespace

uint8_t saved_list_contents(const StrBuf *field, StrBuf *out) {
    const DynArray *list = saved_list_of(field);
    if (!list || !append(out, strbuf_text(field))) {
        return 0;
    }
    for (uint64_t row = 0; row < list->count; row++) {
        const SavedEntry *entry = saved_entry_at(list, row);
        if (entry->in_use && !(append(out, str_from("\r\n")) && append(out, saved_entry_text(entry)))) {
            return 0;
        }
    }
    return 1;
}

// ---- Files ----

namespace {

constexpr uint64_t longest_folder = 4096; // bytes; the systems' own limits are lower
constexpr uint64_t longest_name = 32;

struct FilePath {
    char bytes[longest_folder + longest_name];
};

struct FilePaths {
    FilePath first;
    FilePath second;
    FilePath earlier;
    ReplacedFile file; // of these bytes
};

Str join(FilePath *path, Str folder, const char *name) {
    memcpy(path->bytes, folder.data, folder.count);
    memcpy(path->bytes + folder.count, name, strlen(name) + 1);
    return str_from(path->bytes);
}

// Returns 0 when no files are to be used.
uint8_t file_paths(const FieldList *saved, FilePaths *paths) {
    Str folder = saved_lists.folder;
    if (!saved || folder.count == 0 || folder.count > longest_folder) {
        return 0;
    }
    paths->file = {join(&paths->first, folder, saved->file_name),
                   join(&paths->second, folder, saved->second_name),
                   join(&paths->earlier, folder, saved->earlier_name)};
    return 1;
}

void load(const FieldList *saved, const ReplacedFile *file, uint8_t restore_text) {
    Str contents;
    *saved->is_unread = !read_replaced_file(file, &contents);
    saved_list_load_contents(saved->field, contents, restore_text);
    os_file_free(&contents);
}

} // namespace

void saved_list_load(StrBuf *field, uint8_t restore_text) {
    const FieldList *saved = field_list_of(field);
    FilePaths paths;
    if (file_paths(saved, &paths)) {
        load(saved, &paths.file, restore_text);
    }
}

void saved_list_write(const StrBuf *field) {
    const FieldList *saved = field_list_of(field);
    FilePaths paths;
    if (!file_paths(saved, &paths) || saved->entries->capacity == 0) {
        return;
    }
    // A list that could not be read at the start must not be replaced by one without its entries.
    if (*saved->is_unread) {
        load(saved, &paths.file, 0);
        if (*saved->is_unread) {
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
