// What each key and each character does, mostly with one caret.
#include "ui/line_editor.h"

#include <gtest/gtest.h>

#include <string.h>

#include <initializer_list>
#include <set>
#include <string>
#include <vector>

#include "ui/edited_field.h"

using namespace std::string_literals;

// ---- Words and characters ----

TEST(LineEditorWord, CtrlLeftFromTheEndStopsAfterTheSpace) {
    Editor editor("foo bar", {{7, 7}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_LEFT), REDRAW);
    EXPECT_EQ(editor.state(), "foo bar {4,4}");
}

TEST(LineEditorWord, CtrlRightFromTheStartStopsBeforeTheSpace) {
    Editor editor("foo bar", {{0, 0}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_RIGHT), REDRAW);
    EXPECT_EQ(editor.state(), "foo bar {3,3}");
}

TEST(LineEditorWord, AnUnderscoreIsNotASeparator) {
    Editor editor("a_b", {{3, 3}});
    editor.key_with({KEY_CTRL}, KEY_LEFT);
    EXPECT_EQ(editor.state(), "a_b {0,0}");
}

TEST(LineEditorWord, AWordMoveAlwaysPassesOneCharacter) {
    Editor editor("a  b", {{2, 2}});
    editor.key_with({KEY_CTRL}, KEY_LEFT);
    EXPECT_EQ(editor.state(), "a  b {0,0}"); // the space, then the word before it
    editor.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(editor.state(), "a  b {1,1}");
    editor.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(editor.state(), "a  b {2,2}");
    editor.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(editor.state(), "a  b {4,4}");
}

TEST(LineEditorWord, ExactlyNineteenBytesEndAWord) {
    const char separators[] = "\t\n !()+,-./:;?[\\]{}";
    for (int byte = 0; byte < 256; byte++) {
        std::string text = {'a', static_cast<char>(byte), 'b'};
        bool separates = byte != 0 && strchr(separators, byte);
        Editor right(text, {{0, 0}});
        right.key_with({KEY_CTRL}, KEY_RIGHT);
        EXPECT_EQ(field_carets()[0].caret, separates ? 1 : 3) << byte;
        field_set_single_caret(3, 3);
        right.key_with({KEY_CTRL}, KEY_LEFT);
        EXPECT_EQ(field_carets()[0].caret, separates ? 2 : 0) << byte;
    }
    EXPECT_EQ(strlen(separators), 19u);
}

TEST(LineEditorCharacter, RightMovesAsFarAsTheLeadByteSays) {
    const auto length = [](int lead) {
        return lead < 0xC0   ? 1
               : lead < 0xE0 ? 2
               : lead < 0xF0 ? 3
               : lead < 0xF8 ? 4
               : lead < 0xFC ? 5
               : lead < 0xFE ? 6
               : lead < 0xFF ? 7
                             : 8;
    };
    for (int lead = 0; lead < 256; lead++) {
        Editor editor(std::string(1, static_cast<char>(lead)) + "xxxxxxxxx", {{0, 0}});
        editor.key(KEY_RIGHT);
        EXPECT_EQ(field_carets()[0].caret, length(lead)) << lead;
    }
}

TEST(LineEditorCharacter, RightOverACutCharacterStopsAtTheEnd) {
    for (const char *text : {"\xC3", "\xE4\xBD", "\xF0", "\xFF\x80\x80"}) {
        Editor editor(text, {{0, 0}});
        editor.key(KEY_RIGHT);
        int32_t end = static_cast<int32_t>(strlen(text));
        EXPECT_EQ(field_carets()[0].caret, end);
        EXPECT_EQ(field_carets()[0].anchor, end);
    }
}

TEST(LineEditorCharacter, LeftSkipsContinuationBytes) {
    Editor editor("a\xF0\x9F\x98\x80", {{5, 5}});
    editor.key(KEY_LEFT);
    EXPECT_EQ(field_carets()[0].caret, 1);
    Editor stray("\x80\x80\x80", {{3, 3}});
    stray.key(KEY_LEFT);
    EXPECT_EQ(field_carets()[0].caret, 0);
    // A stray continuation byte belongs to the character before it.
    Editor after_space("a \x80", {{3, 3}});
    after_space.key(KEY_LEFT);
    EXPECT_EQ(field_carets()[0].caret, 1);
}

TEST(LineEditorCharacter, ZeroBytesAndLineFeedsAreCharacters) {
    Editor editor("a\0\nb"s, {{0, 0}});
    editor.key(KEY_RIGHT);
    editor.key(KEY_RIGHT);
    editor.key(KEY_RIGHT);
    EXPECT_EQ(editor.state(), "a\0\nb {3,3}"s);
    editor.key(KEY_BACKSPACE);
    editor.key(KEY_BACKSPACE);
    EXPECT_EQ(editor.state(), "ab {1,1}");
}

// ---- Moving ----

TEST(LineEditorMove, StopsAtBothEnds) {
    Editor editor("ab", {{0, 0}});
    EXPECT_EQ(editor.key(KEY_LEFT), REDRAW);
    EXPECT_EQ(editor.state(), "ab {0,0}");
    editor.key_with({KEY_CTRL}, KEY_LEFT);
    EXPECT_EQ(editor.state(), "ab {0,0}");
    editor.key(KEY_RIGHT);
    editor.key(KEY_RIGHT);
    EXPECT_EQ(editor.key(KEY_RIGHT), REDRAW);
    EXPECT_EQ(editor.state(), "ab {2,2}");
    editor.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(editor.state(), "ab {2,2}");
}

TEST(LineEditorMove, ShiftMovesTheCaretAndLeavesTheAnchor) {
    Editor editor("foo bar", {{3, 3}});
    editor.hold(KEY_SHIFT);
    EXPECT_EQ(editor.key(KEY_RIGHT), REDRAW);
    EXPECT_EQ(editor.state(), "foo bar {3,4}");
    editor.key(KEY_LEFT);
    editor.key(KEY_LEFT);
    EXPECT_EQ(editor.state(), "foo bar {3,2}");
    editor.hold(KEY_CTRL);
    editor.key(KEY_RIGHT);
    EXPECT_EQ(editor.state(), "foo bar {3,3}");
    editor.key(KEY_RIGHT);
    EXPECT_EQ(editor.state(), "foo bar {3,7}");
    editor.key(KEY_LEFT);
    editor.key(KEY_LEFT);
    EXPECT_EQ(editor.state(), "foo bar {3,0}");
}

TEST(LineEditorMove, WithoutShiftASelectionCollapsesToItsEndOnThatSide) {
    for (Caret selection : {Caret{2, 5}, Caret{5, 2}}) {
        Editor left("foo bar", {selection});
        left.key(KEY_LEFT);
        EXPECT_EQ(left.state(), "foo bar {2,2}");
        Editor right("foo bar", {selection});
        right.key(KEY_RIGHT);
        EXPECT_EQ(right.state(), "foo bar {5,5}");
    }
}

TEST(LineEditorMove, CtrlWithASelectionOnlyCollapsesIt) {
    Editor left("foo bar", {{2, 5}});
    left.key_with({KEY_CTRL}, KEY_LEFT);
    EXPECT_EQ(left.state(), "foo bar {2,2}");
    Editor right("foo bar", {{2, 5}});
    right.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(right.state(), "foo bar {5,5}");
}

TEST(LineEditorMove, DoesNotMergeCaretsThatMeet) {
    Editor editor("abc", {{0, 0}, {1, 1}});
    editor.key(KEY_LEFT);
    EXPECT_EQ(editor.state(), "abc {0,0} {0,0}");
}

TEST(LineEditorMove, MovesEveryCaret) {
    Editor editor("foo bar baz", {{11, 11}, {0, 0}, {5, 6}});
    editor.key_with({KEY_CTRL}, KEY_RIGHT);
    EXPECT_EQ(editor.state(), "foo bar baz {11,11} {3,3} {6,6}");
}

TEST(LineEditorMove, WithoutACaretOnlyTheRedrawIsReported) {
    Editor editor("abc", {});
    EXPECT_EQ(editor.key(KEY_LEFT), REDRAW);
    EXPECT_EQ(editor.key(KEY_RIGHT), REDRAW);
    EXPECT_EQ(editor.state(), "abc");
}

// ---- Home and End ----

TEST(LineEditorEdge, EndAndHomeMakeOneCaretThere) {
    Editor editor("abc", {{1, 2}, {0, 0}});
    EXPECT_EQ(editor.key(KEY_END), REDRAW);
    EXPECT_EQ(editor.state(), "abc {3,3}");
    Editor other("abc", {{1, 2}, {0, 0}});
    EXPECT_EQ(other.key(KEY_HOME), REDRAW);
    EXPECT_EQ(other.state(), "abc {0,0}");
}

TEST(LineEditorEdge, ShiftEndWithTwoCaretsSelectsFromTheSmallerAnchor) {
    Editor editor("abcdef", {{4, 5}, {2, 1}});
    EXPECT_EQ(editor.key_with({KEY_SHIFT}, KEY_END), REDRAW);
    EXPECT_EQ(editor.state(), "abcdef {2,6}");
}

TEST(LineEditorEdge, ShiftHomeWithTwoCaretsSelectsFromTheLargerAnchor) {
    Editor editor("abcdef", {{2, 1}, {4, 5}});
    EXPECT_EQ(editor.key_with({KEY_SHIFT}, KEY_HOME), REDRAW);
    EXPECT_EQ(editor.state(), "abcdef {4,0}");
}

TEST(LineEditorEdge, WithoutACaretNothingChanges) {
    Editor editor("abc", {});
    EXPECT_EQ(editor.key(KEY_END), REDRAW);
    EXPECT_EQ(editor.key(KEY_HOME), REDRAW);
    EXPECT_EQ(editor.key_with({KEY_SHIFT}, KEY_END), REDRAW);
    EXPECT_EQ(editor.key_with({KEY_SHIFT}, KEY_HOME), REDRAW);
    EXPECT_EQ(editor.state(), "abc");
}

// ---- Backspace and Delete ----

TEST(LineEditorDelete, BackspaceRemovesAWholeCharacter) {
    Editor editor("aé", {{3, 3}});
    EXPECT_EQ(editor.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(editor.state(), "a {1,1}");
}

TEST(LineEditorDelete, DeleteRemovesAWholeCharacter) {
    Editor editor("😀a", {{0, 0}});
    EXPECT_EQ(editor.key(KEY_DELETE), SEARCH);
    EXPECT_EQ(editor.state(), "a {0,0}");
}

TEST(LineEditorDelete, DeleteOfACutCharacterRemovesTheRest) {
    Editor editor("a\xF0\x9F", {{1, 1}});
    editor.key(KEY_DELETE);
    EXPECT_EQ(editor.state(), "a {1,1}");
}

TEST(LineEditorDelete, ReportsAChangeEvenWhereThereIsNothingToRemove) {
    Editor start("a", {{0, 0}});
    EXPECT_EQ(start.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(start.state(), "a {0,0}");
    Editor end("a", {{1, 1}});
    EXPECT_EQ(end.key(KEY_DELETE), SEARCH);
    EXPECT_EQ(end.state(), "a {1,1}");
    Editor empty("", {{0, 0}});
    EXPECT_EQ(empty.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(empty.state(), " {0,0}");
    Editor no_caret("a", {});
    EXPECT_EQ(no_caret.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(no_caret.key(KEY_DELETE), SEARCH);
    EXPECT_EQ(no_caret.state(), "a");
}

TEST(LineEditorDelete, CtrlRemovesByTheWordRule) {
    Editor editor("foo bar baz", {{11, 11}});
    editor.hold(KEY_CTRL);
    EXPECT_EQ(editor.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(editor.state(), "foo bar  {8,8}");
    field_set_single_caret(0, 0);
    EXPECT_EQ(editor.key(KEY_DELETE), SEARCH);
    EXPECT_EQ(editor.state(), " bar  {0,0}");
}

TEST(LineEditorDelete, OnlyASelectionIsRemoved) {
    for (uint16_t key : {KEY_BACKSPACE, KEY_DELETE}) {
        Editor editor("abcdef", {{4, 2}});
        EXPECT_EQ(editor.key(key), SEARCH);
        EXPECT_EQ(editor.state(), "abef {2,2}");
        Editor by_word("abcdef", {{2, 4}});
        by_word.key_with({KEY_CTRL}, key);
        EXPECT_EQ(by_word.state(), "abef {2,2}");
    }
}

TEST(LineEditorDelete, OneSelectionKeepsTheOtherCaretsFromRemovingAnything) {
    Editor editor("abcdef", {{6, 6}, {1, 3}});
    editor.key(KEY_BACKSPACE);
    EXPECT_EQ(editor.state(), "adef {4,4} {1,1}");
}

TEST(LineEditorDelete, EveryCaretRemovesItsCharacter) {
    Editor editor("abcdef", {{2, 2}, {5, 5}});
    editor.key(KEY_BACKSPACE);
    EXPECT_EQ(editor.state(), "acdf {1,1} {3,3}");
    Editor forward("abcdef", {{1, 1}, {4, 4}});
    forward.key(KEY_DELETE);
    EXPECT_EQ(forward.state(), "acdf {1,1} {3,3}");
}

// ---- Typing ----

TEST(LineEditorType, PutsTheCharacterBeforeTheCaret) {
    Editor editor("ac", {{1, 1}});
    EXPECT_EQ(editor.type('b'), SEARCH);
    EXPECT_EQ(editor.state(), "abc {2,2}");
}

TEST(LineEditorType, ReplacesTheSelection) {
    for (Caret selection : {Caret{1, 3}, Caret{3, 1}}) {
        Editor editor("abcd", {selection});
        editor.type('x');
        EXPECT_EQ(editor.state(), "axd {2,2}");
    }
    Editor all("abcd", {{0, 4}});
    all.type('x');
    EXPECT_EQ(all.state(), "x {1,1}");
}

TEST(LineEditorType, ThreeBytesBeginAt0x701) {
    const struct {
        uint32_t code;
        std::string bytes;
    } rows[] = {
        {0, ""},
        {1, "\x01"},
        {0x7F, "\x7F"},
        {0x80, "\xC2\x80"},
        {0xE9, "é"},
        {0x700, "\xDC\x80"},
        {0x701, "\xE0\x9C\x81"}, // two bytes would be enough
        {0x750, "\xE0\x9D\x90"},
        {0x7FF, "\xE0\x9F\xBF"},
        {0x800, "\xE0\xA0\x80"},
        {0x4F60, "你"},
        {0xD83D, "\xED\xA0\xBD"}, // a lone surrogate
        {0xDE00, "\xED\xB8\x80"},
        {0xFFFF, "\xEF\xBF\xBF"},
        {0x10000, "\xF0\x90\x80\x80"},
        {0x1F600, "😀"},
        {0x10FFFF, "\xF4\x8F\xBF\xBF"},
        {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
        {0x200000, ""},
        {0xFFFFFFFF, ""},
    };
    for (const auto &row : rows) {
        Editor editor("()", {{1, 1}});
        EXPECT_EQ(editor.type(row.code), SEARCH);
        std::string caret = std::to_string(1 + row.bytes.size());
        EXPECT_EQ(editor.state(), "(" + row.bytes + ") {" + caret + "," + caret + "}") << row.code;
    }
}

TEST(LineEditorType, AnEmptyEncodingStillRemovesTheSelection) {
    for (uint32_t code : {0u, 0x200000u}) {
        Editor editor("abcd", {{1, 3}});
        EXPECT_EQ(editor.type(code), SEARCH);
        EXPECT_EQ(editor.state(), "ad {1,1}");
    }
}

TEST(LineEditorType, ControlCharactersAreTyped) {
    Editor editor("", {{0, 0}});
    editor.type(27);
    editor.type('\t');
    editor.type('\n');
    editor.type(8);
    EXPECT_EQ(editor.state(), "\x1B\t\n\b {4,4}");
}

TEST(LineEditorType, CtrlTypesNothingButCtrlWithAltDoes) {
    Editor editor("ab", {{0, 2}});
    editor.hold(KEY_CTRL);
    EXPECT_EQ(editor.type(1), NOTHING);
    EXPECT_EQ(editor.state(), "ab {0,2}");
    editor.hold(KEY_ALT);
    EXPECT_EQ(editor.type('@'), SEARCH);
    EXPECT_EQ(editor.state(), "@ {1,1}");
    editor.let_go(KEY_CTRL);
    EXPECT_EQ(editor.type('!'), SEARCH);
    EXPECT_EQ(editor.state(), "@! {2,2}");
}

TEST(LineEditorType, WithoutACaretBothFlagsAreSetAndNothingIsTyped) {
    Editor editor("ab", {});
    EXPECT_EQ(editor.type('x'), SEARCH);
    EXPECT_EQ(editor.state(), "ab");
    editor.hold(KEY_CTRL);
    EXPECT_EQ(editor.type('x'), NOTHING);
}

// ---- Select all, copy, cut, paste ----

TEST(LineEditorSelectAll, MakesOneCaretOverTheWholeText) {
    Editor editor("abc", {{1, 1}, {2, 2}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_A), REDRAW);
    EXPECT_EQ(editor.state(), "abc {0,3}");
}

TEST(LineEditorSelectAll, MakesACaretWithoutOne) {
    Editor editor("abc", {});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_A), REDRAW);
    EXPECT_EQ(editor.state(), "abc {0,3}");
}

TEST(LineEditorCopy, PutsTheSelectionOnTheClipboardAndReportsNothing) {
    for (Caret selection : {Caret{4, 7}, Caret{7, 4}}) {
        copy_from_elsewhere("before");
        Editor editor("foo bar", {selection});
        hold_clipboard();
        EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_C), NOTHING);
        EXPECT_EQ(clipboard_text(), "bar");
        EXPECT_EQ(field_carets()[0].anchor, selection.anchor);
        EXPECT_EQ(field_carets()[0].caret, selection.caret);
    }
}

TEST(LineEditorCopy, WithoutASelectionLeavesTheClipboardAsItIs) {
    copy_from_elsewhere("before");
    Editor editor("foo bar", {{3, 3}, {5, 5}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_C), NOTHING);
    Editor no_caret("foo bar", {});
    EXPECT_EQ(no_caret.key_with({KEY_CTRL}, KEY_C), NOTHING);
    EXPECT_EQ(clipboard_text(), "before");
}

TEST(LineEditorCopy, JoinsSelectionsInTheListsOrderWithNothingBetween) {
    Editor editor("foo bar baz", {{8, 11}, {5, 5}, {3, 0}});
    hold_clipboard();
    editor.key_with({KEY_CTRL}, KEY_C);
    EXPECT_EQ(clipboard_text(), "bazfoo");
}

TEST(LineEditorCopy, TakesMoreThanTheBufferStartsWith) {
    for (size_t count : {1023u, 1024u, 1025u, 5000u}) {
        std::string text(count, 'x');
        text.back() = 'y';
        Editor editor(text, {{0, static_cast<int32_t>(count)}});
        hold_clipboard();
        editor.key_with({KEY_CTRL}, KEY_C);
        EXPECT_EQ(clipboard_text(), text);
    }
}

TEST(LineEditorCut, CopiesAndRemoves) {
    Editor editor("foo bar", {{3, 7}});
    hold_clipboard();
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_X), SEARCH);
    EXPECT_EQ(editor.state(), "foo {3,3}");
    EXPECT_EQ(clipboard_text(), " bar");
}

TEST(LineEditorCut, WithoutASelectionOnlyReportsAChange) {
    copy_from_elsewhere("before");
    Editor editor("foo", {{1, 1}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_X), SEARCH);
    EXPECT_EQ(editor.state(), "foo {1,1}");
    Editor no_caret("foo", {});
    EXPECT_EQ(no_caret.key_with({KEY_CTRL}, KEY_X), SEARCH);
    EXPECT_EQ(no_caret.state(), "foo");
    EXPECT_EQ(clipboard_text(), "before");
}

TEST(LineEditorPaste, ReplacesTheSelection) {
    copy_from_elsewhere("größe\n");
    Editor editor("foo bar", {{4, 7}});
    hold_clipboard();
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), SEARCH);
    EXPECT_EQ(editor.state(), "foo größe\n {12,12}");
}

TEST(LineEditorPaste, AnEmptyClipboardChangesNothingAndReportsNothing) {
    copy_from_elsewhere("");
    Editor editor("foo bar", {{4, 7}});
    hold_clipboard();
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), NOTHING);
    EXPECT_EQ(editor.state(), "foo bar {4,7}");
    offer_on_clipboard({});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), NOTHING);
    EXPECT_EQ(editor.state(), "foo bar {4,7}");
    Editor no_caret("foo", {});
    EXPECT_EQ(no_caret.key_with({KEY_CTRL}, KEY_V), NOTHING);
    close_open_clipboard(); // the layer leaves it open when there is no text
}

TEST(LineEditorPaste, WithoutACaretBothFlagsAreSet) {
    copy_from_elsewhere("x");
    Editor editor("foo", {});
    hold_clipboard();
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), SEARCH);
    EXPECT_EQ(editor.state(), "foo");
}

TEST(LineEditorPaste, BytesThatAreNotUtf8ArePastedAndCanBeEdited) {
    offer_on_clipboard({.byte_text = "a\xE9\x80"});
    Editor editor("", {{0, 0}});
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), SEARCH);
    EXPECT_EQ(editor.state(), "a\xE9\x80 {3,3}");
    editor.key(KEY_BACKSPACE);
    EXPECT_EQ(editor.state(), "a {1,1}");
}

TEST(LineEditorPaste, GrowsTheTextByDoubling) {
    std::string long_text(5000, 'z');
    copy_from_elsewhere(long_text);
    Editor editor("abcd", {{2, 2}});
    hold_clipboard();
    editor.key_with({KEY_CTRL}, KEY_V);
    EXPECT_EQ(editor.state(), "ab" + long_text + "cd {5002,5002}");
    EXPECT_EQ(editor.text.capacity, 8192u);
}

TEST(LineEditorKeys, WithAltGrTheLettersActToo) {
    copy_from_elsewhere("paste");
    Editor editor("abc", {{3, 3}});
    editor.hold(KEY_CTRL);
    editor.hold(KEY_ALT);
    EXPECT_EQ(editor.key(KEY_A), REDRAW);
    EXPECT_EQ(editor.state(), "abc {0,3}");
    hold_clipboard();
    EXPECT_EQ(editor.key(KEY_V), SEARCH);
    EXPECT_EQ(editor.type('@'), SEARCH);
    EXPECT_EQ(editor.state(), "paste@ {6,6}");
}

// ---- Other events ----

TEST(LineEditorKeys, OtherKeysDoNothing) {
    Editor editor("abc", {{1, 2}});
    for (const std::vector<uint16_t> &modifiers :
         std::vector<std::vector<uint16_t>>{{}, {KEY_SHIFT}, {KEY_CTRL}}) {
        std::set<uint32_t> with_meaning = {8, 35, 36, 37, 39, 46};
        if (modifiers == std::vector<uint16_t>{KEY_CTRL}) {
            with_meaning.insert({65, 67, 86, 88});
        }
        for (uint32_t code = 0; code <= UINT16_MAX; code++) {
            if (!with_meaning.contains(code)) {
                EXPECT_EQ(editor.key_with(modifiers, static_cast<uint16_t>(code)), NOTHING) << code;
            }
        }
    }
    EXPECT_EQ(editor.state(), "abc {1,2}");
}

TEST(LineEditorKeys, ARepeatedPressIsAPress) {
    Editor editor("abc", {{3, 3}});
    EXPECT_EQ(editor.key(KEY_BACKSPACE, KEY_PRESSED), SEARCH);
    EXPECT_EQ(editor.key(KEY_BACKSPACE, KEY_REPEATED), SEARCH);
    EXPECT_EQ(editor.key(KEY_LEFT, KEY_REPEATED), REDRAW);
    EXPECT_EQ(editor.state(), "a {0,0}");
}

TEST(LineEditorKeys, OtherKeyStatesDoNothing) {
    Editor editor("abc", {{1, 1}, {1, 1}});
    for (int state = 0; state < 256; state++) {
        if (state != KEY_PRESSED && state != KEY_REPEATED) {
            EXPECT_EQ(editor.key(KEY_BACKSPACE, static_cast<uint8_t>(state)), NOTHING) << state;
        }
        if (state != KEY_RELEASED) {
            EXPECT_EQ(editor.key(KEY_SHIFT, static_cast<uint8_t>(state)), NOTHING) << state;
        }
    }
    EXPECT_EQ(editor.state(), "abc {1,1} {1,1}");
}

TEST(LineEditorKeys, OtherEventsDoNothing) {
    Editor editor("abc", {{1, 2}});
    for (int type = 0; type < 256; type++) {
        if (type != EVENT_KEY && type != EVENT_CHAR) {
            WindowEvent event = {};
            event.type = static_cast<uint8_t>(type);
            event.key = {KEY_BACKSPACE, KEY_PRESSED};
            EXPECT_EQ(editor.handle(event), NOTHING) << type;
        }
    }
    EXPECT_EQ(editor.state(), "abc {1,2}");
}

TEST(LineEditorKeys, ReleasingShiftMergesTheCarets) {
    Editor editor("abcdef", {{1, 3}, {2, 5}});
    EXPECT_EQ(editor.key(KEY_SHIFT, KEY_RELEASED), REDRAW);
    EXPECT_EQ(editor.state(), "abcdef {1,5}");
    Editor no_caret("abc", {});
    EXPECT_EQ(no_caret.key(KEY_SHIFT, KEY_RELEASED), REDRAW);
    EXPECT_EQ(no_caret.state(), "abc");
}

TEST(LineEditorKeys, AModifierThatWasReleasedWithTheFocusNoLongerCounts) {
    Editor editor("abc", {{0, 0}});
    editor.hold(KEY_CTRL);
    ui_release_all();
    EXPECT_EQ(editor.type('x'), SEARCH);
    EXPECT_EQ(editor.state(), "xabc {1,1}");
}
