#include "search/results_store.h"

#include <string.h>

#include "os/paths.h"
#include "search/search_counts.h"
#include "search/search_state.h"

namespace {

constexpr uint64_t arena_block_size = 50000000;

} // namespace

ResultStore results_store = {
    .arena = {},
    .retired = {nullptr, &search_state.interface_pass},
    .file_table = {},
    .hit_table = {},
    .matching_folders = {},
    .other_folders = {},
};

void results_store_reserve_files_and_hits() {
    dynarray_init(&results_store.file_table, sizeof(FileEntry), reserved_files);
    dynarray_init(&results_store.hit_table, sizeof(ResultRecord), reserved_hits);
}

void results_store_reserve_folders() {
    dynarray_init(&results_store.matching_folders, sizeof(Str), reserved_folders);
    dynarray_init(&results_store.other_folders, sizeof(Str), reserved_folders);
}

void results_store_reserve() {
    results_store_reserve_files_and_hits();
    results_store_reserve_folders();
}

void results_store_start_arena() {
    arena_init(&results_store.arena, arena_block_size);
}

Str results_push_path(Str folder, Str name) {
    uint64_t count = folder.count + 1 + name.count;
    char *path = static_cast<char *>(arena_alloc(&results_store.arena, count + 1));
    if (!path) {
        return {};
    }
    memcpy(path, folder.data, folder.count);
    path[folder.count] = '/';
    memcpy(path + folder.count + 1, name.data, name.count);
    path[count] = 0;
    return {count, path};
}

bool results_push_file(Str folder, Str name, uint32_t *file_index) {
    FileEntry file = {arena_push_string(&results_store.arena, folder),
                      arena_push_string(&results_store.arena, name)};
    str_slashes(file.folder);
    if (!dynarray_push_shared(&results_store.file_table, sizeof(file), &file, &results_store.retired)) {
        return false;
    }
    *file_index = static_cast<uint32_t>(results_store.file_table.count - 1);
    count_one(&search_counts.files);
    return true;
}

void results_push_hit(uint32_t file_index, const LineHit &hit) {
    ResultRecord record = {};
    record.kind = RESULT_HIT;
    record.is_cut = hit.is_cut;
    record.file_index = file_index;
    record.line = hit.line;
    record.column = hit.column;
    record.byte_offset = hit.byte_offset;
    record.text = arena_push_string(&results_store.arena, hit.text);
    DynArray *table = &results_store.hit_table;
    TableRows rows = table_rows(table);
    const ResultRecord *hits = reinterpret_cast<const ResultRecord *>(rows.data);
    if (rows.count == 0 || hits[rows.count - 1].file_index != file_index) {
        ResultRecord header = {};
        header.kind = RESULT_FILE_HEADER;
        header.file_index = file_index;
        dynarray_push_shared(table, sizeof(header), &header, &results_store.retired);
        count_one(&search_counts.files_with_hits);
    }
    dynarray_push_shared(table, sizeof(record), &record, &results_store.retired);
    count_one(&search_counts.hits);
    search_state.results_dirty = 1;
}

TableRows table_rows(const DynArray *table) {
    uint64_t count = table->count;
    char *data = table->data;
    return {data ? count : 0, data};
}

namespace {

// Copies a row; volatile words keep the compiler from moving the copy. Returns false when there is no such
// row.
bool copy_row(const DynArray *table, uint64_t row, uint64_t elem_size, void *copy) {
    TableRows rows = table_rows(table);
    if (row >= rows.count) {
        return false;
    }
    const volatile uint64_t *from = reinterpret_cast<const volatile uint64_t *>(rows.data + row * elem_size);
    uint64_t *to = static_cast<uint64_t *>(copy);
    for (uint64_t i = 0; i < elem_size / sizeof(uint64_t); i++) {
        to[i] = from[i];
    }
    return true;
}

typedef uint64_t UnalignedWord __attribute__((aligned(1), may_alias));

// Copies a text and a zero byte to the start of room and shrinks room by them; volatile for the same reason.
// Returns false, changing nothing, when it does not fit.
bool copy_text(Str *text, Str *room) {
    if (text->count == 0) {
        return true;
    }
    if (room->count <= text->count) {
        return false;
    }
    const volatile char *from = text->data;
    uint64_t i = 0;
    for (; i + sizeof(UnalignedWord) <= text->count; i += sizeof(UnalignedWord)) {
        *reinterpret_cast<UnalignedWord *>(room->data + i) =
            *reinterpret_cast<const volatile UnalignedWord *>(from + i);
    }
    for (; i < text->count; i++) {
        room->data[i] = from[i];
    }
    text->data = room->data;
    text->data[text->count] = 0;
    room->data += text->count + 1;
    room->count -= text->count + 1;
    return true;
}

// Runs both functions, the rows' first: only a whole row has valid pointers to its texts. copy_rows returns
// whether the rows exist, copy_texts whether the texts fit. number: current_search_number() before the copy;
// rows and texts are overwritten only after it has changed.
template <typename CopyRows, typename CopyTexts>
RowCopy copy_from_search(uint64_t number, CopyRows copy_rows, CopyTexts copy_texts) {
    if (!copy_rows() || current_search_number() != number) {
        return ROW_GONE;
    }
    RowCopy copy = copy_texts() ? ROW_COPIED : ROW_IN_PLACE;
    return current_search_number() == number ? copy : ROW_GONE;
}

} // namespace

HitRow results_hit_at(uint64_t row, Str room) {
    HitRow result = {};
    ResultRecord &hit = result.hit;
    FileEntry &file = result.file;
    result.search_number = current_search_number();
    result.copy = copy_from_search(
        result.search_number,
        [&] {
            return copy_row(&results_store.hit_table, row, sizeof(hit), &hit) &&
                   copy_row(&results_store.file_table, hit.file_index, sizeof(file), &file);
        },
        [&] {
            bool fits = copy_text(&file.folder, &room) && copy_text(&file.name, &room);
            copy_text(&hit.text, &room);
            return fits;
        });
    return result;
}

FolderRow results_folder_at(const DynArray *folders, uint64_t row, Str room) {
    FolderRow result = {};
    result.copy = copy_from_search(
        current_search_number(), [&] { return copy_row(folders, row, sizeof(Str), &result.name); },
        [&] { return copy_text(&result.name, &room); });
    return result;
}

FolderRow results_completion(Str room) {
    return results_folder_at(&results_store.matching_folders, 0, room);
}
