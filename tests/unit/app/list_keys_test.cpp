#include "app/list_keys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "actions/command_template.h"
#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "app/scrolling.h"
#include "support/heap_hook.h"
#include "support/picture.h"
#include "support/recorded_commands.h"
#include "ui/edited_field.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

constexpr uint32_t selected_background = 0xFF264058;
constexpr Point nowhere = {-1000, -1000};
constexpr int32_t list_top = 50, width = 400, row_height = 15;

// Rows 0 to 3 are a.c, 4 to 13 b.c, 14 to 30 c.c; rows 0, 4 and 14 are the files' headers.
struct KeysScope : FrameScope {
    Canvas canvas;

    explicit KeysScope(int32_t height = 200) : canvas(width, height, 0xFF000000) { // of ten rows
        settings.list_keys = true;
        list_keys = {};
        recorded_commands.clear();
        settings.left_click_cmd = str_from("L {tarn_file_name}:{tarn_row}");
        settings.right_click_cmd = str_from("R {tarn_file_name}:{tarn_row}");
        set_field(path, "C:/code");
        set_field(query, "needle");
        focus(query, {{0, 6}});
        put_file("C:/code/src", "a.c");
        put_lines(3);
        put_file("C:/code/src", "b.c");
        put_lines(9);
        put_file("C:/code", "c.c");
        put_lines(16);
        draw();
    }
    ~KeysScope() {
        list_keys = {};
    }

    static void put_lines(uint32_t count) {
        for (uint32_t line = 1; line <= count; line++) {
            put_hit(line, "a needle");
        }
    }

    // A frame with the events since the last one, as the loop draws it.
    void draw() {
        draw_at(ui_pointer_position());
    }
    void draw_at(Point mouse) {
        frame_draw(&canvas.framebuffer, mouse);
        scratch_empty();
        input_begin_frame();
    }

    uint32_t pixel(int32_t x, int32_t y) const {
        return canvas.framebuffer.pixels[y * canvas.framebuffer.width + x];
    }
};

void key(uint16_t code, uint8_t state = KEY_PRESSED) {
    WindowEvent event = {};
    event.type = EVENT_KEY;
    event.key = {code, state};
    input_handle_event(&event);
}

void key_with(const std::vector<uint16_t> &modifiers, uint16_t code, uint8_t state = KEY_PRESSED) {
    for (uint16_t modifier : modifiers) {
        key(modifier);
    }
    key(code, state);
    for (uint16_t modifier : modifiers) {
        key(modifier, KEY_RELEASED);
    }
}

void move_to(Point position) {
    WindowEvent event = {};
    event.type = EVENT_MOUSE_MOVE;
    event.mouse.position = position;
    input_handle_event(&event);
}

void button(uint16_t which, uint8_t state, Point position) {
    WindowEvent event = {};
    event.type = EVENT_MOUSE_BUTTON;
    event.button = {which, position, state};
    input_handle_event(&event);
}

// A click in frames of its own.
void click(KeysScope *scope, Point position, uint16_t which = MOUSE_LEFT) {
    button(which, BUTTON_PRESSED, position);
    scope->draw();
    button(which, BUTTON_RELEASED, position);
    scope->draw();
}

// "row@first visible row", with '-' for no selection.
std::string state() {
    std::string row = "-";
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        if (list_keys_is_selected(i)) {
            EXPECT_EQ(row, "-");
            row = std::to_string(i);
        }
    }
    return row + "@" + std::to_string(search_state.results_scroll);
}

// The state after a key, pressed with these modifiers.
std::string after(uint16_t code, const std::vector<uint16_t> &modifiers = {}) {
    key_with(modifiers, code);
    return state();
}

// The commands run since the last call, with '|' after each.
std::string commands() {
    std::string texts;
    for (const RecordedCommand &command : recorded_commands) {
        texts += command.text + "|";
    }
    recorded_commands.clear();
    return texts;
}

// Selects a row and scrolls, whether or not the row is then visible.
void select(uint64_t row, int32_t first) {
    list_keys_select(row);
    search_state.results_scroll = first;
}

// Takes a request without running it, so the rows stay to be seen.
void begin_another_search() {
    search_state.requests_taken = search_state.requests_taken + 1;
}

} // namespace

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

TEST(ListKeysScroll, ASelectedHitBecomesWhollyVisible) {
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

// Whether a row is wholly visible in a list of that many rows.
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
        list_keys_select(5);
        Canvas canvas(sizes.size.width, sizes.size.height, 0xFF123456);
        int32_t list = 4 + 2 * (sizes.line_height + 8);
        frame_draw(&canvas.framebuffer, {100, list + 6 * sizes.line_height}); // below the selected hit
        expect_picture(canvas.framebuffer, "list_keys_" + std::to_string(sizes.font_size));
    }
}

TEST(ListKeysPicture, ASelectedHitUnderTheMouseInANarrowWindow) {
    KeysScope scope;
    list_keys_select(3);
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
    list_keys_select(3);
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

// ---- The scroll bar ----

namespace {

constexpr int32_t bar_x = width - 11;

// The thumb's first and last pixel, from the list's top.
std::string thumb(KeysScope *scope) {
    frame_draw(&scope->canvas.framebuffer, nowhere);
    int32_t first = -1, last = -1;
    for (int32_t y = list_top; y < scope->canvas.framebuffer.height; y++) {
        if (scope->pixel(width - 1, y) == 0xFFA0A0A0) { // its outline
            first = first < 0 ? y : first;
            last = y;
        }
    }
    return std::to_string(first - list_top) + "-" + std::to_string(last - list_top);
}

// Whether a row is highlighted: whether any pixel is mostly green.
bool has_green(const KeysScope &scope) {
    const Framebuffer &drawn = scope.canvas.framebuffer;
    return std::any_of(drawn.pixels, drawn.pixels + drawn.width * drawn.height, [](uint32_t colour) {
        return (colour >> 16 & 0xFF) < 50 && (colour >> 8 & 0xFF) > 100 && (colour & 0xFF) < 50;
    });
}

} // namespace

TEST(ListKeysBar, TheThumbIsAtTheBottomWhenTheLastHitIs) {
    KeysScope scope; // the thumb is 150 * 150 / (31 * 15) long
    EXPECT_EQ(thumb(&scope), "0-47");
    search_state.results_scroll = 11;
    EXPECT_EQ(thumb(&scope), "51-98");
    for (int32_t first : {22, 23, 31, 1000, INT32_MAX}) {
        search_state.results_scroll = first;
        EXPECT_EQ(thumb(&scope), "102-149");
    }
    results_store.hit_table.count = 10; // just fills the list
    EXPECT_EQ(thumb(&scope), "0-149");
}

TEST(ListKeysBar, AClickAboveOrBelowTheThumbScrollsByAPageAndRunsNothing) {
    KeysScope scope;
    click(&scope, {bar_x, list_top + 48});
    EXPECT_EQ(state(), "-@9");
    click(&scope, {width - 1, 199});
    EXPECT_EQ(state(), "-@17");
    button(MOUSE_LEFT, BUTTON_DOUBLE_PRESSED, {width - 1, 199}); // counts as a press
    scope.draw();
    EXPECT_EQ(state(), "-@22");
    button(MOUSE_LEFT, BUTTON_RELEASED, {width - 1, 199});
    scope.draw();
    click(&scope, {bar_x, list_top});
    EXPECT_EQ(state(), "-@14");
    select(20, 14); // a hit; the bar does not move the selection
    click(&scope, {bar_x, list_top});
    EXPECT_EQ(state(), "20@6");
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysBar, OtherButtonsOnItDoNothing) {
    KeysScope scope;
    for (uint16_t which : {MOUSE_RIGHT, MOUSE_MIDDLE}) {
        for (int32_t y : {list_top + 20, 190}) {
            click(&scope, {bar_x, y}, which);
        }
    }
    EXPECT_EQ(state(), "-@0");
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysBar, WithThePointerOnItNoRowIsHighlighted) {
    KeysScope scope;
    for (int32_t x : {bar_x - 1, bar_x, width - 1}) {
        scope.draw_at({x, list_top + 20});
        EXPECT_EQ(has_green(scope), x == bar_x - 1) << x;
    }
    click(&scope, {bar_x - 1, list_top + 20});
    EXPECT_EQ(commands(), "L a.c:1|");
    results_store.hit_table.count = 9; // then there is no scroll bar
    click(&scope, {width - 1, list_top + 20});
    EXPECT_EQ(commands(), "L a.c:1|");
}

TEST(ListKeysBar, TheThumbFollowsThePointerThatHoldsIt) {
    KeysScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 40});
    scope.draw();
    EXPECT_EQ(state(), "-@0");
    for (int32_t by : {2, 3}) { // a row is 102 / 22 pixels of the bar; the nearest one counts
        move_to({395, list_top + 40 + by});
        scope.draw();
        EXPECT_EQ(search_state.results_scroll, by - 2);
    }
    for (Point to : {Point{395, list_top + 91}, {-700, list_top + 91}, {5000, list_top + 91}}) {
        move_to(to); // also outside the window
        scope.draw();
        EXPECT_EQ(state(), "-@11");
    }
    EXPECT_EQ(thumb(&scope), "51-98");
    for (int32_t y : {list_top + 142, list_top + 150, 5000}) {
        move_to({100, y});
        scope.draw();
        EXPECT_EQ(state(), "-@22");
    }
    move_to({100, list_top + 91}); // the place within the thumb is kept
    scope.draw();
    EXPECT_EQ(state(), "-@11");
    move_to({100, -5000});
    scope.draw();
    EXPECT_EQ(state(), "-@0");
    move_to({100, list_top + 91});
    button(MOUSE_LEFT, BUTTON_RELEASED, {100, list_top + 142});
    move_to({100, list_top}); // in the same frame, but after the release
    scope.draw();
    EXPECT_EQ(state(), "-@22");
    move_to({100, list_top + 40});
    scope.draw();
    EXPECT_EQ(state(), "-@22");
    EXPECT_EQ(commands(), "");
}

TEST(ListKeysBar, WhileTheThumbIsHeldNoRowIsHighlightedOrClicked) {
    KeysScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 20});
    scope.draw();
    move_to({100, list_top + 25});
    scope.draw();
    EXPECT_FALSE(has_green(scope));
    click(&scope, {100, list_top + 25}, MOUSE_RIGHT);
    EXPECT_EQ(commands(), "");
    button(MOUSE_LEFT, BUTTON_RELEASED, {100, list_top + 25});
    scope.draw();
    EXPECT_TRUE(has_green(scope));
    click(&scope, {100, list_top + 25}, MOUSE_RIGHT);
    EXPECT_EQ(commands(), "R a.c:1|");
}

TEST(ListKeysBar, RowsThatAreAddedDoNotScrollWhileThePointerRests) {
    KeysScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 20});
    scope.draw();
    move_to({395, list_top + 71});
    scope.draw();
    EXPECT_EQ(state(), "-@11");
    scope.put_lines(1000);
    move_to({300, list_top + 71});
    scope.draw();
    EXPECT_EQ(state(), "-@11");
    move_to({300, list_top + 72});
    scope.draw();
    EXPECT_GT(search_state.results_scroll, 300);
}

TEST(ListKeysBar, AMillionHitsCanBeReached) {
    KeysScope scope;
    scope.put_lines(1000000);
    ASSERT_EQ(results_store.hit_table.count, 1000031u);
    EXPECT_EQ(thumb(&scope), "0-19");
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 10});
    scope.draw();
    for (int32_t offset = 1; offset <= 130; offset++) {
        move_to({395, list_top + 10 + offset});
        scope.draw();
        EXPECT_EQ(thumb(&scope), std::to_string(offset) + "-" + std::to_string(offset + 19));
    }
    EXPECT_EQ(search_state.results_scroll, 1000031 - 9);
}

TEST(ListKeysBar, ALostFocusOrADropDownEndsTheDrag) {
    KeysScope scope;
    set_entries(query, {"one"});
    for (bool has_focus : {false, true}) {
        search_state.results_scroll = 0;
        button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 20});
        scope.draw();
        if (has_focus) {
            input_field.dropdown_open = true;
            scope.draw();
            input_field.dropdown_open = false;
        } else {
            WindowEvent event = {};
            event.type = EVENT_FOCUS;
            input_handle_event(&event);
            scope.draw();
        }
        move_to({395, list_top + 71});
        scope.draw();
        EXPECT_EQ(state(), "-@0");
        button(MOUSE_LEFT, BUTTON_RELEASED, {395, list_top + 71});
        scope.draw();
    }
}

TEST(ListKeysBar, ADragScrollsNoListThatHasBecomeShort) {
    KeysScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, list_top + 20});
    scope.draw();
    results_store.hit_table.count = 0;
    move_to({395, list_top + 71});
    scope.draw();
    EXPECT_EQ(state(), "-@0");
    results_store.hit_table.count = 10; // a thumb that cannot move
    move_to({395, list_top + 80});
    scope.draw();
    EXPECT_EQ(state(), "-@0");
}

// ---- With a status line ----

TEST(ListKeysStatusLine, TheListEndsAboveItAndADragGoesOnOverIt) {
    KeysScope scope(200 + 23); // so the list is as high as without it in a window of 200
    settings.status_line = true;
    scope.draw();
    EXPECT_EQ(thumb(&scope), "0-47");
    select(9, 0);
    EXPECT_EQ(after(KEY_DOWN), "10@2");
    list_keys = {};
    search_state.results_scroll = 0;
    scope.draw();
    EXPECT_EQ(after(KEY_PAGE_DOWN), "-@9");
    EXPECT_EQ(after(KEY_PAGE_DOWN, {KEY_CTRL}), "-@22");
    EXPECT_EQ(thumb(&scope), "102-149");
    button(MOUSE_LEFT, BUTTON_PRESSED, {395, 190});
    scope.draw();
    for (int32_t y : {205, 222, 500}) {
        move_to({395, 139});
        scope.draw();
        EXPECT_EQ(state(), "-@11");
        move_to({395, y});
        scope.draw();
        EXPECT_EQ(state(), "-@22");
    }
    button(MOUSE_LEFT, BUTTON_RELEASED, {395, 222});
    scope.draw();
    search_state.results_scroll = 0;
    click(&scope, {395, 201});
    EXPECT_EQ(state(), "-@0");
    EXPECT_EQ(commands(), "");
}
