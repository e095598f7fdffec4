#include "search/matcher.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "os/arena.h"
#include "search/plain_matcher.h"
#include "search/results_store.h"
#include "search/scan.h"
#include "search/search_file.h"
#include "search/search_state.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"

namespace {

// Searches one file with the given bytes and compares the rows after the first, which is always "files 1".
void expect_rows(const std::string &bytes, const std::string &query, const std::string &rows) {
    TestTree tree;
    SearchScope scope;
    tree.file("f", bytes);
    EXPECT_EQ(search_rows(tree, tree.path(), query), "files 1\n" + (rows.empty() ? "" : "file f\n" + rows));
}

// A file's bytes as os_file_read_all returns them, so that the address sanitizer sees any read past them.
struct Contents : Str {
    explicit Contents(const std::string &bytes) : Str{bytes.size(), nullptr} {
        uint64_t n = bytes.size();
        data = static_cast<char *>(os_alloc_zero(n + 1 + ((n + 1) & 63)));
        memcpy(data, bytes.data(), n);
    }
    ~Contents() {
        os_free(data);
    }
    Contents(const Contents &) = delete;
    Contents &operator=(const Contents &) = delete;
};

std::vector<PlainHit> hits_of(const Str &contents, const std::string &query) {
    results_store.hit_table.count = 0;
    arena_rewind(&results_store.arena);
    scan_contents(contents, str_over(query), 0);
    std::vector<PlainHit> hits;
    const ResultRecord *rows = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        if (i == 0) {
            EXPECT_EQ(rows[i].kind, RESULT_FILE_HEADER);
            continue;
        }
        EXPECT_EQ(rows[i].kind, RESULT_HIT);
        EXPECT_EQ(rows[i].file_index, 0u);
        EXPECT_EQ(rows[i].text.data[rows[i].text.count], 0);
        hits.push_back({rows[i].line, rows[i].column, rows[i].byte_offset, to_string(rows[i].text)});
    }
    return hits;
}

std::string visible(const std::string &text) {
    std::string result;
    for (char c : text) {
        char hex[8];
        snprintf(hex, sizeof(hex), c >= ' ' && c <= '~' ? "%c" : "\\x%02x", static_cast<uint8_t>(c));
        result += hex;
    }
    return result;
}

// Checks both variants of the scan on one pair against the plain rules: the hits, and the text after the
// scan.
void expect_plain_result(const std::string &text, const std::string &query) {
    std::string plain_text = text;
    std::vector<PlainHit> plain = plain_hits(plain_text, query);
    ScanNextHit *const best = scan_next_hit_variant;
    for (ScanNextHit *variant : {best, &scan_next_hit_sse2}) {
        scan_next_hit_variant = variant;
        Contents contents(text);
        std::vector<PlainHit> hits = hits_of(contents, query);
        bool same = hits == plain && to_string(contents) == plain_text;
        EXPECT_TRUE(same) << (variant == best ? "best variant" : "plain variant") << ", text "
                          << visible(text) << ", query " << visible(query) << ", hits " << hits.size()
                          << " instead of " << plain.size();
    }
    scan_next_hit_variant = best;
}

} // namespace

// ---- Worked examples ----

TEST(Matcher, AMatchThatEndsTheFileIsNotAHit) {
    expect_rows("abc foo", "foo", "");
}

TEST(Matcher, TheLastLineLosesAsManyBytesAsTheQueryHas) {
    expect_rows("foo abc", "foo", "hit 1 1 0 foo\n");
}

TEST(Matcher, ALineFeedAmongTheLastBytesDoesNotEndTheLineEither) {
    expect_rows("foo bar\n", "foo", "hit 1 1 0 foo b\n");
}

TEST(Matcher, LinesAreTrimmedAndTheirTabsBecomeSpaces) {
    expect_rows("x\r\n\tfoo\tbar  \r\nend\n", "foo", "hit 2 2 4 foo bar\n");
}

TEST(Matcher, ALineYieldsItsLeftmostHitOnly) {
    expect_rows("a foo foo\nfoo foo\n----", "foo", "hit 1 3 2 a foo foo\nhit 2 1 10 foo foo\n");
}

TEST(Matcher, AFileAsLongAsTheQueryIsNotMatched) {
    expect_rows("foo", "foo", "");
    expect_rows("foo.", "foo", "hit 1 1 0 f\n"); // span 1: the line is its first byte
}

TEST(Matcher, AShorterOrEmptyFileHasAFileRowOnly) {
    expect_rows("a", "ab", "");
    expect_rows("", "ab", "");
}

TEST(Matcher, ALineIsStoredUpTo400BytesThenTrimmed) {
    std::string spaces(10, ' ');
    std::string line = std::string(300, 'a') + std::string(100, ' ') + "foo" + std::string(600, 'b');
    expect_rows(line + "\n----", "foo", "hit 1 401 400 " + std::string(300, 'a') + "\n");
    expect_rows(spaces + std::string(1000, 'a') + "foo\n----", "foo",
                "hit 1 1011 1010 " + std::string(390, 'a') + "\n"); // cut, then trimmed
    expect_rows(std::string(400, 'a') + "foo\n----", "foo", "hit 1 401 400 " + std::string(400, 'a') + "\n");
}

TEST(Matcher, ATextThatMayEndWithinACharacterIsMarked) {
    const auto is_cut = [](const std::string &bytes) {
        SearchScope scope;
        Contents contents(bytes);
        scan_contents(contents, str_from("foo"), 0);
        const ResultRecord *rows = reinterpret_cast<const ResultRecord *>(results_store.hit_table.data);
        EXPECT_EQ(results_store.hit_table.count, 2u);
        return rows[1].is_cut != 0;
    };
    const std::string line = "foo" + std::string(397, 'a');
    EXPECT_FALSE(is_cut("foo\n----"));
    EXPECT_FALSE(is_cut(line + "\n----"));
    EXPECT_TRUE(is_cut(line + "a\n----"));
    EXPECT_TRUE(is_cut(std::string(300, ' ') + line + "\n----")); // before it is trimmed
    EXPECT_TRUE(is_cut("foo bar"));                               // by the end of the file
    EXPECT_TRUE(is_cut("foo bar\n"));
}

TEST(Matcher, ALineOfWhitespaceIsStoredEmpty) {
    expect_rows("a\n \t \r\nb\n----", " \t", "hit 2 1 2 \n");
}

TEST(Matcher, OnlyTabCarriageReturnAndSpaceAreTrimmed) {
    // Some are tab, carriage return or space modulo 64: the comparison may be compiled to a shift.
    for (const char *edge : {"I", "M", "`", "\x89", "\x8D", "\xA0", "\v", "\f", "\x01", "\x7F"}) {
        std::string line = std::string(edge) + "foo" + edge;
        expect_rows(line + "\n----", "foo", "hit 1 2 1 " + line + "\n");
    }
}

TEST(Matcher, MatchingIsExactAndByteWise) {
    expect_rows("Foo fOo foo.\n----", "foo", "hit 1 9 8 Foo fOo foo.\n");
    expect_rows("aé foo\n----", "foo", "hit 1 5 4 aé foo\n"); // é counts as two columns
    expect_rows("a.c abc\n----", "a.c", "hit 1 1 0 a.c abc\n");
    expect_rows("xabc abc\n----", "a.c", "");
}

TEST(Matcher, BinaryFilesAreScannedLikeText) {
    std::string bytes("\0\xFF\0foo\0\xFE\n....", 13);
    expect_rows(bytes, "foo", "hit 1 4 3 " + bytes.substr(0, 8) + "\n");
}

TEST(Matcher, AQueryWithALineFeedMatchesAcrossLines) {
    expect_rows("ab\ncd\nab\ncd\n....", "b\nc", "hit 1 2 1 ab\nhit 3 2 7 ab\n");
    expect_rows("ab\n\n\ncd....", "\n\n", "hit 1 3 2 ab\nhit 2 1 3 \n");
}

TEST(Matcher, LinesEndAtLineFeedsOnly) {
    expect_rows("a\rfoo\r\n----", "foo", "hit 1 3 2 a\rfoo\n");
}

TEST(Matcher, AnEmptyQueryMatchesAtZeroBytes) {
    SearchScope scope;
    Contents contents(std::string("ab\0c\nd\0\ne", 9));
    std::vector<PlainHit> hits = hits_of(contents, "");
    EXPECT_EQ(hits,
              (std::vector<PlainHit>{{1, 3, 2, std::string("ab\0c", 4)}, {2, 2, 6, std::string("d\0", 2)}}));
    scan_contents(contents, {0, nullptr}, 0); // no text counts as that zero byte
    EXPECT_EQ(results_store.hit_table.count, 5u);
}

// ---- Sizes ----

TEST(Matcher, ContentsOf2GiBAndMoreHaveNoHits) {
    SearchScope scope;
    char bytes[] = "foo foo foo";
    for (uint64_t count : {uint64_t{1} << 31, (uint64_t{1} << 31) + 5, uint64_t{0xFFFFFFFF}}) {
        scan_contents({count, bytes}, str_from("foo"), 0); // not read
        EXPECT_EQ(results_store.hit_table.count, 0u);
        scan_contents({count, bytes}, {}, 0);
        EXPECT_EQ(results_store.hit_table.count, 0u);
    }
}

TEST(Matcher, AQueryOf2GiBAndMoreIsFoundNowhere) {
    SearchScope scope;
    Contents contents("foo foo foo");
    char zero[] = "";
    scan_contents(contents, {uint64_t{1} << 31, zero}, 0);
    scan_contents(contents, {0xFFFFFFFE, zero}, 0);
    EXPECT_EQ(results_store.hit_table.count, 0u);
}

// ---- Out of memory ----

TEST(Matcher, WithoutMemoryForAHitRowTheTableIsEmptiedAndTheScanGoesOn) {
    SearchScope scope;
    // Room only for the header of the first hit.
    results_store.hit_table.count = results_store.hit_table.capacity - 1;
    ResultRecord *rows = reinterpret_cast<ResultRecord *>(results_store.hit_table.data);
    rows[results_store.hit_table.count - 1] = {};
    Contents contents("foo.....");
    HeapHookScope hook([](uint64_t size) { return size != 1148576 * sizeof(ResultRecord); });
    scan_contents(contents, str_from("foo"), 1);
    EXPECT_EQ(results_store.hit_table.count, 0u);
    EXPECT_EQ(results_store.hit_table.capacity, 0u);
    EXPECT_EQ(search_state.results_dirty, 1);
}

TEST(Matcher, TheFullHitTableGrowsFrom100000To1148576Rows) {
    SearchScope scope;
    results_store.hit_table.count = 100000;
    ResultRecord *rows = reinterpret_cast<ResultRecord *>(results_store.hit_table.data);
    rows[99999] = {};
    Contents contents("foo.....");
    scan_contents(contents, str_from("foo"), 0);
    EXPECT_EQ(results_store.hit_table.count, 100001u);
    EXPECT_EQ(results_store.hit_table.capacity, 1148576u);
}

// ---- Against the plain rules ----

TEST(MatcherProperty, HundredThousandRandomPairsAgreeWithThePlainRules) {
    SearchScope scope;
    std::mt19937 random(20231119);
    const auto below = [&random](size_t bound) { return static_cast<size_t>(random() % bound); };
    const std::string alphabets[] = {
        "ab",
        "ab\n",
        std::string("a\0\n", 3),
        "a \t\r\n",
        std::string("ab\0 \t\r\n", 7),
        "aaaaaaaaaaaaaaaaaaab\n",
        "etaoin zq_\n\t",
        std::string("\xFF\x80\x7F\0I`\n", 7),
    };
    for (int round = 0; round < 100000 && !testing::Test::HasFailure(); round++) {
        const std::string &alphabet = alphabets[below(std::size(alphabets))];
        // Mostly about as long as a vector, some longer than a stored line.
        size_t length = below(10) == 0 ? below(1200) : below(140);
        std::string text(length, 0);
        for (char &c : text) {
            c = alphabet[below(alphabet.size())];
        }
        std::string query(below(8) == 0 ? below(40) : below(5), 0);
        if (below(2) == 0 && length > query.size()) {
            query = text.substr(below(length - query.size()), query.size());
        } else {
            for (char &c : query) {
                c = alphabet[below(alphabet.size())];
            }
        }
        expect_plain_result(text, query);
    }
}

TEST(MatcherProperty, EveryPlaceAroundTheVectorsEdges) {
    SearchScope scope;
    for (size_t length = 0; length < 200 && !testing::Test::HasFailure(); length++) {
        for (size_t at = 0; at < length; at++) {
            std::string text(length, '.');
            text[at] = 'q';
            expect_plain_result(text, "q");
            if (at + 1 < length) {
                text[at + 1] = '\n';
                expect_plain_result(text, "q\n");
            }
        }
    }
}

TEST(MatcherProperty, QueriesOfEveryLength) {
    SearchScope scope;
    std::mt19937 random(7);
    std::string text(3000, 0);
    for (char &c : text) {
        c = "abc\n"[random() % 4];
    }
    for (size_t length = 0; length <= 300; length++) {
        expect_plain_result(text, text.substr(1500, length));
        std::string near_miss = text.substr(1500, length) + "!";
        expect_plain_result(text, near_miss);
    }
}

TEST(MatcherProperty, LongQueriesThatDifferInOneByte) {
    SearchScope scope;
    std::mt19937 random(8);
    for (size_t length = 1; length <= 300 && !testing::Test::HasFailure(); length += length < 200 ? 1 : 50) {
        std::string query(length, 0);
        for (char &c : query) {
            c = "ab"[random() % 2];
        }
        for (size_t at = 0; at < length; at++) {
            std::string differs = query;
            differs[at] ^= 'a' ^ 'b';
            expect_plain_result(differs + "\n" + query + "\n...", query);
        }
    }
}

TEST(MatcherProperty, TextsThatAgreeWithTheQueryForLong) {
    SearchScope scope;
    const std::string spaces(1000, ' '), tildes(1000, '~');
    std::string pairs;
    for (int i = 0; i < 500; i++) {
        pairs += "ab";
    }
    const struct {
        std::string query, run; // the run is one byte short of the query or its start
    } cases[] = {
        {spaces + "x", spaces},
        {spaces, spaces.substr(1) + "x"},
        {"x" + spaces, "x" + spaces.substr(1)},
        {spaces + "x" + spaces, spaces + "x" + spaces.substr(1)},
        {pairs + "c", pairs},
        {pairs, pairs.substr(1) + "c"},
        {"e" + tildes, tildes},
        {tildes + "e" + tildes, tildes + "e" + tildes.substr(1) + "e"},
    };
    for (const auto &hard : cases) {
        const std::string runs = hard.run + hard.run + hard.run;
        expect_plain_result(runs, hard.query);
        expect_plain_result(runs + hard.query + "...", hard.query);
        expect_plain_result(runs + "\n" + hard.query + runs + "\n" + runs + hard.query + ".", hard.query);
    }
}

TEST(MatcherProperty, ManyThousandLineFeedsBeforeAHit) {
    SearchScope scope;
    for (size_t count : {254u, 255u, 256u, 8159u, 8160u, 8161u, 8191u, 8192u, 8193u, 100000u}) {
        expect_plain_result(std::string(count, '\n') + "foo\n....", "foo");
        expect_plain_result(std::string(count, '.') + "foo\n....", "foo");
        expect_plain_result(std::string(count, '.') + "\nfoo" + std::string(count, ' ') + "\n....", "foo");
    }
}
