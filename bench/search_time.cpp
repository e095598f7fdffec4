// One search as the worker runs it: search_time [--readers COUNT] [--counts] [--ignore-case]
// [--skip-folders NAMES] FOLDER [QUERY]. Without a query it uses one longer than any file, so that every file
// is read and recorded but none is scanned: the lower bound of a search. With --counts the worker counts as
// for the status line. Prints the rows of both tables and the bytes of the stored strings and tables.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "os/arena.h"
#include "os/clock.h"
#include "search/readers.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/worker.h"

namespace {

// Bytes written to the store: the rows, and every block of the arena, the last one as far as it is used. Once
// a search has returned to an earlier block, all blocks are full.
uint64_t stored_bytes() {
    const StringArena *arena = &results_store.arena;
    const ArenaBlock *last = &arena->blocks[arena->block_count - 1];
    uint64_t bytes = last->base == arena->base ? arena->used : last->capacity;
    for (uint64_t i = 0; i + 1 < arena->block_count; i++) {
        bytes += arena->blocks[i].capacity;
    }
    return bytes + results_store.file_table.count * sizeof(FileEntry) +
           results_store.hit_table.count * sizeof(ResultRecord);
}

} // namespace

int main(int argc, char **argv) {
    if (argc > 2 && strcmp(argv[1], "--readers") == 0) {
        search_state.reader_count = readers_start(static_cast<uint32_t>(atoi(argv[2])));
        argc -= 2;
        argv += 2;
    }
    if (argc > 1 && strcmp(argv[1], "--counts") == 0) {
        os_init(); // the clock
        search_state.keeps_counts = true;
        argc -= 1;
        argv += 1;
    }
    if (argc > 1 && strcmp(argv[1], "--ignore-case") == 0) {
        search_state.ignore_case = true;
        argc -= 1;
        argv += 1;
    }
    if (argc > 2 && strcmp(argv[1], "--skip-folders") == 0) {
        search_state.skip_folders = str_from(argv[2]);
        argc -= 2;
        argv += 2;
    }
    if (argc != 2 && argc != 3) {
        fputs("usage: search_time [--readers COUNT] [--counts] [--ignore-case] [--skip-folders NAMES] FOLDER "
              "[QUERY]\n",
              stderr);
        return 2;
    }
    results_store_reserve();
    results_store_start_arena();
    strbuf_init(&search_state.path, 1024);
    strbuf_append(&search_state.path, strlen(argv[1]), argv[1]);
    strbuf_init(&search_state.query, 1024);
    if (argc == 3) {
        strbuf_append(&search_state.query, strlen(argv[2]), argv[2]);
    } else {
        strbuf_append(&search_state.query, static_cast<uint64_t>(search_state.max_file_size) + 1, nullptr);
    }
    publish_request();
    search_worker_turn();
    printf("files %llu rows %llu stored %llu\n",
           static_cast<unsigned long long>(results_store.file_table.count),
           static_cast<unsigned long long>(results_store.hit_table.count),
           static_cast<unsigned long long>(stored_bytes()));
    return 0;
}
