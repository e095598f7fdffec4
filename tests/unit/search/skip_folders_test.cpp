// Searches that leave out folders with certain names. The tests with readers are in readers_test.cpp.

#include "search/skip_folders.h"

#include <gtest/gtest.h>

#include <string>

#include "search/search_state.h"
#include "support/test_tree.h"

namespace fs = std::filesystem;

namespace {

constexpr char hit[] = "foo.....";

struct SkipScope : SearchScope {
    explicit SkipScope(const char *names) {
        search_state.skip_folders = str_from(names);
    }
};

// The files in which a search of the tree has hits.
std::string found(const TestTree &tree, const char *names) {
    SkipScope scope(names);
    std::string rows = sorted_search_rows(tree, tree.path(), "foo");
    std::string files;
    for (size_t at = 0; (at = rows.find("\nfile ", at)) != std::string::npos; at++) {
        files += (files.empty() ? "" : " ") + rows.substr(at + 6, rows.find('\n', at + 1) - at - 6);
    }
    return files;
}

bool is_skipped(const char *names, const char *name) {
    search_state.skip_folders = str_from(names);
    bool is = is_skipped_folder(str_from(name));
    search_state.skip_folders = {};
    return is;
}

} // namespace

TEST(SkipFolders, AreNotEnteredAtAnyDepth) {
    TestTree tree;
    for (const char *file : {"a", ".git/b", "src/c", "src/build/d", "src/deep/.git/e", "src/deep/f"}) {
        tree.file(file, hit);
    }
    EXPECT_EQ(found(tree, ".git build"), "a src/c src/deep/f");
    EXPECT_EQ(found(tree, "src"), ".git/b a");
    EXPECT_EQ(found(tree, ""), ".git/b a src/build/d src/c src/deep/.git/e src/deep/f");
}

TEST(SkipFolders, ASearchOfOneSearchesIt) {
    TestTree tree;
    tree.file("build/a", hit);
    tree.file("build/deep/b", hit);
    tree.file("build/build/c", hit);
    SkipScope scope("build");
    EXPECT_EQ(sorted_search_rows(tree, tree.path("build"), "foo"),
              "files 2\nfile build/a\nhit 1 1 0 foo..\nfile build/deep/b\nhit 1 1 0 foo..\n");
}

TEST(SkipFolders, AreSuggestedLikeOthers) {
    TestTree tree;
    tree.folder(".git");
    SkipScope scope(".git");
    EXPECT_EQ(search_rows(tree, tree.path() + "/", ""), "files 0\nmatch .git\n");
    EXPECT_EQ(search_rows(tree, tree.path(".g"), ""), "files 0\nmatch .git\n");
    EXPECT_EQ(search_rows(tree, tree.path("b"), ""), "files 0\nother .git\n");
}

TEST(SkipFolders, FilesInThemHaveNoRow) {
    TestTree tree;
    tree.file("build/a", "nothing");
    tree.file("b", "nothing");
    SkipScope scope("build");
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\n");
}

TEST(SkipFolders, FilesOfSuchANameAreSearched) {
    TestTree tree;
    tree.file("build", hit);
    EXPECT_EQ(found(tree, "build"), "build");
}

TEST(SkipFolders, NamesAreWholeNamesWithoutPatterns) {
    for (const char *name : {"a", "abc ", "bc", "ab.", "abcabc"}) {
        EXPECT_FALSE(is_skipped("abc", name)) << name;
    }
    EXPECT_TRUE(is_skipped("*", "*"));
    EXPECT_FALSE(is_skipped("*", "a"));
    EXPECT_FALSE(is_skipped("a?c a* [abc] \"a\"", "abc"));
    EXPECT_FALSE(is_skipped("\"two words\"", "two words"));
    EXPECT_TRUE(is_skipped("größe 你好", "你好"));
}

TEST(SkipFolders, NamesAreSeparatedByWhitespace) {
    for (const char *names : {"a b", "a\tb", "a \t  b", " a b ", "b\ra", "c b d a"}) {
        EXPECT_TRUE(is_skipped(names, "a")) << names;
        EXPECT_TRUE(is_skipped(names, "b")) << names;
        EXPECT_FALSE(is_skipped(names, "")) << names;
        EXPECT_FALSE(is_skipped(names, "ab")) << names;
    }
    for (const char *names : {"", " ", " \t\r "}) {
        EXPECT_FALSE(is_skipped(names, "a"));
        EXPECT_FALSE(is_skipped(names, ""));
    }
}

TEST(SkipFolders, ANameWithASlashMatchesNoFolder) {
    TestTree tree;
    tree.file("a/b/c", hit);
    EXPECT_EQ(found(tree, "a/b /a a/ a\\b a\\ ./a . .."), "a/b/c");
}

#ifdef _WIN32
TEST(SkipFolders, NamesMatchInAnyCase) {
    TestTree tree;
    tree.file("Build/a", hit);
    tree.file("GRÖSSE/b", hit);
    EXPECT_EQ(found(tree, "bUILD größe grösse"), "");
}
#else
TEST(SkipFolders, NamesMatchInTheirCaseOnly) {
    TestTree tree;
    tree.file("Build/a", hit);
    tree.file("build/b", hit);
    EXPECT_EQ(found(tree, "build"), "Build/a");
    EXPECT_EQ(found(tree, "BUILD"), "Build/a build/b");
}

TEST(SkipFolders, ALinkCountsByItsOwnName) {
    TestTree tree;
    tree.file("build/a", hit);
    tree.folder("other");
    fs::create_directory_symlink("../build", tree.native("other/link"));
    fs::create_directory_symlink("other", tree.native("z"));
    EXPECT_EQ(found(tree, "build z"), "other/link/a");
}
#endif
