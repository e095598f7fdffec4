// The fields with the setting utf8_text.

#include <gtest/gtest.h>

#include <string>

#include "os/plain_utf8.h"
#include "render/font_scope.h"
#include "render/utf8_scope.h"
#include "support/picture.h"
#include "ui/edited_field.h"
#include "ui/field_widget.h"
#include "ui/saved_lists_scope.h"

namespace {

// é, 你 and 😀, of two, three and four bytes, and an invalid byte.
const std::string mixed = "\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80\xE4.";

struct Utf8Flag {
    Utf8Flag() {
        text_is_utf8 = true;
    }
    ~Utf8Flag() {
        text_is_utf8 = false;
    }
    Utf8Flag(const Utf8Flag &) = delete;
    Utf8Flag &operator=(const Utf8Flag &) = delete;
};

int32_t caret_of(const Editor &editor) {
    EXPECT_EQ(input_field.caret_list.count, 1u);
    EXPECT_EQ(field_carets()[0].anchor, field_carets()[0].caret) << editor.state();
    return field_carets()[0].caret;
}

} // namespace

TEST(Utf8Editor, ArrowsMoveByCharactersAndInvalidBytes) {
    Utf8Flag utf8;
    Editor editor(mixed, {{0, 0}});
    for (int32_t place : {2, 5, 9, 10, 11, 11}) {
        EXPECT_EQ(editor.key(KEY_RIGHT), REDRAW);
        EXPECT_EQ(caret_of(editor), place);
    }
    for (int32_t place : {10, 9, 5, 2, 0, 0}) {
        EXPECT_EQ(editor.key(KEY_LEFT), REDRAW);
        EXPECT_EQ(caret_of(editor), place);
    }
}

TEST(Utf8Editor, FromInsideACharacterACaretMovesToItsEnds) {
    Utf8Flag utf8;
    for (int32_t inside : {6, 7, 8}) {
        Editor editor(mixed, {{inside, inside}});
        editor.key(KEY_LEFT);
        EXPECT_EQ(caret_of(editor), 5);
        field_set_single_caret(inside, inside);
        editor.key(KEY_RIGHT);
        EXPECT_EQ(caret_of(editor), 9);
    }
}

TEST(Utf8Editor, BackspaceAndDeleteRemoveACharacterOrAnInvalidByte) {
    Utf8Flag utf8;
    Editor backwards(mixed, {{10, 10}});
    for (const std::string rest :
         {"\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80.", "\xC3\xA9\xE4\xBD\xA0.", "\xC3\xA9.", ".", "."}) {
        EXPECT_EQ(backwards.key(KEY_BACKSPACE), SEARCH);
        EXPECT_EQ(to_string(strbuf_text(&backwards.text)), rest);
    }
    Editor forwards("\x80\xFF\xE4\xBD\xA0", {{0, 0}});
    for (const std::string rest : {"\xFF\xE4\xBD\xA0", "\xE4\xBD\xA0", "", ""}) {
        EXPECT_EQ(forwards.key(KEY_DELETE), SEARCH);
        EXPECT_EQ(to_string(strbuf_text(&forwards.text)), rest);
    }
}

TEST(Utf8Editor, WordsAreTheSame) {
    const std::string words = "\xC3\xA9\xE4\xBD\xA0 \xF0\x9F\x98\x80 x";
    for (bool is_utf8 : {false, true}) {
        text_is_utf8 = is_utf8;
        Editor editor(words, {{0, 0}});
        editor.key_with({KEY_CTRL}, KEY_RIGHT);
        EXPECT_EQ(caret_of(editor), 5);
        editor.key_with({KEY_CTRL}, KEY_RIGHT);
        EXPECT_EQ(caret_of(editor), 10);
        editor.key_with({KEY_CTRL}, KEY_LEFT);
        EXPECT_EQ(caret_of(editor), 6);
        editor.key_with({KEY_CTRL}, KEY_BACKSPACE);
        EXPECT_EQ(editor.state(), "\xF0\x9F\x98\x80 x {0,0}");
    }
    text_is_utf8 = false;
}

TEST(Utf8Editor, TypingAnEmojiJoinsItsTwoUnits) {
    Utf8Flag utf8;
    Editor editor("abc", {{1, 2}});
    EXPECT_EQ(editor.type(0xD83D), NOTHING);
    EXPECT_EQ(editor.state(), "abc {1,2}"); // the selection waits for the second unit
    editor.key(0xE7);                       // the keys of the units come in between
    editor.key(0xE7, KEY_RELEASED);
    EXPECT_EQ(editor.type(0xDE00), SEARCH);
    EXPECT_EQ(editor.state(), "a\xF0\x9F\x98\x80"
                              "c {5,5}");
    editor.type(0xDBFF);
    editor.type(0xDFFF);
    EXPECT_EQ(editor.state(), "a\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"
                              "c {9,9}");
}

TEST(Utf8Editor, ALoneUnitOfAPairTypesNothing) {
    Utf8Flag utf8;
    Editor editor("abc", {{0, 3}});
    EXPECT_EQ(editor.type(0xDE00), NOTHING);
    EXPECT_EQ(editor.type(0xD83D), NOTHING);
    EXPECT_EQ(editor.type(0xD83E), NOTHING); // replaces it
    EXPECT_EQ(editor.state(), "abc {0,3}");
    EXPECT_EQ(editor.type(0xDD14), SEARCH);
    EXPECT_EQ(editor.state(), "\xF0\x9F\xA4\x94 {4,4}");
    EXPECT_EQ(editor.type(0xD83D), NOTHING);
    EXPECT_EQ(editor.type('x'), SEARCH); // the first unit is dropped
    EXPECT_EQ(editor.type(0xDE00), NOTHING);
    EXPECT_EQ(editor.state(), "\xF0\x9F\xA4\x94x {5,5}");
}

TEST(Utf8Editor, WhatIsTypedIsValid) {
    Utf8Flag utf8;
    for (uint32_t code : {0x7Fu, 0x80u, 0x700u, 0x701u, 0x7FFu, 0x800u, 0xD7FFu, 0xE000u, 0xFFFFu}) {
        Editor editor("", {{0, 0}});
        EXPECT_EQ(editor.type(code), SEARCH);
        EXPECT_EQ(to_string(strbuf_text(&editor.text)), plain_encoded(code)) << code;
    }
}
