// Compares searches with and without readers. A separate program, as its threads never end.

#include "search/readers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "os/clock.h"
#include "os/files.h"
#include "os/threads.h"
#include "search/counted.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/walk.h"
#include "search/worker.h"
#include "support/heap_hook.h"
#include "support/system_files.h"
#include "support/test_tree.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

#if defined(__SANITIZE_THREAD__)
constexpr int random_trees = 10; // slow there
constexpr int most_failing = 20;
constexpr uint32_t reader_counts[] = {2, 8};
#elif defined(_WIN32)
constexpr int random_trees = 20; // Wine is slow with files; Linux runs more of the same
constexpr int most_failing = INT32_MAX;
#else
constexpr int random_trees = 100;
constexpr int most_failing = INT32_MAX;
#endif
#if !defined(__SANITIZE_THREAD__)
constexpr uint32_t reader_counts[] = {1, 2, 8, 64};
#endif

namespace {

// Calls so far, and the number of the one that fails; -1: none.
struct Calls {
    std::atomic<int> count = 0;
    std::atomic<int> failing = -1;

    bool next_fails() {
        return count++ == failing;
    }
    void start(int failing_call) {
        count = 0;
        failing = failing_call;
    }
};
Calls listings, folder_opens, opens, reads;
std::atomic<int> waiting = 0; // readers that have nothing to do
std::atomic<int> listings_at_request;
std::atomic<bool> lists_nothing = false; // whether every listing fails
std::atomic<int> request_at_open = -1;   // the call that publishes a request
std::atomic<int> request_at_read = -1;
std::mutex opening;                         // and reading
std::atomic<int> opens_awaited = 0;         // each opening waits until there are so many
std::atomic<bool> first_open_waits = false; // until another reader has nothing to do
std::atomic<int> listings_when_another_waited;
std::function<void()> after_open;                // called after each
std::atomic<bool> reads_apart = false;           // whether opening a file never reads it
std::atomic<uint64_t> in_memory, most_in_memory; // bytes of files that are about to be read

// Counts a file that is about to be read, and gives other threads time to read large files meanwhile.
void note_in_memory(uint64_t count) {
    uint64_t now = in_memory += count;
    for (uint64_t most = most_in_memory; now > most && !most_in_memory.compare_exchange_weak(most, now);) {
    }
    if (count > 1000000) {
        os_sleep_ms(20);
    }
    in_memory -= count;
}

// Gives up after 10 seconds, so that a test fails instead of waiting for ever.
std::atomic<bool> gave_up = false;
void wait_for(const std::function<bool()> &is_so) {
    int ms = 0;
    while (!is_so() && ms++ < 10000) {
        os_sleep_ms(1);
    }
    gave_up = gave_up || ms > 10000;
}

void wait_until_another_waits() {
    int times = 0;
    wait_for([&] { return (times = waiting == 1 ? times + 1 : 0) == 20; });
}

// ---- In place of the calls ----

void *list_or_fail(Str folder, FolderListingUse use, FolderEntry *entry) {
    return listings.next_fails() || lists_nothing ? nullptr : os_folder_first(folder, use, entry);
}

FilesOfFolder open_folder_or_fail(Str folder) {
    return folder_opens.next_fails() ? FilesOfFolder{folder, -1, 0} : os_files_of(folder);
}

OpenedFile open_or_fail(const FilesOfFolder &files, Str name, uint32_t room, char *bytes) {
    bool fails;
    {
        std::lock_guard<std::mutex> one_at_a_time(opening);
        if (opens.count == request_at_open) {
            listings_at_request = listings.count.load();
            publish_request();
        }
        fails = opens.next_fails();
    }
    if (opens_awaited > 0) {
        wait_for([] { return opens.count >= opens_awaited; });
    }
    if (first_open_waits.exchange(false)) {
        wait_until_another_waits();
        listings_when_another_waited = listings.count.load();
    }
    OpenedFile file = os_file_open(files, name, reads_apart ? 0 : room, bytes);
    if (fails) {
        os_file_close(&file);
        file.is_read = false;
    }
    if (after_open) {
        after_open();
    }
    return file;
}

bool read_or_fail(const OpenedFile &file, uint32_t count, char *bytes) {
    note_in_memory(count);
    bool fails;
    {
        std::lock_guard<std::mutex> one_at_a_time(opening);
        if (reads.count == request_at_read) {
            publish_request();
        }
        fails = reads.next_fails();
    }
    return !fails && os_file_read(file, count, bytes);
}

void wait_and_count(Condition *condition, Lock *lock, uint32_t ms) {
    waiting++;
    os_condition_wait(condition, lock, ms);
    waiting--;
}

const bool calls_are_replaced = [] {
    walk_folder_first = list_or_fail;
    reader_calls = {open_folder_or_fail, open_or_fail, read_or_fail, wait_and_count};
    return true;
}();

struct ReadersScope {
    uint32_t count;

    explicit ReadersScope(uint32_t wanted) : count(readers_start(wanted)) {
        search_state.reader_count = count;
    }
    ~ReadersScope() {
        search_state.reader_count = 0;
        readers_start(0);
    }
    ReadersScope(const ReadersScope &) = delete;
    ReadersScope &operator=(const ReadersScope &) = delete;
};

// What a search stores, including how much of the arena it uses.
struct Stored {
    std::string rows;
    uint64_t arena_index;
    uint64_t arena_used;

    bool operator==(const Stored &) const = default;
};

struct Search {
    std::string query = "foo";
    int64_t max_file_size = 10000000;
    uint64_t arena_block_size = 1000000;
    bool ignore_case = false;
    const char *skip_folders = "";
};

Stored search(const TestTree &tree, const Search &how, uint32_t reader_count) {
    ReadersScope readers(reader_count);
    SearchScope scope(how.arena_block_size);
    search_state.max_file_size = how.max_file_size;
    search_state.ignore_case = how.ignore_case;
    search_state.skip_folders = str_from(how.skip_folders);
    std::string rows = search_rows(tree, tree.path(), how.query);
    rows += "files' names:";
    const FileEntry *files = reinterpret_cast<const FileEntry *>(results_store.file_table.data);
    for (uint64_t i = 0; i < results_store.file_table.count; i++) {
        rows += " " + to_string(files[i].folder) + "/" + to_string(files[i].name);
    }
    const ResultRecord *hits = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        rows += hits[i].is_cut ? "c" : ".";
    }
    return {rows, results_store.arena.index, results_store.arena.used};
}

uint32_t below(std::mt19937 &random, size_t bound) {
    return static_cast<uint32_t>(random() % bound);
}

std::string random_bytes(std::mt19937 &random) {
    static constexpr uint32_t lengths[] = {0, 1, 3, 20, 200, 3000, 4096, 8192, 70000, 300000};
    uint32_t length = lengths[below(random, below(random, 8) ? 6 : std::size(lengths))];
    length += below(random, 4) ? 0 : below(random, 8);
    std::string bytes(length, '.');
    for (uint32_t i = 0; i < length; i += 1 + below(random, 50)) {
        bytes[i] = "foo \t\r\n\n\0."[below(random, 10)];
    }
    for (uint32_t i = 0; i + 3 < length && below(random, 20); i += 1 + below(random, 400)) {
        bytes.replace(i, 3, "foo");
    }
    return bytes;
}

void fill_folder(const TestTree &tree, const std::string &folder, std::mt19937 &random, int depth) {
    static const char *const names[] = {"a", "b.txt", "ä", "some longer name", "..c", "Z"};
    uint32_t files = below(random, 3);
    if (below(random, 20) == 0) {
        files = 14 + below(random, 40); // more than one job holds
    }
    for (uint32_t i = 0; i < files; i++) {
        tree.file(folder + names[below(random, std::size(names))] + std::to_string(i), random_bytes(random));
    }
#ifndef _WIN32
    if (below(random, 8) == 0) {
        std::error_code is_there;
        fs::create_symlink("..", tree.native(folder + "up"), is_there);
        fs::create_symlink("a0", tree.native(folder + "link"), is_there);
        fs::create_symlink("/proc/self/mounts", tree.native(folder + "mounts"), is_there);
        mkfifo(tree.native(folder + "pipe").c_str(), 0600);
    }
#endif
    for (uint32_t i = below(random, 4); i > 0 && depth < 4; i--) {
        std::string subfolder = folder + names[below(random, std::size(names))] + "d" + std::to_string(i);
        tree.folder(subfolder);
        fill_folder(tree, subfolder + "/", random, depth + 1);
    }
}

} // namespace

// ---- Without threads or memory (these run first, before any reader has started) ----

TEST(Readers, TakeNoThreadFromTheWorker) {
    FailingAllocation first(0, WITH_ALL_LATER_ONES);
    search_state.reader_count = 8;
    EXPECT_EQ(search_worker_start(), nullptr);
    EXPECT_EQ(first.sizes, std::vector<uint64_t>{sizeof(Thread)}); // no reader was asked for
    search_state.reader_count = 0;
    search_state.interface_pass = 0;
}

TEST(Readers, WithoutThreadsTheWorkerSearchesAlone) {
    TestTree tree;
    tree.file("a/b", "foo.....");
    tree.file("c", "foo.....");
    Stored alone = search(tree, {}, 0);
    EXPECT_EQ(search_state.reader_count, 0u);
    for (int given : {0, 3, 2}) { // running threads stay
        std::atomic<int> threads_given = given;
        HeapHookScope hook([&](uint64_t size) { return size != sizeof(Thread) || threads_given-- > 0; });
        uint32_t expected = given == 0 ? 0 : given == 3 ? 3 : 5;
        EXPECT_EQ(ReadersScope(8).count, expected);
        EXPECT_EQ(search(tree, {}, 8), alone);
    }
    EXPECT_EQ(ReadersScope(1000).count, most_readers);
    EXPECT_EQ(ReadersScope(0).count, 0u);
}

TEST(Readers, WithoutMemoryOfTheirOwnTheyLeaveAllToTheWorker) {
    TestTree tree;
    std::mt19937 random(1);
    fill_folder(tree, "", random, 0);
    tree.file("a/b", "foo.....");
    Stored alone = search(tree, {}, 0);
    HeapHookScope hook([](uint64_t size) { return size != 262145 && size != 65537 && size != 16385; });
    for (uint32_t count : reader_counts) {
        EXPECT_EQ(search(tree, {}, count), alone) << count;
    }
}

TEST(Readers, OutOfMemoryForTheResultsStringsLeaveOutWhatTheWorkerLeavesOut) {
    TestTree tree;
    for (int i = 0; i < 60; i++) {
        tree.file("d" + std::to_string(i / 6) + "/" + std::to_string(i), "foo.....\nfoo.....");
    }
    Search how;
    how.arena_block_size = 400;
    static std::atomic<int> blocks_left;
    HeapHookScope hook([](uint64_t size) { return size != 400 || blocks_left-- > 0; });
    blocks_left = 1;
    const Stored alone = search(tree, how, 0);
    EXPECT_FALSE(alone.rows.starts_with("files 60\n"));
    for (uint32_t count : reader_counts) {
        blocks_left = 1;
        EXPECT_EQ(search(tree, how, count), alone) << count;
    }
}

// ---- The same results ----

TEST(Readers, FindInRandomTreesWhatTheWorkerFindsAlone) {
    static uint32_t seed; // continues when the test is repeated
    for (int i = 0; i < random_trees && !testing::Test::HasFailure(); i++) {
        std::mt19937 random(seed++);
        TestTree tree;
        fill_folder(tree, "", random, 0);
        Search how;
        how.query = std::vector<std::string>{"foo", "o", "foo.", "\n", "..", "none"}[random() % 6];
        how.max_file_size = std::vector<int64_t>{10000000, 0, 3000, 200, -1}[random() % 5];
        how.arena_block_size = std::vector<uint64_t>{1000000, 400, 5000}[random() % 3]; // overwrites texts
        Stored alone = search(tree, how, 0);
        for (uint32_t count : reader_counts) {
            EXPECT_EQ(search(tree, how, count), alone) << "tree " << seed - 1 << ", readers " << count;
        }
    }
}

TEST(Readers, FindEveryFileOfALargeFolderAndOfManyFolders) {
    TestTree tree;
    for (int i = 0; i < 4200; i++) { // more than readers can be ahead
        tree.file("wide/" + std::to_string(i), i % 100 == 0 ? "foo....." : "");
    }
    for (int i = 0; i < 400; i++) {
        tree.file("many/" + std::to_string(i) + "/f", "foo.....");
    }
    std::string deep = "deep";
    for (int i = 0; i < 60; i++) {
        tree.file(deep + "/f", "foo.....");
        deep += "/d";
    }
    Stored alone = search(tree, {}, 0);
    for (uint32_t count : reader_counts) {
        EXPECT_EQ(search(tree, {}, count), alone) << count;
    }
}

TEST(Readers, LeaveFilesOfVeryManyHitsToTheWorkerAndLimitTheHitsThatWait) {
    TestTree tree;
    const std::string line = "foo" + std::string(396, '.') + "\n"; // stored uncut
    std::string many, more;
    for (int i = 0; i < 3000; i++) {
        many += i < 150 ? line : "";
        more += line;
    }
    tree.file("a/more", more);     // more hits than a job may hold
    for (int i = 0; i < 10; i++) { // the job's other files keep their hits
        tree.file("a/" + std::to_string(i), line + line);
    }
    for (int i = 0; i < 400; i++) { // more hits than may wait for the worker
        tree.file("b/many" + std::to_string(i), many);
    }
    Stored alone = search(tree, {}, 0);
    for (uint32_t count : reader_counts) {
        EXPECT_TRUE(search(tree, {}, count) == alone) << count;
    }
}

TEST(Readers, IgnoreCaseAndSkipFoldersLikeTheWorker) {
    std::mt19937 random(20261122);
    for (int round = 0; round < random_trees / 5; round++) {
        TestTree tree;
        fill_folder(tree, "", random, 0);
        tree.file("enter/skip me/a", "foo.....");
        tree.file("enter/skip/skip/a", "foo.....");
        tree.file("enter/b", "foo.....");
        const Search how = {.query = "FOO", .ignore_case = true, .skip_folders = "ad1 skip Zd2 ..cd1 äd1"};
        Stored alone = search(tree, how, 0);
        EXPECT_NE(alone.rows.find("foo"), std::string::npos);
        EXPECT_EQ(alone.rows.find("/skip/"), std::string::npos);
        for (uint32_t count : reader_counts) {
            EXPECT_EQ(search(tree, how, count), alone) << round << ", " << count << " readers";
        }
    }
}

TEST(Readers, DoNotListSkippedFolders) {
    TestTree tree;
    tree.file("enter/skip/deep/a", "foo.....");
    tree.file("skip/b", "foo.....");
    for (uint32_t count : reader_counts) {
        listings.start(-1);
        search(tree, {.skip_folders = "skip"}, count);
        EXPECT_EQ(listings.count, 2); // the tree itself and "enter"
    }
}

#ifdef __linux__ // elsewhere such long paths cannot be created
TEST(Readers, PassOverFoldersWithLongerPathsThanTheWorkerWalks) {
    TestTree tree;
    // Built from the inside out and removed from the outside in, so that no path gets too long.
    const std::string name(255, 'd');
    const fs::path whole = tree.native(name), part = tree.native("part");
    constexpr int levels = 18;
    for (int level = 0; level < levels; level++) {
        fs::create_directory(part);
        std::ofstream(part / "f", std::ios::binary) << "foo.....";
        if (level > 0) {
            fs::rename(whole, part / name);
        }
        fs::rename(part, whole);
    }
    CountsScope counts;
    Stored alone = search(tree, {}, 0);
    EXPECT_NE(alone.rows.find("foo.."), std::string::npos);
    EXPECT_NE(counted().find(", 1 unreadable"), std::string::npos); // the first such folder
    for (uint32_t count : reader_counts) {
        EXPECT_EQ(search(tree, {}, count), alone) << count;
        EXPECT_NE(counted().find(", 1 unreadable"), std::string::npos) << count;
    }
    for (int level = 1; level < levels; level++) {
        fs::rename(whole / name, part);
        fs::remove_all(whole);
        fs::rename(part, whole);
    }
}
#endif

// ---- Single failures ----

namespace {

// A tree in which the worker lists and reads only what a reader leaves to it.
void fill_plain_tree(const TestTree &tree) {
    for (const char *name : {"a", "b", "c/d", "c/e", "c/f/g", "h/i/j"}) {
        tree.file(name, "foo.....");
    }
    std::string lines; // with more hits than a reader's buffer holds
    for (int i = 0; i < 40; i++) {
        lines += "foo" + std::string(300, '.') + "\n";
    }
    for (int i = 0; i < 20; i++) {
        tree.file("many/" + std::to_string(i), std::string(i % 5 == 0 ? 300000 : 100, '.') + "\n" + lines);
    }
}

} // namespace

TEST(Readers, LoseNothingWhicheverAllocationFails) {
    TestTree tree;
    fill_plain_tree(tree);
    Stored alone = search(tree, {}, 0);
    for (uint32_t count : {1u, 8u}) {
        ReadersScope readers(count);
        for (int failing = 0, asked = 1; failing < asked && failing < most_failing; failing++) {
            SearchScope scope;
            std::atomic<int> allocations = 0;
            std::string rows;
            {
                HeapHookScope hook([&](uint64_t) { return allocations++ != failing; });
                search_state.reader_count = count;
                rows = search_rows(tree, tree.path(), "foo");
            }
            asked = allocations;
            EXPECT_EQ(rows, alone.rows.substr(0, rows.size())) << failing;
            EXPECT_EQ(results_store.file_table.count, 26u) << failing;
        }
    }
}

TEST(Readers, LoseNothingWhicheverListingOpeningOrReadingFails) {
    TestTree tree;
    fill_plain_tree(tree);
    Stored alone = search(tree, {}, 0);
    reads_apart = true;
    for (Calls *calls : {&listings, &folder_opens, &opens, &reads}) {
        for (uint32_t count : {1u, 8u}) {
            int failing = 0;
            do {
                calls->start(failing++);
                EXPECT_EQ(search(tree, {}, count), alone) << failing << " of " << count;
            } while (calls->count >= failing);
            EXPECT_GT(failing, calls == &listings || calls == &folder_opens ? 6 : 26);
        }
        calls->start(-1);
    }
    reads_apart = false;
}

TEST(Readers, SkipTooLargeFilesOfAFolderThatTheyCannotOpen) {
    TestTree tree;
    tree.file("a/small", "foo.....");
    tree.file("a/large", "foo" + std::string(100, '.'));
    Search how;
    how.max_file_size = 100;
    Stored alone = search(tree, how, 0);
    folder_opens.start(0);
    EXPECT_EQ(search(tree, how, 1), alone);
    EXPECT_EQ(folder_opens.count, 1);
    folder_opens.start(-1);
}

#ifdef __linux__
TEST(Readers, AreOnlyAsManyAsHaveEnoughFileDescriptors) {
    TestTree tree;
    for (int i = 0; i < 100; i++) {
        tree.file(std::to_string(i) + "/a", "foo.....");
        tree.file(std::to_string(i) + "/b", "foo" + std::string(100, '.'));
    }
    Search how;
    how.max_file_size = 100;
    Stored alone = search(tree, how, 0);
    rlimit old_limit;
    getrlimit(RLIMIT_NOFILE, &old_limit);
    for (rlim_t most : {16u, 24u, 40u, 100u}) {
        rlimit limit = {most, old_limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
        std::vector<int> open_files;
        for (int file; (file = open("/dev/null", O_RDONLY)) >= 0;) {
            open_files.push_back(file);
        }
        for (int file : open_files) {
            close(file);
        }
        // 2 for each, and 16 for the rest of the program
        uint32_t enough_for = open_files.size() > 16 ? static_cast<uint32_t>(open_files.size() - 16) / 2 : 0;
        EXPECT_EQ(ReadersScope(64).count, std::min(enough_for, 64u)) << most;
        EXPECT_EQ(search(tree, how, 64), alone) << most;
        setrlimit(RLIMIT_NOFILE, &old_limit);
    }
}
#endif

TEST(Readers, FindWhatIsLeftOfATreeThatIsRemovedMeanwhile) {
    TestTree tree;
    for (uint32_t count : reader_counts) {
        for (int i = 0; i < 200; i++) {
            tree.file("d" + std::to_string(i % 20) + "/" + std::to_string(i), "foo.....");
        }
        tree.file("a", "foo.....");
        ReadersScope readers(count);
        SearchScope scope;
        std::atomic<int> allocations = 0;
        HeapHookScope hook([&](uint64_t) {
            if (allocations++ == 40) {
                std::error_code in_use;
                for (int i = 0; i < 20; i++) {
                    fs::remove_all(tree.native("d" + std::to_string(i)), in_use);
                }
            }
            return true;
        });
        std::string rows = search_rows(tree, tree.path(), "foo");
        EXPECT_NE(rows.find("file a\nhit 1 1 0 foo..\n"), std::string::npos);
    }
}

TEST(Readers, ReadAFileThatGrowsMeanwhileUpToTheLengthThatItHad) {
    TestTree tree;
    tree.file("a", "foo.....");
    Stored alone = search(tree, {}, 0);
    reads_apart = true;
    after_open = [&] { std::ofstream(tree.native("a"), std::ios::binary | std::ios::app) << "\nfoo....."; };
    EXPECT_EQ(search(tree, {}, 1), alone);
    after_open = nullptr;
    reads_apart = false;
    EXPECT_NE(search(tree, {}, 1), alone);
}

// ---- Counts ----

TEST(Readers, CountWhatTheWorkerCountsAlone) {
    CountsScope counts;
    for (uint32_t round = 0; round < random_trees / 5; round++) {
        std::mt19937 random(round);
        TestTree tree;
        fill_folder(tree, "", random, 0);
        Search how;
        how.max_file_size = std::vector<int64_t>{10000000, 0, 3000, 200, -1}[random() % 5];
        search(tree, how, 0);
        std::string alone = counted();
        EXPECT_EQ(alone.find("finished"), 0u);
        for (uint32_t count : reader_counts) {
            search(tree, how, count);
            EXPECT_EQ(counted(), alone) << "tree " << round << ", readers " << count;
        }
    }
}

TEST(Readers, CountFilesThatAreTooLargeAndThoseThatCannotBeRead) {
    CountsScope counts;
    TestTree tree;
    for (int i = 0; i < 40; i++) {
        std::string name = "d" + std::to_string(i % 3) + "/" + std::to_string(i);
        tree.file(name, i % 4 == 0 ? std::string(101, '.') : "foo.....");
    }
    Unreadable unreadable(tree.native("d1/1"));
    Search how;
    how.max_file_size = 100;
    for (uint32_t count : {0u, 1u, 8u}) {
        search(tree, how, count);
        EXPECT_EQ(counted(), "finished: 29 hits in 29 of 29, 10 too large, 1 unreadable") << count;
    }
}

TEST(Readers, CountAFolderThatOnlyTheyCannotListAsRead) {
    CountsScope counts;
    TestTree tree;
    tree.file("a/b", "foo.....");
    tree.file("c", "foo.....");
    for (int failing : {0, 1}) {
        listings.start(failing);
        search(tree, {}, 1);
        EXPECT_EQ(counted(), "finished: 2 hits in 2 of 2, 0 too large, 0 unreadable");
    }
    listings.start(2); // the first of the sub-folder's two
    search(tree, {}, 0);
    EXPECT_EQ(counted(), "finished: 1 hits in 1 of 1, 0 too large, 1 unreadable");
    listings.start(-1);
}

TEST(Readers, LetTheWorkerReportATopFolderThatCannotBeListed) {
    CountsScope counts;
    TestTree tree;
    tree.file("a", "foo.....");
    for (uint32_t count : {0u, 1u, 8u}) {
        lists_nothing = true;
        search(tree, {}, count);
        EXPECT_EQ(counted(), "unreadable folder: 0 hits in 0 of 0, 0 too large, 0 unreadable");
        lists_nothing = false;
        search(tree, {}, count);
        EXPECT_EQ(counted(), "finished: 1 hits in 1 of 1, 0 too large, 0 unreadable");
    }
}

// ---- Limits ----

TEST(Readers, HoldAtMost64MiBOfContentsWithTheWorker) {
    const auto large_file = [](const TestTree &tree, const std::string &name, const std::string &start,
                               uint64_t size) {
        tree.file(name, start);
        fs::resize_file(tree.native(name), size);
    };
    TestTree tree;
    std::string many_hits;
    for (int i = 0; i < 50000; i++) {
        many_hits += "foo.\n";
    }
    for (int i = 0; i < 8; i++) {
        large_file(tree, "d" + std::to_string(i) + "/f", "foo", 20000000);
    }
    large_file(tree, "g", "foo", 60000000); // the worker reads these two first
    large_file(tree, "h", many_hits, 30000000);
    reads_apart = true;
    Search how;
    how.max_file_size = 0;
    const std::thread::id worker = std::this_thread::get_id();
    HeapHookScope hook([&](uint64_t size) { // the worker's own reading
        if (search_state.search_busy && size > 1000000 && std::this_thread::get_id() == worker) {
            note_in_memory(size);
        }
        return true;
    });
    for (uint64_t most : {uint64_t{64} << 20, uint64_t{70000064}}) { // the block of the last file
        Stored alone = search(tree, how, 0);
        most_in_memory = 0;
        EXPECT_EQ(search(tree, how, 8), alone);
        EXPECT_GE(most_in_memory, 60000000u);
        EXPECT_LE(most_in_memory, most);
        large_file(tree, "larger than all they may hold", "foo", 70000000);
    }
    reads_apart = false;
}

TEST(Readers, ListNoFurtherFoldersWhile4096FilesWait) {
    TestTree tree;
    for (int i = 0; i < 6000; i++) {
        tree.file(std::to_string(i / 200) + "/" + std::to_string(i), "");
    }
    Stored alone = search(tree, {}, 0);
    opens.start(-1);
    listings.start(-1);
    first_open_waits = true;
    EXPECT_EQ(search(tree, {}, 2), alone);
    EXPECT_LE(listings_when_another_waited, 1 + 4096 / 200 + 2); // the tree itself, and 2 readers at once
    EXPECT_EQ(listings.count, 31);
    EXPECT_FALSE(gave_up.exchange(false));
}

TEST(Readers, ShareTheFilesOfASmallFolder) {
    TestTree tree;
    for (int i = 0; i < 16; i++) {
        tree.file(std::to_string(i), "foo.....");
    }
    Stored alone = search(tree, {}, 0);
    for (int count : {2, 8}) {
        opens.start(-1);
        opens_awaited = count;
        EXPECT_EQ(search(tree, {}, static_cast<uint32_t>(count)), alone);
        opens_awaited = 0;
        EXPECT_FALSE(gave_up.exchange(false)) << count; // every reader has opened one at the same time
    }
}

TEST(Readers, ReadNoLargeFileThatTheyHaveNotBegunWhenARequestComes) {
    TestTree tree;
    for (int i = 0; i < 8; i++) {
        std::string name = "d" + std::to_string(i) + "/f";
        tree.file(name, "foo");
        fs::resize_file(tree.native(name), 20000000);
    }
    Search how;
    how.max_file_size = 0;
    ReadersScope readers(8);
    SearchScope scope;
    search_state.max_file_size = 0;
    reads_apart = true;
    opens.start(-1);
    reads.start(-1);
    opens_awaited = 8;
    request_at_read = 0;
    search_rows(tree, tree.path(), "foo");
    opens_awaited = 0;
    request_at_read = -1;
    reads_apart = false;
    EXPECT_EQ(opens.count, 8); // all readers were busy
    EXPECT_FALSE(gave_up.exchange(false));
    EXPECT_LE(reads.count, 2); // 48 MiB have room for 2 files
    EXPECT_EQ(search_state.request_pending, 1);
}

TEST(Readers, FinishOnlyTheFilesThatTheyAreReadingWhenARequestComes) {
    TestTree tree;
    for (int i = 0; i < 300; i++) {
        tree.file("d" + std::to_string(i % 150) + "/" + std::to_string(i), "foo.....");
    }
    Stored whole = search(tree, {}, 0);
    for (uint32_t count : reader_counts) {
        for (int at : {0, 1, 17, 100, 200}) {
            ReadersScope readers(count);
            SearchScope scope;
            opens.start(-1);
            request_at_open = at;
            search_rows(tree, tree.path(), "foo");
            request_at_open = -1;
            EXPECT_LE(opens.count, at + static_cast<int>(count)) << at;
            EXPECT_LE(listings.count, listings_at_request + static_cast<int>(count)) << at;
            EXPECT_LT(results_store.file_table.count, 300u);
            EXPECT_EQ(search_state.request_pending, 1);
            EXPECT_EQ(search_state.search_busy, 0);
            EXPECT_TRUE(search_worker_turn());
            std::string rows = stored_rows(tree.path());
            EXPECT_EQ(rows, whole.rows.substr(0, rows.size()));
            EXPECT_EQ(results_store.file_table.count, 300u);
        }
    }
}

// ---- Last, as the worker's thread never ends, nor what it uses ----

// To the thread sanitizer, nothing orders the worker's writes before the test's reads.
#if !defined(__SANITIZE_THREAD__)
TEST(ReadersLast, AreStartedByTheWorkersThread) {
    TestTree tree;
    tree.file("a", "foo.....");
    results_store_reserve();
    strbuf_init(&search_state.path, 1024);
    strbuf_init(&search_state.query, 1024);
    set_field(&search_state.path, tree.path());
    set_field(&search_state.query, "foo");
    search_state.reader_count = 8;
    publish_request();
    opens.start(-1);
    static Thread *thread;
    thread = search_worker_start();
    ASSERT_NE(thread, nullptr);
    wait_for([] { return search_state.worker_pass >= 3; });
    EXPECT_EQ(stored_rows(tree.path()), "files 1\nfile a\nhit 1 1 0 foo..\n");
    EXPECT_EQ(opens.count, 1);
}
#endif
