// Several carets, out of memory, texts of 2 GiB, and the worker reading meanwhile.
#include "ui/line_editor.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "os/arrays.h"
#include "search/search_state.h"
#include "support/each_step.h"
#include "support/heap_hook.h"
#include "support/looping_thread.h"
#include "ui/edited_field.h"

using namespace std::string_literals;

// ---- Several carets ----

TEST(LineEditorCarets, EachGetsTheTextAndLaterOnesMove) {
    Editor editor("abcdef", {{1, 1}, {4, 4}});
    editor.type('x');
    EXPECT_EQ(editor.state(), "axbcdxef {2,2} {6,6}");
    Editor selections("abcdef", {{0, 2}, {3, 5}});
    selections.type('x');
    EXPECT_EQ(selections.state(), "xcxf {1,1} {3,3}");
}

TEST(LineEditorCarets, TheThirdMovesTooFarByTheFirstChange) {
    Editor editor("abcdefgh", {{1, 1}, {3, 3}, {5, 5}});
    editor.type('x');
    // It was between e and f; now it is one further right.
    EXPECT_EQ(editor.state(), "axbcxdefxgh {2,2} {5,5} {9,9}");
}

TEST(LineEditorCarets, AThirdThatWouldLeaveTheTextStopsAtItsEnds) {
    Editor editor("abcdef", {{1, 1}, {3, 3}, {6, 6}});
    editor.type('x');
    EXPECT_EQ(editor.state(), "axbcxdefx {2,2} {5,5} {9,9}");
    Editor start("abcdefgh", {{0, 4}, {5, 6}, {6, 7}});
    start.key(KEY_DELETE);
    // The third moves back by 4 and then by 4 + 1, to the start, where it merges with the first.
    EXPECT_EQ(start.state(), "egh {0,0} {1,1}");
}

TEST(LineEditorCarets, OnesAfterTheStartOfAChangeMove) {
    Editor editor("abcdef", {{1, 4}, {2, 2}});
    hold_clipboard();
    copy_from_elsewhere("XY");
    editor.key_with({KEY_CTRL}, KEY_V);
    // The second was after the change's start, though not after its end: it moves back by one, to 1.
    EXPECT_EQ(editor.state(), "aXYXYef {3,3}");
}

TEST(LineEditorCarets, OnlyTheAnchorDecidesWhetherOneMoves) {
    Editor editor("abcdef", {{2, 2}, {1, 4}});
    editor.type('x');
    // The second selection keeps its offsets, which now select other bytes.
    EXPECT_EQ(editor.state(), "axdef {3,3} {2,2}");
}

TEST(LineEditorCarets, OneAtTheStartOfAChangeDoesNotMove) {
    Editor editor("ab", {{1, 1}, {1, 1}});
    editor.type('x');
    EXPECT_EQ(editor.state(), "axxb {2,2}");
}

TEST(LineEditorCarets, EarlierOnesStayInsideATextThatShrinks) {
    Editor editor("abcdef", {{6, 6}, {0, 4}});
    editor.key(KEY_BACKSPACE);
    EXPECT_EQ(editor.state(), "ef {2,2} {0,0}");
}

TEST(LineEditorMerge, OverlappingAndTouchingOnesBecomeOne) {
    const struct {
        std::vector<Caret> carets;
        std::string merged;
    } rows[] = {
        {{{0, 2}, {3, 5}}, " {0,2} {3,5}"},
        {{{0, 3}, {3, 5}}, " {0,5}"},
        {{{3, 5}, {0, 3}}, " {0,5}"},
        {{{0, 9}, {3, 5}}, " {0,9}"},
        {{{3, 5}, {9, 0}}, " {0,9}"},
        {{{4, 4}, {4, 4}}, " {4,4}"},
        {{{4, 4}, {4, 2}}, " {2,4}"}, // a selection of no width counts as forward
        {{{5, 3}, {2, 4}}, " {5,2}"}, // the first one's direction
        {{{3, 5}, {4, 2}}, " {2,5}"},
        {{{0, 2}, {1, 3}, {7, 7}, {9, 9}}, " {0,3} {9,9} {7,7}"}, // the last moves into the gap
        {{{0, 2}, {6, 8}, {2, 6}}, " {0,8}"}, // the union reaches one that was compared before
        {{{8, 8}, {0, 1}, {1, 2}, {2, 3}, {3, 4}}, " {8,8} {0,4}"},
    };
    for (const auto &row : rows) {
        Editor editor("0123456789", {});
        for (const Caret &caret : row.carets) {
            dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
        }
        field_merge_carets();
        EXPECT_EQ(editor.state(), "0123456789" + row.merged);
    }
}

TEST(LineEditorCarets, SettingOneReplacesAll) {
    Editor editor("abc", {{1, 1}, {2, 2}, {3, 3}});
    field_set_single_caret(2, 1);
    EXPECT_EQ(editor.state(), "abc {2,1}");
    EXPECT_EQ(input_field.caret_list.capacity, 16u);
}

TEST(LineEditorCarets, ClampingPutsThemIntoTheText) {
    Editor editor("abc", {});
    for (Caret caret : {Caret{-1, 2}, Caret{4, INT32_MAX}, Caret{INT32_MIN, 3}}) {
        dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
    }
    field_clamp_carets(&editor.field);
    EXPECT_EQ(editor.state(), "abc {0,2} {3,3} {0,3}");
}

TEST(LineEditorCarets, OnesOutsideATextShortenedElsewhereAreClamped) {
    for (uint16_t key : {KEY_BACKSPACE, KEY_DELETE, KEY_LEFT, KEY_RIGHT, KEY_HOME, KEY_END, KEY_C, KEY_X}) {
        for (const std::vector<uint16_t> &modifiers :
             std::vector<std::vector<uint16_t>>{{}, {KEY_CTRL}, {KEY_SHIFT}}) {
            Editor editor("ab", {{5, 9}, {7, 7}, {-3, -3}});
            editor.key_with(modifiers, key);
            editor.type('x');
            editor.state();
        }
    }
}

// ---- Memory ----

TEST(LineEditorMemory, ATextThatCannotGrowKeepsItsSelection) {
    Editor editor("0123456789abcdef", {{4, 4}});
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(editor.type('x'), SEARCH);
    }
    EXPECT_EQ(editor.state(), "0123456789abcdef {4,4}");
    copy_from_elsewhere("four");
    field_set_single_caret(6, 3);
    {
        HeapHookScope hook([](uint64_t size) { return size < 16; }); // the clipboard's text is small
        hold_clipboard();
        EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), SEARCH);
    }
    EXPECT_EQ(editor.state(), "0123456789abcdef {6,3}");
    EXPECT_EQ(editor.text.capacity, 16u);
    editor.type('x'); // three bytes less, one more: no growth
    EXPECT_EQ(editor.state(), "012x6789abcdef {4,4}");
}

TEST(LineEditorMemory, AReplacementThatFitsNeedsNoMemory) {
    Editor editor("0123456789abcdef", {{4, 5}});
    HeapHookScope hook([](uint64_t) { return false; });
    editor.type('x');
    EXPECT_EQ(editor.state(), "0123x56789abcdef {5,5}");
}

TEST(LineEditorMemory, WithSeveralCaretsTheFirstFailureEndsTheChange) {
    Editor editor("0123456789abcde", {{1, 1}, {3, 3}, {6, 8}});
    HeapHookScope hook([](uint64_t) { return false; });
    editor.type('x');
    EXPECT_EQ(editor.state(), "0x123456789abcde {2,2} {4,4} {7,9}");
}

TEST(LineEditorMemory, OutOfMemoryForItsTextAPasteChangesNothing) {
    copy_from_elsewhere("x");
    Editor editor("abc", {{1, 2}});
    HeapHookScope hook([](uint64_t) { return false; });
    hold_clipboard();
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_V), NOTHING);
    EXPECT_EQ(editor.state(), "abc {1,2}");
}

// Lets one allocation after another fail until all of the key's succeed.
TEST(LineEditorMemory, ACopyIsCompleteOrNotMade) {
    std::string text(3000, 'x');
    for (uint16_t key : {KEY_C, KEY_X}) {
        for (uint32_t failing = 0;; failing++) {
            copy_from_elsewhere("before");
            Editor editor(text, {{0, 2000}, {2000, 3000}}); // the second selection alone would fit
            editor.hold(KEY_CTRL);
            uint32_t asked = 0;
            uint64_t first_size = 0;
            hold_clipboard();
            {
                HeapHookScope hook([&](uint64_t size) {
                    first_size = asked == 0 ? size : first_size;
                    return asked++ != failing;
                });
                editor.key(key);
            }
            EXPECT_EQ(first_size, 1025u);
            EXPECT_EQ(editor.state(), key == KEY_X ? " {0,0}"s : text + " {0,2000} {2000,3000}");
            bool has_failed = asked > failing;
            EXPECT_EQ(clipboard_text(), has_failed ? "before" : text) << failing;
            if (!has_failed) {
                EXPECT_GE(failing, 4u); // the buffer, its growth and the clipboard's two blocks
                break;
            }
        }
    }
}

TEST(LineEditorMemory, WithoutStorageForCaretsThereIsNone) {
    HeapHookScope hook([](uint64_t size) { return size != 16 * sizeof(Caret); });
    Editor editor("abc", {});
    EXPECT_EQ(input_field.caret_list.capacity, 0u);
    field_set_single_caret(0, 3);
    EXPECT_EQ(editor.state(), "abc");
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_A), REDRAW);
    EXPECT_EQ(editor.type('x'), SEARCH);
    EXPECT_EQ(editor.key(KEY_BACKSPACE), SEARCH);
    EXPECT_EQ(editor.state(), "abc");
}

TEST(LineEditorMemory, AFieldWithoutStorageStaysEmpty) {
    HeapHookScope hook([](uint64_t size) { return size != 17; });
    Editor editor("", {{0, 0}});
    ASSERT_EQ(editor.text.data, nullptr);
    for (uint16_t key : {KEY_BACKSPACE, KEY_DELETE, KEY_LEFT, KEY_RIGHT, KEY_HOME, KEY_END}) {
        editor.key(key);
        editor.key_with({KEY_CTRL}, key);
    }
    EXPECT_EQ(editor.type('x'), SEARCH);
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_C), NOTHING);
    EXPECT_EQ(editor.key_with({KEY_CTRL}, KEY_X), SEARCH);
    EXPECT_EQ(editor.state(), " {0,0}");
}

TEST(LineEditorLength, ATextAsLongAsCaretsCanCountTakesNoMore) {
    Editor editor("abc", {{0, 0}});
    editor.text.capacity = uint64_t{INT32_MAX} + 100;
    for (uint64_t pretended : {uint64_t{INT32_MAX}, uint64_t{INT32_MAX} + 1, uint64_t{UINT32_MAX}}) {
        editor.text.count = pretended;
        EXPECT_EQ(editor.type('x'), SEARCH);
        EXPECT_EQ(editor.text.count, pretended);
        EXPECT_EQ(field_text_end(&editor.field), INT32_MAX);
    }
    editor.key(KEY_END);
    EXPECT_EQ(field_carets()[0].caret, INT32_MAX);
    editor.key_with({KEY_CTRL}, KEY_A);
    EXPECT_EQ(field_carets()[0].anchor, 0);
    EXPECT_EQ(field_carets()[0].caret, INT32_MAX);
    editor.text.count = 3;
    editor.text.capacity = 16;
    field_clamp_carets(&editor.field);
    EXPECT_EQ(editor.state(), "abc {0,3}");
}

TEST(LineEditorLength, MemoryIsRequestedOnlyForATextThatCaretsCanCount) {
    Editor editor("abc", {{3, 3}});
    const struct {
        uint64_t count;
        bool is_asked_for;
    } rows[] = {{INT32_MAX - 3, true}, {INT32_MAX - 2, false},
                {INT32_MAX, false},    {uint64_t{INT32_MAX} + 1, false},
                {UINT32_MAX, false},   {UINT64_MAX, false}};
    for (const auto &inserted : rows) {
        bool is_asked_for = false;
        HeapHookScope hook([&](uint64_t) {
            is_asked_for = true;
            return false;
        });
        field_replace_selections(&editor.field, inserted.count, "not read");
        EXPECT_EQ(is_asked_for, inserted.is_asked_for) << inserted.count;
        EXPECT_EQ(editor.state(), "abc {3,3}");
    }
}

// ---- While the worker reads ----

namespace {

volatile uint32_t passes;
volatile uint32_t read_sum; // so that the reads are not optimised away

// Reads the path as the worker does, from its count and to its terminator.
void read_path() {
    search_state.worker_pass = search_state.worker_pass + 1;
    Str text = strbuf_text(&search_state.path);
    for (uint64_t i = 0; i <= text.count; i++) {
        read_sum = read_sum + static_cast<uint8_t>(text.data[i]);
    }
    passes = passes + 1;
}

} // namespace

// Under AddressSanitizer the reader must not touch freed memory or memory after the storage.
TEST(LineEditorReader, MayReadThroughEveryEdit) {
    Editor editor("", {});
    strbuf_init(&search_state.path, 16);
    field_set_single_caret(0, 0);
    search_state.worker_pass = 1;
    passes = 0;
    LoopingThread reader(read_path);
    const auto edit = [](WindowEvent event) {
        bool handled, text_changed;
        field_handle_key(&path_field, &event, &handled, &text_changed);
    };
    for (uint32_t round = 0; round < 300; round++) {
        for (uint32_t i = 0; i < 200; i++) {
            edit({.type = EVENT_CHAR, .window = nullptr, .character = {i % 3 == 0 ? 0x4F60u : '/'}});
            edit({.type = EVENT_KEY,
                  .window = nullptr,
                  .key = {i % 5 == 0 ? KEY_LEFT : KEY_END, KEY_PRESSED}});
        }
        EXPECT_EQ(search_state.path.count, 67u * 3 + 133);
        editor.hold(KEY_CTRL);
        while (search_state.path.count > 0) {
            edit({.type = EVENT_KEY, .window = nullptr, .key = {KEY_BACKSPACE, KEY_PRESSED}});
            edit({.type = EVENT_KEY, .window = nullptr, .key = {KEY_DELETE, KEY_PRESSED}});
        }
        editor.let_go(KEY_CTRL);
        // So that it grows again. A smaller block is safe only once the reader has seen the text empty.
        for (uint32_t first = passes; passes - first < 2;) {
            std::this_thread::yield();
        }
        search_state.path.capacity = 16;
    }
    reader.stop();
    search_state.worker_pass = search_state.worker_pass + 2;
    release_retired(&search_state.retired_text);
    search_state.worker_pass = 0;
    os_free(search_state.path.data);
    search_state.path = {};
}

TEST(LineEditorReader, StorageThatTheTextOutgrowsStaysReadable) {
    Editor editor("0123456789abcdef", {{16, 16}});
    search_state.worker_pass = 1;
    Str before = strbuf_text(&editor.text);
    editor.type('x');
    EXPECT_NE(editor.text.data, before.data);
    EXPECT_EQ(to_string(before), "0123456789abcdef");
    EXPECT_EQ(before.data[before.count], 0);
    ASSERT_NE(search_state.retired_text.first, nullptr);
    EXPECT_EQ(search_state.retired_text.first->block, before.data);
    search_state.worker_pass = 3;
    release_retired(&search_state.retired_text);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    search_state.worker_pass = 0;
}

TEST(LineEditorReader, ARemovalLeavesAZeroAfterTheOldAndTheNewCount) {
    Editor editor("0123456789", {{2, 5}});
    editor.key(KEY_DELETE);
    EXPECT_EQ(editor.text.count, 7u);
    EXPECT_EQ(editor.text.data[7], 0);
    EXPECT_EQ(editor.text.data[10], 0);
}

#ifndef _WIN32
TEST(LineEditorReader, ARemovalHasAZeroAfterTheCountAtEveryMoment) {
    static Field *field;
    Editor editor("0123456789", {{2, 5}});
    field = &editor.field;
    EXPECT_EQ(
        states_while([] { field_replace_selections(field, 0, nullptr); }, 2,
                     [] {
                         uint64_t count = field->text->count;
                         return each_step::State{{static_cast<int64_t>(count), field->text->data[count]}};
                     }),
        "10 0\n"
        "7 0\n");
}
#endif
