#include "search/scan.h"

#include <gtest/gtest.h>

#include <string>

#include "support/test_tree.h"

TEST(Scan, TheRarestBytesAreChosen) {
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
    EXPECT_EQ(chosen("@@"), "@@");
    EXPECT_EQ(scan_needle(str_from("@@")).other_offset, 1);
    EXPECT_EQ(chosen(std::string(64, 'e') + "@"), "ee"); // only a query's start is looked through
}

TEST(Scan, BothVariantsTellTheLineAroundAHit) {
    std::string text = "first\nsecond\nthe needle stands here\nlast\n";
    ScanNeedle needle = scan_needle(str_from("needle"));
    for (ScanNextHit *variant : {scan_next_hit_variant, &scan_next_hit_sse2}) {
        ScanHit hit = {};
        int64_t span = static_cast<int64_t>(text.size()) - 6;
        ASSERT_TRUE(variant(text.data(), 0, span, needle, &hit));
        EXPECT_EQ(hit.pos, 17);
        EXPECT_EQ(hit.line_feeds, 2u);
        EXPECT_EQ(hit.line_start, 13);
        EXPECT_EQ(hit.line_end, 35);
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

TEST(Scan, TheBestVariantIsInUse) {
    EXPECT_EQ(scan_next_hit_variant, scan_has_avx2() ? &scan_next_hit_avx2 : &scan_next_hit_sse2);
}
