#include "search/results_store.h"

#include <gtest/gtest.h>

#include <string>

#include "search/search_state.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

namespace {

// As the program starts, before any test has set its own values.
const SearchState at_start = search_state;

} // namespace

TEST(SearchState, StartsWithARequestPendingAndTenMillionBytes) {
    EXPECT_EQ(at_start.request_pending, 1);
    EXPECT_EQ(at_start.max_file_size, 10000000);
    EXPECT_EQ(at_start.search_busy, 0);
    EXPECT_EQ(at_start.results_dirty, 0);
    EXPECT_EQ(at_start.results_scroll, 0);
    EXPECT_EQ(at_start.path.count, 0u);
    EXPECT_EQ(at_start.query.count, 0u);
}

TEST(ResultsStore, ReservesItsTablesWithRoom) {
    SearchScope scope;
    EXPECT_EQ(results_store.file_table.capacity, 10000u);
    EXPECT_EQ(results_store.hit_table.capacity, 100000u);
    EXPECT_EQ(results_store.matching_folders.capacity, 128u);
    EXPECT_EQ(results_store.other_folders.capacity, 128u);
    EXPECT_EQ(results_store.arena.capacity, 50000000u);
    EXPECT_EQ(results_store.arena.block_count, 1u);
    EXPECT_EQ(results_store.arena.default_block_size, 50000000u);
}

TEST(ResultsStore, ARefusedTableHasCapacityZeroAndTheOthersTheirRoom) {
    HeapHookScope hook([](uint64_t size) { return size != 100000 * sizeof(ResultRecord); });
    SearchScope scope;
    EXPECT_EQ(results_store.hit_table.capacity, 0u);
    EXPECT_EQ(results_store.hit_table.data, nullptr);
    EXPECT_EQ(results_store.file_table.capacity, 10000u);
    EXPECT_EQ(results_store.other_folders.capacity, 128u);
}

TEST(Request, PublishingEmptiesTheHitsMarksThemDirtyAndAsks) {
    SearchScope scope;
    search_state.request_pending = 0;
    search_state.results_dirty = 0;
    search_state.results_scroll = 5;
    results_store.hit_table.count = 7;
    results_store.file_table.count = 3;
    publish_request();
    EXPECT_EQ(results_store.hit_table.count, 0u);
    EXPECT_EQ(search_state.results_dirty, 1);
    EXPECT_EQ(search_state.request_pending, 1);
    EXPECT_EQ(results_store.file_table.count, 3u); // the worker's to empty
    EXPECT_EQ(search_state.results_scroll, 5);
}

TEST(Request, TakingOneEmptiesTheStoreAndLeavesDirtyAlone) {
    SearchScope scope;
    set_field(&search_state.path, "C:/src");
    results_store.file_table.count = 1;
    results_store.hit_table.count = 2;
    results_store.matching_folders.count = 3;
    results_store.other_folders.count = 4;
    search_state.results_scroll = 5;
    arena_push_string(&results_store.arena, str_from("abc"));
    for (bool dirty : {false, true}) {
        search_state.request_pending = 1;
        search_state.results_dirty = dirty;
        Str path = take_request();
        EXPECT_EQ(to_string(path), "C:/src");
        EXPECT_EQ(path.data, search_state.path.data); // the field's own storage
        EXPECT_EQ(search_state.results_dirty, dirty);
    }
    EXPECT_EQ(search_state.request_pending, 0);
    EXPECT_EQ(results_store.file_table.count, 0u);
    EXPECT_EQ(results_store.hit_table.count, 0u);
    EXPECT_EQ(results_store.matching_folders.count, 0u);
    EXPECT_EQ(results_store.other_folders.count, 0u);
    EXPECT_EQ(results_store.arena.used, 0u);
    EXPECT_EQ(search_state.results_scroll, 0);
    EXPECT_EQ(results_store.hit_table.capacity, 100000u); // storage stays
}

TEST(Request, ANewOneReusesTheArenaFromItsFirstBlock) {
    SearchScope scope;
    StringArena &arena = results_store.arena;
    char *first = static_cast<char *>(arena_alloc(&arena, 49000000));
    ASSERT_NE(arena_alloc(&arena, 49000000), nullptr);
    EXPECT_EQ(arena.block_count, 2u);
    EXPECT_EQ(arena.index, 0u); // a new block does not move it
    take_request();
    EXPECT_EQ(arena_alloc(&arena, 49000000), first);
    EXPECT_EQ(arena_alloc(&arena, 49000000), first); // over the search's own earlier string, which is meant
    EXPECT_EQ(arena.block_count, 2u);
}

TEST(Field, TakesATextWholeLongerOrShorterAndGrowsInSteps) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    for (const std::string &text :
         {std::string("C:/src"), std::string("C:/"), std::string(), std::string("a\0b", 3),
          std::string(1024, 'x'), std::string(1025, 'y'), std::string(5000, 'z'), std::string("short")}) {
        ASSERT_TRUE(set_field_text(&field, str_over(text)));
        EXPECT_EQ(to_string(strbuf_text(&field)), text);
        EXPECT_EQ(field.data[text.size()], 0);
        EXPECT_EQ(field.capacity, text.size() < 1025 && field.capacity == 1024 ? 1024u
                                  : text.size() == 1025                        ? 2048u
                                                                               : 8192u);
    }
}

TEST(Field, KeepsItsTextWhenThereIsNoMemoryForAnother) {
    SearchScope scope;
    ASSERT_TRUE(set_field_text(&search_state.path, str_from("C:/src")));
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_FALSE(set_field_text(&search_state.path, str_over(std::string(1025, 'x'))));
        EXPECT_TRUE(set_field_text(&search_state.query, str_over(std::string(1024, 'x')))); // fits
    }
    EXPECT_EQ(to_string(strbuf_text(&search_state.path)), "C:/src");
    StrBuf without_storage = {};
    EXPECT_FALSE(set_field_text(&without_storage, str_from("")));
}

TEST(ResultsStore, PathsAreJoinedInTheArena) {
    SearchScope scope;
    Str path = results_push_path(str_from("C:/src"), str_from("main.c"));
    EXPECT_EQ(to_string(path), "C:/src/main.c");
    EXPECT_EQ(path.data[path.count], 0);
    EXPECT_EQ(results_store.arena.used, 8u + 13u + 1u);
    results_store.arena.used = results_store.arena.capacity;
    HeapHookScope hook([](uint64_t) { return false; });
    path = results_push_path(str_from("C:/src"), str_from("main.c"));
    EXPECT_EQ(path.count, 0u);
    EXPECT_EQ(path.data, nullptr);
}

TEST(ResultsStore, ARefusedTableReadsAsEmpty) {
    DynArray table = {};
    table.count = 5; // the reader has seen the count before the writer dropped the rows
    TableRows rows = table_rows(&table);
    EXPECT_EQ(rows.count, 0u);
    EXPECT_EQ(rows.data, nullptr);
}
