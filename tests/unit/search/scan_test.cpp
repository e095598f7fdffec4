#include "search/scan.h"

#include <gtest/gtest.h>

#include <string.h>

#include <random>
#include <string>

#include "search/plain_matcher.h"
#include "support/test_tree.h"

TEST(Scan, TheTwoRarestBytesOfTheWholeQueryAreChosen) {
    const auto chosen = [](const std::string &query) {
        ScanNeedle needle = scan_needle(str_over(query));
        EXPECT_EQ(needle.rare, query[static_cast<size_t>(needle.rare_offset)]);
        EXPECT_EQ(needle.other, query[static_cast<size_t>(needle.other_offset)]);
        return std::string{needle.rare, needle.other};
    };
    EXPECT_EQ(chosen("e"), "ee");
    EXPECT_EQ(chosen("eq"), "qe");
    EXPECT_EQ(chosen("qe"), "qe");
    EXPECT_EQ(chosen("see the quick"), "qk");
    EXPECT_EQ(chosen(std::string(1000, ' ') + "x"), "x ");
    EXPECT_EQ(chosen(std::string(1000, ' ') + "xe" + std::string(1000, ' ')), "xe");
    EXPECT_EQ(chosen("see @@@ there"), "@h"); // equal bytes come together, so a second one filters less
    EXPECT_EQ(chosen("@@@"), "@@");
    EXPECT_EQ(scan_needle(str_from("@@@")).other_offset, 2);
}

TEST(Scan, BothVariantsReportTheLineAroundAHit) {
    std::string text = "first\nsecond\nthe needle is here\nlast\n";
    ScanNeedle needle = scan_needle(str_from("needle"));
    for (ScanNextHit *variant : {scan_next_hit_variant, &scan_next_hit_sse2}) {
        ScanHit hit = {};
        int64_t span = static_cast<int64_t>(text.size()) - 6;
        ASSERT_TRUE(variant(text.data(), 0, span, needle, &hit));
        EXPECT_EQ(hit.pos, 17);
        EXPECT_EQ(hit.line_feeds, 2u);
        EXPECT_EQ(hit.line_start, 13);
        EXPECT_EQ(hit.line_end, 31);
        EXPECT_FALSE(variant(text.data(), 18, span, needle, &hit));
    }
}

TEST(Scan, NothingIsFoundFromSpanOn) {
    ScanHit hit;
    ScanNeedle needle = scan_needle(str_from("a"));
    EXPECT_FALSE(scan_next_hit("aaaa", 3, 3, needle, &hit));
    EXPECT_FALSE(scan_next_hit("aaaa", 5, 3, needle, &hit));
    EXPECT_TRUE(scan_next_hit("aaaa", 2, 3, needle, &hit));
}

// Blocks that end with the text and start at every offset in a cache line: the address sanitizer sees any
// read past the text or the query, and the loads of the rare byte get every alignment.
TEST(Scan, NothingAfterTheTextOrTheQueryIsRead) {
    std::mt19937 random(5);
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); round++) {
        size_t offset = random() % 64, length = random() % 300;
        char *block = static_cast<char *>(os_alloc(offset + length));
        char *text = block + offset;
        for (size_t i = 0; i < length; i++) {
            text[i] = "abb\n"[random() % 4];
        }
        std::string plain_text(text, length);
        std::string query(1 + random() % 12, 'a');
        for (char &c : query) {
            c = "ab\n"[random() % 3];
        }
        if (random() % 2 && length > 0) { // a long one that occurs
            size_t start = random() % length;
            query = plain_text.substr(start, 1 + random() % (length - start));
        }
        char *query_block = static_cast<char *>(os_alloc(query.size()));
        memcpy(query_block, query.data(), query.size());
        int64_t span = static_cast<int64_t>(length) - static_cast<int64_t>(query.size());
        std::vector<PlainHit> plain = plain_hits(plain_text, query);
        for (ScanNextHit *variant : {scan_next_hit_variant, &scan_next_hit_sse2}) {
            ScanNeedle needle = scan_needle({query.size(), query_block});
            ScanHit hit;
            size_t found = 0;
            for (int64_t from = 0; from < span && variant(text, from, span, needle, &hit);
                 from = hit.line_end + 1) {
                ASSERT_LT(found, plain.size());
                EXPECT_EQ(hit.pos, plain[found].byte_offset);
                EXPECT_EQ(hit.pos - hit.line_start + 1, plain[found].column);
                found++;
            }
            EXPECT_EQ(found, plain.size());
        }
        os_free(query_block);
        os_free(block);
    }
}
