#include "app/settings.h"

#include <gtest/gtest.h>

#include <string.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "app/app_scope.h"
#include "app/plain_settings.h"
#include "render/font_scope.h"
#include "support/heap_hook.h"

namespace {

template <typename AnySettings>
std::string dump(const AnySettings &s, const std::string &l, const std::string &r) {
    return std::to_string(s.font_size) + "/" + std::to_string(s.line_height) + "/" +
           std::to_string(s.text_y_offset) + " full=" + std::to_string(s.show_full_paths) +
           " path=" + std::to_string(s.remember_last_path) +
           " query=" + std::to_string(s.remember_last_query) + " max=" + std::to_string(s.max_file_size) +
           " left=" + l + " right=" + r;
}

// The settings after a file with these bytes and the fallbacks. They point into the bytes.
class Applied {
public:
    explicit Applied(std::string file) : bytes(std::move(file)), first_settings(settings) {
        // Without std::string's zero after the end, so that AddressSanitizer sees a read past the end.
        block.assign(bytes.begin(), bytes.end());
        settings_apply({block.size(), block.data()}, {});
        before_fallbacks = settings;
        font.sizes.capacity = 1; // no font: there are other tests for fonts
        settings_apply_fallbacks({});
        font.sizes.capacity = 0;
    }
    ~Applied() {
        EXPECT_EQ(std::string(block.begin(), block.end()), bytes); // not changed
        settings = first_settings;
    }
    Applied(const Applied &) = delete;
    Applied &operator=(const Applied &) = delete;

    std::string str() const {
        return dump(settings, to_string(settings.left_click_cmd), to_string(settings.right_click_cmd));
    }
    std::string sizes() const {
        return std::to_string(settings.font_size) + "/" + std::to_string(settings.line_height) + "/" +
               std::to_string(settings.text_y_offset);
    }

    std::string bytes;
    std::vector<char> block;
    Settings first_settings;
    Settings before_fallbacks;
};

std::string sizes_after(const std::string &file) {
    return Applied(file).sizes();
}

int32_t font_size_read(const std::string &value) {
    return Applied("font_size " + value).before_fallbacks.font_size;
}

// The pixels for a factor and a font size.
int32_t pixels(const std::string &factor, int32_t font_size) {
    return Applied("font_size " + std::to_string(font_size) + "\ntext_y_offset " + factor)
        .before_fallbacks.text_y_offset;
}

int64_t max_file_size_after(const std::string &value) {
    Applied applied("max_file_size " + value);
    return settings.max_file_size;
}

bool read_as_true(const std::string &value) {
    Applied applied("show_full_paths " + value);
    return settings.show_full_paths;
}

std::string left_after(const std::string &file) {
    Applied applied(file);
    return to_string(settings.left_click_cmd);
}

const std::string defaults =
    "14/15/12 full=0 path=1 query=1 max=10000000 left=" + default_left + " right=" + default_right;

} // namespace

// ---- Lines ----

TEST(SettingsLines, WithoutAnyKeyTheDefaultsApply) {
#ifdef _WIN32
    EXPECT_EQ(default_left.size(), 111u);
    EXPECT_EQ(default_right.size(), 57u);
#endif
    for (const char *file :
         {"", "\n", " \t\r\n", "# font_size 20", "unknown 20", "#\n#\n", "word", "\r\r\r"}) {
        EXPECT_EQ(Applied(file).str(), defaults) << file;
    }
}

TEST(SettingsLines, EveryKeyIsRead) {
    EXPECT_EQ(Applied("font_size 20\nline_height 1.25\ntext_y_offset 0.8\nshow_full_paths yes\n"
                      "remember_last_path no\nremember_last_query 0\nmax_file_size 5K\n"
                      "left_click_cmd notepad {x}\nright_click_cmd explorer\n")
                  .str(),
              "20/25/16 full=1 path=0 query=0 max=5000 left=notepad {x} right=explorer");
}

TEST(SettingsLines, ACommentIsALineWhoseFirstCharacterIsAHash) {
    EXPECT_EQ(left_after("# left_click_cmd notepad"), default_left);
    EXPECT_EQ(left_after(" \t# left_click_cmd notepad\n"), default_left);
    // A comment does not take the next line as its value.
    EXPECT_EQ(left_after("#\nleft_click_cmd a"), "a");
    EXPECT_EQ(left_after("#word\nleft_click_cmd a"), "a");
    EXPECT_EQ(left_after("\n \t#\nleft_click_cmd a"), "a");
    EXPECT_EQ(left_after("left_click_cmd notepad # x"), "notepad # x");
    EXPECT_EQ(left_after("# comment\nleft_click_cmd a\n# left_click_cmd b"), "a");
    EXPECT_EQ(left_after("#left_click_cmd a\r left_click_cmd b\nleft_click_cmd c"),
              "c"); // only a line feed ends it
}

TEST(SettingsLines, AKeyIsComparedWithItsCase) {
    EXPECT_EQ(sizes_after("Font_size 20"), "14/15/12");
    EXPECT_EQ(sizes_after("FONT_SIZE 20\nfont_size: 20\nfont_siz 20\nfont_size2 20"), "14/15/12");
}

TEST(SettingsLines, TheLaterOfTwoEqualKeysApplies) {
    EXPECT_EQ(sizes_after("font_size 20\nfont_size 30"), "30/30/0");
    EXPECT_EQ(left_after("left_click_cmd a\nleft_click_cmd b"), "b");
}

TEST(SettingsLines, ThereIsNoEqualsSign) {
    EXPECT_EQ(left_after("left_click_cmd = a"), "= a");
    EXPECT_EQ(left_after("left_click_cmd=a"), default_left);
}

TEST(SettingsLines, AKeyWithoutAValueTakesTheNextLine) {
    EXPECT_EQ(left_after("left_click_cmd\nnotepad"), "notepad");
    EXPECT_EQ(left_after("left_click_cmd \r\n\r\n \t notepad\r\n"), "notepad");
    EXPECT_EQ(left_after("left_click_cmd\n# comment\nleft_click_cmd_ x"), "# comment");
    Applied applied("left_click_cmd\nright_click_cmd b");
    EXPECT_EQ(to_string(settings.left_click_cmd), "right_click_cmd b");
    EXPECT_EQ(to_string(settings.right_click_cmd), default_right);
}

TEST(SettingsLines, AnUnknownWordWithoutAValueTakesTheNextLineToo) {
    EXPECT_EQ(left_after("unknown\nleft_click_cmd a\nleft_click_cmd b"), "b");
    EXPECT_EQ(left_after("unknown\nleft_click_cmd a"), default_left);
}

TEST(SettingsLines, AKeyAtTheEndHasTheEmptyValue) {
    EXPECT_FALSE(Applied("remember_last_path 1\nremember_last_path").before_fallbacks.remember_last_path);
    EXPECT_EQ(left_after("left_click_cmd"), "");
    EXPECT_EQ(left_after("left_click_cmd \r\n \t"), "");
    EXPECT_EQ(sizes_after("font_size 20\nfont_size"), "14/15/12");
}

TEST(SettingsLines, ValuesLoseTheWhitespaceAtTheirEndsOnly) {
    EXPECT_EQ(left_after("left_click_cmd \t a  b\tc \t\r\n"), "a  b\tc");
}

TEST(SettingsLines, LineEndsOfEveryKind) {
    EXPECT_EQ(sizes_after("font_size 20\r\nline_height 2\r\n"), "20/40/0");
    EXPECT_EQ(sizes_after("font_size 20\nline_height 2"), "20/40/0");
    // A lone carriage return does not end a line: all of it is the first key's value.
    EXPECT_EQ(sizes_after("font_size 20\rline_height 2"), "202/202/0");
    EXPECT_EQ(left_after("left_click_cmd a\rb\r"), "a\rb");
}

TEST(SettingsLines, AByteOrderMarkMakesTheFirstKeyUnknown) {
    EXPECT_EQ(sizes_after("\xEF\xBB\xBF"
                          "font_size 20\nleft_click_cmd x"),
              "14/15/12");
    EXPECT_EQ(left_after("\xEF\xBB\xBF"
                         "font_size 20\nleft_click_cmd x"),
              "x");
}

TEST(SettingsLines, ZeroBytesAreBytesLikeOthers) {
    EXPECT_EQ(left_after(std::string("left_click_cmd a\0b\0\n", 20)), std::string("a\0b\0", 4));
    EXPECT_EQ(left_after(std::string("left_click_cmd\0 a", 17)), default_left);
    EXPECT_EQ(left_after(std::string("\0left_click_cmd a", 17)), default_left);
    EXPECT_EQ(sizes_after(std::string("font_size 2\0"
                                      "0",
                                      13)),
              "20/20/0");
}

TEST(SettingsLines, TheClickCommandsPointIntoTheFile) {
    Applied applied("left_click_cmd \"a\" {x}\nright_click_cmd b");
    EXPECT_EQ(settings.left_click_cmd.data, applied.block.data() + 15);
    EXPECT_EQ(to_string(settings.left_click_cmd), "\"a\" {x}"); // quotes and all
    EXPECT_EQ(settings.right_click_cmd.data, applied.block.data() + applied.block.size() - 1);
}

TEST(SettingsLines, TenMegabytesOfGarbageAreReadAndIgnored) {
    std::mt19937 random(7);
    std::string garbage(10000000, 0);
    for (char &byte : garbage) {
        byte = static_cast<char>(random());
    }
    EXPECT_EQ(Applied(garbage).str(), defaults);
    EXPECT_EQ(left_after(garbage + "\nleft_click_cmd x\n" + garbage), "x");
    EXPECT_EQ(left_after("left_click_cmd " + std::string(10000000, 'x')).size(), 10000000u);
    EXPECT_EQ(Applied(std::string(10000000, 'x')).str(), defaults);
    EXPECT_EQ(Applied(std::string(10000000, '\n')).str(), defaults);
}

// ---- Integers ----

TEST(SettingsInteger, EveryDigitCountsAndOtherCharactersDoNot) {
    EXPECT_EQ(font_size_read("20"), 20);
    EXPECT_EQ(font_size_read("1x6"), 16);
    EXPECT_EQ(font_size_read("x1 y6 z"), 16);
    EXPECT_EQ(font_size_read("1-6"), 16);
    EXPECT_EQ(font_size_read("+007"), 7);
    EXPECT_EQ(font_size_read("1.5"), 15);
    EXPECT_EQ(font_size_read("abc"), 0);
    EXPECT_EQ(font_size_read(""), 0);
}

TEST(SettingsInteger, ThirtyTwoBitsWrap) {
    EXPECT_EQ(font_size_read("2147483647"), 2147483647);
    EXPECT_EQ(font_size_read("2147483648"), INT32_MIN);
    EXPECT_EQ(font_size_read("4294967296"), 0);
    EXPECT_EQ(font_size_read("4294967316"), 20);
    EXPECT_EQ(sizes_after("font_size 4294967316"), "20/20/0");
}

TEST(SettingsInteger, ANegativeOneReadsTwoMoreCharacters) {
    EXPECT_EQ(font_size_read("-3"), -3);
    EXPECT_EQ(font_size_read("-3\r\n45 x"), -3);
    EXPECT_EQ(font_size_read("-3\n45 x"), -34);
    EXPECT_EQ(font_size_read("-3 \n45 x"), -3);
    EXPECT_EQ(font_size_read("-3\n\n4 x"), -3);
    EXPECT_EQ(font_size_read("-\n45 x"), -4);
    EXPECT_EQ(font_size_read("3\n45 x"), 3);
    // The file ends before the two characters.
    EXPECT_EQ(font_size_read("-3\n"), -3);
    EXPECT_EQ(font_size_read("-"), 0);
    EXPECT_EQ(font_size_read("-\n"), 0);
}

TEST(SettingsInteger, ANegativeOneAtTheEndOfAFileIsReadWithinTheFilesBlock) {
    // When the file and its zero fill a multiple of 64 bytes, the block has no spare bytes after the last
    // value.
    AppScope app;
    TestTree tree;
    for (size_t size : {63u, 127u, 62u, 64u}) {
        std::string last = "font_size -5";
        tree.file("settings.txt", "# " + std::string(size - last.size() - 3, 'x') + "\n" + last);
        settings_load(str_over(tree.path() + "/"));
        EXPECT_EQ(settings.file.count, size);
        EXPECT_EQ(settings.font_size, 14);
        os_file_free(&settings.file);
        app.reset_settings();
    }
}

// ---- Decimals ----

TEST(SettingsDecimal, IsAFactorOfTheFontSize) {
    EXPECT_EQ(sizes_after("font_size 20\nline_height 1.25\ntext_y_offset 0.8"), "20/25/16");
    EXPECT_EQ(pixels("2", 20), 40);
    EXPECT_EQ(pixels(".5", 20), 10);
    EXPECT_EQ(pixels("1.", 20), 20);
    EXPECT_EQ(pixels(".", 20), 0);
    EXPECT_EQ(pixels("", 20), 0);
    EXPECT_EQ(pixels("-", 20), 0);
    EXPECT_EQ(pixels("-0.5", 20), -10);
    EXPECT_EQ(pixels("-0.53", 10), -5); // truncated
    EXPECT_EQ(pixels("0.59", 10), 5);
}

TEST(SettingsDecimal, AnyOtherCharacterCountsAsAZero) {
    EXPECT_EQ(pixels("1x.5", 10), 105);
    EXPECT_EQ(pixels("1,2", 10), 1020);
    EXPECT_EQ(pixels("1.2.5", 100), 120); // the second '.' is one more digit, a 0
    EXPECT_EQ(pixels("1.2.5", 10000), 12050);
    EXPECT_EQ(pixels("+1", 10), 10);
    EXPECT_EQ(pixels("1-2", 10), 1020);
    EXPECT_EQ(pixels("--1", 10), -10);
    EXPECT_EQ(pixels("1 .5", 10), 105);
}

TEST(SettingsDecimal, IsMultipliedInDoublePrecision) {
    EXPECT_EQ(pixels("0.7", 10), 7);   // 6 in single precision
    EXPECT_EQ(pixels("0.56", 25), 13); // 14 in single precision
}

TEST(SettingsDecimal, GathersTheFractionInSinglePrecision) {
    EXPECT_EQ(pixels("0.16777217", 100000000), 16777216); // 24 bits of it
    EXPECT_EQ(pixels("0.99999999", 10), 10);
}

TEST(SettingsDecimal, ATooLargeOneIsTheLowestInteger) {
    EXPECT_EQ(pixels("2147483647", 1), 2147483647);
    EXPECT_EQ(pixels("2147483648", 1), INT32_MIN);
    EXPECT_EQ(pixels("-2147483648.5", 1), INT32_MIN);
    EXPECT_EQ(pixels("-3000000000", 1), INT32_MIN);
    EXPECT_EQ(pixels("18446744073709551617", 20), 20); // 64 bits wrap
    EXPECT_EQ(pixels("18446744073709551615", 14), -14);
    EXPECT_EQ(pixels("9223372036854775808", 1), INT32_MIN);
    EXPECT_EQ(pixels("0." + std::string(400, '9'), 1), INT32_MIN); // the fraction is infinite
    EXPECT_EQ(pixels("0." + std::string(400, '9'), 0), INT32_MIN); // and no number times 0
    EXPECT_EQ(pixels("0." + std::string(400, '0') + "9", 1), 0);
    EXPECT_EQ(sizes_after("font_size 20\nline_height 200000000"), "20/20/0"); // the line height falls back
}

// ---- Booleans ----

TEST(SettingsBoolean, FiveWordsAreTrueInAnyCase) {
    for (const char *value : {"1", "y", "Y", "ok", "OK", "oK", "yes", "Yes", "YES", "true", "True", "tRUE"}) {
        EXPECT_TRUE(read_as_true(value)) << value;
    }
    for (const char *value : {"", "0", "on", "n", "no", "t", "11", "1 1", "yes!", "\"yes\"", "ye", "truetrue",
                              "false", "okay", "TRUE 1", "2", "y\xC3\x89s"}) {
        EXPECT_FALSE(read_as_true(value)) << value;
    }
    EXPECT_FALSE(read_as_true(std::string("1\0", 2)));
}

// ---- Byte counts ----

TEST(SettingsByteCount, IsASumOfNumbersWithUnits) {
    EXPECT_EQ(max_file_size_after("5K"), 5000);
    EXPECT_EQ(max_file_size_after("1 M B"), 1000000);
    EXPECT_EQ(max_file_size_after("10M"), 10000000);
    EXPECT_EQ(max_file_size_after("10 MB"), 10000000);
    EXPECT_EQ(max_file_size_after("1G 500M"), 1500000000);
    EXPECT_EQ(max_file_size_after("2GB-1MB"), 1999000000);
    EXPECT_EQ(max_file_size_after("2 gb - 1 mb - 1 kb"), 1998999000);
    EXPECT_EQ(max_file_size_after("3t"), 3000000000000);
    EXPECT_EQ(max_file_size_after("1T1G1M1K1"), 1001001001001);
    EXPECT_EQ(max_file_size_after("42"), 42);
    EXPECT_EQ(max_file_size_after("42B"), 42);
    EXPECT_EQ(max_file_size_after("42 b"), 42);
    EXPECT_EQ(max_file_size_after("0"), 0);
}

TEST(SettingsByteCount, AnyCharacterAfterANumberIsItsUnit) {
    EXPECT_EQ(max_file_size_after("10-2"), 12);
    EXPECT_EQ(max_file_size_after("5 3"), 5);
    EXPECT_EQ(max_file_size_after("5 34"), 9); // 3 is the unit, 4 a number
    EXPECT_EQ(max_file_size_after("10 - 2"), 12);
    EXPECT_EQ(max_file_size_after("5x7"), 12);
    EXPECT_EQ(max_file_size_after("5B7"), 12);
    EXPECT_EQ(max_file_size_after("5BB7"), 12);
    EXPECT_EQ(max_file_size_after("5BBB7"), 5);
    EXPECT_EQ(max_file_size_after("1.5M"), 5000001);
    EXPECT_EQ(max_file_size_after("5\r-3"), 8);
}

TEST(SettingsByteCount, EndsBeforeAnythingButANumber) {
    EXPECT_EQ(max_file_size_after("-1"), 0);
    EXPECT_EQ(max_file_size_after("abc"), 0);
    EXPECT_EQ(max_file_size_after(""), 0);
    EXPECT_EQ(max_file_size_after("10M x 5"), 10000000);
    EXPECT_EQ(max_file_size_after("10M--2M"), 10000000);
    EXPECT_EQ(max_file_size_after("10M+2M"), 10000000);
    EXPECT_EQ(max_file_size_after("10M-"), 10000000);
    EXPECT_EQ(max_file_size_after("10M - x"), 10000000);
}

TEST(SettingsByteCount, ATotalBelowZeroBecomesZero) {
    EXPECT_EQ(max_file_size_after("1M-2M"), 0);
    EXPECT_EQ(Applied("max_file_size 1M-2M").before_fallbacks.max_file_size,
              -1000000); // after the whole file
    EXPECT_EQ(max_file_size_after("9223372036854775808"), 0);
    EXPECT_EQ(max_file_size_after("18446744073709551617"), 1); // 64 bits wrap
    EXPECT_EQ(max_file_size_after("9223372036854775807"), INT64_MAX);
}

TEST(SettingsByteCount, AnAbsentKeyMeansTenMillion) {
    Applied applied("");
    EXPECT_EQ(settings.max_file_size, 10000000);
}

// ---- Fallbacks ----

TEST(SettingsFallbacks, AFontSizeBelowOneResetsAllThreeSizes) {
    EXPECT_EQ(sizes_after("font_size 0"), "14/15/12");
    EXPECT_EQ(sizes_after("font_size -3"), "14/15/12");
    EXPECT_EQ(sizes_after("font_size 20\nline_height 2\ntext_y_offset 1\nfont_size 0"), "14/15/12");
    EXPECT_EQ(sizes_after("line_height 2\ntext_y_offset 1"), "14/15/12");
}

TEST(SettingsFallbacks, ALineHeightBelowOneBecomesTheFontSize) {
    EXPECT_EQ(sizes_after("font_size 20"), "20/20/0");
    EXPECT_EQ(sizes_after("font_size 20\nline_height -1"), "20/20/0");
    EXPECT_EQ(sizes_after("font_size 20\nline_height 0.04"), "20/20/0");
    EXPECT_EQ(sizes_after("font_size 20\nline_height 0.05"), "20/1/0");
    EXPECT_EQ(sizes_after("font_size 1"), "1/1/0");
}

TEST(SettingsFallbacks, AFactorAboveTheFontSizeInTheFileIsZero) {
    EXPECT_EQ(sizes_after("line_height 1.2\nfont_size 20"), "20/20/0");
    EXPECT_EQ(sizes_after("text_y_offset 1\nfont_size 20"), "20/20/0");
}

TEST(SettingsFallbacks, ATextOffsetStaysAsItWasComputed) {
    EXPECT_EQ(sizes_after("font_size -3\ntext_y_offset 1\nfont_size 20"), "20/20/-3");
    EXPECT_EQ(sizes_after("font_size 10\ntext_y_offset 1\nfont_size 20"), "20/20/10");
    EXPECT_EQ(sizes_after("font_size 20\ntext_y_offset -1"), "20/20/-20");
}

// ---- Against a plain reading ----

namespace {

void expect_as_plain(const std::string &file) {
    Applied applied(file);
    PlainSettings plain;
    plain.apply(file);
    plain.fall_back();
    ASSERT_EQ(applied.str(), dump(plain, plain.left_click_cmd, plain.right_click_cmd))
        << testing::PrintToString(file);
}

} // namespace

TEST(SettingsModel, FilesOfLikelyPiecesMatchThePlainReading) {
    static const std::vector<std::string> pieces = {
        "font_size",
        "line_height",
        "text_y_offset",
        "show_full_paths",
        "remember_last_path",
        "max_file_size",
        "left_click_cmd",
        "remember_last_query",
        "right_click_cmd",
        "word",
        "#",
        " ",
        " ",
        "\t",
        "\r\n",
        "\n",
        "\n",
        "\n",
        "\r",
        "-",
        "-",
        ".",
        ".5",
        "1",
        "20",
        "7",
        "0",
        "4294967301",
        "K",
        "M",
        "G",
        "T",
        "b",
        "B",
        "yes",
        "OK",
        "true",
        "x",
        "\"",
        "9999999999999999999",
        std::string("\0", 1),
        "\xEF\xBB\xBF",
        "= ",
        "\n-",
        " 1.2",
    };
    std::mt19937 random(20260);
    for (int i = 0; i < 20000; i++) {
        std::string file;
        for (unsigned count = static_cast<unsigned>(random() % 40); count > 0; count--) {
            file += pieces[random() % pieces.size()];
        }
        expect_as_plain(file);
    }
}

TEST(SettingsModel, KeysWithRandomValuesMatchThePlainReading) {
    static const std::vector<std::string> keys = {"font_size",     "line_height",     "text_y_offset",
                                                  "max_file_size", "show_full_paths", "left_click_cmd"};
    static const std::string bytes = "0123456789.-- KMGTbB\t\rxyYeskoOK#";
    std::mt19937 random(20261);
    for (int i = 0; i < 20000; i++) {
        std::string file;
        for (unsigned lines = static_cast<unsigned>(random() % 8); lines > 0; lines--) {
            file += keys[random() % keys.size()] + " ";
            for (unsigned count = static_cast<unsigned>(random() % 12); count > 0; count--) {
                file += bytes[random() % bytes.size()];
            }
            file += random() % 4 ? "\n" : "\r\n";
        }
        expect_as_plain(file);
    }
}

TEST(SettingsModel, RandomBytesMatchThePlainReading) {
    std::mt19937 random(20262);
    for (int i = 0; i < 10000; i++) {
        std::string file = random() % 2 ? "max_file_size 5 " : "font_size -";
        for (unsigned count = static_cast<unsigned>(random() % 60); count > 0; count--) {
            file += static_cast<char>(random() % 4 ? random() % 64 : random());
        }
        expect_as_plain(file);
    }
}

// ---- The file and the fonts ----

namespace {

// A folder with a settings file and three fonts that can be told apart by their sizes.
class FontFolder {
public:
    FontFolder() {
        std::string bytes = bytes_of(tree.native_path_of_default_font());
        for (size_t i = 0; i < 3; i++) {
            tree.file(names[i], bytes + std::string(i, 'x'));
        }
        default_size = bytes.size();
    }

    // The font that is loaded after the file has been applied; "none" without one.
    std::string loaded_after(const std::string &settings_file) {
        AppScope app;
        LeakScope replaced_fonts_stay;
        tree.file("settings.txt", settings_file);
        settings_load(str_over(folder()));
        if (font.sizes.capacity == 0) {
            return "none";
        }
        return names[font.file.count - default_size];
    }

    std::string folder() const {
        return tree.path() + "/";
    }

    struct Tree : TestTree {
        std::filesystem::path native_path_of_default_font() const {
            std::string path = default_font_path();
            return std::filesystem::path(std::u8string(path.begin(), path.end()));
        }
    } tree;
    const std::string names[3] = {"source_code_pro.otf", "fonts/x.ttf", "größe y.otf"};
    size_t default_size;
};

} // namespace

TEST(SettingsFont, WithoutAKeyTheDefaultFontIsLoaded) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after(""), "source_code_pro.otf");
}

TEST(SettingsFont, ARelativeNameIsInTheProgramsFolder) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf"), "fonts/x.ttf");
    EXPECT_EQ(fonts.loaded_after("font_file \"fonts/x.ttf\""), "fonts/x.ttf");
    EXPECT_EQ(fonts.loaded_after("font_file größe y.otf\r\n"), "größe y.otf");
}

TEST(SettingsFont, AnAbsoluteNameIsUsedAsItIs) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after("font_file " + fonts.folder() + "fonts/x.ttf"), "fonts/x.ttf");
    EXPECT_EQ(fonts.loaded_after("font_file \"" + fonts.folder() + "fonts/x.ttf\""), "fonts/x.ttf");
    // Not below the folder, though a file of that name is there.
    EXPECT_EQ(fonts.loaded_after("font_file /fonts/x.ttf"), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file \\fonts/x.ttf"), "source_code_pro.otf");
#ifndef _WIN32
    fonts.tree.file("\\b.otf", bytes_of(fonts.tree.native("fonts/x.ttf")));
    EXPECT_EQ(fonts.loaded_after("font_file \\b.otf"), "source_code_pro.otf");
    // A ':' anywhere in a name makes it absolute.
    for (const char *name : {"a:b.otf", ":b.otf", "abc.otf:"}) {
        fonts.tree.file(name, bytes_of(fonts.tree.native("fonts/x.ttf")));
        EXPECT_EQ(fonts.loaded_after("font_file " + std::string(name)), "source_code_pro.otf");
    }
#endif
}

TEST(SettingsFont, OnlyAPairOfQuotesIsRemoved) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after("font_file \"fonts/x.ttf"), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\""), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file \""), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file \"\"fonts/x.ttf\"\""), "source_code_pro.otf");
#ifndef _WIN32
    // A single quote mark is a name; two are an empty name.
    fonts.tree.file("\"", bytes_of(fonts.tree.native("fonts/x.ttf")));
    fonts.tree.file("\"\"", bytes_of(fonts.tree.native("fonts/x.ttf")));
    EXPECT_EQ(fonts.loaded_after("font_file \""), "fonts/x.ttf");
    EXPECT_EQ(fonts.loaded_after("font_file \"\""), "source_code_pro.otf");
#endif
}

TEST(SettingsFont, ALaterOneReplacesAGoodOneEvenWhenItFailsOrIsEmpty) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\nfont_file größe y.otf"), "größe y.otf");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\nfont_file missing.ttf"), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\nfont_file settings.txt"), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\nfont_file \"\""), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf\nfont_file"), "source_code_pro.otf");
    EXPECT_EQ(fonts.loaded_after("font_file missing.ttf\nfont_file fonts/x.ttf"), "fonts/x.ttf");
}

TEST(SettingsFont, WithoutTheDefaultFontThereIsNone) {
    FontFolder fonts;
    std::filesystem::remove(fonts.tree.native("source_code_pro.otf"));
    EXPECT_EQ(fonts.loaded_after(""), "none");
    EXPECT_EQ(fonts.loaded_after("font_file missing.ttf"), "none");
    EXPECT_EQ(fonts.loaded_after("font_file fonts/x.ttf"), "fonts/x.ttf");
}

TEST(SettingsFont, IsLoadedAtOnce) {
    FontFolder fonts;
    AppScope app;
    std::string file = "font_file fonts/x.ttf";
    settings_apply(str_over(file), str_over(fonts.folder()));
    EXPECT_GT(font.sizes.capacity, 0u);
}

TEST(SettingsFont, ANameThatDoesNotFitTheScratchArenaLoadsNoFont) {
    FontFolder fonts;
    EXPECT_EQ(fonts.loaded_after("font_file " + std::string(1000000, 'x') + "\n"), "source_code_pro.otf");
}

TEST(SettingsFont, TheDefaultFontIsLoadedHoweverFullTheScratchArenaIs) {
    FontFolder fonts;
    uint64_t rest = 1000000 - (fonts.folder() + "settings.txt").size() - 1 - fonts.folder().size() - 1;
    // The name of a missing font leaves this many bytes free.
    for (uint64_t left : {uint64_t{0}, uint64_t{10}, fonts.folder().size() + strlen("source_code_pro.otf")}) {
        EXPECT_EQ(fonts.loaded_after("font_file " + std::string(rest - left, 'x')), "source_code_pro.otf");
    }
    AppScope app;
    scratch->capacity = 0;
    settings_apply_fallbacks(str_over(fonts.folder()));
    EXPECT_GT(font.sizes.capacity, 0u);
}

TEST(SettingsFont, AFolderTooLongForAPathHasNoDefaultFont) {
    AppScope app;
    for (size_t length : {4000u, 4096u, 100000u}) {
        settings_apply_fallbacks(str_over(std::string(length, 'x') + "/"));
        EXPECT_EQ(font.sizes.capacity, 0u);
    }
}

TEST(SettingsFile, IsKeptWithItsClickCommands) {
    AppScope app;
    TestTree tree;
    tree.file("settings.txt", "left_click_cmd a b\r\nmax_file_size 5K\r\n");
    settings_load(str_over(tree.path() + "/"));
    EXPECT_EQ(to_string(settings.file), "left_click_cmd a b\r\nmax_file_size 5K\r\n");
    EXPECT_EQ(settings.left_click_cmd.data, settings.file.data + 15);
    EXPECT_EQ(to_string(settings.left_click_cmd), "a b");
    EXPECT_EQ(search_state.max_file_size, 5000); // the worker's copy
}

TEST(SettingsFile, TheWorkerGetsTheLimitAfterTheFallbacks) {
    AppScope app;
    TestTree tree;
    tree.file("settings.txt", "max_file_size 1M-2M");
    settings_load(str_over(tree.path() + "/"));
    EXPECT_EQ(search_state.max_file_size, 0);
}

TEST(SettingsFile, AMissingOneLeavesAllDefaults) {
    AppScope app;
    TestTree tree;
    search_state.max_file_size = 1;
    settings_load(str_over(tree.path() + "/"));
    EXPECT_EQ(dump(settings, to_string(settings.left_click_cmd), to_string(settings.right_click_cmd)),
              defaults);
    EXPECT_EQ(search_state.max_file_size, 10000000);
    EXPECT_EQ(settings.file.data, nullptr);
    tree.folder("settings.txt"); // a folder cannot be read either
    settings_load(str_over(tree.path() + "/"));
    EXPECT_EQ(settings.font_size, 14);
}

TEST(SettingsExtensions, ReadersAreANumberUpTo64AndNoneOtherwise) {
    const auto readers_after = [](const std::string &file) {
        return Applied(file).before_fallbacks.reader_count;
    };
    EXPECT_EQ(readers_after(""), 0u);
    for (uint32_t count : {0u, 1u, 8u, 63u, 64u}) {
        EXPECT_EQ(readers_after("readers " + std::to_string(count)), count);
    }
    EXPECT_EQ(readers_after("readers 008 \r\n"), 8u);
    for (const char *value : {"65", "100", "4294967297", "18446744073709551617", "-1", "+8", "8x", "x8",
                              "8 8", "8.0", "0x8", "eight", "# 8"}) {
        EXPECT_EQ(readers_after(std::string("readers ") + value), 0u) << value;
    }
    EXPECT_EQ(readers_after("readers"), 0u);
    EXPECT_EQ(readers_after("readers 8\nreaders x"), 0u); // the last one wins
    EXPECT_EQ(readers_after("Readers 8"), 0u);
}

TEST(SettingsExtensions, TheWorkerIsHandedTheReaders) {
    TestTree tree;
    for (uint32_t count : {8u, 0u}) {
        AppScope app;
        tree.file("settings.txt", "readers " + std::to_string(count));
        settings_load(str_over(tree.path() + "/"));
        EXPECT_EQ(search_state.reader_count, count);
    }
}

TEST(SettingsExtensions, StatusLineIsABoolean) {
    const auto is_on = [](const std::string &file) { return Applied(file).before_fallbacks.status_line; };
    EXPECT_EQ(is_on(""), 0);
    for (const char *value : {"1", "y", "ok", "yes", "true", "Yes \r\n"}) {
        EXPECT_EQ(is_on(std::string("status_line ") + value), 1) << value;
    }
    for (const char *value : {"", "no", "0", "on", "yes please"}) {
        EXPECT_EQ(is_on(std::string("status_line ") + value), 0) << value;
    }
    EXPECT_EQ(is_on("status_line yes\nstatus_line no"), 0);
    EXPECT_EQ(is_on("Status_line yes"), 0);
}

TEST(SettingsExtensions, TheWorkerCountsForTheStatusLine) {
    TestTree tree;
    for (uint8_t is_on : {uint8_t{1}, uint8_t{0}}) {
        AppScope app;
        tree.file("settings.txt", is_on ? "status_line yes" : "# status_line yes");
        settings_load(str_over(tree.path() + "/"));
        EXPECT_EQ(search_state.keeps_counts, is_on);
    }
}

TEST(SettingsExtensions, IgnoreCaseIsABoolean) {
    const auto is_on = [](const std::string &file) { return Applied(file).before_fallbacks.ignore_case; };
    for (const char *value : {"1", "y", "ok", "yes", "true", "Yes \r\n"}) {
        EXPECT_EQ(is_on(std::string("ignore_case ") + value), 1) << value;
    }
    for (const char *value : {"", "no", "0", "false", "on", "yes please"}) {
        EXPECT_EQ(is_on(std::string("ignore_case ") + value), 0) << value;
    }
    EXPECT_EQ(is_on(""), 0);
    EXPECT_EQ(is_on("ignore_case yes\nignore_case no"), 0);
    EXPECT_EQ(is_on("Ignore_case yes"), 0);
}

TEST(SettingsExtensions, SkipFoldersAreTheirLineVerbatim) {
    const auto names = [](const std::string &file) {
        Applied applied(file);
        return to_string(settings.skip_folders);
    };
    EXPECT_EQ(names("skip_folders .git  node_modules\tbuild \r\n"), ".git  node_modules\tbuild");
    EXPECT_EQ(names("skip_folders \"two words\" # x"), "\"two words\" # x");
    EXPECT_EQ(names(""), "");
    EXPECT_EQ(names("skip_folders .git\nskip_folders build"), "build"); // not both
}

TEST(SettingsExtensions, SkipFoldersWithoutNamesTakeTheNextLine) {
    Applied applied("skip_folders \t\r\nfont_size 20\nshow_full_paths yes\nskip_folders_not a");
    EXPECT_EQ(to_string(settings.skip_folders), "font_size 20");
    EXPECT_EQ(applied.before_fallbacks.font_size, 0);
    EXPECT_TRUE(settings.show_full_paths);
    Applied at_the_end("skip_folders \t\r\n \n");
    EXPECT_EQ(settings.skip_folders.count, 0u); // so nothing is skipped
}

TEST(SettingsExtensions, TheWorkerIsHandedIgnoreCaseAndSkipFolders) {
    TestTree tree;
    for (bool is_set : {true, false}) {
        AppScope app;
        tree.file("settings.txt", is_set ? "ignore_case yes\nskip_folders a b\n" : "# nothing\n");
        settings_load(str_over(tree.path() + "/"));
        EXPECT_EQ(search_state.ignore_case, is_set);
        EXPECT_EQ(to_string(search_state.skip_folders), is_set ? "a b" : "");
    }
}

TEST(SettingsExtensions, Utf8TextIsABooleanForTheDrawing) {
    FontFolder fonts;
    const auto is_on = [&](const std::string &file) {
        AppScope app;
        fonts.tree.file("settings.txt", file);
        settings_load(str_over(fonts.folder()));
        return text_is_utf8;
    };
    EXPECT_FALSE(is_on(""));
    EXPECT_TRUE(is_on("utf8_text Yes\r\n"));
    EXPECT_FALSE(is_on("utf8_text on"));
    EXPECT_FALSE(is_on("Utf8_text yes"));
    EXPECT_FALSE(is_on("utf8_text yes\nutf8_text no"));
    EXPECT_TRUE(is_on("utf8_text no\nutf8_text yes"));
}

TEST(SettingsExtensions, TheFallbackFontIsFoundLikeTheFont) {
    FontFolder fonts;
    const auto fallback_after = [&](const std::string &file) {
        AppScope app;
        LeakScope files_that_are_no_fonts_stay;
        fonts.tree.file("settings.txt", file);
        settings_load(str_over(fonts.folder()));
        EXPECT_EQ(fonts.names[font.file.count - fonts.default_size], "source_code_pro.otf");
        return fallback_font.file.data ? fonts.names[fallback_font.file.count - fonts.default_size] : "none";
    };
    const std::string on = "utf8_text yes\nfallback_font ";
    EXPECT_EQ(fallback_after(on + "fonts/x.ttf"), "fonts/x.ttf");
    EXPECT_EQ(fallback_after(on + "\"größe y.otf\"\r\n"), "größe y.otf");
    EXPECT_EQ(fallback_after(on + fonts.folder() + "fonts/x.ttf"), "fonts/x.ttf");
    EXPECT_EQ(fallback_after(on + "/fonts/x.ttf"), "none");
    EXPECT_EQ(fallback_after(on + "missing.ttf"), "none");
    EXPECT_EQ(fallback_after(on + "settings.txt"), "none"); // not a font
    EXPECT_EQ(fallback_after(on + "\"\""), "none");
    EXPECT_EQ(fallback_after(on), "none");
    EXPECT_EQ(fallback_after("utf8_text yes"), "none");
    EXPECT_EQ(fallback_after(on + "missing.ttf\nfallback_font fonts/x.ttf"), "fonts/x.ttf");
    EXPECT_EQ(fallback_after(on + "fonts/x.ttf\nfallback_font missing.ttf"), "none");
    EXPECT_EQ(fallback_after("fallback_font fonts/x.ttf\nutf8_text yes"), "fonts/x.ttf");
}

TEST(SettingsExtensions, AFallbackFontWithoutUtf8TextIsNotLoaded) {
    FontFolder fonts;
    AppScope app;
    fonts.tree.file("settings.txt", "fallback_font fonts/x.ttf\nutf8_text no\n");
    settings_load(str_over(fonts.folder()));
    EXPECT_FALSE(fallback_font.file.data);
}

TEST(SettingsFile, TheSizesAreUsableWhicheverAllocationFails) {
    FontFolder fonts;
    fonts.tree.file("settings.txt", "font_size 20\nfont_file fonts/x.ttf\nleft_click_cmd a");
    for (int failing = 0, asked = 0; failing <= asked; failing++) {
        AppScope app;
        LeakScope replaced_fonts_stay;
        asked = 0;
        {
            HeapHookScope hook([&](uint64_t) { return asked++ != failing; });
            settings_load(str_over(fonts.folder()));
        }
        if (settings.file.data) {
            EXPECT_EQ(settings.font_size, 20);
            EXPECT_EQ(to_string(settings.left_click_cmd), "a");
        } else {
            EXPECT_EQ(settings.font_size, 14);
            EXPECT_EQ(to_string(settings.left_click_cmd), default_left);
        }
        EXPECT_GT(font.sizes.capacity, 0u); // the named or the default font
    }
}

// ---- The file that ships with the program ----

TEST(SettingsExtensions, ListKeysAreOffUnlessTrue) {
    const auto list_keys_after = [](const std::string &file) {
        return Applied(file).before_fallbacks.list_keys;
    };
    EXPECT_EQ(list_keys_after(""), 0);
    EXPECT_EQ(list_keys_after("list_keys yes"), 1);
    EXPECT_EQ(list_keys_after("list_keys no"), 0);
    EXPECT_EQ(list_keys_after("list_keys"), 0);
    EXPECT_EQ(list_keys_after("list_keys yes\nlist_keys 0"), 0);
}

namespace {

const std::vector<std::string> keys = {
    "font_file",          "font_size",           "line_height",   "text_y_offset",  "show_full_paths",
    "remember_last_path", "remember_last_query", "max_file_size", "left_click_cmd", "right_click_cmd",
};

// As shipped these are comments as well.
const std::vector<std::string> extension_keys = {"status_line", "ignore_case", "skip_folders",
                                                 "list_keys",   "utf8_text",   "fallback_font"};

#ifdef _WIN32
#define COMMANDS_FILE "settings_win32.txt"
const std::string editors_heading = "## Editors";
#else
#define COMMANDS_FILE "settings_linux.txt"
const std::string editors_heading = "## Editors on Linux";
#endif

// With Windows or other line ends.
std::string packaged_settings(const std::string &line_end) {
    std::string file;
    for (char byte : bytes_of(std::filesystem::path(SOURCE_FOLDER "/src/app/settings.txt")) +
                         bytes_of(std::filesystem::path(SOURCE_FOLDER "/src/app/" COMMANDS_FILE))) {
        file += byte == '\n' ? line_end : std::string(1, byte);
    }
    return file;
}

// The lines for editors in the user guide.
std::vector<std::string> editor_lines() {
    std::vector<std::string> lines;
    std::istringstream guide(bytes_of(std::filesystem::path(SOURCE_FOLDER "/docs/user_guide.md")));
    bool in_editors = false;
    for (std::string line; std::getline(guide, line);) {
        if (line.starts_with("## ")) {
            in_editors = line == editors_heading;
        } else if (in_editors && line.starts_with("left_click_cmd ")) {
            lines.push_back(line);
        }
    }
    return lines;
}

size_t expected_lines(const std::string &key) {
    return key == "left_click_cmd" ? 1 + editor_lines().size() : 1;
}

// Counts the lines that begin with "# " and the key. Optionally removes the first one's "# ".
size_t count_key_lines(std::string *file, const std::string &key, bool without_hash) {
    size_t count = 0;
    std::string mark = "\n# ";
    for (size_t at = 0; (at = file->find(mark + key + " ", at)) != std::string::npos; at++) {
        count++;
        if (without_hash && count == 1) {
            file->erase(at + 1, mark.size() - 1);
        }
    }
    return count;
}

} // namespace

TEST(PackagedSettings, ChangeOnlyTheReadersAsShipped) {
    for (const char *line_end : {"\n", "\r\n"}) {
        std::string file = packaged_settings(line_end);
        EXPECT_EQ(Applied(file).str(), defaults);
        EXPECT_EQ(Applied(file).before_fallbacks.font_size, 0); // not even set to the same values
        EXPECT_EQ(Applied(file).before_fallbacks.reader_count, 8u);
        EXPECT_EQ(FontFolder().loaded_after(file), "source_code_pro.otf");
    }
}

TEST(PackagedSettings, NameEveryKeyWithItsDefault) {
    for (const char *line_end : {"\n", "\r\n"}) {
        std::string file = packaged_settings(line_end);
        for (const std::string &key : keys) {
            EXPECT_EQ(count_key_lines(&file, key, true), expected_lines(key)) << key;
        }
        // Now every key is read: the sizes and the commands come from the file.
        Applied applied(file);
        EXPECT_EQ(applied.str(), defaults);
        EXPECT_EQ(applied.before_fallbacks.font_size, 14);
        EXPECT_EQ(applied.before_fallbacks.line_height, 15);
        EXPECT_EQ(applied.before_fallbacks.text_y_offset, 12);
        for (Str command : {settings.left_click_cmd, settings.right_click_cmd}) {
            EXPECT_GE(command.data, applied.block.data());
            EXPECT_LT(command.data, applied.block.data() + applied.block.size());
        }
        EXPECT_EQ(FontFolder().loaded_after(file), "source_code_pro.otf");
    }
}

TEST(PackagedSettings, AreCommentsThatTellKeysFromWords) {
    std::string file = packaged_settings("\r\n");
    for (const std::string &key : keys) {
        EXPECT_EQ(count_key_lines(&file, key, false), expected_lines(key)) << key;
    }
    size_t lines = 0, key_lines = 0;
    for (size_t at = 0; at < file.size(); at = file.find('\n', at) + 1) {
        lines++;
        key_lines += file.compare(at, 2, "# ") == 0;
        EXPECT_TRUE(file[at] == '#' || file[at] == '\r' || file.compare(at, 11, "readers 8\r\n") == 0)
            << file.substr(at, 20);
    }
    // All other comments begin with "## ".
    EXPECT_EQ(key_lines, keys.size() + extension_keys.size() + editor_lines().size());
    EXPECT_GT(lines, 3 * keys.size());
}

TEST(PackagedSettings, NameEveryExtension) {
    for (const char *line_end : {"\n", "\r\n"}) {
        std::string file = packaged_settings(line_end);
        for (const std::string &key : extension_keys) {
            EXPECT_EQ(count_key_lines(&file, key, true), 1u) << key;
        }
        Applied applied(file);
        EXPECT_TRUE(settings.status_line);
        EXPECT_TRUE(settings.ignore_case);
        EXPECT_TRUE(settings.list_keys);
        EXPECT_EQ(to_string(settings.skip_folders), ".git node_modules build");
        EXPECT_TRUE(settings.utf8_text);
        EXPECT_EQ(to_string(settings.fallback_font), "fallback.ttf");
    }
}

TEST(PackagedSettings, HaveALineForEachEditorOfTheGuide) {
    ASSERT_FALSE(editor_lines().empty());
    for (const std::string line_end : {"\n", "\r\n"}) {
        for (const std::string &line : editor_lines()) {
            std::string file = packaged_settings(line_end);
            size_t at = file.find("\n# " + line + line_end);
            ASSERT_NE(at, std::string::npos) << line;
            file.erase(at + 1, 2); // "# "
            EXPECT_EQ("left_click_cmd " + left_after(file), line);
        }
    }
}
