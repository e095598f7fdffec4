#include "app/scrolling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "app/keys_scope.h"

// ---- The wheel ----

TEST(ResultsScroll, AStepIsAFifthOfTheClientAreaAndAtLeastOneHit) {
    const struct {
        int32_t client_height, line_height, step;
    } rows[] = {{600, 15, 8},   {1000, 15, 13},     {1080, 15, 14},   {74, 15, 1},   {75, 15, 1},
                {149, 15, 1},   {150, 15, 2},       {224, 15, 2},     {225, 15, 3},  {600, 22, 5},
                {600, 35, 3},   {349, 35, 1},       {350, 35, 2},     {1, 15, 1},    {0, 15, 1},
                {600, 1000, 1}, {2160, 11, 39},     {600, 1, 120},    {4, 1, 1},     {5, 1, 1},
                {9, 1, 1},      {10, 1, 2},         {30000, 1, 6000}, {100, 100, 1}, {1000, 100, 2},
                {999, 100, 1},  {600, INT32_MAX, 1}};
    FrameScope scope;
    for (const auto &sized : rows) {
        scope.use_sizes(14, sized.line_height, 12);
        SCOPED_TRACE(std::to_string(sized.client_height) + " / " + std::to_string(sized.line_height));
        search_state.results_scroll = 100000;
        results_scroll_by(-1, sized.client_height);
        EXPECT_EQ(search_state.results_scroll, 100000 + sized.step);
        results_scroll_by(1, sized.client_height);
        EXPECT_EQ(search_state.results_scroll, 100000);
        results_scroll_by(1, sized.client_height);
        EXPECT_EQ(search_state.results_scroll, 100000 - sized.step);
    }
}

TEST(ResultsScroll, EveryHeightMakesTheStepOfWholeNumbers) {
    FrameScope scope;
    for (int32_t line_height : {1, 7, 11, 15, 22, 35}) {
        scope.use_sizes(14, line_height, 12);
        for (int32_t height = 0; height <= 4400; height++) {
            search_state.results_scroll = 0;
            results_scroll_by(-1, height);
            int32_t whole = height / (5 * line_height);
            ASSERT_EQ(search_state.results_scroll, whole > 1 ? whole : 1) << height << " / " << line_height;
        }
    }
}

TEST(ResultsScroll, StopsAtTheFirstHit) {
    FrameScope scope;
    for (int32_t scroll : {0, 1, 7, 8}) {
        search_state.results_scroll = scroll;
        results_scroll_by(1, 600);
        EXPECT_EQ(search_state.results_scroll, 0);
    }
    search_state.results_scroll = 9;
    results_scroll_by(1, 600);
    EXPECT_EQ(search_state.results_scroll, 1);
}

TEST(ResultsScroll, GoesPastTheLastHitAndComesBack) {
    FrameScope scope;
    scope.put_hits(6);
    for (int i = 1; i <= 5; i++) {
        results_scroll_by(-1, 600);
        EXPECT_EQ(search_state.results_scroll, 8 * i); // of six
    }
    for (int i = 4; i >= 0; i--) {
        results_scroll_by(1, 600);
        EXPECT_EQ(search_state.results_scroll, 8 * i);
    }
}

TEST(ResultsScroll, StaysAtMostTheLargestRowNumber) {
    FrameScope scope;
    for (int32_t scroll : {INT32_MAX, INT32_MAX - 1, INT32_MAX - 8}) {
        search_state.results_scroll = scroll;
        results_scroll_by(-1, 600);
        EXPECT_EQ(search_state.results_scroll, INT32_MAX);
    }
    results_scroll_by(1, 600);
    EXPECT_EQ(search_state.results_scroll, INT32_MAX - 8);
    search_state.results_scroll = INT32_MAX - 9;
    results_scroll_by(-1, 600);
    EXPECT_EQ(search_state.results_scroll, INT32_MAX - 1);
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
