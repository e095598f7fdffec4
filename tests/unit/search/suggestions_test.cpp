#include "search/suggestions.h"

#include <gtest/gtest.h>

#include "search/results_store.h"
#include "search/search_state.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

TEST(Suggestions, AreSortedByWhetherTheyBeginWithThePrefix) {
    SearchScope scope;
    search_state.request_pending = 0;
    Str prefix = str_from("pro");
    for (const char *name : {"Projects", "pr", "src", "pro", "xpro"}) {
        search_state.results_dirty = 0;
        EXPECT_TRUE(on_folder_suggestion(&prefix, str_from("C:"), listed(str_from(name), 0, true)));
        EXPECT_EQ(search_state.results_dirty, 1);
    }
    EXPECT_TRUE(
        on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("profile.txt"), 5, false))); // a file
    EXPECT_EQ(stored_rows(), "files 0\nmatch Projects\nmatch pro\nother pr\nother src\nother xpro\n");
}

TEST(Suggestions, AnEmptyPrefixMatchesEveryFolder) {
    SearchScope scope;
    search_state.request_pending = 0;
    Str prefix = {};
    on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("a"), 0, true));
    on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("b"), 0, true));
    EXPECT_EQ(stored_rows(), "files 0\nmatch a\nmatch b\n");
}

TEST(Suggestions, OnlyTheLettersAToZAreFolded) {
    SearchScope scope;
    search_state.request_pending = 0;
    const auto matches = [](const char *typed, const char *name) {
        Str prefix = str_from(typed);
        results_store.matching_folders.count = 0;
        on_folder_suggestion(&prefix, str_from("C:"), listed(str_from(name), 0, true));
        return results_store.matching_folders.count == 1;
    };
    EXPECT_TRUE(matches("AZaz", "azAZ"));
    EXPECT_FALSE(matches("@", "`")); // the neighbours of A and a
    EXPECT_FALSE(matches("[", "{")); // the neighbours of Z and z
    EXPECT_FALSE(matches("é", "É")); // only A to Z fold
    EXPECT_FALSE(matches("\xC1", "\xE1"));
    EXPECT_TRUE(matches("é", "éa"));
}

TEST(Suggestions, WithoutMemoryForANameItIsEmpty) {
    SearchScope scope;
    search_state.request_pending = 0;
    results_store.arena.used = results_store.arena.capacity;
    HeapHookScope hook([](uint64_t) { return false; });
    Str prefix = str_from("a");
    EXPECT_TRUE(on_folder_suggestion(&prefix, str_from("C:"), listed(str_from("abc"), 0, true)));
    EXPECT_EQ(stored_rows(), "files 0\nmatch \n");
}
