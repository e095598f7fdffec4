#include "os/linux/uri_list.h"

#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "os/plain_uri_list.h"
#include "support/test_tree.h"

namespace {

using namespace std::string_literals;
using Paths = std::vector<std::string>;

Paths files_of(std::string list) {
    Paths paths;
    Str rest = str_over(list);
    Str path;
    while (uri_list_next(&rest, &path)) {
        paths.push_back(to_string(path));
    }
    EXPECT_EQ(rest.count, 0u);
    return paths;
}

std::string host_name() {
    char name[256] = {};
    gethostname(name, sizeof(name) - 1);
    return name;
}

} // namespace

TEST(UriList, LinesEndWithACarriageReturnAndALineFeedOrALineFeedAlone) {
    EXPECT_EQ(files_of("file:///a\r\nfile:///b\nfile:///c"), (Paths{"/a", "/b", "/c"}));
    EXPECT_EQ(files_of("\r\n\r\nfile:///a\r\n\n"), (Paths{"/a"}));
    EXPECT_EQ(files_of(""), Paths{});
}

TEST(UriList, CommentsAreSkipped) {
    EXPECT_EQ(files_of("#file:///a\r\nfile:///b\r\n# c\r\n"), (Paths{"/b"}));
}

TEST(UriList, PercentEncodedBytesAreDecoded) {
    EXPECT_EQ(files_of("file:///gr%C3%B6%c3%9Fe%20%F0%9F%98%80/%2541%23%3F"), (Paths{"/größe 😀/%41#?"}));
    EXPECT_EQ(files_of("file:///no utf-8 %ff"), (Paths{"/no utf-8 \xff"}));
}

TEST(UriList, APercentSignWithoutTwoDigitsStays) {
    EXPECT_EQ(files_of("file:///%\nfile:///a%4\nfile:///%4g%g4%%41%"), (Paths{"/%", "/a%4", "/%4g%g4%A%"}));
}

TEST(UriList, FilesOfThisMachineAreTaken) {
    EXPECT_EQ(files_of("file:///a\nfile://localhost/b\nfile://LocalHost/c\nfile:/d\nFILE:///e"),
              (Paths{"/a", "/b", "/c", "/d", "/e"}));
    EXPECT_EQ(files_of("file://" + host_name() + "/f"), (Paths{"/f"}));
}

TEST(UriList, UrisOtherThanFilesOfThisMachineAreSkipped) {
    EXPECT_EQ(
        files_of("http://localhost/a\nfile://elsewhere/b\nfile://localhost\nfile://\nfile:\nfile:c\nfile"
                 "\n/d\nfile:///e"),
        (Paths{"/e"}));
}

TEST(UriList, ANameWithAZeroByteIsSkipped) {
    EXPECT_EQ(files_of("file:///a%00b\nfile:///c\0d\nfile:///e"s), (Paths{"/e"}));
}

TEST(UriList, RandomListsMatchThePlainReading) {
    const std::vector<std::string> pieces = {
        "file:", "file://", "FILE:///", "localhost", host_name(), "/", "\r\n", "\n",    "\r",  "#",   "%",
        "%4",    "%41",     "%c3%B6",   "%00",       "%0a",       "a", " ",    "http:", "\0"s, "\xff"};
    uint32_t state = 1;
    auto below = [&](size_t count) {
        state = state * 1664525 + 1013904223;
        return (state >> 8) % count;
    };
    size_t found = 0;
    for (int i = 0; i < 100000; i++) {
        std::string list;
        for (size_t count = below(12); count > 0; count--) {
            list += pieces[below(pieces.size())];
        }
        Paths paths = files_of(list);
        found += paths.size();
        ASSERT_EQ(paths, plain_files_of(list, host_name())) << list;
    }
    EXPECT_GT(found, 1000u);
}
