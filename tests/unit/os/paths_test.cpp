#include "os/paths.h"

#include <gtest/gtest.h>

#include <string.h>

#include <string>

#include "support/each_step.h"
#include "support/test_tree.h"

TEST(Strings, ANameStartsAfterTheLastSlash) {
    const struct {
        const char *path;
        uint64_t start;
    } rows[] = {
        {"C:/code/proj", 8}, {"/x", 1}, {"a/b", 2}, {"C:/code/", 8}, {"/", 1},      {"//", 2},
        {"//server", 2},     {"x", 0},  {"", 0},    {"C:\\x", 0},    {"a/b\\c", 2}, {"a//b", 3},
    };
    for (const auto &named : rows) {
        EXPECT_EQ(str_name_start(str_from(named.path)), named.start) << named.path;
    }
    EXPECT_EQ(str_name_start({}), 0u);
    EXPECT_EQ(str_name_start({4, str_from("ab/cd/ef").data}), 3u); // what follows the text is not read
    std::string with_zero("a/\0b", 4);
    EXPECT_EQ(str_name_start(str_over(with_zero)), 2u);
}

TEST(Strings, AFolderEndsAfterTheLastSlash) {
    const auto cut = [](std::string path) { return to_string(str_cut_to_folder(str_over(path))); };
    EXPECT_EQ(cut("C:\\Tools\\x.exe"), "C:/Tools/");
    EXPECT_EQ(cut("/usr/bin/x"), "/usr/bin/");
    EXPECT_EQ(cut("/x"), "/");
    EXPECT_EQ(cut("C:\\Tools\\"), "C:/Tools/");
    EXPECT_EQ(cut("x.exe"), "x.exe");
    EXPECT_EQ(cut(""), "");
}

// ---- Paths as they are typed ----

namespace {

std::string cleaned(std::string text, bool keep_trailing_slashes = true) {
    return to_string(path_clean(str_over(text), keep_trailing_slashes));
}

// A text with that content; the caller frees its data.
StrBuf text_with(const char *content) {
    StrBuf buf;
    strbuf_init(&buf, 1024);
    strbuf_append(&buf, strlen(content), content);
    return buf;
}

} // namespace

TEST(PathCleaning, TurnsLineEndsTabsAndQuotesIntoSpacesAndBackslashesIntoSlashes) {
    EXPECT_EQ(cleaned("C:\\src\\a"), "C:/src/a");
    EXPECT_EQ(cleaned("a\nb\rc\td\"e"), "a b c d e");
    EXPECT_EQ(cleaned(" \t\"D:/x\"\r\n "), "D:/x");
    EXPECT_EQ(cleaned("  a  b  "), "a  b");
    EXPECT_EQ(cleaned("größe \xFF"), "größe \xFF");
    EXPECT_EQ(cleaned(std::string("\0 a \0", 5)), std::string("\0 a \0", 5)); // a zero byte is not a space
    EXPECT_EQ(cleaned("\v\f"), "\v\f");
}

TEST(PathCleaning, KeepsTrailingSlashesWhenAsked) {
    EXPECT_EQ(cleaned("D:\\a\\b\\"), "D:/a/b/");
    EXPECT_EQ(cleaned("a// "), "a//");
    EXPECT_EQ(cleaned("a/ / "), "a/ /");
    EXPECT_EQ(cleaned("/"), "/");
}

TEST(PathCleaning, OtherwiseRemovesSpacesAndSlashesAtTheEnd) {
    EXPECT_EQ(cleaned("D:\\a\\b\\", false), "D:/a/b");
    EXPECT_EQ(cleaned("C:/a/ /", false), "C:/a");
    EXPECT_EQ(cleaned("C:/a / \\ \"/\t", false), "C:/a");
    EXPECT_EQ(cleaned("//a//", false), "//a"); // only at the end
    EXPECT_EQ(cleaned("/ /", false), "");
    EXPECT_EQ(cleaned("C:/", false), "C:");
}

TEST(PathCleaning, MayLeaveNothing) {
    for (const char *text : {"", " ", "\"\"", "\r\n\t \""}) {
        EXPECT_EQ(cleaned(text), "");
        EXPECT_EQ(cleaned(text, false), "");
    }
    EXPECT_EQ(path_clean({}, true).count, 0u);
}

TEST(PathCleaning, OfATextMovesItToTheStorageStartWithAZeroAfterIt) {
    StrBuf path = text_with("  \"D:\\x\" ");
    strbuf_clean_path(&path, true);
    EXPECT_EQ(to_string(strbuf_text(&path)), "D:/x");
    EXPECT_EQ(path.data[4], 0);
    EXPECT_EQ(path.capacity, 1024u);
    os_free(path.data);
    path = text_with(" /");
    strbuf_clean_path(&path, false);
    EXPECT_EQ(path.count, 0u);
    EXPECT_EQ(path.data[0], 0);
    os_free(path.data);
    StrBuf without_storage = {};
    strbuf_clean_path(&without_storage, true);
    EXPECT_EQ(without_storage.count, 0u);
}

#ifndef _WIN32
TEST(PathCleaning, OfATextHasAZeroAfterTheCountAtEveryMoment) {
    static StrBuf path;
    path = text_with("   C:/src ");
    EXPECT_EQ(states_while([] { strbuf_clean_path(&path, true); }, 2,
                           [] {
                               uint64_t count = path.count;
                               return each_step::State{{static_cast<int64_t>(count), path.data[count]}};
                           }),
              "10 0\n"
              "6 0\n");
    os_free(path.data);
}
#endif
