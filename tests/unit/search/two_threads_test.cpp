// The two threads as they really run: the worker searches while the interface edits both fields, publishes
// and reads the results. Without locks a text's bytes may already be the next search's, but a row is
// complete. Under the address sanitizer nothing may touch freed memory, and the last request's results must
// be correct.

#include <gtest/gtest.h>

#include <string.h>

#include <random>
#include <string>
#include <vector>

#include "os/arena.h"
#include "os/arrays.h"
#include "os/clock.h"
#include "os/toolkit/threads.h"
#include "search/readers.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/self_checking_tree.h"
#include "search/sleepless_worker.h"
#include "search/worker.h"
#include "support/looping_thread.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

// Edits a field in place, as typing does; the storage grows now and then. The first kept bytes never change,
// so that only the tree is ever searched.
void edit(StrBuf *field, std::mt19937 &random, const std::string &whole, uint64_t kept) {
    switch (field->count < kept ? 0 : random() % 4) {
    case 0:
        set_field(field, whole);
        break;
    case 1:
        if (field->count > kept) { // backspace
            set_request_text_end(field, field->count - 1, {});
        }
        break;
    case 2:
        if (strbuf_make_room(field, 1, &search_state.retired_text)) {
            strbuf_insert(field, kept + random() % (field->count + 1 - kept), 1, "e");
        }
        break;
    default:
        if (strbuf_make_room(field, 300, &search_state.retired_text)) {
            strbuf_append(field, 300, std::string(300, 'x').data());
        }
        break;
    }
}

#if defined(__SANITIZE_THREAD__) // slow, as it inspects both stacks of each intentional race
constexpr int requests = 100;
constexpr uint32_t requests_to_take = 30;
constexpr uint64_t rows_in_frame = 4;
#else
constexpr int requests = 3000;
constexpr uint32_t requests_to_take = 1000;
constexpr uint64_t rows_in_frame = UINT64_MAX;
#endif

// What a reader has seen.
struct Seen {
    uint64_t rows;       // found in the tables
    uint64_t sure_texts; // copies, which cannot have been overwritten
    uint64_t mixed_rows; // with parts of different rows
    uint64_t wrong_texts;
};

void read_texts(RowCopy copy, std::initializer_list<Str> texts, Seen *seen) {
    seen->sure_texts += copy == ROW_COPIED;
    for (Str text : texts) {
        seen->wrong_texts += !self_checking::text_fits(text);
    }
}

// Reads the results as a frame does.
void read_frame(uint64_t root_length, Seen *seen) {
    search_state.interface_pass = search_state.interface_pass + 1;
    release_retired(&search_state.retired_text);
    if (!search_state.results_dirty) {
        return;
    }
    search_state.results_dirty = 0;
    char bytes[8192];
    const Str room = {sizeof(bytes), bytes};
    for (uint64_t i = 0; i < results_store.hit_table.count && i < rows_in_frame; i++) {
        HitRow row = results_hit_at(i, room);
        if (row.copy != ROW_GONE) {
            seen->rows++;
            seen->mixed_rows += !self_checking::row_fits(row.hit, row.file, root_length);
            read_texts(row.copy, {row.file.folder, row.file.name, row.hit.text}, seen);
        }
    }
    for (const DynArray *folders : {&results_store.matching_folders, &results_store.other_folders}) {
        for (uint64_t i = 0; i < folders->count && i < rows_in_frame; i++) {
            FolderRow row = results_folder_at(folders, i, room);
            if (row.copy != ROW_GONE) {
                seen->rows++;
                read_texts(row.copy, {row.name}, seen);
            }
        }
    }
}

// Makes the tables grow repeatedly while they are read.
void start_tables_small() {
    for (DynArray *table : {&results_store.file_table, &results_store.hit_table,
                            &results_store.matching_folders, &results_store.other_folders}) {
        table->capacity = 1;
    }
}

// Publishes to_publish requests or more with changing texts, until to_be_taken have been taken, then one for
// the needle in the whole tree.
void publish_many(const TestTree &tree, int to_publish, uint32_t to_be_taken) {
    std::mt19937 random(11);
    const std::string queries[] = {"needle", "hay", "e", "\t", "nothing of the kind"};
    const std::string paths[] = {tree.path(), tree.path() + "/", tree.path(self_checking::folder_name(1)),
                                 tree.path("fol"), ""};
    uint64_t root_length = tree.path().size();
    uint32_t first = search_state.requests_taken;
    Seen seen = {};
    for (int i = 0; i < to_publish || search_state.requests_taken - first < to_be_taken; i++) {
        if (random() % 2) {
            edit(&search_state.query, random, queries[random() % std::size(queries)], 0);
        } else {
            edit(&search_state.path, random, paths[random() % std::size(paths)], root_length + 1);
        }
        publish_request();
        read_frame(root_length, &seen);
        if (random() % 8 == 0) {
            os_sleep_ms(static_cast<uint32_t>(random() % 3));
            read_frame(root_length, &seen);
        }
    }
    set_field(&search_state.path, tree.path());
    set_field(&search_state.query, "needle");
    publish_request();
    while (seen.rows == 0 ||
           seen.sure_texts == 0) { // every earlier request may have come while the worker slept
        os_sleep_ms(1);
        read_frame(root_length, &seen);
    }
    EXPECT_EQ(seen.mixed_rows, 0u);
    EXPECT_EQ(seen.wrong_texts, 0u);
}

// Ends all reading: every retired block must now be freed.
void end_passes() {
    search_state.worker_pass = search_state.worker_pass + 2;
    search_state.interface_pass = search_state.interface_pass + 2;
    release_retired(&search_state.retired_text);
    release_retired(&results_store.retired);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    EXPECT_EQ(results_store.retired.first, nullptr);
    search_state.worker_pass = 0;
    search_state.interface_pass = 0;
}

} // namespace

namespace {

void publish_to_a_worker_that_never_sleeps() {
    TestTree tree;
    self_checking::fill(tree);
    SearchScope scope;
    start_tables_small();
    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    LoopingThread worker(turn_without_sleep);
    publish_many(tree, requests, requests_to_take);
    wait_for_the_last_request();
    worker.stop();
    EXPECT_EQ(sort_file_groups(stored_rows(tree.path())), self_checking::needle_rows());
    EXPECT_GT(results_store.hit_table.capacity, 2u);
    end_passes();
}

} // namespace

TEST(TwoThreads, AWorkerThatNeverSleepsEndsWithTheLastRequestsResults) {
    publish_to_a_worker_that_never_sleeps();
}

TEST(TwoThreads, AWorkerWithReadersEndsWithTheLastRequestsResults) {
    search_state.reader_count = readers_start(8);
    EXPECT_EQ(search_state.reader_count, 8u);
    publish_to_a_worker_that_never_sleeps();
    search_state.reader_count = readers_start(0);
}

// The thread sanitizer delays signals, so a thread that makes no calls cannot be stopped.
#if !defined(__SANITIZE_THREAD__)

namespace {

// A row as results_hit_at returns it, or a folder with only its name.
struct WholeRow {
    ResultRecord hit;
    FileEntry file;
    Str folder;
};

constexpr uint64_t rows_read = 16;
WholeRow whole_rows[2][rows_read]; // of each search
uint64_t next_row;
volatile uint64_t calls, rows_found, rows_mixed;

bool read_row(uint64_t row, WholeRow *read) {
    if (row % 2) {
        FolderRow folder = results_folder_at(&results_store.matching_folders, row, {});
        *read = {{}, {}, folder.name};
        return folder.copy != ROW_GONE;
    }
    HitRow hit = results_hit_at(row, {});
    *read = {hit.hit, hit.file, {}};
    return hit.copy != ROW_GONE;
}

bool is_whole(uint64_t row, const WholeRow &read) {
    return memcmp(&read, &whole_rows[0][row], sizeof(read)) == 0 ||
           memcmp(&read, &whole_rows[1][row], sizeof(read)) == 0;
}

void read_next_row() {
    search_state.interface_pass = search_state.interface_pass + 1;
    WholeRow read;
    if (read_row(next_row, &read)) {
        rows_found = rows_found + 1;
        rows_mixed = rows_mixed + !is_whole(next_row, read);
    }
    next_row = (next_row + 1) % rows_read;
    calls = calls + 1;
}

// Fills the tables with hits and folder names.
void search_both(const std::string &folder, const std::string &folders) {
    set_field(&search_state.path, folder);
    set_field(&search_state.query, "needle");
    publish_request();
    ASSERT_TRUE(search_worker_turn());
    for (uint64_t i = 0; i < rows_read; i++) {
        std::string text = self_checking::text_of_length(folders, 20 + folders.size() * i);
        Str name = arena_push_string(&results_store.arena, str_over(text));
        dynarray_push_shared(&results_store.matching_folders, sizeof(name), &name, &results_store.retired);
    }
}

} // namespace

// The reader is stopped at an arbitrary point, usually while copying a row, and finds another search's rows
// when it continues.
TEST(TwoThreads, ARowThatIsBeingCopiedWhenTheNextSearchStartsIsNotMixed) {
    TestTree tree;
    self_checking::fill(tree);
    SearchScope scope;
    start_tables_small();
    const std::string paths[] = {tree.path(self_checking::folder_name(2)),
                                 tree.path(self_checking::folder_name(5))};
    const std::string folders[] = {"abc", "abcdefg"};
    for (int search = 0; search < 2; search++) { // twice: the first one's tables grow
        search_both(paths[search], folders[search]);
        for (uint64_t row = 0; row < rows_read; row++) {
            ASSERT_TRUE(read_row(row, &whole_rows[search][row])) << row;
            ASSERT_TRUE(is_whole(row, whole_rows[search][row]));
        }
    }
    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    next_row = 0;
    calls = 0;
    rows_found = 0;
    rows_mixed = 0;
    LoopingThread reader(read_next_row);
    ASSERT_NE(reader.thread, nullptr);
    std::mt19937 random(12);
    for (int stop = 0; stop < 400; stop++) {
        for (uint64_t end = calls + random() % 8; calls <= end;) {
            os_sleep_ms(0);
        }
        os_thread_suspend(reader.thread);
        search_both(paths[stop % 2], folders[stop % 2]);
        os_thread_resume(reader.thread);
    }
    EXPECT_GT(rows_found, 400u);
    EXPECT_EQ(rows_mixed, 0u);
    reader.stop();
    end_passes();
}

#endif

// The worker as started. To the thread sanitizer, nothing orders its writes before the test's reads.
#if !defined(__SANITIZE_THREAD__)

namespace {

volatile uint32_t watched_sleep; // milliseconds; the thread then sleeps for ever
#ifdef _WIN32
volatile uint32_t watched_error_mode; // of the thread when it sleeps
#endif

void watched_sleep_ms(uint32_t ms) {
#ifdef _WIN32
    watched_error_mode = GetThreadErrorMode();
#endif
    watched_sleep = ms;
    os_sleep_ms(UINT32_MAX);
}

} // namespace

TEST(TwoThreads, TheWorkerMakesTheArenaAndSleepsForATenthOfASecondBetweenItsTurns) {
    static Thread *threads[2]; // never end
    worker_sleep_ms = watched_sleep_ms;
    for (uint8_t pending : {uint8_t{0}, uint8_t{1}}) {
        search_state.request_pending = pending; // with empty texts, so the turn ends at once
        search_state.worker_pass = 0;
        watched_sleep = 0;
        threads[pending] = os_thread_start(search_worker, nullptr);
        ASSERT_NE(threads[pending], nullptr);
        while (watched_sleep == 0) {
            os_sleep_ms(1);
        }
        EXPECT_EQ(watched_sleep, 100u);
#ifdef _WIN32
        EXPECT_EQ(watched_error_mode, uint32_t{SEM_FAILCRITICALERRORS}); // no error box
#endif
        EXPECT_EQ(search_state.worker_pass, 1u); // after its first turn
        EXPECT_EQ(search_state.request_pending, 0);
        EXPECT_EQ(results_store.arena.capacity, 50000000u);
        EXPECT_NE(results_store.arena.base, nullptr);
        os_free(results_store.arena.base);
    }
    worker_sleep_ms = os_sleep_ms;
    search_state.worker_pass = 0;
}

// The worker thread itself. It never ends, so this is the program's last test, and what it uses is never
// freed.
TEST(TwoThreadsLast, TheWorkerThreadEndsWithTheLastRequestsResults) {
    TestTree tree;
    self_checking::fill(tree);
    results_store_reserve();
    strbuf_init(&search_state.path, 1024);
    strbuf_init(&search_state.query, 1024);
    start_tables_small();
    search_state.request_pending = 1;
    static Thread *thread;
    thread = search_worker_start();
    ASSERT_NE(thread, nullptr);
    publish_many(tree, 3000, 0);
    wait_for_the_last_request();
    EXPECT_EQ(sort_file_groups(stored_rows(tree.path())), self_checking::needle_rows());
}

#endif
