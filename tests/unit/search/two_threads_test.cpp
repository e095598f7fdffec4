// The two threads as they really run: the worker searches while the interface edits both fields, publishes
// and reads the results. Without locks much may be seen torn meanwhile; under the address sanitizer none of
// it may touch memory that was given back, and the last request's results must be right.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "os/threads.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/worker.h"
#include "support/test_tree.h"

namespace {

constexpr int folder_count = 12;
constexpr int files_in_folder = 12;

std::string folder_name(int i) {
    return "folder_" + std::to_string(i);
}

// A tree with a known answer: every file has its number of "needle" lines.
void fill_tree(const TestTree &tree) {
    for (int i = 0; i < folder_count; i++) {
        for (int j = 0; j < files_in_folder; j++) {
            std::string bytes;
            for (int k = 0; k < 200 + j; k++) {
                bytes += k % 10 == j % 10 ? "\tthe needle in line " + std::to_string(k) + "\n"
                                          : "some hay in here\n";
            }
            tree.file(folder_name(i) + "/deep/er/file_" + std::to_string(j), bytes + "-------------------");
        }
    }
}

std::string expected_rows() {
    std::string rows = "files " + std::to_string(folder_count * files_in_folder) + "\n";
    for (int i = 0; i < folder_count; i++) {
        for (int j = 0; j < files_in_folder; j++) {
            rows += "file " + folder_name(i) + "/deep/er/file_" + std::to_string(j) + "\n";
            int64_t at = 0;
            for (int k = 0; k < 200 + j; k++) {
                std::string line = "the needle in line " + std::to_string(k);
                bool hit = k % 10 == j % 10;
                if (hit) {
                    rows +=
                        "hit " + std::to_string(k + 1) + " 6 " + std::to_string(at + 5) + " " + line + "\n";
                }
                at += hit ? static_cast<int64_t>(line.size()) + 2 : 17;
            }
        }
    }
    return sort_file_groups(rows);
}

// Edits a field as typing does, in place; the storage grows now and then.
void edit(StrBuf *field, std::mt19937 &random, const std::string &whole) {
    switch (random() % 4) {
    case 0:
        set_field(field, whole);
        break;
    case 1:
        if (field->count > 0) { // backspace
            field->count = field->count - 1;
            field->data[field->count] = 0;
        }
        break;
    case 2:
        if (strbuf_make_room(field, 1, &search_state.retired_text)) {
            strbuf_insert(field, random() % (field->count + 1), 1, "e");
        }
        break;
    default:
        if (strbuf_make_room(field, 300, &search_state.retired_text)) {
            strbuf_append(field, 300, std::string(300, 'x').data());
        }
        break;
    }
}

// Reads the results as a frame does. The rows may be torn, but what they point at stays.
uint64_t read_frame() {
    search_state.interface_pass = search_state.interface_pass + 1;
    release_retired(&search_state.retired_text);
    uint64_t sum = 0;
    if (search_state.results_dirty) {
        search_state.results_dirty = 0;
        TableRows hit_rows = table_rows(&results_store.hit_table);
        TableRows file_rows = table_rows(&results_store.file_table);
        const ResultRecord *hits = reinterpret_cast<const ResultRecord *>(hit_rows.data);
        const FileEntry *files = reinterpret_cast<const FileEntry *>(file_rows.data);
        for (uint64_t i = 0; i < hit_rows.count; i++) {
            Str text = hits[i].text;
            sum += text.count > 0 ? static_cast<uint8_t>(text.data[text.count - 1]) : 0;
            if (hits[i].file_index < file_rows.count) {
                Str name = files[hits[i].file_index].name;
                sum += name.count > 0 ? static_cast<uint8_t>(name.data[0]) : 0;
            }
        }
        TableRows folder_rows = table_rows(&results_store.matching_folders);
        for (uint64_t i = 0; i < folder_rows.count; i++) {
            Str name = reinterpret_cast<const Str *>(folder_rows.data)[i];
            sum += name.count > 0 ? static_cast<uint8_t>(name.data[0]) : 0;
        }
    }
    return sum;
}

volatile uint64_t read_sum; // keeps the reading

// So that the tables grow again and again while they are read.
void start_tables_small() {
    for (DynArray *table : {&results_store.file_table, &results_store.hit_table,
                            &results_store.matching_folders, &results_store.other_folders}) {
        table->capacity = 1;
    }
}

volatile uint32_t requests_taken; // counted by turn_without_sleep

// Publishes that many requests with ever changing texts, and goes on until that many have been taken; then
// one for the needle in the whole tree.
void publish_many(const TestTree &tree, int requests, uint32_t to_be_taken) {
    std::mt19937 random(11);
    const std::string queries[] = {"needle", "hay", "e", "line 1", "nothing of the kind"};
    const std::string paths[] = {tree.path(), tree.path() + "/", tree.path("folder_1"), tree.path("fol"), ""};
    uint64_t sum = 0;
    for (int i = 0; i < requests || requests_taken < to_be_taken; i++) {
        if (random() % 2) {
            edit(&search_state.query, random, queries[random() % std::size(queries)]);
        } else {
            edit(&search_state.path, random, paths[random() % std::size(paths)]);
        }
        publish_request();
        sum += read_frame();
        if (random() % 8 == 0) {
            os_sleep_ms(static_cast<uint32_t>(random() % 3));
            sum += read_frame();
        }
    }
    read_sum = sum;
    set_field(&search_state.path, tree.path());
    set_field(&search_state.query, "needle");
    publish_request();
}

// Until the request is taken and the turn that took it has ended.
void wait_for_the_last_request() {
    while (search_state.request_pending) {
        os_sleep_ms(1);
    }
    uint32_t pass = search_state.worker_pass;
    while (search_state.worker_pass == pass) {
        os_sleep_ms(1);
    }
}

volatile uint8_t stop_turning;
volatile uint8_t has_stopped;

uint32_t turn_without_sleep(void *) {
    while (!stop_turning) {
        search_state.worker_pass = search_state.worker_pass + 1;
        requests_taken = requests_taken + search_worker_turn();
    }
    has_stopped = 1;
    return 0;
}

} // namespace

// The worker's turns without the poll's sleep, so that thousands of requests are really taken.
TEST(TwoThreads, AWorkerThatNeverSleepsEndsWithTheLastRequestsResults) {
    TestTree tree;
    fill_tree(tree);
    SearchScope scope;
    start_tables_small();
    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    stop_turning = 0;
    has_stopped = 0;
    requests_taken = 0;
    static Thread *thread;
    thread = os_thread_start(turn_without_sleep, nullptr);
    ASSERT_NE(thread, nullptr);
    publish_many(tree, 5000, 2000);
    wait_for_the_last_request();
    EXPECT_EQ(sort_file_groups(stored_rows(tree.path())), expected_rows());
    EXPECT_GT(results_store.hit_table.capacity, 2u);
    stop_turning = 1;
    while (!has_stopped) {
        os_sleep_ms(1);
    }
    search_state.worker_pass = search_state.worker_pass + 2;
    search_state.interface_pass = search_state.interface_pass + 2;
    release_retired(&search_state.retired_text);
    release_retired(&results_store.retired);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    EXPECT_EQ(results_store.retired.first, nullptr);
    search_state.worker_pass = 0;
    search_state.interface_pass = 0;
}

// The worker thread itself. It never ends, so this is the program's last test, and what it uses is never
// given back.
TEST(TwoThreadsLast, TheWorkerThreadEndsWithTheLastRequestsResults) {
    TestTree tree;
    fill_tree(tree);
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
    EXPECT_EQ(sort_file_groups(stored_rows(tree.path())), expected_rows());
}
