#include "search/results_store.h"

#include <string.h>

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
    dynarray_init(&results_store.file_table, sizeof(FileEntry), 10000);
    dynarray_init(&results_store.hit_table, sizeof(ResultRecord), 100000);
}

void results_store_reserve_folders() {
    dynarray_init(&results_store.matching_folders, sizeof(Str), 128);
    dynarray_init(&results_store.other_folders, sizeof(Str), 128);
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

TableRows table_rows(const DynArray *table) {
    uint64_t count = table->count;
    char *data = table->data;
    return {data ? count : 0, data};
}
