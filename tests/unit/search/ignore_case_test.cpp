// Searches that ignore case, compared with the plain rules.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "search/plain_matcher.h"
#include "search/results_store.h"
#include "search/scan.h"
#include "search/search_state.h"
#include "support/test_tree.h"

namespace {

struct IgnoreCaseScope : SearchScope {
    IgnoreCaseScope() {
        search_state.ignore_case = true;
    }
};

std::string rows_of(const std::string &bytes, const std::string &query) {
    TestTree tree;
    IgnoreCaseScope scope;
    tree.file("f", bytes);
    return search_rows(tree, tree.path(), query);
}

// The variants for a needle that ignores case; the best one is chosen while the program starts.
std::vector<ScanNextHit *> variants() {
    return {scan_next_hit_ignoring_case_variant, scan_next_hit_ignoring_case_sse2};
}

// Compares both variants with the plain rules. The blocks have exactly the bytes' size, so that
// AddressSanitizer sees every read past them.
void expect_plain_hits(const std::string &text, const std::string &query) {
    std::string plain_text = text;
    const std::vector<PlainHit> plain = plain_hits(plain_text, query, true);
    const std::vector<char> bytes(text.begin(), text.end()), query_bytes(query.begin(), query.end());
    int64_t span = static_cast<int64_t>(text.size()) - static_cast<int64_t>(query.size());
    for (ScanNextHit *variant : variants()) {
        ScanNeedle needle = scan_needle({query.size(), const_cast<char *>(query_bytes.data())}, 1);
        ScanHit hit;
        size_t found = 0;
        for (int64_t from = 0; from < span && variant(bytes.data(), from, span, needle, &hit);
             from = hit.line_end + 1) {
            ASSERT_LT(found, plain.size()) << testing::PrintToString(text) << " " << query;
            EXPECT_EQ(hit.pos, plain[found].byte_offset);
            EXPECT_EQ(hit.pos - hit.line_start + 1, plain[found].column);
            found++;
        }
        EXPECT_EQ(found, plain.size()) << testing::PrintToString(text) << " " << query;
    }
}

} // namespace

TEST(IgnoreCase, LettersMatchInEitherCase) {
    const std::string text = "Foo\nfOO bar\nFOO\nfo0\n------";
    const std::string rows = "files 1\nfile f\nhit 1 1 0 Foo\nhit 2 1 4 fOO bar\nhit 3 1 12 FOO\n";
    for (const char *query : {"foo", "FOO", "fOo"}) {
        EXPECT_EQ(rows_of(text, query), rows) << query;
    }
}

TEST(IgnoreCase, ALineStillYieldsItsLeftmostHitOnly) {
    EXPECT_EQ(rows_of("a FOO foo\n----", "foo"), "files 1\nfile f\nhit 1 3 2 a FOO foo\n");
}

TEST(IgnoreCase, LettersBeyondAsciiAreComparedExactly) {
    // The last bytes of é and É differ as those of a letter in both cases.
    EXPECT_EQ(rows_of("É\n----", "é"), "files 1\n");
    EXPECT_EQ(rows_of("FÉE\nFéE\n----", "fée"), "files 1\nfile f\nhit 2 1 5 FéE\n");
    for (const char *query : {"s", "k", "S", "K"}) { // as in the long s and the sign of kelvin
        EXPECT_EQ(rows_of("\u017F \u212A\n----", query), "files 1\n");
    }
}

TEST(IgnoreCase, IsOffUnlessSet) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", "FOO\n----");
    EXPECT_EQ(search_rows(tree, tree.path(), "foo"), "files 1\n");
}

TEST(IgnoreCase, ColumnsCutsAndTheEndOfTheFileAreAsBefore) {
    EXPECT_EQ(rows_of("abc FOO", "foo"), "files 1\n");
    EXPECT_EQ(rows_of("x\r\n\tFoo\tbar  \r\nend\n", "fOO"), "files 1\nfile f\nhit 2 2 4 Foo bar\n");
    EXPECT_EQ(rows_of("FOO abc", "foo"), "files 1\nfile f\nhit 1 1 0 FOO\n");
    EXPECT_EQ(rows_of("aB\nCd\nab\ncd\n....", "B\nC"), "files 1\nfile f\nhit 1 2 1 aB\nhit 3 2 7 ab\n");
    EXPECT_EQ(rows_of(std::string(500, 'A') + "Foo\n----", "aaFOO"),
              "files 1\nfile f\nhit 1 499 498 " + std::string(400, 'A') + "\n");
}

TEST(IgnoreCase, AnEmptyQueryMatchesAtZeroBytesOnly) {
    const std::string text("ab\0c \n\0", 7);
    expect_plain_hits(text, "");
}

TEST(IgnoreCase, FolderSuggestionsAndPathsAreAsBefore) {
    TestTree tree;
    IgnoreCaseScope scope;
    tree.folder("Projects");
    tree.folder("src");
    EXPECT_EQ(search_rows(tree, tree.path("pro"), ""), "files 0\nmatch Projects\nother src\n");
#ifdef __linux__
    tree.file("Projects/f", "foo.....");
    EXPECT_EQ(search_rows(tree, tree.path("PROJECTS"), "foo"), "files 0\nmatch Projects\nother src\n");
#endif
}

// The query's two rarest bytes, its first eight bytes, whole vectors and the rest are compared by different
// code; each gets every pair of bytes.
TEST(IgnoreCase, EveryPairOfBytesAtEveryKindOfPlace) {
    struct Place {
        size_t length, at;
    };
    for (Place place : {Place{1, 0}, Place{3, 2}, Place{12, 10}, Place{60, 20}, Place{200, 100}}) {
        std::string query(place.length, ' ');
        query.replace(0, std::min<size_t>(place.at, 2), "~^", std::min<size_t>(place.at, 2));
        for (int a = 0; a < 256; a++) {
            query[place.at] = static_cast<char>(a);
            std::string text = query + std::string(100, '.');
            ScanNeedle needle = scan_needle(str_over(query), 1);
            for (int b = 0; b < 256; b++) {
                text[place.at] = static_cast<char>(b);
                bool is_same = plain_is_same(&query[place.at], &text[place.at], 1, true);
                for (ScanNextHit *variant : variants()) {
                    for (int64_t span : {1, 100}) { // less than a vector, and more
                        ScanHit hit = {};
                        bool is_first = variant(text.data(), 0, span, needle, &hit) && hit.pos == 0;
                        ASSERT_EQ(is_first, is_same) << place.length << ": " << a << " and " << b;
                    }
                }
            }
        }
    }
}

TEST(IgnoreCase, RandomPairsAgreeWithThePlainRules) {
    std::mt19937 random(20261122);
    const auto below = [&random](size_t bound) { return static_cast<size_t>(random() % bound); };
    const std::string alphabets[] = {
        "aA",       "abAB\n",  "aA@`",   "zZ[{\n", "aaaaaaaaaaaaaaaaaaaA\n",  "kK\xCB\xEB",
        "aA1!\x41", "eEtT \t", "xX_.\n", "fooFOO", std::string("aA\0 \n", 5),
    };
    for (int round = 0; round < 60000 && !testing::Test::HasFailure(); round++) {
        const std::string &alphabet = alphabets[below(std::size(alphabets))];
        std::string text(below(10) == 0 ? below(1200) : below(140), 0);
        for (char &c : text) {
            c = alphabet[below(alphabet.size())];
        }
        std::string query(below(8) == 0 ? below(200) : below(12), 0);
        bool occurs = below(2) == 0 && text.size() > query.size();
        if (occurs) {
            query = text.substr(below(text.size() - query.size()), query.size());
        }
        for (char &c : query) {
            if (!occurs) {
                c = alphabet[below(alphabet.size())];
            } else if (below(2) == 0 && case_bit(c) != 0) {
                c = static_cast<char>(c ^ 0x20); // in the other case
            }
        }
        expect_plain_hits(text, query);
    }
}

TEST(IgnoreCase, LongQueriesThatDifferInOneByteOrInCase) {
    std::mt19937 random(7);
    for (size_t length : {7u, 8u, 9u, 15u, 16u, 24u, 40u, 41u, 72u, 73u, 136u, 137u, 300u}) {
        std::string query;
        for (size_t i = 0; i < length; i++) {
            query += static_cast<char>((i % 3 ? 'A' : 'a') + random() % 26);
        }
        for (size_t at = 0; at < length; at++) {
            for (char bit : {'\x20', '\x01'}) {
                std::string text = query;
                text[at] = static_cast<char>(text[at] ^ bit);
                expect_plain_hits(std::string(at, ' ') + text + "\n" + query + "....", query);
            }
        }
    }
}

TEST(IgnoreCase, TheRarestLettersAreChosenInLowerCase) {
    const auto chosen = [](const char *query) {
        ScanNeedle needle = scan_needle(str_from(query), 1);
        return std::string{needle.rare, needle.other};
    };
    EXPECT_EQ(chosen("E"), "ee");
    EXPECT_EQ(chosen("eE"), "ee"); // one letter
    EXPECT_EQ(scan_needle(str_from("eE"), 1).other_offset, 1);
    EXPECT_EQ(chosen("see THE Quick"), "qk");
    EXPECT_EQ(chosen("@E"), "@e");
}
