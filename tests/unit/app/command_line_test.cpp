#include "app/command_line.h"

#include <gtest/gtest.h>

#include <string>

#include "app/app_scope.h"
#include "support/heap_hook.h"

namespace {

// "path=... query=...", with only what the line gives.
std::string parsed(const std::string &line) {
    std::string copy = line;
    CommandLine given = command_line_parse(str_over(copy));
    EXPECT_EQ(copy, line); // not changed
    std::string result;
    if (given.has_path) {
        result += "path=" + to_string(given.path);
    }
    if (given.has_query) {
        result += (result.empty() ? "query=" : " query=") + to_string(given.query);
    }
    return result;
}

// The fields' texts, "old path" and "old query" before, after applying the line.
std::string applied(const std::string &line) {
    set_field(&search_state.path, "old path");
    set_field(&search_state.query, "old query");
    command_line_apply(str_over(line));
    return text_of(search_state.path) + "|" + text_of(search_state.query);
}

} // namespace

TEST(CommandLine, GivesAQuotedPathAndAQueryAfterADash) {
    AppScope app;
    EXPECT_EQ(applied("tarnwick.exe \"D:\\code\" -needle text"), "D:/code|needle text");
    EXPECT_EQ(parsed("\"C:\\Program Files\\tarnwick.exe\" \"D:\\code\" -needle text"),
              "path=D:\\code query=needle text");
    EXPECT_EQ(parsed("tarnwick.exe \"D:/code\""), "path=D:/code");
    EXPECT_EQ(parsed("tarnwick.exe -needle"), "query=needle");
    EXPECT_EQ(parsed("tarnwick.exe"), "");
    EXPECT_EQ(parsed("\"tarnwick.exe\""), "");
    EXPECT_EQ(parsed(""), "");
}

TEST(CommandLine, KeepsTheTextsThatItDoesNotGive) {
    AppScope app;
    EXPECT_EQ(applied("tarnwick.exe"), "old path|old query");
    EXPECT_EQ(applied("tarnwick.exe \"D:/\""), "D:/|old query");
    EXPECT_EQ(applied("tarnwick.exe -x"), "old path|x");
}

TEST(CommandLine, AnUnquotedPathIsIgnoredAndEndsParsing) {
    EXPECT_EQ(parsed("tarnwick.exe D:\\code"), "");
    EXPECT_EQ(parsed("tarnwick.exe D:\\code -needle"), "");
    EXPECT_EQ(parsed("tarnwick.exe \"D:\\code\" x -needle"), "path=D:\\code");
}

TEST(CommandLine, SpacesAndTabsSeparateItsParts) {
    EXPECT_EQ(parsed(" \t x.exe \t \"D:/a\" \t -n"), "path=D:/a query=n");
    EXPECT_EQ(parsed("\t\"x y.exe\"\t\"D:/a\"\t-n"), "path=D:/a query=n");
    EXPECT_EQ(parsed(" \t "), "");
    EXPECT_EQ(parsed("x.exe \n-n"), ""); // a line feed does not separate
}

TEST(CommandLine, AnUnquotedNameEndsAtASpaceOnly) {
    EXPECT_EQ(parsed("x.exe\t-n"), "");
    EXPECT_EQ(parsed("x.exe\t-n -m"), "query=m");
    EXPECT_EQ(parsed("x.exe\"D:/a\" -m"), "query=m");
}

TEST(CommandLine, ItsPartsNeedNoSpaceBetweenThem) {
    EXPECT_EQ(parsed("\"x.exe\"\"D:/a\"-n"), "path=D:/a query=n");
    EXPECT_EQ(parsed("\"x.exe\"-n"), "query=n");
}

TEST(CommandLine, AMissingClosingQuoteReachesToTheEnd) {
    EXPECT_EQ(parsed("x.exe \"D:/a -n"), "path=D:/a -n");
    EXPECT_EQ(parsed("x.exe \""), "path=");
    EXPECT_EQ(parsed("\"x.exe -n"), "");
    EXPECT_EQ(parsed("\""), "");
}

TEST(CommandLine, EmptyQuotesAndALoneDashEmptyTheFields) {
    AppScope app;
    EXPECT_EQ(applied("x.exe \"\" -"), "|");
    EXPECT_EQ(applied("x.exe \"\""), "|old query");
    EXPECT_EQ(applied("x.exe -"), "old path|");
    EXPECT_EQ(applied("x.exe \" \t \""), "|old query"); // cleaning leaves nothing
}

TEST(CommandLine, TheQueryIsEverythingAfterTheDashQuotesAndSpacesIncluded) {
    EXPECT_EQ(parsed("x.exe - a \"b\" -c\t"), "query= a \"b\" -c\t");
    EXPECT_EQ(parsed("x.exe --n"), "query=-n");
    EXPECT_EQ(parsed(std::string("x.exe -a\0b", 10)), std::string("query=a\0b", 9));
}

TEST(CommandLine, ThePathIsCleanedWithItsTrailingSlashesKept) {
    AppScope app;
    EXPECT_EQ(applied("x.exe \" D:\\a\tb\\\\ \""), "D:/a b//|old query");
    EXPECT_EQ(applied("x.exe \"D:\\größe\""), "D:/größe|old query");
}

TEST(CommandLine, AFieldGrowsForALongText) {
    AppScope app;
    std::string path(5000, 'p');
    std::string query(3000, 'q');
    EXPECT_EQ(applied("x.exe \"" + path + "\" -" + query), path + "|" + query);
    EXPECT_EQ(search_state.path.capacity, 8192u);
}

TEST(CommandLine, AFieldKeepsItsTextWhenOutOfMemory) {
    AppScope app;
    std::string line = "x.exe \"" + std::string(5000, 'p') + "\" -n";
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_EQ(applied(line), "old path|n");
}
