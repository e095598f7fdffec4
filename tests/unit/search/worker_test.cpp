#include "search/worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include "search/results_store.h"
#include "search/search_state.h"
#include "search/walk.h"
#include "support/heap_hook.h"
#include "support/system_files.h"
#include "support/test_tree.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace fs = std::filesystem;

namespace {

// A file whose length matches no other allocation of a search, so that a test notices when it is read.
constexpr uint64_t marker_length = 12345;
constexpr uint64_t marker_block = marker_length + 1 + ((marker_length + 1) & 63);

std::string marker_bytes() {
    std::string bytes(marker_length, '.');
    bytes.replace(0, 4, "foo\n");
    return bytes;
}

uint32_t listings; // started since count_listings

void *count_and_list(Str folder, FolderListingUse use, FolderEntry *entry) {
    listings++;
    return os_folder_first(folder, use, entry);
}

void count_listings() {
    walk_folder_first = count_and_list;
    listings = 0;
}

} // namespace

// ---- What a request asks for ----

TEST(Worker, WithoutARequestATurnSearchesNothing) {
    SearchScope scope;
    search_state.request_pending = 0;
    results_store.hit_table.count = 3;
    EXPECT_FALSE(search_worker_turn());
    EXPECT_EQ(results_store.hit_table.count, 3u);
}

TEST(Worker, TheFirstRequestNeedsNobodyToPublishIt) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    strbuf_append(&search_state.path, tree.path().size(), tree.path().data());
    strbuf_append(&search_state.query, 3, "foo");
    EXPECT_TRUE(search_worker_turn());
    EXPECT_EQ(stored_rows(tree.path()), "files 1\nfile f\nhit 1 1 0 foo..\n");
    EXPECT_FALSE(search_worker_turn());
}

TEST(Worker, AnExistingFolderAndAQuerySearchEverythingBelow) {
    TestTree tree;
    SearchScope scope;
    tree.file("top.txt", "a foo\n------");
    tree.file("d/one.txt", "nothing");
    tree.file("d/two.txt", "\nfoo\n----");
    tree.file("d/e/three", "foo foo\n----");
    EXPECT_EQ(sorted_search_rows(tree, tree.path(), "foo"), "files 4\n"
                                                            "file d/e/three\nhit 1 1 0 foo foo\n"
                                                            "file d/two.txt\nhit 2 1 1 foo\n"
                                                            "file top.txt\nhit 1 3 2 a foo\n");
    EXPECT_EQ(search_state.search_busy, 0);
}

TEST(Worker, AnExistingFolderWithoutAQueryDoesNothing) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    tree.folder("d");
    EXPECT_EQ(search_rows(tree, tree.path(), ""), "files 0\n");
    EXPECT_EQ(search_state.search_busy, 0);
}

TEST(Worker, ATrailingSlashListsEverySubfolder) {
    TestTree tree;
    SearchScope scope;
    tree.folder("abc");
    tree.folder("ábc");
    tree.file("file", "foo.....");
    EXPECT_EQ(sort_file_groups(search_rows(tree, tree.path() + "/", "foo")),
              "files 0\nmatch abc\nmatch ábc\n");
    EXPECT_EQ(sort_file_groups(search_rows(tree, tree.path() + "///", "")),
              "files 0\nmatch abc\nmatch ábc\n");
}

TEST(Worker, TheStartOfANameSortsTheFolders) {
    TestTree tree;
    SearchScope scope;
    tree.folder("Apple");
    tree.folder("app");
    tree.folder("banana");
    tree.file("ap.txt", "");
    EXPECT_EQ(sort_file_groups(search_rows(tree, tree.path("ap"), "foo")),
              "files 0\nmatch Apple\nmatch app\nother banana\n");
    EXPECT_EQ(sort_file_groups(search_rows(tree, tree.path("app/"), "foo")), "files 0\n"); // an empty folder
    EXPECT_EQ(search_rows(tree, tree.path("missing/ap"), "foo"), "files 0\n");
}

TEST(Worker, PathsWithoutAFolderPartDoNothing) {
    TestTree tree;
    SearchScope scope;
    for (const char *path : {"", "/", "///", "abc_that_does_not_exist", "/abc_that_does_not_exist"}) {
        EXPECT_EQ(search_rows(tree, path, "foo"), "files 0\n") << path;
    }
}

TEST(Worker, AnEmptyPathIsNotReadBeforeItsStart) {
    TestTree tree;
    SearchScope scope;
    // The text is at the start of its block, so the address sanitizer sees any read before it.
    publish_request();
    search_worker_turn();
    EXPECT_EQ(stored_rows(), "files 0\n");
}

TEST(Worker, APathWithAZeroByteFindsNothing) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    tree.file("d/f", "foo.....");
    EXPECT_EQ(search_rows(tree, tree.path() + std::string("\0", 1), "foo"), "files 0\n");
    EXPECT_EQ(search_rows(tree, tree.path() + std::string("\0/x", 3), "foo"), "files 0\n");
}

TEST(Worker, AFileAsThePathFindsNothing) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    tree.folder("d");
    EXPECT_EQ(search_rows(tree, tree.path("f"), "foo"), "files 0\n");
}

#ifdef _WIN32
TEST(Worker, ADriveAndASlashListTheDrivesRoot) {
    TestTree tree;
    SearchScope scope;
    // The rest of the path is "C:", which elsewhere means the drive's current folder; followed by "/*" it is
    // the root.
    fs::path before = fs::current_path();
    fs::current_path("C:/windows");
    std::string rows = search_rows(tree, "C:/", "foo");
    fs::current_path(before);
    EXPECT_NE(rows.find("match windows\n"), std::string::npos) << rows;
}

TEST(Worker, ABackslashAtTheEndOfThePathIsNotASlashAndItsFilesGetOne) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    EXPECT_EQ(search_rows(tree, tree.path() + "\\", "foo"), "files 1\nfile /f\nhit 1 1 0 foo..\n");
}
#endif

TEST(Worker, EachPathOfAJobStaysInTheArenaUntilTheNextRequest) {
    TestTree tree;
    SearchScope scope;
    tree.folder("d");
    search_rows(tree, tree.path(), "foo");
    uint64_t folder_path = 8 + tree.path("d").size() + 1;
    EXPECT_EQ(results_store.arena.used, folder_path);
    take_request();
    EXPECT_EQ(results_store.arena.used, 0u);
}

TEST(Worker, TheTopFoldersFilesComeBeforeAnySubfoldersAndFoldersAreEnteredDepthFirst) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/b/f3", "foo.");
    tree.file("a/f2", "foo.");
    tree.file("f1", "foo.");
    tree.file("z1", "foo.");
    std::string rows = search_rows(tree, tree.path(), "foo");
    size_t f1 = rows.find("file f1"), z1 = rows.find("file z1"), f2 = rows.find("file a/f2"),
           f3 = rows.find("file a/b/f3");
    EXPECT_LT(f1, f2);
    EXPECT_LT(z1, f2);
    EXPECT_LT(f2, f3);
    EXPECT_NE(f3, std::string::npos);
}

TEST(Worker, NamesOutsideAscii) {
    TestTree tree;
    SearchScope scope;
    tree.file("ö/你/\xF0\x9F\x98\x80.txt", "größe\n-------");
    EXPECT_EQ(search_rows(tree, tree.path(), "größ"),
              "files 1\nfile ö/你/\xF0\x9F\x98\x80.txt\nhit 1 1 0 größe\n");
    EXPECT_EQ(search_rows(tree, tree.path("ö") + "/", "x"), "files 0\nmatch 你\n");
}

TEST(Worker, ASearchLeavesTheFieldsAlone) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(to_string(strbuf_text(&search_state.path)), tree.path());
    EXPECT_EQ(to_string(strbuf_text(&search_state.query)), "foo");
}

TEST(Worker, ASecondSearchStartsFromNothing) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo bar.....");
    tree.folder("d");
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile f\nhit 1 1 0 foo bar..\n");
    EXPECT_EQ(search_rows(tree, tree.path("d") + "x", "foo"), "files 0\nother d\n");
    EXPECT_EQ(search_rows(tree, tree.path(), "bar"), "files 1\nfile f\nhit 1 5 4 foo bar..\n");
}

// ---- The busy flag and the dirty flag ----

TEST(Worker, IsBusyDuringAContentSearchOnly) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", marker_bytes());
    tree.file("d/f", marker_bytes());
    tree.file("d/e/f", marker_bytes());
    std::string busy_while_reading;
    {
        HeapHookScope hook([&](uint64_t size) {
            if (size == marker_block) {
                busy_while_reading += search_state.search_busy ? "busy " : "idle ";
            }
            return true;
        });
        search_rows(tree, tree.path(), "foo");
    }
    EXPECT_EQ(busy_while_reading, "busy busy busy ");
    EXPECT_EQ(search_state.search_busy, 0);
}

TEST(Worker, ASearchWithoutHitsLeavesTheDirtyFlagAlone) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "bar.....");
    set_field(&search_state.path, tree.path());
    set_field(&search_state.query, "foo");
    publish_request();
    search_state.results_dirty = 0; // the interface has already redrawn
    search_worker_turn();
    EXPECT_EQ(search_state.results_dirty, 0);
}

TEST(Worker, IsNotBusyWhileItListsSuggestions) {
    TestTree tree;
    SearchScope scope;
    for (int i = 0; i < 200; i++) {
        tree.folder("d" + std::to_string(i));
    }
    int busy_while_listing = -1;
    HeapHookScope hook([&](uint64_t size) {
        if (size == 256 * sizeof(Str)) { // the list grows for the 129th name
            busy_while_listing = search_state.search_busy;
        }
        return true;
    });
    search_rows(tree, tree.path() + "/", "foo");
    EXPECT_EQ(busy_while_listing, 0);
}

// ---- Cancelling ----

namespace {

// Publishes a request while the given marker file, counted from 1, is read.
struct RequestDuringRead {
    int read_files = 0;
    HeapHookScope hook;

    explicit RequestDuringRead(int file)
        : hook([this, file](uint64_t size) {
              if (size == marker_block && ++read_files == file) {
                  publish_request();
              }
              return true;
          }) {}
};

} // namespace

TEST(Worker, ARequestDuringTheFirstPassStopsBeforeTheNextEntry) {
    TestTree tree;
    SearchScope scope;
    for (int i = 0; i < 10; i++) {
        tree.file("f" + std::to_string(i), marker_bytes());
    }
    tree.file("d/below", "foo.....");
    RequestDuringRead request(4);
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(request.read_files, 4);
    EXPECT_EQ(results_store.file_table.count, 4u); // the file being read is finished
    EXPECT_EQ(results_store.hit_table.count, 2u);  // emptied halfway, then that file's rows
    EXPECT_EQ(search_state.request_pending, 1);    // left for the next turn
    EXPECT_EQ(search_state.search_busy, 0);
}

TEST(Worker, ARequestDuringTheSecondPassStopsBeforeTheNextSubfolder) {
    TestTree tree;
    SearchScope scope;
    tree.file("top", "foo.....");
    for (int i = 0; i < 10; i++) {
        std::string folder = "d" + std::to_string(i);
        tree.file(folder + "/marker", marker_bytes());
        tree.file(folder + "/below/marker", marker_bytes());
    }
    RequestDuringRead request(5); // in the third sub-folder
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(request.read_files, 5);
    EXPECT_EQ(results_store.file_table.count, 6u);
    EXPECT_EQ(search_state.search_busy, 0);
}

TEST(Worker, ARequestDuringTheTopFoldersOnlyFileLetsNoSubfolderBeSearched) {
    TestTree tree;
    SearchScope scope;
    tree.file("marker", marker_bytes());
    tree.file("d/marker", marker_bytes());
    RequestDuringRead request(1);
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(request.read_files, 1);
}

TEST(Worker, ARequestDuringAFoldersLastFileStartsNoFurtherListing) {
    for (const char *file : {"marker", "d/marker"}) {
        TestTree tree;
        SearchScope scope;
        tree.file(file, marker_bytes());
        RequestDuringRead request(1);
        count_listings();
        search_rows(tree, tree.path(), "foo");
        EXPECT_EQ(listings, file[0] == 'd' ? 3u : 1u); // the top for files and for sub-folders, d for files
    }
}

TEST(Worker, ASkippedFolderIsNotListed) {
    TestTree tree;
    SearchScope scope;
    tree.file("enter/skip/a", "foo.....");
    tree.file("skip/b", "foo.....");
    search_state.skip_folders = str_from("skip");
    count_listings();
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 0\n");
    EXPECT_EQ(listings, 4u); // the top and "enter", each for files and for sub-folders
}

TEST(Worker, ASubfolderIsNotEnteredWhileARequestIsPending) {
    TestTree tree;
    SearchScope scope;
    tree.file("d/f", "foo.....");
    set_field(&search_state.query, "foo");
    std::string folder = tree.path();
    search_state.request_pending = 1;
    EXPECT_FALSE(on_subfolder(nullptr, str_over(folder), listed(str_from("d"), 0, true)));
    EXPECT_FALSE(on_subfolder(nullptr, str_over(folder), listed(str_from("f"), 5, false))); // for a file too
    search_state.request_pending = 0;
    EXPECT_TRUE(on_subfolder(nullptr, str_over(folder), listed(str_from("f"), 5, false))); // a file
    EXPECT_EQ(stored_rows(), "files 0\n");
    EXPECT_TRUE(on_subfolder(nullptr, str_over(folder), listed(str_from("d"), 0, true)));
    EXPECT_EQ(stored_rows(tree.path()), "files 1\nfile d/f\nhit 1 1 0 foo..\n");
}

TEST(Worker, ARequestDuringAFilesScanLetsTheScanFinish) {
    TestTree tree;
    SearchScope scope;
    std::string many_lines;
    for (int i = 0; i < 1000; i++) {
        many_lines += "foo\n";
    }
    tree.file("f", many_lines + std::string(marker_length - many_lines.size(), '.'));
    RequestDuringRead request(1);
    search_rows(tree, tree.path(), "foo");
    EXPECT_EQ(results_store.hit_table.count, 1001u);
}

TEST(Worker, SuggestionsStopForARequestToo) {
    TestTree tree;
    SearchScope scope;
    for (int i = 0; i < 300; i++) { // past the lists' first 128
        tree.folder("d" + std::to_string(i));
    }
    HeapHookScope hook([](uint64_t size) {
        if (size == 256 * sizeof(Str)) { // the 129th name
            publish_request();
        }
        return true;
    });
    search_rows(tree, tree.path() + "/", "");
    EXPECT_EQ(results_store.matching_folders.count, 129u);
}

// ---- Trees that are hard to walk ----

TEST(Worker, AFolderThatIsGoneWhenItIsEnteredIsEmpty) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/marker", marker_bytes());
    tree.file("b/marker", marker_bytes());
    tree.file("c", "foo....."); // so that there is something to find
    TestTree elsewhere;
    bool removed = false;
    HeapHookScope hook([&](uint64_t size) {
        if (size == marker_block && !removed) {
            removed = true;
            // One of them is being read; both are gone when the walk continues.
            for (const char *name : {"a", "b"}) {
                fs::create_directory(elsewhere.native(name));
                std::error_code in_use; // some systems cannot move an open file
                fs::rename(tree.native(name) / "marker", elsewhere.native(name) / "marker", in_use);
                fs::remove(tree.native(name), in_use);
            }
        }
        return true;
    });
    search_rows(tree, tree.path(), "foo");
    EXPECT_TRUE(removed);
    EXPECT_EQ(results_store.file_table.count, 2u); // c and the one already open
}

TEST(Worker, AFolderNested1000Deep) {
    TestTree tree;
    SearchScope scope;
    // Built from the inside out and removed from the outside in, so that no path gets too long.
#ifdef _WIN32
    constexpr uint64_t levels = 200; // more than a path can have; each makes renaming slower
#else
    constexpr uint64_t levels = 1000;
#endif
    const fs::path whole = tree.native("d"), part = tree.native("part");
    for (uint64_t level = 0; level < levels; level++) {
        fs::create_directory(part);
        std::ofstream(part / "f", std::ios::binary) << "foo.....";
        if (level > 0) {
            fs::rename(whole, part / "d");
        }
        fs::rename(part, whole);
    }
    search_rows(tree, tree.path(), "foo");
    uint64_t found = results_store.file_table.count;
    EXPECT_EQ(results_store.hit_table.count, 2 * found);
#ifdef _WIN32
    // The system's path limit may end the walk; every file within the limit is found.
    EXPECT_GE(found, (260 - tree.path().size()) / 2 - 2);
    EXPECT_LE(found, levels);
#else
    EXPECT_EQ(found, levels);
#endif
    for (uint64_t level = 1; level < levels; level++) {
        fs::rename(whole / "d", part);
        fs::remove_all(whole);
        fs::rename(part, whole);
    }
}

TEST(Worker, FilesThatAreGoneWhenTheirTurnComesLeaveNoTrace) {
    TestTree tree;
    SearchScope scope;
    for (const char *name : {"a", "b", "c", "d/e"}) {
        tree.file(name, marker_bytes());
    }
    bool removed = false;
    HeapHookScope hook([&](uint64_t size) {
        if (size == marker_block && !removed) {
            removed = true; // the first is being read and may stay, as it is open
            for (const char *name : {"a", "b", "c", "d/e"}) {
                std::error_code in_use;
                fs::remove(tree.native(name), in_use);
            }
        }
        return true;
    });
    search_rows(tree, tree.path(), "foo");
    EXPECT_TRUE(removed);
    EXPECT_EQ(results_store.file_table.count, 1u);
    EXPECT_EQ(results_store.hit_table.count, 2u);
}

TEST(Worker, ATreeThatAnotherThreadDeletesAndRecreatesIsSearchedToItsEnd) {
    static std::atomic<bool> is_over;
    static const TestTree *shared;
    is_over = false;
    TestTree tree;
    shared = &tree;
    SearchScope scope;
    tree.file("stays", "foo.....");
    std::thread changes([] {
        for (int i = 0; !is_over; i++) {
            std::string folder = "d" + std::to_string(i % 7);
            std::error_code in_use;
            if (fs::exists(shared->native(folder), in_use)) {
                fs::remove_all(shared->native(folder), in_use);
            } else {
                fs::create_directories(shared->native(folder) / "e", in_use);
                std::ofstream(shared->native(folder) / "f", std::ios::binary) << "foo.....";
                std::ofstream(shared->native(folder) / "e" / "g", std::ios::binary) << "foo.....";
            }
        }
    });
    for (int i = 0; i < 300; i++) {
        std::string rows = search_rows(tree, tree.path(), "foo");
        EXPECT_NE(rows.find("file stays\nhit 1 1 0 foo..\n"), std::string::npos) << rows;
    }
    is_over = true;
    changes.join();
}

#ifdef __linux__ // elsewhere such a long path cannot be created
TEST(Worker, NamesOf255BytesInPathsOfAThousand) {
    TestTree tree;
    SearchScope scope;
    tree.file("top", "foo.....");
    constexpr size_t longest_name = 255, levels = 4;
    // Built from the inside out, so that no path gets too long.
    const fs::path part = tree.native("part");
    std::string path = std::string(longest_name, 'f');
    for (size_t level = 0; level < levels; level++) {
        std::string name = std::string(longest_name, static_cast<char>('a' + level));
        fs::create_directory(part);
        if (level == 0) {
            std::ofstream(part / "short", std::ios::binary) << "foo.....";
            std::ofstream(part / path, std::ios::binary) << "foo.....";
        } else {
            std::string inner = std::string(longest_name, static_cast<char>('a' + level - 1));
            fs::rename(tree.native("w"), part / inner);
        }
        fs::rename(part, tree.native("w"));
        path = level == 0 ? path : std::string(longest_name, static_cast<char>('a' + level - 1)) + "/" + path;
    }
    std::string rows = search_rows(tree, tree.path(), "foo");
    EXPECT_NE(rows.find("file top\nhit 1 1 0 foo..\n"), std::string::npos);
    EXPECT_EQ(results_store.file_table.count, 3u);
    EXPECT_NE(rows.find("file w/" + path + "\nhit 1 1 0 foo..\n"), std::string::npos) << rows;
    for (size_t level = levels - 1; level > 0; level--) { // removed from the outside in
        fs::rename(tree.native("w") / std::string(longest_name, static_cast<char>('a' + level - 1)), part);
        fs::remove_all(tree.native("w"));
        fs::rename(part, tree.native("w"));
    }
}
#endif

// Texts that the arena overwrites are intentionally lost; files are not.
TEST(Worker, EveryFolderIsWalkedThoughTheArenaWritesOverItsPath) {
    TestTree tree;
    SearchScope scope(600); // a few paths
    constexpr uint64_t folders = 30, files = 2;
    for (uint64_t folder = 0; folder < folders; folder++) {
        for (uint64_t file = 0; file < files; file++) {
            tree.file("a/b/" + std::to_string(folder) + "/c/" + std::to_string(file), "foo.....");
        }
    }
    for (int search = 1; search <= 3; search++) { // each with more blocks than the last
        search_rows(tree, tree.path(), "foo");
        EXPECT_EQ(results_store.file_table.count, folders * files) << search;
        EXPECT_EQ(results_store.hit_table.count, 2 * folders * files) << search; // a header and a line each
    }
}

TEST(Worker, WithoutMemoryForItsPathASubfolderIsNotWalked) {
    TestTree tree;
    SearchScope scope;
    tree.file("d/f", "foo.....");
    set_field(&search_state.query, "foo");
    search_state.request_pending = 0;
    std::string folder = tree.path();
    results_store.arena.used = results_store.arena.capacity;
    HeapHookScope hook([](uint64_t size) { return size < results_store.arena.default_block_size; });
    EXPECT_TRUE(on_subfolder(nullptr, str_over(folder), listed(str_from("d"), 0, true)));
    EXPECT_EQ(stored_rows(), "files 0\n"); // the empty path would have walked the root
}

TEST(Worker, ASubfolderWhosePathIsTooLongIsSkipped) {
    SearchScope scope;
    search_state.request_pending = 0;
    std::string folder(4090, 'a');
    for (const char *name : {"1234", "12345", "123456"}) { // the first fits, but does not exist
        EXPECT_TRUE(on_subfolder(nullptr, str_over(folder), listed(str_from(name), 0, true)));
        EXPECT_EQ(stored_rows(), "files 0\n");
    }
}

#ifdef __linux__
TEST(Worker, TwoSlashesAndANameSuggestTheRootsFolders) {
    TestTree tree;
    SearchScope scope;
    std::string rows = search_rows(tree, "//abc_that_does_not_exist", "foo");
    EXPECT_NE(rows.find("other tmp\n"), std::string::npos) << rows;
}

TEST(Worker, UnreadableFoldersAreSkipped) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/f", "foo.....");
    tree.file("b/f", "foo.....");
    Unreadable unreadable(tree.native("a"));
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile b/f\nhit 1 1 0 foo..\n");
}

TEST(Worker, LinkedFoldersAreEnteredButNoneThatHoldsItself) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/f", "foo.....");
    fs::create_symlink("../a", tree.native("a/to_itself"));
    fs::create_symlink("..", tree.native("a/up"));
    fs::create_symlink("/", tree.native("a/root"));
    fs::create_symlink("a", tree.native("to_a"));
    fs::create_symlink("a/f", tree.native("to_file"));
    fs::create_symlink("loop", tree.native("loop"));
    EXPECT_EQ(sorted_search_rows(tree, tree.path(), "foo"), "files 3\n"
                                                            "file a/f\nhit 1 1 0 foo..\n"
                                                            "file to_a/f\nhit 1 1 0 foo..\n"
                                                            "file to_file\nhit 1 1 0 foo..\n");
    EXPECT_EQ(sort_file_groups(search_rows(tree, tree.path("a/"), "foo")), // all are suggested
              "files 0\nmatch root\nmatch to_itself\nmatch up\n");
}

TEST(Worker, TwoLinksThatLeadIntoEachOtherEnd) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/f", "foo.....");
    tree.file("b/f", "foo.....");
    fs::create_symlink("../b", tree.native("a/to_b"));
    fs::create_symlink("../a", tree.native("b/to_a"));
    EXPECT_EQ(sorted_search_rows(tree, tree.path(), "foo"), "files 4\n"
                                                            "file a/f\nhit 1 1 0 foo..\n"
                                                            "file a/to_b/f\nhit 1 1 0 foo..\n"
                                                            "file b/f\nhit 1 1 0 foo..\n"
                                                            "file b/to_a/f\nhit 1 1 0 foo..\n");
}

TEST(Worker, NamesThatDifferInCaseAreDifferent) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/f", "foo.....");
    tree.file("A/f", "foo.....");
    tree.file("A/F", "foo.....");
    EXPECT_EQ(sorted_search_rows(tree, tree.path("A"), "foo"),
              "files 2\nfile A/F\nhit 1 1 0 foo..\nfile A/f\nhit 1 1 0 foo..\n");
}

TEST(Worker, TheSearchedFolderMayBeALink) {
    TestTree tree;
    SearchScope scope;
    tree.file("a/b/f", "foo.....");
    fs::create_symlink("a", tree.native("link"));
    EXPECT_EQ(search_rows(tree, tree.path("link"), "foo"), "files 1\nfile link/b/f\nhit 1 1 0 foo..\n");
}

TEST(Worker, PipesAndDevicesAreLeftOut) {
    TestTree tree;
    SearchScope scope;
    ASSERT_EQ(mkfifo(tree.native("pipe").c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", tree.native("zero"));
    fs::create_symlink("/dev/tty", tree.native("tty"));
    tree.file("file", "foo.....");
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile file\nhit 1 1 0 foo..\n");
}

TEST(Worker, NamesThatAreNotUtf8AreSearchedLikeOthers) {
    TestTree tree;
    SearchScope scope;
    tree.file("\xFF/\xFE", "foo.....");
    tree.file("z", "foo.....");
    EXPECT_EQ(sorted_search_rows(tree, tree.path(), "foo"),
              "files 2\nfile z\nhit 1 1 0 foo..\nfile \xFF/\xFE\nhit 1 1 0 foo..\n");
}
#endif
