#include "search/search_file.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "search/results_store.h"
#include "search/search_state.h"
#include "search/suggestions.h"
#include "support/heap_hook.h"
#include "support/system_files.h"
#include "support/test_tree.h"

// ---- Sizes ----

TEST(SearchFile, AFileOfExactlyTheLargestSizeIsScanned) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo......."); // 10 bytes
    search_state.max_file_size = 10;
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile f\nhit 1 1 0 foo....\n");
    search_state.max_file_size = 9;
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 0\n");
    search_state.max_file_size = 0; // no limit
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile f\nhit 1 1 0 foo....\n");
}

TEST(SearchFile, From4GiBOnTheSizeIsTruncatedToItsLow32Bits) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.......foo.......");
    std::filesystem::resize_file(tree.native("f"), (uint64_t{1} << 32) + 10); // sparse
    search_state.max_file_size = 1000; // the size compared is not truncated
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 0\n");
    search_state.max_file_size = 0;
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile f\nhit 1 1 0 foo....\n");
}

TEST(SearchFile, SizesAreComparedAsSignedNumbers) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    search_state.request_pending = 0;
    search_state.max_file_size = 10;
    std::string folder = tree.path();
    // A negative size is below the limit; a missing file is not stored, and the walk continues.
    EXPECT_TRUE(on_file(nullptr, str_from("/nowhere"), listed(str_from("f"), UINT64_MAX, 0)));
    EXPECT_EQ(results_store.file_table.count, 0u);
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), UINT64_MAX, 0)));
    EXPECT_EQ(results_store.file_table.count, 1u);
    search_state.max_file_size = -1; // a limit below every size, not no limit
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(results_store.file_table.count, 1u);
}

// ---- Files ----

TEST(SearchFile, UnreadableFilesLeaveNoTrace) {
    TestTree tree;
    SearchScope scope;
    tree.file("a", "foo.....");
    tree.file("b", "foo.....");
    Unreadable unreadable(tree.native("a"));
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile b\nhit 1 1 0 foo..\n");
}

TEST(SearchFile, FilesThatOthersWriteAreSearched) {
    TestTree tree;
    SearchScope scope;
    tree.file("a", "foo.....");
    HeldForWriting held(tree.native("a"));
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\nfile a\nhit 1 1 0 foo..\n");
}

TEST(SearchFile, EveryFileReadHasARowAndEveryFirstHitAHeader) {
    TestTree tree;
    SearchScope scope;
    tree.file("a", "-\n -foo\nfoo\n....");
    tree.file("b", "nothing");
    tree.file("c", "-\n -foo\n....");
    tree.file("d", "");
    EXPECT_EQ(sorted_search_rows(tree, tree.path(), "foo"),
              "files 4\nfile a\nhit 2 3 4 -foo\nhit 3 1 8 foo\nfile c\nhit 2 3 4 -foo\n");
    const ResultRecord *rows = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
    ResultRecord header = {};
    header.kind = RESULT_FILE_HEADER;
    header.file_index = rows[0].file_index;
    EXPECT_EQ(memcmp(&rows[0], &header, sizeof(header)), 0); // everything else is zero
}

TEST(SearchFile, BackslashesInAFilesFolderAreStoredAsSlashes) {
    SearchScope scope;
    TestTree tree;
    tree.file("f", "foo.....");
    search_state.request_pending = 0;
    strbuf_append(&search_state.query, 3, "foo");
#ifdef _WIN32
    std::string folder = tree.path();
    std::replace(folder.begin(), folder.end(), '/', '\\');
    folder += "\\"; // and it stays
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(stored_rows(), "files 1\nfile " + tree.path() + "//f\nhit 1 1 0 foo..\n");
#else
    tree.file("a\\b/f", "foo.....");
    std::string folder = tree.path("a\\b");
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(stored_rows(), "files 1\nfile " + tree.path("a/b") + "/f\nhit 1 1 0 foo..\n");
#endif
}

TEST(SearchFile, APendingRequestStopsTheListingBeforeAnything) {
    SearchScope scope;
    TestTree tree;
    tree.file("f", "foo.....");
    strbuf_append(&search_state.query, 3, "foo");
    std::string folder = tree.path();
    Str prefix = {};
    for (int pending : {1, 2, 255}) { // anything but zero
        search_state.request_pending = static_cast<uint8_t>(pending);
        for (bool is_folder : {false, true}) { // whatever the entry is
            EXPECT_FALSE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, is_folder)));
            EXPECT_FALSE(
                on_folder_suggestion(&prefix, str_over(folder), listed(str_from("d"), 0, is_folder)));
        }
    }
    EXPECT_EQ(stored_rows(), "files 0\n");
    search_state.request_pending = 0;
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, true))); // a folder
    EXPECT_EQ(stored_rows(), "files 0\n");
}

TEST(SearchFile, ResultsAreMarkedDirtyByHitsOnly) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "foo.....");
    search_state.request_pending = 0;
    std::string folder = tree.path();
    strbuf_append(&search_state.query, 3, "bar");
    on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false));
    EXPECT_EQ(search_state.results_dirty, 0);
    set_field(&search_state.query, "foo");
    on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false));
    EXPECT_EQ(search_state.results_dirty, 1);
}

// ---- Out of memory ----

TEST(SearchFile, WithoutStringsTheRowsAreStillAppended) {
    TestTree tree;
    SearchScope scope;
    std::string folder = tree.path();
    tree.file("f", "foo.....");
    search_state.request_pending = 0;
    strbuf_append(&search_state.query, 3, "foo");
    // Room for the path, so that the file can be read, but for nothing else.
    uint64_t path_need = folder.size() + 1 + 1 + 1 + 8;
    results_store.arena.used = results_store.arena.capacity - path_need;
    HeapHookScope hook([](uint64_t size) { return size < results_store.arena.default_block_size; });
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(stored_rows(), "files 1\nfile /\nhit 1 1 0 \n");
    // The next file's path is empty too, so it cannot be read.
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(results_store.file_table.count, 1u);
}

TEST(SearchFile, WithoutMemoryForAFileRowThatFilesHitsAreSkipped) {
    TestTree tree;
    SearchScope scope;
    std::string folder = tree.path();
    tree.file("f", "foo.....");
    search_state.request_pending = 0;
    strbuf_append(&search_state.query, 3, "foo");
    results_store.file_table.count = results_store.file_table.capacity;
    HeapHookScope hook([](uint64_t size) { return size != 20000 * sizeof(FileEntry); });
    EXPECT_TRUE(on_file(nullptr, str_over(folder), listed(str_from("f"), 8, false)));
    EXPECT_EQ(stored_rows(), "files 0\n");
    EXPECT_EQ(results_store.file_table.data, nullptr);
}
