#include "search/search_counts.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "os/clock.h"
#include "search/counted.h"
#include "search/worker.h"
#include "support/each_step.h"
#include "support/heap_hook.h"
#include "support/system_files.h"
#include "support/test_tree.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace {

const std::string nothing = "none: 0 hits in 0 of 0, 0 too large, 0 unreadable";

// Four files to search, three of them with a hit or more, one too large and one unreadable.
struct CountedTree : TestTree {
    CountedTree() {
        file("two hits", "foo\nfoo foo\nbar\n....");
        file("one hit", "foo.....");
        file("none", "bar.....");
        file("too large", std::string(101, '.'));
        file("unreadable", "foo.....");
        file("folder/one hit", "foo.....");
        folder("empty");
        unreadable.emplace(native("unreadable"));
    }
    std::optional<Unreadable> unreadable;
};

} // namespace

TEST(SearchCounts, AreOfWhatTheSearchHasFoundAndSkipped) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    search_state.max_file_size = 100;
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(counted(), "finished: 4 hits in 3 of 4, 1 too large, 1 unreadable");
    search_rows(tree, tree.path(), "none of them");
    EXPECT_EQ(counted(), "finished: 0 hits in 0 of 4, 1 too large, 1 unreadable"); // from zero again
    search_state.max_file_size = 0;
    search_rows(tree, tree.path("folder"), "foo");
    EXPECT_EQ(counted(), "finished: 1 hits in 1 of 1, 0 too large, 0 unreadable");
    search_rows(tree, tree.path("empty"), "foo");
    EXPECT_EQ(counted(), "finished: 0 hits in 0 of 0, 0 too large, 0 unreadable");
}

#ifndef _WIN32
TEST(SearchCounts, OfUnreadableFilesIncludePipesAndLinksToNothing) {
    TestTree tree;
    SearchScope scope;
    CountsScope counts;
    tree.file("file", "foo.....");
    mkfifo(tree.native("pipe").c_str(), 0600);
    std::filesystem::create_symlink("missing", tree.native("link"));
    std::filesystem::create_symlink("file", tree.native("link to file"));
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(counted(), "finished: 2 hits in 2 of 2, 0 too large, 2 unreadable");
}
#endif

TEST(SearchCounts, AreNotKeptUnlessAskedFor) {
    CountedTree tree;
    SearchScope scope;
    search_state.max_file_size = 100;
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(counted(), nothing);
    search_rows(tree, tree.path("missing"), "foo");
    EXPECT_EQ(counted(), nothing);
}

TEST(SearchCounts, LeaveOutSkippedFolders) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    search_state.skip_folders = str_from("folder empty");
    search_rows(tree, tree.path(), "foo");
    search_state.skip_folders = {};
    EXPECT_EQ(counted(), "finished: 3 hits in 2 of 4, 0 too large, 1 unreadable");
}

TEST(SearchCounts, SayWhyNothingIsSearched) {
    TestTree tree;
    SearchScope scope;
    CountsScope counts;
    tree.file("file", "foo.....");
    tree.folder("folder");
    const struct {
        std::string path;
        const char *query;
        const char *outcome;
    } rows[] = {
        {"", "foo", "none"},
        {tree.path(), "", "none"},
        {tree.path("folder"), "foo", "finished"},
        {tree.path("missing"), "foo", "no such folder"},
        {tree.path("missing"), "", "no such folder"}, // these outcomes need no query
        {tree.path("fold"), "foo", "no such folder"}, // even with suggestions
        {tree.path("missing/"), "foo", "no such folder"},
        {tree.path("missing/fold"), "foo", "no such folder"},
        {"missing", "foo", "no such folder"},
        {"/missing", "foo", "no such folder"},
        {tree.path("file"), "foo", "not a folder"},
        {tree.path("file"), "", "none"},
        {tree.path() + "/", "foo", "ends in slash"},
        {tree.path() + "///", "foo", "ends in slash"},
        {tree.path() + "/", "", "none"},
        {"/", "foo", "ends in slash"},
        {"///", "foo", "ends in slash"},
    };
    for (const auto &row : rows) {
        search_rows(tree, row.path, row.query);
        EXPECT_EQ(counted().substr(0, counted().find(':')), row.outcome) << row.path;
    }
}

TEST(SearchCounts, AreAllZeroWhileARequestIsPending) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    search_rows(tree, tree.path("folder"), "foo");
    EXPECT_NE(counted(), nothing);
    publish_request();
    EXPECT_EQ(counted(), nothing);
    search_worker_turn();
    EXPECT_NE(counted(), nothing);
}

TEST(SearchCounts, AreAllZeroBetweenTheTakingOfARequestAndItsSearch) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    search_rows(tree, tree.path("folder"), "foo");
    publish_request();
    take_request();
    EXPECT_EQ(counted(), nothing);
}

#ifndef _WIN32
TEST(SearchCounts, AreOfOneSearchWheneverTheNextOneBegins) {
    SearchScope scope;
    CountsScope counts;
    static int steps_before; // the next search begins
    static SearchCounts now;
    int starts = 0;
    do {
        steps_before = starts++;
        search_counts_begin();
        for (volatile uint64_t *count :
             {&search_counts.files, &search_counts.files_with_hits, &search_counts.hits,
              &search_counts.too_large, &search_counts.unreadable}) {
            count_one(count);
        }
        search_state.request_pending = 0;
        std::string first = counted();
        states_while([] { now = search_counts_now(); }, 0,
                     [] {
                         if (steps_before-- == 0) {
                             take_request();
                             search_counts_begin();
                         }
                         return each_step::State{};
                     });
        EXPECT_NE(first, nothing);
        std::string seen = counted(now);
        EXPECT_TRUE(seen == first || seen == nothing) << seen;
    } while (steps_before < 0);
    EXPECT_GT(starts, 10);
}
#endif

TEST(SearchCounts, GrowWhileTheSearchRuns) {
    TestTree tree;
    SearchScope scope;
    CountsScope counts;
    for (int i = 0; i < 5; i++) {
        tree.file(std::to_string(i), "foo.....");
    }
    std::vector<std::string> seen;
    {
        HeapHookScope hook([&](uint64_t) { // a search allocates before each file
            if (search_counts_now().outcome == SEARCH_RUNS && (seen.empty() || seen.back() != counted())) {
                seen.push_back(counted());
            }
            return true;
        });
        search_rows(tree, tree.path(), "foo");
    }
    ASSERT_EQ(seen.size(), 5u);
    for (size_t i = 0; i < seen.size(); i++) {
        std::string number = std::to_string(i);
        EXPECT_EQ(seen[i],
                  "runs: " + number + " hits in " + number + " of " + number + ", 0 too large, 0 unreadable");
    }
    EXPECT_EQ(counted(), "finished: 5 hits in 5 of 5, 0 too large, 0 unreadable");
}

TEST(SearchCounts, OfACancelledSearchHaveNoOutcome) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    {
        HeapHookScope hook([&](uint64_t) {
            if (search_state.search_busy) {
                search_state.request_pending = 1;
            }
            return true;
        });
        search_rows(tree, tree.path(), "foo");
    }
    EXPECT_EQ(search_counts.outcome, SEARCH_RUNS);
    EXPECT_EQ(counted(), nothing);
}

TEST(SearchCounts, IncludeTheTimeOfTheSearch) {
    CountedTree tree;
    SearchScope scope;
    CountsScope counts;
    int64_t before = os_ticks();
    search_rows(tree, tree.path(), "foo");
    int64_t most = os_ticks_to_us(os_ticks() - before);
    EXPECT_GE(search_counts_now().us, 0);
    EXPECT_LE(search_counts_now().us, most);
    int64_t first = search_counts.us;
    search_counts.us = most + 1;
    search_rows(tree, tree.path(), "foo");
    EXPECT_NE(search_counts_now().us, most + 1) << first;
}
