#include "search/walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/test_tree.h"

namespace {

struct Seen {
    std::vector<std::string> names;
    size_t stop_after = SIZE_MAX;
    Str folder = {};
};

bool note_entry(void *context, Str folder, const FolderEntry &entry) {
    Seen *seen = static_cast<Seen *>(context);
    EXPECT_EQ(folder.data, seen->folder.data); // exactly as passed
    EXPECT_EQ(folder.count, seen->folder.count);
    seen->names.push_back(to_string(entry.name) + (entry.is_folder ? "/" : "") + " " +
                          std::to_string(entry.size));
    return seen->names.size() < seen->stop_after;
}

std::vector<std::string> walk(const std::string &folder, size_t stop_after = SIZE_MAX) {
    Seen seen;
    seen.stop_after = stop_after;
    seen.folder = str_over(folder);
    walk_folder(seen.folder, {note_entry, &seen, LIST_DETAILS});
    std::sort(seen.names.begin(), seen.names.end());
    return seen.names;
}

using Names = std::vector<std::string>;

} // namespace

TEST(Walk, CallsOnceForEachEntryButDots) {
    TestTree tree;
    tree.file("a", "123");
    tree.file("..b", "dots");
    tree.file(".b", "");
    tree.folder("d");
    tree.file("d/below", "x");
    EXPECT_EQ(walk(tree.path()), (Names{"..b 4", ".b 0", "a 3", "d/ 0"}));
    EXPECT_EQ(walk(tree.path() + "/"), (Names{"..b 4", ".b 0", "a 3", "d/ 0"}));
}

TEST(Walk, ACallbackThatReturnsFalseEndsTheListing) {
    TestTree tree;
    for (int i = 0; i < 10; i++) {
        tree.file(std::to_string(i), "");
    }
    EXPECT_EQ(walk(tree.path(), 1).size(), 1u);
    EXPECT_EQ(walk(tree.path(), 4).size(), 4u);
    EXPECT_EQ(walk(tree.path()).size(), 10u);
}

TEST(Walk, WhatCannotBeListedHasNoEntries) {
    TestTree tree;
    tree.file("f", "x");
    tree.folder("empty");
    EXPECT_EQ(walk(tree.path("missing")), Names{});
    EXPECT_EQ(walk(tree.path("f")), Names{});
    EXPECT_EQ(walk(tree.path("empty")), Names{});
}

TEST(Walk, AFolderTextWithAZeroByteHasNoEntries) {
    TestTree tree;
    tree.file("f", "x");
    EXPECT_EQ(walk(tree.path() + std::string("\0", 1)), Names{});
    EXPECT_EQ(walk(tree.path() + std::string("\0/missing", 9)), Names{});
}

TEST(Walk, WithoutACallbackNothingIsListed) {
    TestTree tree;
    tree.file("f", "x");
    std::string folder = tree.path();
    walk_folder(str_over(folder), {nullptr, nullptr, LIST_DETAILS});
}

#ifdef __linux__
TEST(Walk, NamesThatEndInADotAreNotDotEntries) {
    TestTree tree;
    tree.file("a.", "x");
    tree.file("...", "x");
    EXPECT_EQ(walk(tree.path()), (Names{"... 1", "a. 1"}));
}

TEST(Walk, EveryListingIsClosed) {
    TestTree tree;
    tree.file("a", "x");
    tree.file("b", "x");
    const auto open_files = [] {
        std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    auto before = open_files();
    walk(tree.path());
    walk(tree.path(), 1); // stopped
    EXPECT_EQ(open_files(), before);
}
#endif

#ifdef _WIN32
TEST(Walk, ABackslashAtTheEndIsASeparatorToo) {
    TestTree tree;
    tree.file("f", "x");
    EXPECT_EQ(walk(tree.path() + "\\"), Names{"f 1"});
}
#endif
