#include "search/results_store.h"

#include <gtest/gtest.h>

#include <string.h>

#ifndef _WIN32
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <string>

#include "search/search_file.h"
#include "search/search_state.h"
#include "search/suggestions.h"
#include "search/worker.h"
#include "support/each_step.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

namespace {

// The state at program start, before any test sets its own values.
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

TEST(ResultsStore, ReservesItsTablesAndItsArenaWithRoom) {
    SearchScope scope;
    free_results_arena();
    results_store_start_arena();
    EXPECT_EQ(results_store.file_table.capacity, 10000u);
    EXPECT_EQ(results_store.hit_table.capacity, 100000u);
    EXPECT_EQ(results_store.matching_folders.capacity, 128u);
    EXPECT_EQ(results_store.other_folders.capacity, 128u);
    EXPECT_EQ(results_store.arena.capacity, 50000000u);
    EXPECT_EQ(results_store.arena.block_count, 1u);
    EXPECT_EQ(results_store.arena.default_block_size, 50000000u);
}

TEST(ResultsStore, WithoutMemoryForATableItHasCapacityZeroAndTheOthersTheirRoom) {
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
    EXPECT_EQ(results_store.file_table.count, 3u); // only the worker empties it
    EXPECT_EQ(search_state.results_scroll, 5);
}

TEST(Request, OneWhoseFlagIsLostIsTakenAnyway) {
    SearchScope scope;
    set_field(&search_state.path, "C:/src/");
    publish_request();
    EXPECT_TRUE(search_worker_turn());
    EXPECT_FALSE(search_worker_turn());
    publish_request();
    search_state.request_pending = 0; // by a turn that read the path earlier
    uint32_t taken = search_state.requests_taken;
    EXPECT_TRUE(search_worker_turn());
    EXPECT_EQ(search_state.requests_taken, taken + 1);
    EXPECT_FALSE(search_worker_turn());
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
    EXPECT_EQ(results_store.hit_table.capacity, 100000u); // the storage is kept
}

TEST(Request, ANewOneReusesTheArenaFromItsFirstBlock) {
    SearchScope scope;
    StringArena &arena = results_store.arena;
    const uint64_t nearly_all = arena.default_block_size - 1000;
    char *first = static_cast<char *>(arena_alloc(&arena, nearly_all));
    ASSERT_NE(arena_alloc(&arena, nearly_all), nullptr);
    EXPECT_EQ(arena.block_count, 2u);
    EXPECT_EQ(arena.index, 0u); // unchanged by a new block
    take_request();
    EXPECT_EQ(arena_alloc(&arena, nearly_all), first);
    EXPECT_EQ(arena_alloc(&arena, nearly_all), first); // intentionally over the search's own earlier string
    EXPECT_EQ(arena.block_count, 2u);
}

TEST(Field, TakesATextWholeLongerOrShorterAndGrowsInSteps) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    for (const std::string &text :
         {std::string("C:/src"), std::string("C:/"), std::string(), std::string("a\0b", 3),
          std::string(1024, 'x'), std::string(1025, 'y'), std::string(5000, 'z'), std::string("short")}) {
        ASSERT_TRUE(set_request_text(&field, str_over(text)));
        EXPECT_EQ(to_string(strbuf_text(&field)), text);
        EXPECT_EQ(field.data[text.size()], 0);
        EXPECT_EQ(field.capacity, text.size() < 1025 && field.capacity == 1024 ? 1024u
                                  : text.size() == 1025                        ? 2048u
                                                                               : 8192u);
    }
}

TEST(Field, KeepsItsTextWhenThereIsNoMemoryForAnother) {
    SearchScope scope;
    ASSERT_TRUE(set_request_text(&search_state.path, str_from("C:/src")));
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_FALSE(set_request_text(&search_state.path, str_over(std::string(1025, 'x'))));
        EXPECT_TRUE(set_request_text(&search_state.query, str_over(std::string(1024, 'x')))); // fits
    }
    EXPECT_EQ(to_string(strbuf_text(&search_state.path)), "C:/src");
    StrBuf without_storage = {};
    EXPECT_FALSE(set_request_text(&without_storage, str_from("")));
}

TEST(Field, KeepsItsStartBeforeANewEnd) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    const struct {
        uint64_t start;
        std::string end, text;
    } rows[] = {
        {0, "C:/code/pr", "C:/code/pr"},
        {8, "project", "C:/code/project"}, // longer
        {8, "x", "C:/code/x"},             // shorter
        {9, "yz", "C:/code/xyz"},          // after the end
        {11, "", "C:/code/xyz"},           // nothing after the end
        {3, "", "C:/"},                    // a cut
        {3, std::string("a\0b", 3), std::string("C:/a\0b", 6)},
        {0, "", ""},
        {0, "", ""},
    };
    for (const auto &changed : rows) {
        ASSERT_TRUE(set_request_text_end(&field, changed.start, str_over(changed.end)));
        EXPECT_EQ(to_string(strbuf_text(&field)), changed.text);
        EXPECT_EQ(field.data[field.count], 0);
    }
    ASSERT_TRUE(set_request_text_end(&field, 0, {})); // an end without bytes
    EXPECT_EQ(field.count, 0u);
    EXPECT_EQ(field.capacity, 1024u);
}

TEST(Field, GrowsForAnEndAndKeepsItsStart) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    ASSERT_TRUE(set_request_text(&field, str_over(std::string(1000, 'x'))));
    ASSERT_TRUE(set_request_text_end(&field, 1000, str_over(std::string(24, 'y'))));
    EXPECT_EQ(field.capacity, 1024u);
    ASSERT_TRUE(set_request_text_end(&field, 1000, str_over(std::string(25, 'z'))));
    EXPECT_EQ(field.capacity, 2048u);
    EXPECT_EQ(to_string(strbuf_text(&field)), std::string(1000, 'x') + std::string(25, 'z'));
    EXPECT_EQ(field.data[1025], 0);
}

TEST(Field, KeepsItsTextWhenThereIsNoMemoryForAnEnd) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    ASSERT_TRUE(set_request_text(&field, str_from("C:/code/pr")));
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_FALSE(set_request_text_end(&field, 8, str_over(std::string(1017, 'x'))));
    EXPECT_EQ(to_string(strbuf_text(&field)), "C:/code/pr");
    EXPECT_EQ(field.data[10], 0);
    EXPECT_TRUE(set_request_text_end(&field, 8, str_over(std::string(1016, 'x')))); // fits
    EXPECT_EQ(to_string(strbuf_text(&field)), "C:/code/" + std::string(1016, 'x'));
    StrBuf without_storage = {};
    EXPECT_FALSE(set_request_text_end(&without_storage, 0, str_from("x")));
    EXPECT_FALSE(set_request_text_end(&without_storage, 0, {}));
}

TEST(Field, AnEndsOldStorageStaysForTheWorker) {
    SearchScope scope;
    StrBuf &field = search_state.path;
    ASSERT_TRUE(set_request_text(&field, str_from("C:/code/pr")));
    search_state.worker_pass = 5; // a worker that reads the texts
    char *read = field.data;
    ASSERT_TRUE(set_request_text_end(&field, 8, str_over(std::string(2000, 'x'))));
    EXPECT_NE(field.data, read);
    EXPECT_STREQ(read, "C:/code/pr");
    search_state.worker_pass = 7;
    release_retired(&search_state.retired_text);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    search_state.worker_pass = 0;
}

TEST(ResultsStore, PathsAreJoinedInTheArena) {
    SearchScope scope;
    memset(results_store.arena.base, 'x', 100); // left by an earlier search
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

TEST(ResultsStore, OutgrownStorageStaysForTheInterfaceAndIsFreedWhileIdle) {
    SearchScope scope;
    take_request();
    DynArray &folders = results_store.matching_folders;
    folders.count = folders.capacity;
    search_state.interface_pass = 5; // an interface that reads the rows
    char *read = folders.data;
    Str prefix = {};
    on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("d"), 0, true));
    EXPECT_NE(folders.data, read);
    EXPECT_FALSE(search_worker_turn()); // idle
    EXPECT_NE(results_store.retired.first, nullptr);
    search_state.interface_pass = 7;
    EXPECT_FALSE(search_worker_turn());
    EXPECT_EQ(results_store.retired.first, nullptr);
    search_state.interface_pass = 0;
}

TEST(ResultsStore, WithoutMemoryForATableItReadsAsEmpty) {
    DynArray table = {};
    table.count = 5; // the reader has seen the count before the writer dropped the rows
    TableRows rows = table_rows(&table);
    EXPECT_EQ(rows.count, 0u);
    EXPECT_EQ(rows.data, nullptr);
}

// ---- Copies of rows ----

namespace {

void put_file(const char *folder, const char *name) {
    FileEntry file = {str_from(folder), str_from(name)};
    dynarray_push(&results_store.file_table, sizeof(file), &file);
}

void put_hit(uint8_t kind, uint32_t file_index, uint32_t line, const char *text) {
    ResultRecord hit = {kind, 0, file_index, line, line + 1, line + 2, str_from(text)};
    dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
}

} // namespace

TEST(ResultsCopies, AHitComesWithItsFile) {
    SearchScope scope;
    put_file("C:/src", "a.c");
    put_file("C:/src/deep", "b.c");
    put_hit(RESULT_FILE_HEADER, 0, 0, "");
    put_hit(RESULT_HIT, 1, 12, "needle");
    put_hit(RESULT_HIT, 0, 4294967295, "last");
    HitRow row = results_hit_at(0, {});
    ASSERT_EQ(row.copy, ROW_IN_PLACE);
    EXPECT_EQ(row.hit.kind, RESULT_FILE_HEADER);
    EXPECT_EQ(to_string(row.file.folder) + " " + to_string(row.file.name), "C:/src a.c");
    row = results_hit_at(1, {});
    ASSERT_EQ(row.copy, ROW_IN_PLACE);
    EXPECT_EQ(row.hit.kind, RESULT_HIT);
    EXPECT_EQ(row.hit.file_index, 1u);
    EXPECT_EQ(row.hit.line, 12u);
    EXPECT_EQ(row.hit.column, 13u);
    EXPECT_EQ(row.hit.byte_offset, 14u);
    EXPECT_EQ(to_string(row.hit.text), "needle");
    EXPECT_EQ(to_string(row.file.folder) + " " + to_string(row.file.name), "C:/src/deep b.c");
    row = results_hit_at(2, {});
    ASSERT_EQ(row.copy, ROW_IN_PLACE);
    EXPECT_EQ(row.hit.line, 4294967295);
    EXPECT_EQ(to_string(row.file.name), "a.c");
}

TEST(ResultsCopies, StayAsTheyWereWhenTheRowsAreWrittenOver) {
    SearchScope scope;
    put_file("C:/src", "a.c");
    put_hit(RESULT_HIT, 0, 12, "needle");
    HitRow first = results_hit_at(0, {});
    ASSERT_EQ(first.copy, ROW_IN_PLACE);
    take_request();
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE);
    put_file("D:/other", "z.c");
    put_hit(RESULT_HIT, 0, 99, "hay");
    EXPECT_EQ(to_string(first.hit.text), "needle");
    EXPECT_EQ(to_string(first.file.name), "a.c");
    HitRow next = results_hit_at(0, {}); // from the next search
    ASSERT_EQ(next.copy, ROW_IN_PLACE);
    EXPECT_EQ(to_string(next.hit.text), "hay");
    EXPECT_EQ(to_string(next.file.folder), "D:/other");
}

TEST(ResultsCopies, ThereIsNoHitFromTheCountOn) {
    SearchScope scope;
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE);
    put_file("C:/src", "a.c");
    put_hit(RESULT_HIT, 0, 1, "needle");
    for (uint64_t row : {uint64_t{1}, uint64_t{2}, uint64_t{100000}, UINT64_MAX}) {
        EXPECT_EQ(results_hit_at(row, {}).copy, ROW_GONE) << row;
    }
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_IN_PLACE);
    publish_request(); // the list empties at once
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE);
}

TEST(ResultsCopies, AHitWhoseFileIsMissingIsGone) {
    SearchScope scope;
    put_hit(RESULT_HIT, 0, 1, "without any file");
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE);
    put_file("C:/src", "a.c");
    EXPECT_EQ(results_hit_at(0, {}).copy, ROW_IN_PLACE);
    for (uint32_t index : {1u, 2u, 0x80000000u, UINT32_MAX}) {
        results_store.hit_table.count = 0;
        put_hit(RESULT_FILE_HEADER, index, 0, "");
        EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE) << index;
    }
}

TEST(ResultsCopies, ATableWithoutStorageHasNoRows) {
    SearchScope scope;
    put_file("C:/src", "a.c");
    put_hit(RESULT_HIT, 0, 1, "needle");
    for (DynArray *table : {&results_store.hit_table, &results_store.file_table}) {
        char *data = table->data;
        table->data = nullptr; // the reader has seen the count before the writer dropped the rows
        EXPECT_EQ(results_hit_at(0, {}).copy, ROW_GONE);
        table->data = data;
        EXPECT_EQ(results_hit_at(0, {}).copy, ROW_IN_PLACE);
    }
}

TEST(ResultsCopies, AFolderIsItsRowOfEitherTable) {
    SearchScope scope;
    for (DynArray *folders : {&results_store.matching_folders, &results_store.other_folders}) {
        EXPECT_EQ(results_folder_at(folders, 0, {}).copy, ROW_GONE);
        for (const char *text : {"one", "", "three"}) {
            Str pushed = str_from(text);
            dynarray_push(folders, sizeof(pushed), &pushed);
        }
        FolderRow row = results_folder_at(folders, 0, {});
        ASSERT_EQ(row.copy, ROW_IN_PLACE);
        EXPECT_EQ(to_string(row.name), "one");
        row = results_folder_at(folders, 1, {});
        ASSERT_EQ(row.copy, ROW_COPIED); // nothing to copy
        EXPECT_EQ(row.name.count, 0u);
        row = results_folder_at(folders, 2, {});
        ASSERT_EQ(row.copy, ROW_IN_PLACE);
        EXPECT_EQ(to_string(row.name), "three");
        for (uint64_t i : {uint64_t{3}, uint64_t{128}, UINT64_MAX}) {
            EXPECT_EQ(results_folder_at(folders, i, {}).copy, ROW_GONE) << i;
        }
    }
    take_request();
    EXPECT_EQ(results_folder_at(&results_store.matching_folders, 0, {}).copy, ROW_GONE);
    EXPECT_EQ(results_folder_at(&results_store.other_folders, 0, {}).copy, ROW_GONE);
}

TEST(ResultsCopies, TheTextsAreCopiedAsFarAsTheRoomGoes) {
    SearchScope scope;
    std::string stored[] = {"C:/src", "a.c", "needle", "build"};
    put_file(stored[0].c_str(), stored[1].c_str());
    put_hit(RESULT_HIT, 0, 12, stored[2].c_str());
    Str stored_name = str_over(stored[3]);
    dynarray_push(&results_store.matching_folders, sizeof(Str), &stored_name);
    for (uint64_t room = 0; room <= 20; room++) { // each text needs one more for its zero byte
        std::string bytes(room + 1, '#');
        const auto &[copy, hit, file, search_number] = results_hit_at(0, {room, bytes.data()});
        EXPECT_EQ(search_number, current_search_number());
        EXPECT_EQ(copy, room >= 11 ? ROW_COPIED : ROW_IN_PLACE) << room;
        EXPECT_EQ(file.folder.data == stored[0].data(), room < 7) << room;
        EXPECT_EQ(file.name.data == stored[1].data(), room < 11) << room;
        EXPECT_EQ(to_string(file.folder) + " " + to_string(file.name) + " " + to_string(hit.text),
                  "C:/src a.c needle");
        if (room >= 18) {
            EXPECT_EQ(bytes.substr(0, 18), std::string("C:/src\0a.c\0needle", 18));
            EXPECT_EQ(hit.text.data, bytes.data() + 11);
        }
        EXPECT_EQ(bytes[room], '#');
        FolderRow folder = results_folder_at(&results_store.matching_folders, 0, {room, bytes.data()});
        EXPECT_EQ(folder.copy, room >= 6 ? ROW_COPIED : ROW_IN_PLACE) << room;
        EXPECT_EQ(folder.name.data == (room >= 6 ? bytes.data() : stored[3].data()), true) << room;
        EXPECT_EQ(to_string(folder.name), "build");
        EXPECT_EQ(bytes[room], '#');
    }
}

#ifndef _WIN32
namespace {

// Moves a table's rows to a page whose first access lets the worker run: after the reader has read the count
// and before it reads the row. Restores everything at the end.
class TouchScope {
public:
    TouchScope(DynArray *touched, void (*turn)()) : table(touched), rows(touched->data) {
        workers_turn = turn;
        size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        page = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        memcpy(page, rows, 64);
        table->data = static_cast<char *>(page);
        struct sigaction action = {};
        action.sa_handler = let_worker_run;
        sigaction(SIGSEGV, &action, &outer);
        mprotect(page, size, PROT_NONE);
    }
    ~TouchScope() {
        sigaction(SIGSEGV, &outer, nullptr);
        munmap(page, size);
        table->data = rows;
    }
    TouchScope(const TouchScope &) = delete;
    TouchScope &operator=(const TouchScope &) = delete;

    static bool is_touched() {
        return !workers_turn;
    }

private:
    static void let_worker_run(int) {
        mprotect(page, size, PROT_READ | PROT_WRITE);
        void (*turn)() = workers_turn;
        workers_turn = nullptr;
        if (turn) {
            turn();
        } else {
            _exit(1); // a crash in the test itself
        }
    }

    static inline void *page;
    static inline size_t size;
    static inline void (*workers_turn)();
    DynArray *table;
    char *rows;
    struct sigaction outer;
};

} // namespace

TEST(ResultsCopies, ARowIsGoneWhenARequestWasTakenWhileItWasCopied) {
    SearchScope scope;
    Str name = str_from("one");
    const auto hit_copy = [&](DynArray *touched, void (*turn)()) {
        results_store.file_table.count = 0;
        results_store.hit_table.count = 0;
        put_file("C:/src", "a.c");
        put_hit(RESULT_HIT, 0, 12, "needle");
        TouchScope page(touched, turn);
        char bytes[64];
        RowCopy copy = results_hit_at(0, {sizeof(bytes), bytes}).copy;
        EXPECT_TRUE(page.is_touched());
        return copy;
    };
    const auto folder_copy = [&](DynArray *touched, void (*turn)()) {
        touched->count = 0;
        dynarray_push(touched, sizeof(name), &name);
        TouchScope page(touched, turn);
        RowCopy copy = results_folder_at(touched, 0, {}).copy;
        EXPECT_TRUE(page.is_touched());
        return copy;
    };
    const auto nothing = [] {};
    const auto take = [] { take_request(); };
    const auto take_and_find = [] { // the next search already has as many rows
        take_request();
        for (DynArray *table : {&results_store.file_table, &results_store.hit_table,
                                &results_store.matching_folders, &results_store.other_folders}) {
            table->count = 1;
        }
        // The file's row is only half written.
        reinterpret_cast<FileEntry *>(results_store.file_table.data)->folder.data =
            reinterpret_cast<char *>(64);
    };
    for (DynArray *touched : {&results_store.hit_table, &results_store.file_table}) {
        EXPECT_EQ(hit_copy(touched, nothing), ROW_COPIED);
        EXPECT_EQ(hit_copy(touched, take), ROW_GONE);
        EXPECT_EQ(hit_copy(touched, take_and_find), ROW_GONE);
    }
    for (DynArray *touched : {&results_store.matching_folders, &results_store.other_folders}) {
        EXPECT_EQ(folder_copy(touched, nothing), ROW_IN_PLACE);
        EXPECT_EQ(folder_copy(touched, take), ROW_GONE);
        EXPECT_EQ(folder_copy(touched, take_and_find), ROW_GONE);
    }
}
#endif

#ifndef _WIN32
TEST(ResultsCopies, ARowIsGoneWhenARequestWasTakenWhileItsTextWasCopied) {
    SearchScope scope;
    char bytes[64], name_bytes[64] = "name";
    for (int which = 0; which < 4; which++) {
        for (void (*turn)() : {+[] {}, +[] { take_request(); }}) {
            results_store.file_table.count = 0;
            results_store.hit_table.count = 0;
            results_store.other_folders.count = 0;
            put_file("C:/src", "a.c");
            put_hit(RESULT_HIT, 0, 12, "needle");
            Str folder_name = str_from("build");
            dynarray_push(&results_store.other_folders, sizeof(Str), &folder_name);
            FileEntry *stored_file = reinterpret_cast<FileEntry *>(results_store.file_table.data);
            Str *texts[] = {&stored_file->folder, &stored_file->name,
                            &reinterpret_cast<ResultRecord *>(results_store.hit_table.data)->text,
                            reinterpret_cast<Str *>(results_store.other_folders.data)};
            DynArray text = {.count = 0, .capacity = 0, .data = name_bytes};
            uint32_t taken = search_state.requests_taken;
            TouchScope page(&text, turn);
            *texts[which] = {4, text.data};
            RowCopy copy =
                which < 3 ? results_hit_at(0, {sizeof(bytes), bytes}).copy
                          : results_folder_at(&results_store.other_folders, 0, {sizeof(bytes), bytes}).copy;
            EXPECT_TRUE(page.is_touched());
            EXPECT_EQ(copy, search_state.requests_taken == taken ? ROW_COPIED : ROW_GONE) << which;
        }
    }
}
#endif

TEST(Request, EachThatIsTakenIsCounted) {
    SearchScope scope;
    uint32_t taken = search_state.requests_taken;
    publish_request();
    EXPECT_EQ(search_state.requests_taken, taken); // only the worker counts
    for (uint32_t i = 1; i <= 3; i++) {
        take_request();
        EXPECT_EQ(search_state.requests_taken, taken + i);
    }
    search_state.requests_taken = UINT32_MAX;
    take_request();
    EXPECT_EQ(search_state.requests_taken, 0u);
}

// ---- The order of stores ----

#ifndef _WIN32
TEST(StoreOrder, PublishingAsksLast) {
    SearchScope scope;
    search_state.request_pending = 0;
    results_store.hit_table.count = 7;
    search_state.requests_published = 3;
    EXPECT_EQ(states_while(publish_request, 4,
                           [] {
                               return each_step::State{{static_cast<int64_t>(results_store.hit_table.count),
                                                        search_state.results_dirty,
                                                        search_state.requests_published,
                                                        search_state.request_pending}};
                           }),
              "7 0 3 0\n"
              "0 0 3 0\n"
              "0 1 3 0\n"
              "0 1 4 0\n"
              "0 1 4 1\n");
}

TEST(StoreOrder, TakingClearsTheRequestFirstAndCountsItLast) {
    SearchScope scope;
    results_store.file_table.count = 1;
    results_store.hit_table.count = 2;
    results_store.matching_folders.count = 3;
    results_store.other_folders.count = 4;
    search_state.results_scroll = 5;
    results_store.arena.used = 6;
    search_state.requests_taken = 7;
    EXPECT_EQ(states_while([] { take_request(); }, 8,
                           [] {
                               const ResultStore &store = results_store;
                               return each_step::State{{search_state.request_pending,
                                                        static_cast<int64_t>(store.file_table.count),
                                                        static_cast<int64_t>(store.arena.used),
                                                        static_cast<int64_t>(store.hit_table.count),
                                                        static_cast<int64_t>(store.matching_folders.count),
                                                        static_cast<int64_t>(store.other_folders.count),
                                                        search_state.results_scroll,
                                                        search_state.requests_taken}};
                           }),
              "1 1 6 2 3 4 5 7\n"
              "0 1 6 2 3 4 5 7\n"
              "0 0 6 2 3 4 5 7\n"
              "0 0 0 2 3 4 5 7\n"
              "0 0 0 0 3 4 5 7\n"
              "0 0 0 0 0 4 5 7\n"
              "0 0 0 0 0 0 5 7\n"
              "0 0 0 0 0 0 0 7\n"
              "0 0 0 0 0 0 0 8\n");
}

TEST(StoreOrder, AnEditRightAfterTheRequestIsClearedIsSeenAndItsRequestStays) {
    SearchScope scope;
    set_field(&search_state.path, "C:/src");
    search_state.requests_published = 3;
    static Str path;
    states_while([] { path = take_request(); }, 0,
                 [] {
                     if (!search_state.request_pending && search_state.requests_published == 3) {
                         search_state.path.count = 3;
                         search_state.requests_published = 4; // its flag gets lost
                     }
                     return each_step::State{};
                 });
    EXPECT_EQ(to_string(path), "C:/");
    EXPECT_TRUE(has_request());
    take_request();
    EXPECT_FALSE(has_request());
}

TEST(StoreOrder, ARowIsWholeBeforeItIsCountedAndCountedBeforeResultsAreDirty) {
    SearchScope scope;
    static char bytes[] = ".\n foo.....";
    memset(results_store.hit_table.data, 0x55, 2 * sizeof(ResultRecord)); // left by an earlier search
    EXPECT_EQ(states_while(
                  [] {
                      scan_contents({strlen(bytes), bytes}, str_from("foo"), 0);
                  },
                  8,
                  [] {
                      uint64_t count = results_store.hit_table.count;
                      ResultRecord last = {};
                      if (count > 0) {
                          memcpy(&last, results_store.hit_table.data + (count - 1) * sizeof(last),
                                 sizeof(last));
                      }
                      return each_step::State{{static_cast<int64_t>(count), search_state.results_dirty,
                                               last.kind, last.file_index, last.line, last.column,
                                               last.byte_offset, static_cast<int64_t>(last.text.count)}};
                  }),
              "0 0 0 0 0 0 0 0\n"
              "1 0 1 0 0 0 0 0\n"
              "2 0 0 0 2 2 3 5\n"
              "2 1 0 0 2 2 3 5\n");
    results_store.matching_folders.count = 0;
    search_state.results_dirty = 0;
    search_state.request_pending = 0;
    memset(results_store.matching_folders.data, 0x55, sizeof(Str));
    static Str prefix;
    EXPECT_EQ(
        states_while([] { on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("d"), 0, true)); }, 3,
                     [] {
                         uint64_t count = results_store.matching_folders.count;
                         Str last = {};
                         memcpy(&last, results_store.matching_folders.data, count * sizeof(last));
                         return each_step::State{{static_cast<int64_t>(count), search_state.results_dirty,
                                                  static_cast<int64_t>(last.count)}};
                     }),
        "0 0 0\n"
        "1 0 1\n"
        "1 1 1\n");
}

TEST(StoreOrder, RowsAreReadWithTheCountOfTheirOwnBlockOrAnEarlierOne) {
    static char short_block[8], long_block[64];
    static DynArray table;
    static TableRows rows;
    change_after_each_step(
        [] {
            table.data = short_block;
            table.count = 1;
        },
        [] { rows = table_rows(&table); },
        [] {
            table.data = long_block;
            table.count = 8;
        },
        [] { EXPECT_TRUE(rows.data == long_block || rows.count == 1); });
    EXPECT_EQ(rows.data, short_block);
}
#endif
