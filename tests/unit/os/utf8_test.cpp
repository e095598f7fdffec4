#include "os/utf8.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "os/plain_utf8.h"
#include "support/test_tree.h"

namespace {

// As code points, with * for each invalid byte.
std::string split(const std::string &text) {
    std::string codes;
    for (uint64_t at = 0; at < text.size();) {
        Utf8Character character = utf8_at(str_over(text), at);
        codes += character.is_valid ? std::to_string(character.code) + " " : "*";
        at += character.length;
    }
    return codes;
}

std::string without_cut(const std::string &text) {
    return to_string(utf8_without_cut(str_over(text)));
}

} // namespace

TEST(Utf8, EveryCodePointIsACharacterButSurrogates) {
    for (uint32_t code = 0; code <= 0x10FFFF; code++) {
        const std::string bytes = plain_encoded(code);
        ASSERT_EQ(bytes.empty(), code >= 0xD800 && code < 0xE000);
        if (!bytes.empty()) {
            Utf8Character character = utf8_at(str_over(bytes), 0);
            ASSERT_TRUE(character.is_valid && !character.is_cut) << code;
            ASSERT_EQ(character.code, code);
            ASSERT_EQ(character.length, bytes.size());
        }
    }
}

TEST(Utf8, OverlongFormsSurrogatesAndWhatLiesBeyondUnicodeAreBytes) {
    EXPECT_EQ(split("\xC0\x80"), "**");
    EXPECT_EQ(split("\xC1\xBF"), "**");
    EXPECT_EQ(split("\xE0\x9F\xBF"), "***");
    EXPECT_EQ(split("\xF0\x8F\xBF\xBF"), "****");
    EXPECT_EQ(split("\xED\xA0\x80\xED\xBF\xBF"), "******");
    EXPECT_EQ(split("\xF4\x90\x80\x80"), "****");
    EXPECT_EQ(split("\xF5\x80\x80\x80\xFE\xFF\x80"), "*******");
}

TEST(Utf8, AnIncompleteCharacterIsItsBytes) {
    EXPECT_EQ(split("\xE4\xBD"
                    "a"),
              "**97 ");
    EXPECT_EQ(split("\xE4\xBD\xE4\xBD\xA0"), "**20320 ");
    EXPECT_EQ(split("\xF0\x9F\x98"), "***");
}

TEST(Utf8, OnlyTheTextsEndCutsACharacter) {
    const auto is_cut = [](const std::string &text) { return utf8_at(str_over(text), 0).is_cut; };
    EXPECT_TRUE(is_cut("\xC3"));
    EXPECT_TRUE(is_cut("\xF0\x9F\x98"));
    EXPECT_FALSE(is_cut("\xC3\xA9"));
    EXPECT_FALSE(is_cut("\xC3"
                        "a"));
    EXPECT_FALSE(is_cut("\xF0\x9F"
                        "a"));
    for (const char *never : {"\x80", "\xC0", "\xF5", "\xFF", "\xE0\x9F", "\xED\xA0"}) {
        EXPECT_FALSE(is_cut(never)) << never;
    }
}

TEST(Utf8, WithoutWhatTheEndHasCut) {
    EXPECT_EQ(without_cut(""), "");
    EXPECT_EQ(without_cut("a\xC3"), "a");
    EXPECT_EQ(without_cut("\xF0\x9F\x98"), "");
    EXPECT_EQ(without_cut("\xE4\xBD\xA0\xE4\xBD"), "\xE4\xBD\xA0");
    for (const char *whole :
         {"a", "\xC3\xA9", "\xE4\xBD\xA0", "a\x80", "\xFF", "\xC3\xA9\xA9", "\x80\x80\x80\x80"}) {
        EXPECT_EQ(without_cut(whole), whole);
    }
}

TEST(Utf8, EveryCodePointIsEncoded) {
    const auto encoded = [](uint32_t code) {
        char bytes[4];
        return std::string(bytes, utf8_encode(code, bytes));
    };
    for (uint32_t code = 0; code <= 0x10FFFF; code++) {
        if (code < 0xD800 || code >= 0xE000) {
            ASSERT_EQ(encoded(code), plain_encoded(code)) << code;
        }
    }
    EXPECT_EQ(encoded(0xD800), "\xED\xA0\x80");
    EXPECT_EQ(encoded(0xDFFF), "\xED\xBF\xBF");
    EXPECT_EQ(encoded(0x1FFFFF), "\xF7\xBF\xBF\xBF");
    EXPECT_EQ(encoded(0x200000), "");
    EXPECT_EQ(encoded(UINT32_MAX), "");
}

TEST(Utf8, ThreeBytesMayBeginEarlierWhenEncoding) {
    char bytes[4];
    EXPECT_EQ(std::string(bytes, utf8_encode(0x700, bytes, 0x700)), "\xDC\x80");
    EXPECT_EQ(std::string(bytes, utf8_encode(0x701, bytes, 0x700)), "\xE0\x9C\x81");
}

// Each in a block of its size, so that AddressSanitizer sees a read past the end.
TEST(Utf8, RandomBytesAreSplitAsThePlainRulesSay) {
    std::mt19937 random(23);
    static const std::string likely = "a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xE4\xED\xEF\xF0\xF4\xF5";
    for (int round = 0; round < 20000; round++) {
        std::string text;
        for (size_t length = random() % 12; length > 0; length--) {
            text += random() % 4 ? likely[random() % likely.size()] : static_cast<char>(random());
        }
        std::unique_ptr<char[]> exact(new char[text.size()]);
        std::copy(text.begin(), text.end(), exact.get());
        const Str str = {text.size(), exact.get()};
        uint64_t at = 0;
        for (const PlainCharacter &plain : plain_characters(text)) {
            const uint64_t end = at + plain.bytes.size();
            Utf8Character found = utf8_at(str, at);
            ASSERT_EQ(found.is_valid, plain.is_valid);
            ASSERT_EQ(found.code, plain.code);
            for (uint64_t inside = at; inside < end; inside++) {
                ASSERT_EQ(utf8_start(str, inside), at);
                ASSERT_EQ(utf8_end(str, inside), end);
            }
            at = end;
        }
        ASSERT_EQ(utf8_start(str, text.size()), text.size());
    }
}
