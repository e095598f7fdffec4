#include "app/list_keys.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "app/keys_scope.h"
#include "support/heap_hook.h"

// ---- Up and Down ----

TEST(ListKeysSelect, DownAndUpGoFromHitToHitOverTheNamesOfFiles) {
    KeysScope scope;
    EXPECT_EQ(state(), "-@0");
    EXPECT_EQ(after(KEY_DOWN), "1@0");
    EXPECT_EQ(after(KEY_DOWN), "2@0");
    EXPECT_EQ(after(KEY_DOWN), "3@0");
    EXPECT_EQ(after(KEY_DOWN), "5@0");
    EXPECT_EQ(after(KEY_UP), "3@0");
}

TEST(ListKeysSelect, StopsAtBothEnds) {
    KeysScope scope;
    select(29, 22);
    EXPECT_EQ(after(KEY_DOWN), "30@22");
    EXPECT_EQ(after(KEY_DOWN), "30@22");
    select(2, 0);
    EXPECT_EQ(after(KEY_UP), "1@0");
    EXPECT_EQ(after(KEY_UP), "1@0");
}

TEST(ListKeysSelect, BeginsWithTheFirstOrTheLastVisibleHit) {
    const struct {
        int32_t first;
        const char *down;
        const char *up;
    } rows[] = {{0, "1@0", "9@0"},      {3, "3@3", "11@3"},           {4, "5@4", "13@4"},
                {5, "5@5", "13@5"},     {6, "6@6", "13@6"},           {29, "29@29", "30@29"},
                {31, "30@30", "30@30"}, {INT32_MAX, "30@30", "30@30"}};
    for (const auto &row : rows) {
        KeysScope scope;
        search_state.results_scroll = row.first;
        EXPECT_EQ(after(KEY_DOWN), row.down);
        list_keys = {};
        scope.draw();
        search_state.results_scroll = row.first;
        EXPECT_EQ(after(KEY_UP), row.up);
        search_state.results_scroll = 0;
    }
}

TEST(ListKeysSelect, RepeatsWhileAKeyIsHeldAndIgnoresItsRelease) {
    KeysScope scope;
    key(KEY_DOWN);
    key(KEY_DOWN, KEY_REPEATED);
    key(KEY_DOWN, KEY_REPEATED);
    EXPECT_EQ(state(), "3@0");
    key(KEY_UP, KEY_REPEATED);
    EXPECT_EQ(state(), "2@0");
    for (uint32_t other = 0; other <= 255; other++) {
        if (other != KEY_PRESSED && other != KEY_REPEATED) {
            for (uint16_t code : {KEY_UP, KEY_DOWN, KEY_PAGE_UP, KEY_PAGE_DOWN, KEY_ENTER}) {
                key(code, static_cast<uint8_t>(other));
            }
        }
    }
    EXPECT_EQ(state(), "2@0");
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysSelect, WorksInBothFieldsAndWithoutAFocus) {
    KeysScope scope;
    scope.focus(path, {{0, 0}});
    EXPECT_EQ(after(KEY_DOWN), "1@0");
    input_field.focused_field = nullptr;
    EXPECT_EQ(after(KEY_DOWN), "2@0");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "11@9");
}

TEST(ListKeysSelect, WithoutHitsTheKeysDoNothing) {
    KeysScope scope;
    results_store.hit_table.count = 0;
    for (uint16_t code : {KEY_UP, KEY_DOWN, KEY_PAGE_UP, KEY_PAGE_DOWN, KEY_ENTER}) {
        EXPECT_EQ(after(code), "-@0");
        EXPECT_EQ(after(code, {KEY_CTRL}), "-@0");
    }
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysSelect, ARowOfAMissingFileIsPassed) {
    KeysScope scope;
    reinterpret_cast<ResultRecord *>(results_store.hit_table.data)[2].file_index = 99;
    select(1, 0);
    EXPECT_EQ(after(KEY_DOWN), "3@0");
    EXPECT_EQ(after(KEY_UP), "1@0");
    results_store.file_table.count = 0;
    list_keys = {};
    EXPECT_EQ(after(KEY_DOWN), "-@0");
}

TEST(ListKeysSelect, OffTheKeysAndTheMouseDoWhatTheyAlwaysDid) {
    KeysScope scope;
    settings.list_keys = false;
    for (uint16_t code : {KEY_UP, KEY_DOWN, KEY_PAGE_UP, KEY_PAGE_DOWN, KEY_ENTER}) {
        EXPECT_EQ(after(code), "-@0");
        EXPECT_EQ(after(code, {KEY_CTRL}), "-@0");
    }
    EXPECT_EQ(commands(), "");
    click(&scope, {width - 5, list_top + 140}); // on the scroll bar
    EXPECT_EQ(commands(), "L b.c:5|");
    EXPECT_EQ(state(), "-@0");
}

TEST(ListKeysSelect, OtherModifiersLeaveTheKeysToTheFields) {
    KeysScope scope;
    select(5, 2);
    const std::vector<std::vector<uint16_t>> all = {
        {KEY_SHIFT}, {KEY_ALT}, {KEY_CTRL, KEY_ALT}, {KEY_CTRL, KEY_SHIFT}, {KEY_SHIFT, KEY_ALT}};
    for (const std::vector<uint16_t> &modifiers : all) {
        for (uint16_t code : {KEY_UP, KEY_DOWN, KEY_PAGE_UP, KEY_PAGE_DOWN, KEY_ENTER}) {
            EXPECT_EQ(after(code, modifiers), "5@2");
        }
    }
    EXPECT_EQ(after(KEY_UP, {KEY_CTRL}), "5@2");
    EXPECT_EQ(after(KEY_DOWN, {KEY_CTRL}), "5@2");
    EXPECT_EQ(commands(), "");
    EXPECT_EQ(carets(), "{0,6}");
}

TEST(ListKeysSelect, AnOpenDropDownKeepsTheKeysFromTheList) {
    KeysScope scope;
    select(5, 2);
    set_entries(query, {"one"});
    input_field.dropdown_open = true;
    copy_from_elsewhere("before");
    for (uint16_t code : {KEY_UP, KEY_DOWN, KEY_PAGE_UP, KEY_PAGE_DOWN, KEY_ENTER}) {
        EXPECT_EQ(after(code), "5@2");
        EXPECT_EQ(after(code, {KEY_CTRL}), "5@2");
    }
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    EXPECT_EQ(clipboard_text(), "needle"); // the field's
    EXPECT_EQ(commands(), "");
    set_entries(query, {}); // then none is shown
    EXPECT_EQ(after(KEY_DOWN), "6@2");
}

// ---- Scrolling into view ----

TEST(ListKeysScroll, ASelectedHitBecomesFullyVisible) {
    KeysScope scope;
    select(9, 0);
    EXPECT_EQ(after(KEY_DOWN), "10@2"); // the first row's file takes a row
    scope.draw_at(nowhere);
    for (int32_t y : {185, 199}) {
        EXPECT_EQ(scope.pixel(350, y), selected_background);
    }
    EXPECT_NE(scope.pixel(350, 184), selected_background);
    select(7, 7);
    EXPECT_EQ(after(KEY_UP), "6@6");
    EXPECT_EQ(after(KEY_UP), "5@4"); // with its file's name
    EXPECT_EQ(after(KEY_UP), "3@3");
    EXPECT_EQ(after(KEY_UP), "2@2");
    EXPECT_EQ(after(KEY_UP), "1@0");
    select(3, 20);
    EXPECT_EQ(after(KEY_DOWN), "5@4");
}

TEST(ListKeysScroll, SuggestionsTakeTheirRows) {
    KeysScope scope;
    scope.put_folders({"one"}, {"two", "three"});
    scope.draw();
    select(6, 0);
    EXPECT_EQ(after(KEY_DOWN), "7@2"); // seven rows are left
}

namespace {

// Whether a row is fully visible in a list of that many rows.
bool is_visible(const std::vector<bool> &is_file, int64_t first, int64_t row, int64_t fitting) {
    return row >= first && row - first + !is_file[static_cast<size_t>(first)] < fitting;
}

} // namespace

TEST(ListKeysScroll, GoesAsFarAsThePlainRuleSaysInRandomLists) {
    std::mt19937 random(5);
    const auto below = [&](size_t end) { return static_cast<int32_t>(random() % end); };
    for (int round = 0; round < 300; round++) {
        int32_t fitting = 2 + below(12);
        KeysScope scope(list_top + fitting * row_height + below(row_height));
        results_store.hit_table.count = 0;
        std::vector<bool> is_file;
        std::vector<int64_t> hits;
        for (int32_t files = 1 + below(8); files > 0; files--) {
            scope.put_file("C:/code", "d.c");
            is_file.push_back(true);
            for (int32_t lines = 1 + below(9); lines > 0; lines--) {
                scope.put_hit(static_cast<uint32_t>(lines), "needle");
                hits.push_back(static_cast<int64_t>(is_file.size()));
                is_file.push_back(false);
            }
        }
        scope.draw();
        for (int step = 0; step < 20; step++) {
            size_t selected = static_cast<size_t>(below(hits.size()));
            int64_t first = below(is_file.size());
            bool is_down = below(2) == 1;
            select(static_cast<uint64_t>(hits[selected]), static_cast<int32_t>(first));
            key(is_down ? KEY_DOWN : KEY_UP);
            size_t end = is_down ? hits.size() - 1 : 0;
            int64_t row = hits[selected == end ? end : is_down ? selected + 1 : selected - 1];
            while (first > row) {
                first--;
            }
            while (!is_visible(is_file, first, row, fitting)) {
                first++;
            }
            if (first == row && search_state.results_scroll == row - 1) {
                first--; // looks the same with the file's own row
                EXPECT_TRUE(is_file[static_cast<size_t>(first)]);
            }
            ASSERT_EQ(state(), std::to_string(row) + "@" + std::to_string(first));
        }
        // Pages leave out no row and end with the last hit at the bottom.
        int64_t first = 0;
        search_state.results_scroll = 0;
        list_keys = {};
        scope.draw();
        for (key(KEY_PAGE_DOWN); search_state.results_scroll != first; key(KEY_PAGE_DOWN)) {
            int64_t next = search_state.results_scroll;
            ASSERT_GT(next, first);
            ASSERT_TRUE(next == first + 1 || is_visible(is_file, first, next, fitting));
            first = next;
        }
        ASSERT_TRUE(is_visible(is_file, first, hits.back(), fitting));
        ASSERT_FALSE(first > 0 && is_visible(is_file, first - 1, hits.back(), fitting));
        while (search_state.results_scroll > 0) {
            first = search_state.results_scroll;
            key(KEY_PAGE_UP);
            int64_t next = search_state.results_scroll;
            ASSERT_LT(next, first);
            ASSERT_TRUE(next == first - 1 || is_visible(is_file, next, first, fitting));
        }
    }
}

// ---- Pages and ends ----

TEST(ListKeysPage, TheLastVisibleRowBecomesTheFirstOrTheOtherWayRound) {
    KeysScope scope;
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@9");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@17");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@22"); // the last hit is at the bottom
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@22");
    EXPECT_EQ(after(KEY_PAGE_UP), "-@14");
    EXPECT_EQ(after(KEY_PAGE_UP), "-@6");
    EXPECT_EQ(after(KEY_PAGE_UP), "-@0");
    EXPECT_EQ(after(KEY_PAGE_UP), "-@0");
}

TEST(ListKeysPage, TheSelectionKeepsItsPlaceInTheWindowAndGoesToTheEndsWhereTheListStops) {
    KeysScope scope;
    select(3, 0);
    EXPECT_EQ(after(KEY_PAGE_DOWN), "12@9");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "20@17");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "25@22");
    EXPECT_EQ(after(KEY_PAGE_DOWN), "30@22");
    EXPECT_EQ(after(KEY_PAGE_UP), "22@14");
    EXPECT_EQ(after(KEY_PAGE_UP), "13@6"); // row 14 is a file's name
    EXPECT_EQ(after(KEY_PAGE_UP), "7@0");
    EXPECT_EQ(after(KEY_PAGE_UP), "1@0");
}

TEST(ListKeysPage, ASelectionOutOfSightComesIntoView) {
    KeysScope scope;
    select(30, 0);
    EXPECT_EQ(after(KEY_PAGE_DOWN), "17@9");
    select(1, 22);
    EXPECT_EQ(after(KEY_PAGE_UP), "13@13"); // row 14 is a file's name
}

TEST(ListKeysPage, WithCtrlItGoesToTheEndsWithTheSelection) {
    KeysScope scope;
    EXPECT_EQ(after(KEY_PAGE_DOWN, {KEY_CTRL}), "-@22");
    EXPECT_EQ(after(KEY_PAGE_UP, {KEY_CTRL}), "-@0");
    select(7, 3);
    EXPECT_EQ(after(KEY_PAGE_DOWN, {KEY_CTRL}), "30@22");
    EXPECT_EQ(after(KEY_PAGE_UP, {KEY_CTRL}), "1@0");
}

TEST(ListKeysPage, AListScrolledPastItsEndComesBack) {
    KeysScope scope;
    search_state.results_scroll = 1000;
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@1000");
    EXPECT_EQ(after(KEY_PAGE_UP), "-@22");
    search_state.results_scroll = 1000;
    EXPECT_EQ(after(KEY_PAGE_DOWN, {KEY_CTRL}), "-@22");
    select(4, 1000);
    EXPECT_EQ(after(KEY_PAGE_DOWN), "30@30");
}

TEST(ListKeysPage, AWindowOfAnyHeightScrollsByARowAtLeast) {
    for (int32_t height : {1, 50, 51, 65, 80, 81}) {
        KeysScope scope(height);
        EXPECT_EQ(after(KEY_PAGE_DOWN), "-@1") << height;
        EXPECT_EQ(after(KEY_PAGE_DOWN), "-@2") << height;
        EXPECT_EQ(after(KEY_PAGE_UP), "-@1") << height;
        EXPECT_EQ(after(KEY_DOWN), "1@1") << height;
        EXPECT_EQ(after(KEY_DOWN), "2@2") << height;
    }
}

TEST(ListKeysPage, AShortListDoesNotScroll) {
    KeysScope scope;
    results_store.hit_table.count = 10;
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@0");
    select(2, 0);
    EXPECT_EQ(after(KEY_PAGE_DOWN), "9@0");
    EXPECT_EQ(after(KEY_PAGE_UP), "1@0");
}

// ---- Searches ----

TEST(ListKeysSearch, TheSelectionStaysOnItsHitWhileRowsAreAdded) {
    KeysScope scope;
    select(2, 0);
    scope.put_file("C:/code", "d.c");
    scope.put_lines(1000);
    scope.draw();
    EXPECT_EQ(state(), "2@0");
    EXPECT_EQ(after(KEY_DOWN), "3@0");
}

TEST(ListKeysSearch, ANewSearchEndsTheSelectionWhenItIsRequestedAndWhenItIsTaken) {
    KeysScope scope;
    select(2, 0);
    begin_another_search();
    EXPECT_EQ(state(), "-@0");
    EXPECT_EQ(after(KEY_ENTER), "-@0");
    EXPECT_EQ(commands(), "");
    EXPECT_EQ(after(KEY_DOWN), "1@0");
    publish_request();
    scope.put_file("C:/code", "a.c"); // by the old search, which goes on until the request is taken
    scope.put_lines(20);
    EXPECT_EQ(state(), "-@0");
    EXPECT_EQ(after(KEY_DOWN), "1@0");
    take_request();
    scope.put_file("C:/code", "b.c");
    scope.put_lines(20);
    EXPECT_EQ(state(), "-@0");
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysSearch, AHitThatANewSearchReplacesMeanwhileIsNotCopied) {
    KeysScope scope;
    copy_from_elsewhere("before");
    select(2, 0);
    os_free(row_text.data);
    row_text = {};
    {
        HeapHookScope hook([](uint64_t size) { // the copy's text is made after the row is read
            if (size == 1025) {
                begin_another_search();
            }
            return true;
        });
        key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    }
    EXPECT_EQ(clipboard_text(), "before");
}

TEST(ListKeysSearch, RowsThatAreGoneAreNotSelected) {
    KeysScope scope;
    select(20, 15);
    results_store.hit_table.count = 10; // as after a failed reallocation
    EXPECT_EQ(state(), "-@15");
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "");
    EXPECT_EQ(after(KEY_DOWN), "9@9");
}

// ---- Enter ----

TEST(ListKeysEnter, InSrcRunsTheCommandsOfTheSelectedHit) {
    KeysScope scope;
    key(KEY_ENTER);
    key_with({KEY_CTRL}, KEY_ENTER);
    EXPECT_EQ(commands(), ""); // without a selection
    select(7, 0);
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "L b.c:3|");
    key_with({KEY_CTRL}, KEY_ENTER);
    EXPECT_EQ(commands(), "R b.c:3|");
    search_state.results_scroll = 20; // out of sight
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "L b.c:3|");
    key(KEY_ENTER, KEY_REPEATED);
    key(KEY_ENTER, KEY_RELEASED);
    key_with({KEY_CTRL}, KEY_ENTER, KEY_REPEATED);
    EXPECT_EQ(commands(), "");
    EXPECT_EQ(text_of(*query), "needle");
    settings.left_click_cmd = str_from("");
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysEnter, InPathCompletesItAsBefore) {
    for (bool has_ctrl : {false, true}) {
        KeysScope scope;
        scope.put_folders({"codes"}, {});
        scope.focus(path, {{7, 7}});
        select(7, 0);
        key_with(has_ctrl ? std::vector<uint16_t>{KEY_CTRL} : std::vector<uint16_t>{}, KEY_ENTER);
        EXPECT_EQ(text_of(*path), "C:/codes");
        EXPECT_EQ(commands(), "");
    }
}

TEST(ListKeysEnter, AHitThatDoesNotFitTheScratchArenaRunsNothing) {
    KeysScope scope;
    select(1, 0);
    std::string filler(scratch->capacity - 3, 'x');
    scratch_join(str_over(filler), {});
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "");
    scratch_empty();
    key(KEY_ENTER);
    EXPECT_EQ(commands(), "L a.c:1|");
}

// ---- Copying ----

TEST(ListKeysCopy, PutsPathLineAndTextOnTheClipboard) {
    KeysScope scope;
    copy_from_elsewhere("before");
    select(6, 0);
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    EXPECT_EQ(clipboard_text(), "C:/code/src/b.c:2: a needle");
    std::string longest(400, 'x');
    scope.put_hit(4000000000, longest.c_str());
    select(31, 0);
    scope.focus(path, {{0, 7}});
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    EXPECT_EQ(clipboard_text(), "C:/code/c.c:-294967296: " + longest); // as the list shows the number
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C, KEY_REPEATED);
    EXPECT_EQ(clipboard_text(), "C:/code/c.c:-294967296: " + longest);
}

TEST(ListKeysCopy, WithoutASelectedHitItIsTheFields) {
    KeysScope scope;
    copy_from_elsewhere("before");
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    EXPECT_EQ(clipboard_text(), "needle");
    select(6, 0);
    scope.focus(query, {{0, 4}});
    key_with({KEY_CTRL}, KEY_C);
    EXPECT_EQ(clipboard_text(), "need");
    key_with({KEY_SHIFT}, KEY_C); // types a letter
    key_with({KEY_CTRL, KEY_ALT}, KEY_C);
    EXPECT_EQ(clipboard_text(), "need");
}

TEST(ListKeysCopy, OutOfMemoryTheClipboardStays) {
    KeysScope scope;
    std::string longest(400, 'x');
    scope.put_hit(1, longest.c_str());
    std::string folder(900, 'f');
    reinterpret_cast<FileEntry *>(results_store.file_table.data)[2].folder = str_over(folder);
    select(31, 0);
    for (int failing = 0; failing < 2; failing++) { // the row text itself, and its growth
        os_free(row_text.data);
        row_text = {};
        copy_from_elsewhere("before");
        int allocations = 0;
        {
            HeapHookScope hook([&](uint64_t) { return allocations++ != failing; });
            key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
        }
        EXPECT_GT(allocations, failing);
        EXPECT_EQ(clipboard_text(), "before");
    }
    key_with({KEY_CTRL, KEY_SHIFT}, KEY_C);
    EXPECT_EQ(clipboard_text(), folder + "/c.c:1: " + longest);
}

// ---- What is drawn ----

TEST(ListKeysPicture, EverySizeOfText) {
    const struct {
        int32_t font_size, line_height, text_y_offset;
        Size size;
    } rows[] = {{14, 15, 12, {420, 200}}, {21, 22, 18, {620, 290}}, {28, 30, 24, {820, 380}}};
    for (const auto &sizes : rows) {
        KeysScope scope;
        scope.use_sizes(sizes.font_size, sizes.line_height, sizes.text_y_offset);
        search_state.search_busy = 1;
        search_state.results_scroll = 2;
        list_keys_select(current_search_number(), 5);
        Canvas canvas(sizes.size.width, sizes.size.height, 0xFF123456);
        int32_t list = 4 + 2 * (sizes.line_height + 8);
        frame_draw(&canvas.framebuffer, {100, list + 6 * sizes.line_height}); // below the selected hit
        expect_picture(canvas.framebuffer, "list_keys_" + std::to_string(sizes.font_size));
    }
}

TEST(ListKeysPicture, ASelectedHitUnderTheMouseInANarrowWindow) {
    KeysScope scope;
    list_keys_select(current_search_number(), 3);
    Canvas canvas(120, 120, 0xFF123456);
    frame_draw(&canvas.framebuffer, {20, list_top + 3 * row_height});
    expect_picture(canvas.framebuffer, "list_keys_hover");
}

TEST(ListKeysPicture, OffAndWithoutASelectionOrAScrollBarTheFrameIsTheSame) {
    KeysScope scope;
    results_store.hit_table.count = 10;
    Canvas with(width, 260, 0), without(width, 260, 0);
    frame_draw(&with.framebuffer, nowhere);
    settings.list_keys = false;
    list_keys_select(current_search_number(), 3);
    frame_draw(&without.framebuffer, nowhere);
    EXPECT_TRUE(std::equal(with.framebuffer.pixels, with.framebuffer.pixels + width * 260,
                           without.framebuffer.pixels));
}

// ---- Clicks on hits ----

TEST(ListKeysMouse, AClickOnAHitSelectsItAndRunsItsCommand) {
    KeysScope scope;
    click(&scope, {100, list_top + 2 * row_height});
    EXPECT_EQ(state(), "2@0");
    EXPECT_EQ(commands(), "L a.c:2|");
    click(&scope, {100, list_top + 5 * row_height}, MOUSE_RIGHT);
    EXPECT_EQ(state(), "5@0");
    EXPECT_EQ(commands(), "R b.c:1|");
    EXPECT_EQ(after(KEY_DOWN), "6@0");
    click(&scope, {100, list_top + 4 * row_height}); // a file's name
    EXPECT_EQ(state(), "6@0");
}
