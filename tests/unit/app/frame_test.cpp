#include "app/frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/frame_scope.h"
#include "app/input.h"
#include "app/shown_window.h"
#include "os/arrays.h"
#include "os/clock.h"
#include "os/toolkit/window.h"
#include "render/draw.h"
#include "render/text.h"
#include "render/utf8_scope.h"
#include "support/headless_window.h"
#include "support/picture.h"
#include "support/recorded_commands.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

constexpr uint32_t ground = 0xFF1A1A1A, yellow = 0xFFFFFF00;
constexpr Point nowhere = {-1000, -1000};
constexpr uint32_t unpainted = 0xFF123456;

// Compares a frame with the kept picture.
void expect_frame(const std::string &name, Size size = {420, 160}, Point mouse = nowhere) {
    Canvas canvas(size.width, size.height, unpainted);
    frame_draw(&canvas.framebuffer, mouse);
    expect_picture(canvas.framebuffer, name);
}

// Where a row or a column has a colour, as "first-last" runs.
std::string runs(const Framebuffer &framebuffer, uint32_t colour, Point start, Point step) {
    std::string text;
    int32_t from = -1;
    int32_t i = 0;
    for (Point at = start;; at = {at.x + step.x, at.y + step.y}, i++) {
        bool is_inside = at.x < framebuffer.width && at.y < framebuffer.height;
        bool is_it = is_inside && framebuffer.pixels[at.y * framebuffer.width + at.x] == colour;
        if (is_it && from < 0) {
            from = i;
        } else if (!is_it && from >= 0) {
            text += (text.empty() ? "" : " ") + std::to_string(from) + "-" + std::to_string(i - 1);
            from = -1;
        }
        if (!is_inside) {
            return text;
        }
    }
}

std::string column_runs(const Framebuffer &framebuffer, uint32_t colour, int32_t x) {
    return runs(framebuffer, colour, {x, 0}, {0, 1});
}

std::string row_runs(const Framebuffer &framebuffer, uint32_t colour, int32_t y) {
    return runs(framebuffer, colour, {0, y}, {1, 0});
}

uint64_t count_of(const Framebuffer &framebuffer, uint32_t colour) {
    uint64_t count = 0;
    for (int32_t i = 0; i < framebuffer.width * framebuffer.height; i++) {
        count += framebuffer.pixels[i] == colour;
    }
    return count;
}

} // namespace

// ---- Pictures ----

TEST(FramePicture, Empty) {
    FrameScope scope;
    scope.focus(query, {{0, 0}});
    expect_frame("frame_empty");
}

TEST(FramePicture, ATypedPathWithFolders) {
    FrameScope scope;
    set_field(path, "C:/src/ap");
    scope.focus(path, {{9, 9}});
    scope.put_folders({"apps", "Apple_pie"}, {"bin", "gadgets", "lib", "tools", "cut at the edge", "unseen"});
    expect_frame("frame_folders");
}

TEST(FramePicture, Busy) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.focus(query, {{6, 6}});
    scope.put_hits(3);
    search_state.search_busy = 1;
    expect_frame("frame_busy");
}

TEST(FramePicture, ASelectionAndTheMouseOnTheOtherField) {
    FrameScope scope;
    set_field(path, "C:/src/projects");
    set_field(query, "needle");
    scope.focus(path, {{7, 15}});
    expect_frame("frame_selection", {420, 160}, {200, 40});
}

TEST(FramePicture, SeveralCarets) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "one two three four");
    scope.focus(query, {{0, 3}, {7, 4}, {10, 10}, {18, 18}});
    expect_frame("frame_carets");
}

TEST(FramePicture, ADropDownWithLiveAndRemovedEntries) {
    FrameScope scope;
    set_field(path, "C:/src");
    scope.focus(path, {{0, 6}});
    set_entries(path, {"C:/src/gadgets", "(C:/old/project)", "C:/src/fjord", "(D:/backup)", "C:/src"});
    path_field.is_saved = 1;
    input_field.dropdown_open = true;
    expect_frame("frame_dropdown", {420, 160}, {150, 70});
}

TEST(FramePicture, ADropDownOfSrcWithTheMouseOnAButton) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.focus(query, {{0, 6}});
    set_entries(query, {"gjpqy", "(removed)", "last"});
    input_field.dropdown_open = true;
    expect_frame("frame_dropdown_button", {420, 160}, {14, 76});
}

TEST(FramePicture, SavedTextsAndTheMouseOnAButton) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.focus(query, {{6, 6}});
    path_field.is_saved = query_field.is_saved = 1;
    expect_frame("frame_saved", {420, 160}, {412, 36});
}

TEST(FramePicture, AWindowWhereTextAndButtonMeet) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.focus(path, {{0, 6}});
    search_state.search_busy = 1;
    expect_frame("frame_narrow", {80, 100});
}

TEST(FramePicture, AWindowNarrowerThanTheButton) {
    FrameScope scope;
    set_field(path, "C:/src");
    scope.focus(path, {{0, 6}});
    expect_frame("frame_narrower", {14, 100});
}

TEST(FramePicture, ATextLongerThanItsRow) {
    FrameScope scope;
    std::string folders = "C:/";
    for (int i = 0; i < 20; i++) {
        folders += "folder" + std::to_string(i) + "/";
    }
    set_field(path, folders);
    set_field(query, std::string(200, 'W'));
    int32_t end = static_cast<int32_t>(folders.size());
    scope.focus(path, {{0, end}});
    scope.put_folders({"matching"}, {});
    expect_frame("frame_long_text");
}

TEST(FramePicture, TallLines) {
    FrameScope scope;
    scope.use_sizes(14, 32, 21);
    set_field(path, "C:/src/ap");
    set_field(query, "needle");
    scope.focus(path, {{7, 9}});
    scope.put_folders({"apps"}, {"bin", "lib"});
    expect_frame("frame_tall_lines");
}

TEST(FramePicture, EverySizeOfText) {
    const struct {
        int32_t font_size, line_height, text_y_offset;
        Size size;
    } rows[] = {{10, 11, 9, {300, 100}},
                {14, 15, 12, {360, 130}},
                {20, 22, 17, {420, 180}},
                {32, 35, 27, {620, 270}}};
    for (const auto &sizes : rows) {
        FrameScope scope;
        scope.use_sizes(sizes.font_size, sizes.line_height, sizes.text_y_offset);
        set_field(path, "C:/gypsy/Ap");
        set_field(query, "needle");
        scope.focus(path, {{3, 11}});
        query_field.is_saved = 1;
        scope.put_folders({"Apply_jig"}, {"bin", "quay"});
        expect_frame("frame_size_" + std::to_string(sizes.font_size), sizes.size);
    }
}

TEST(FramePicture, ADropDownOfLargeText) {
    FrameScope scope;
    scope.use_sizes(32, 35, 27);
    set_field(query, "needle");
    scope.focus(query, {{0, 6}});
    set_entries(query, {"gjpqy", "(Removed)", "last"});
    input_field.dropdown_open = true;
    expect_frame("frame_dropdown_32", {420, 220}, {100, 150});
}

TEST(FramePicture, AQueryWithLineFeedsTabsAndControlBytes) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "one\ttwo\x01\x1B"
                     "three\nsecond line\nthird \xC3\xA9");
    scope.focus(query, {{4, 7}, {9, 14}, {26, 26}});
    expect_frame("frame_control_bytes");
}

namespace {

// Latin, Greek and Cyrillic letters of the font, ideographs and emoji of the fallback font, a letter that
// both lack, and bytes of no character.
void expect_utf8_frame(const std::string &name, Size size) {
    FrameScope scope;
    Utf8Scope utf8;
    const int32_t font_size = size.width / 30;
    scope.use_sizes(font_size, font_size * 15 / 14, font_size * 12 / 14);
    set_field(path, "C:/señal/你好");
    set_field(query, "Ωж 世界😀x");
    scope.focus(query, {{5, 11}});
    scope.put_folders({"你好吗", "你好ß"}, {"ünïcödé", "가 missing", "\xFF\xE4\xBD invalid"});
    scope.put_file("C:/señal/文", "größe 你.txt");
    scope.put_hit(7, "naïve 世界😀x /* 你好 */ été");
    scope.put_hit(8, "cut: 世\xE4\xB8");
    reinterpret_cast<ResultRecord *>(results_store.hit_table.data)[2].is_cut = 1;
    expect_frame(name, size);
}

} // namespace

TEST(FramePicture, Utf8Texts) {
    expect_utf8_frame("frame_utf8", {420, 180});
    expect_utf8_frame("frame_utf8_28", {840, 360});
}

TEST(FramePicture, Utf8TextsInADropDown) {
    FrameScope scope;
    Utf8Scope utf8;
    set_field(path, "C:/señal/你好");
    scope.focus(path, {{16, 16}});
    set_entries(path, {"C:/señal", "(D:/世界)", "가 \xFF"});
    input_field.dropdown_open = true;
    expect_frame("frame_utf8_dropdown");
}

TEST(FramePicture, TheScrollBarAtTheTopInTheMiddleAndAtTheEnd) {
    FrameScope scope;
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.put_hits(20); // of 15 pixels; 7 are visible
    const struct {
        const char *name;
        int32_t scroll;
    } rows[] = {{"frame_scroll_top", 0}, {"frame_scroll_middle", 7}, {"frame_scroll_end", 13}};
    for (const auto &scrolled : rows) {
        search_state.results_scroll = scrolled.scroll;
        expect_frame(scrolled.name);
    }
}

// tests/e2e/same_pixels_test.sh brings the program's window into the same three states.
TEST(FramePicture, TheOnesThatARealWindowShowsToo) {
    FrameScope scope;
    set_field(path, "code");
    set_field(query, "needle");
    set_entries(query, {"needle", "two words"});
    query_field.is_saved = 1;
    scope.focus(query, {{6, 6}});
    scope.put_file("code", "main.c");
    scope.put_hit(1, "#include \"needle.h\"");
    for (uint32_t line = 4; line < 10; line++) {
        scope.put_hit(line, "return needle_find(hay); // gr\xC3\xB6\xC3\x9Fte");
    }
    scope.put_file("code/include", "needle.h");
    scope.put_hit(2, "typedef struct Needle needle;");
    expect_frame("window_hits");
    scope.focus(query, {{0, 6}});
    input_field.dropdown_open = true;
    expect_frame("window_saved", {420, 160}, {300, 38});

    input_field.dropdown_open = false;
    results_store.file_table.count = 0;
    results_store.hit_table.count = 0;
    set_field(path, "code/in");
    scope.focus(path, {{7, 7}});
    scope.put_folders({"include"}, {"docs"});
    expect_frame("window_folders", {420, 160}, {300, 38});
}

// ---- What is drawn where ----

TEST(FrameDraw, DrawsNothingIntoAFramebufferOfNoSize) {
    FrameScope scope;
    set_field(path, "C:/src/ap");
    scope.focus(path, {{0, 4}});
    scope.put_folders({"apps"}, {"bin"});
    scope.put_hits(30);
    search_state.search_busy = 1;
    for (uint8_t is_open : {uint8_t{0}, uint8_t{1}}) {
        set_entries(path, {"one"});
        input_field.dropdown_open = is_open;
        Framebuffer none = {};
        frame_draw(&none, {0, 0});
        EXPECT_EQ(none.pixels, nullptr);
    }
}

TEST(FrameDraw, FitsEverySmallFramebuffer) {
    FrameScope scope;
    set_field(path, "C:/src/ap");
    set_field(query, "a\nb");
    scope.focus(query, {{0, 3}});
    scope.put_folders({"apps"}, {"bin"});
    scope.put_hits(30);
    search_state.search_busy = 1;
    for (int32_t width : {1, 5, 9, 10, 11, 30}) {
        for (int32_t height : {1, 4, 30, 49, 50, 51, 52, 53, 60}) {
            Canvas canvas(width, height, unpainted);
            frame_draw(&canvas.framebuffer, {0, 0});
            EXPECT_EQ(count_of(canvas.framebuffer, unpainted), 0u);
        }
    }
}

TEST(FrameDraw, TheFieldsAreARowEachFromTheTop) {
    FrameScope scope;
    set_field(path, "a");
    set_field(query, "b");
    for (Field *field : {path, query}) {
        scope.focus(field, {});
        Canvas canvas(200, 100, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF323232, 150),
                  field == path ? "4-18 20-26" : "27-41 43-49");
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 150), "19-19 42-42");
    }
}

TEST(FrameDraw, FoldersAreRowsBelowTheFieldsMatchingOnesFirst) {
    FrameScope scope;
    scope.put_folders({"one", "two"}, {"three", "", "five"});
    Str gone = {}; // out of memory for its name
    dynarray_push(&results_store.other_folders, sizeof(Str), &gone);
    scope.put_folders({}, {"seven"});
    Canvas drawn(200, 150, unpainted), plain(200, 150, unpainted);
    frame_draw(&drawn.framebuffer, nowhere);
    results_store.other_folders.count = 0;
    results_store.matching_folders.count = 1; // the fields show its completion
    frame_draw(&plain.framebuffer, nowhere);
    fill_rect(&plain.framebuffer, {0, 0, 200, 150}, {0, 50, 200, 100}, ground);
    const struct {
        const char *name;
        uint32_t colour;
        int32_t row;
    } rows[] = {{"one", 0xFF00FFFF, 0},
                {"two", 0xFF00FFFF, 1},
                {"three", 0xFF7F7F7F, 2},
                {"five", 0xFF7F7F7F, 4},
                {"seven", 0xFF7F7F7F, 6}};
    for (const auto &folder : rows) {
        draw_text(&plain.framebuffer, {10, 50 + 15 * folder.row + 12}, 14, 14, folder.colour,
                  str_from(folder.name));
    }
    for (int32_t i = 0; i < 200 * 150; i++) {
        ASSERT_EQ(drawn.framebuffer.pixels[i], plain.framebuffer.pixels[i]) << i % 200 << ", " << i / 200;
    }
}

TEST(FrameDraw, TheBusyFrameIsTwoPixelsThickAroundTheList) {
    FrameScope scope;
    search_state.search_busy = 1;
    Canvas canvas(200, 100, unpainted);
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 0), "50-99");
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 1), "50-99");
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 2), "50-51 98-99");
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 197), "50-51 98-99");
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 198), "50-99");
    EXPECT_EQ(row_runs(canvas.framebuffer, yellow, 75), "0-1 198-199");
    search_state.search_busy = 0;
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(count_of(canvas.framebuffer, yellow), 0u);
}

TEST(FrameDraw, TheBusyFrameStaysOffTheFieldsOfALowWindow) {
    FrameScope scope;
    search_state.search_busy = 1;
    for (int32_t height : {20, 48, 49, 50}) {
        Canvas canvas(200, height, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        EXPECT_EQ(count_of(canvas.framebuffer, yellow), 0u) << height;
    }
    Canvas canvas(200, 51, unpainted);
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(column_runs(canvas.framebuffer, yellow, 100), "50-50");
}

TEST(FrameDraw, TheScrollBarShowsTheScrolledPlace) {
    const struct {
        int hits;
        int32_t scroll;
        const char *outline, *thumb; // rows of its left edge and of its inside
    } rows[] = {
        // The list is 100 high and a row 15, so 7 rows fill it.
        {0, 0, "", ""},
        {6, 0, "", ""},
        {7, 0, "50-144", "51-143"},
        {10, 0, "50-115", "51-114"},
        {10, 1, "60-125", "61-124"},
        {10, 4, "90-149", "91-148"}, // shorter, as fewer hits are left than fill the list
        {10, 8, "130-149", "131-148"},
        {10, 10, "130-149", "131-148"},
        {10, 429496730, "130-149", "131-148"},
        {10, INT32_MAX, "130-149", "131-148"},
        {31, 0, "50-70", "51-69"}, // the last length above the shortest
        {100, 0, "50-69", "51-68"},
        {100, 50, "100-119", "101-118"},
        {100, 81, "130-149", "131-148"},
        {100, 99, "130-149", "131-148"},
        {1000000, 0, "50-69", "51-68"},
        {1000000, 999999, "130-149", "131-148"},
    };
    FrameScope scope;
    for (const auto &scrolled : rows) {
        results_store.hit_table.count = 0;
        scope.put_hits(scrolled.hits);
        search_state.results_scroll = scrolled.scroll;
        Canvas canvas(200, 150, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        SCOPED_TRACE(std::to_string(scrolled.hits) + " hits from " + std::to_string(scrolled.scroll));
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFFA0A0A0, 190), scrolled.outline);
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF646464, 192), scrolled.thumb);
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 189),
                  scrolled.hits < 7 ? "6-24 29-47" : "6-24 29-47 50-149");
        EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF323232, 199).empty(), scrolled.hits < 7);
    }
}

TEST(FrameDraw, TheScrollBarIsDrawnOnceTheHitsFillTheList) {
    FrameScope scope;
    scope.use_sizes(14, 20, 15);
    scope.put_hits(5);
    Canvas canvas(200, 160, unpainted); // the list begins at 60
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFFA0A0A0, 190), "60-159");
    EXPECT_EQ(row_runs(canvas.framebuffer, 0xFFA0A0A0, 60), "190-199");
    EXPECT_EQ(row_runs(canvas.framebuffer, 0xFFA0A0A0, 159), "190-199");
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFFC8C8C8, 194), "102-103 109-110 116-117");
    EXPECT_EQ(row_runs(canvas.framebuffer, 0xFFC8C8C8, 102), "194-195");
}

TEST(FrameDraw, TheThumbAndItsGripsStayInAListOfAnyHeight) {
    FrameScope scope;
    scope.put_hits(300);
    for (int32_t area = 1; area <= 40; area++) {
        for (int32_t scroll : {0, 1, 150, 299, 300, INT32_MAX}) {
            search_state.results_scroll = scroll;
            Canvas canvas(200, 50 + area, unpainted);
            frame_draw(&canvas.framebuffer, nowhere);
            SCOPED_TRACE(std::to_string(area) + " pixels, from " + std::to_string(scroll));
            int32_t length = std::min(area, 20);
            int32_t top = 50 + std::min(area * std::min(scroll, 300) / 300, area - length);
            EXPECT_EQ(column_runs(canvas.framebuffer, 0xFFA0A0A0, 190),
                      std::to_string(top) + "-" + std::to_string(top + length - 1));
            std::string grips;
            for (int32_t grip : {length / 2 - 8, length / 2 - 1, length / 2 + 6}) {
                if (grip > 0 && grip + 1 < length - 1) { // inside the outline
                    grips += (grips.empty() ? "" : " ") + std::to_string(top + grip) + "-" +
                             std::to_string(top + grip + 1);
                }
            }
            EXPECT_EQ(column_runs(canvas.framebuffer, 0xFFC8C8C8, 194), grips);
        }
    }
}

TEST(FrameDraw, WithoutAListAreaThereIsNoScrollBar) {
    FrameScope scope;
    scope.put_hits(30);
    for (int32_t height : {30, 49, 50}) {
        Canvas canvas(200, height, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        EXPECT_EQ(count_of(canvas.framebuffer, 0xFFA0A0A0), 0u);
    }
    results_store.hit_table.count = 0; // no division by 0
    Canvas canvas(200, 50, unpainted);
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(count_of(canvas.framebuffer, 0xFFA0A0A0), 0u);
}

// ---- The drop-down in the frame ----

TEST(FrameDraw, AnOpenDropDownLeavesTheRestUndrawn) {
    FrameScope scope;
    set_field(query, "b");
    scope.focus(path, {});
    set_entries(path, {"one"});
    scope.put_hits(30);
    search_state.search_busy = 1;
    input_field.dropdown_open = true;
    Canvas canvas(200, 100, unpainted);
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 150), "19-19"); // one underline
    EXPECT_EQ(column_runs(canvas.framebuffer, ground, 150), "0-3 27-99");
    EXPECT_EQ(column_runs(canvas.framebuffer, ground, 195), "0-3 27-99");

    empty_list(&path_field.entries); // without entries it covers nothing
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 150), "19-19 42-42");
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 189), "6-24 29-47 50-99");
}

TEST(FrameDraw, TheDropDownOfPathKeepsClicksFromSrc) {
    FrameScope scope;
    set_field(path, "abc");
    scope.focus(path, {});
    set_entries(path, {"one"});
    input_field.dropdown_open = true;
    Canvas canvas(200, 100, unpainted);
    ui_press(MOUSE_RIGHT, {});
    frame_draw(&canvas.framebuffer, {100, 47}); // on Src, below the list's only row
    EXPECT_EQ(input_field.focused_field, path);
    ui_press(MOUSE_LEFT, {});
    frame_draw(&canvas.framebuffer, {100, 47});
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(text_of(*path), "abc");
}

TEST(FrameDraw, ARightClickGoesFromSrcsDropDownToPaths) {
    FrameScope scope;
    scope.focus(query, {});
    set_entries(query, {"hay"});
    set_entries(path, {"C:/one"});
    input_field.dropdown_open = true;
    Canvas canvas(200, 100, unpainted);
    ui_press(MOUSE_RIGHT, {});
    frame_draw(&canvas.framebuffer, {100, 10});
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_TRUE(input_field.dropdown_open);
    ui_begin_frame();
    frame_draw(&canvas.framebuffer, {100, 10});
    EXPECT_EQ(column_runs(canvas.framebuffer, 0xFF505050, 150), "19-19");
}

TEST(FrameDraw, AClickOnAFieldFocusesThatField) {
    FrameScope scope;
    set_field(path, "abc");
    Canvas canvas(200, 100, unpainted);
    ui_press(MOUSE_LEFT, {});
    frame_draw(&canvas.framebuffer, {100, 10});
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(carets(), "{0,3}");
    ui_release(MOUSE_LEFT, {});
    ui_begin_frame();
    ui_press(MOUSE_LEFT, {});
    frame_draw(&canvas.framebuffer, {100, 27});
    EXPECT_EQ(input_field.focused_field, query);
}

// ---- The clock ----

TEST(FrameTime, IsOfTheMonitorsRateOr30Hertz) {
    const struct {
        int32_t rate;
        int64_t us;
    } rows[] = {{144, 6944}, {60, 16666}, {31, 32258}, {30, 33333},   {29, 33333},  {24, 33333},
                {1, 33333},  {0, 33333},  {-1, 33333}, {-144, 33333}, {1000000, 1}, {INT32_MIN, 33333}};
    for (const auto &monitor : rows) {
        EXPECT_EQ(frame_time_us(monitor.rate), monitor.us) << monitor.rate;
        frame_clock_start(monitor.rate);
        EXPECT_EQ(frame_clock.target_us, monitor.us);
    }
}

TEST(FrameTime, CountsFromTheStartOfTheClock) {
    os_init();
    frame_clock = {1, 2, 3, 4, 5, 6, 7, 8.0, 9};
    int64_t before = os_ticks();
    frame_clock_start(60);
    EXPECT_GE(frame_clock.origin_ticks, before);
    EXPECT_LE(frame_clock.origin_ticks, os_ticks());
    EXPECT_EQ(frame_clock.frame_start_ticks, frame_clock.origin_ticks);
    EXPECT_EQ(frame_clock.last_us + frame_clock.last_ms, 0);
    EXPECT_EQ(frame_clock.total_us + frame_clock.total_ms, 0);
    EXPECT_EQ(frame_clock.last_fraction, 0.0);
    EXPECT_EQ(frame_clock.drawn_count, 0u);
    frame_clock = {};
}

// ---- The loop ----

namespace {

// Replaces the loop's sleeps while it lives.
struct NoSleeps {
    static inline std::vector<uint32_t> asked_ms;
    static inline int64_t ticks; // added to the clock by the next sleep, subtracted by the one after

    explicit NoSleeps(int64_t first_lasts = 0) {
        asked_ms.clear();
        ticks = first_lasts;
        frame_sleep_us = [](int64_t us) {
            asked_ms.push_back(sleep_ms_from_us(us));
            frame_clock.frame_start_ticks -= ticks;
            ticks = -ticks;
        };
    }
    ~NoSleeps() {
        frame_sleep_us = os_sleep_us;
    }
};

struct Loop : FrameScope, ShownWindow {
    explicit Loop(int32_t refresh_rate = 1000000) : ShownWindow(refresh_rate) {}

    Point on_screen(Point client) const {
        return {window->client_position.x + client.x, window->client_position.y + client.y};
    }

    // Twice, as a motion into the window is no move.
    void point_at(Point client) const {
        headless_move_pointer(on_screen(client));
        headless_move_pointer(on_screen(client));
    }

    // Whether the window shows what frame_draw draws with the pointer there in the client area.
    bool shows_frame(Size size, Point mouse = nowhere) const {
        Canvas canvas(size.width, size.height, unpainted);
        frame_draw(&canvas.framebuffer, mouse);
        const HeadlessView *view = headless_view(window);
        uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
        return view->size.width == size.width && view->size.height == size.height &&
               std::equal(view->pixels, view->pixels + count, canvas.framebuffer.pixels);
    }
};

} // namespace

TEST(FrameLoop, TheShownWindowIsDrawn) {
    Loop loop;
    EXPECT_EQ(frame_clock.drawn_count, 1u);
    EXPECT_EQ(loop.presented(), 1u);
    EXPECT_TRUE(loop.shows_frame({400, 200}));
}

TEST(FrameLoop, AnIdleSecondDrawsAndPresentsNothing) {
    Loop loop;
    search_state.search_busy = 1; // not even during a search, before its first hit
    EXPECT_EQ(loop.frames_in(144), 0u);
}

TEST(FrameLoop, AnEventDrawsOnce) {
    Loop loop;
    loop.point_at({200, 150});
    EXPECT_EQ(loop.frames_in(10), 1u);
    headless_turn_wheel(120);
    EXPECT_EQ(loop.frames_in(10), 1u);
    headless_ask_redraw(loop.window);
    EXPECT_EQ(loop.frames_in(10), 1u);
    Str name = str_from("C:/dropped");
    headless_drop(loop.window, {1, 1}, &name, 1);
    headless_drag_to(loop.window, {50, 60});
    EXPECT_EQ(loop.frames_in(10), 1u);
}

TEST(FrameLoop, ResultsDirtyDrawsOnce) {
    Loop loop;
    set_field(path, "C:/src");
    search_state.results_dirty = 1;
    EXPECT_EQ(loop.frames_in(1), 1u);
    EXPECT_EQ(search_state.results_dirty, 0);
    EXPECT_TRUE(loop.shows_frame({400, 200}));
    EXPECT_EQ(loop.frames_in(10), 0u);
}

TEST(FrameLoop, AKeyPressCostsOneRedraw) {
    Loop loop;
    loop.focus(query, {{0, 0}});
    headless_press_key('X');
    headless_type('x');
    EXPECT_EQ(loop.frames_in(1), 1u);
    EXPECT_EQ(text_of(*query), "x");
    EXPECT_EQ(search_state.results_dirty, 0); // the same frame shows the edit
    EXPECT_EQ(loop.frames_in(10), 0u);
    headless_release_key('X');
    EXPECT_EQ(loop.frames_in(10), 1u);
}

TEST(FrameLoop, ALeftClickShowsInASecondFrame) {
    Loop loop;
    set_field(path, "C:/src");
    loop.point_at({200, 10});
    loop.frames_in(1);
    headless_press(MOUSE_LEFT);
    EXPECT_EQ(loop.frames_in(1), 1u);
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(loop.frames_in(10), 1u);
    headless_release(MOUSE_LEFT);
    EXPECT_EQ(loop.frames_in(10), 1u);
}

TEST(FrameLoop, ARightClickShowsWithItsRelease) {
    Loop loop;
    loop.point_at({200, 10});
    loop.frames_in(1);
    headless_press(MOUSE_RIGHT);
    EXPECT_EQ(loop.frames_in(10), 1u);
    EXPECT_TRUE(input_field.dropdown_open);
    headless_release(MOUSE_RIGHT);
    EXPECT_EQ(loop.frames_in(10), 1u);
}

TEST(FrameLoop, AClickOnAHitRunsOneCommand) {
    Loop loop;
    recorded_commands.clear();
    settings.left_click_cmd = str_from("left {tarn_row}");
    settings.right_click_cmd = str_from("right {tarn_row}");
    loop.put_file("C:/src", "a.c");
    loop.put_hit(12, "needle");
    loop.point_at({200, 70});
    loop.frames_in(1);
    for (uint16_t button : {MOUSE_LEFT, MOUSE_RIGHT}) {
        headless_press(button);
        loop.frames_in(5);
        search_state.results_dirty = 1; // drawn again while it is held
        loop.frames_in(5);
        headless_release(button);
        loop.frames_in(5);
    }
    ASSERT_EQ(recorded_commands.size(), 2u);
    EXPECT_EQ(recorded_commands[0].text, "left 12");
    EXPECT_EQ(recorded_commands[1].text, "right 12");
}

namespace {

// Thirty hits in a file; the clicks on them are recorded. The file's name is at y = 50, line 1 at 65.
struct ListLoop : Loop {
    ListLoop() {
        recorded_commands.clear();
        settings.left_click_cmd = str_from("left {tarn_row}");
        settings.right_click_cmd = str_from("right {tarn_row}");
        put_file("C:/src", "a.c");
        for (uint32_t line = 1; line <= 30; line++) {
            put_hit(line, "needle");
        }
        focus(query, {{0, 0}});
        point_at({200, 70});
        frames_in(1);
    }

    static Point on_line(int line) {
        return {200, 70 + 15 * (line - 1)};
    }

    // The commands that have run, with '|' between them.
    static std::string commands() {
        std::string texts;
        for (const RecordedCommand &command : recorded_commands) {
            texts += (texts.empty() ? "" : "|") + command.text;
        }
        return texts;
    }
};

} // namespace

TEST(FrameLoop, AClickAfterAMotionFromOutsideRunsTheHitUnderIt) {
    ListLoop loop;
    headless_move_pointer({-5000, -5000});
    loop.frames_in(1);
    headless_move_pointer(loop.on_screen(ListLoop::on_line(6)));
    headless_press(MOUSE_LEFT);
    headless_release(MOUSE_LEFT);
    loop.frames_in(3);
    EXPECT_EQ(ListLoop::commands(), "left 6");
}

TEST(FrameLoop, AClickRunsTheHitUnderItWhateverFollows) {
    void (*const followers[])(const ListLoop &) = {
        [](const ListLoop &loop) { headless_move_pointer(loop.on_screen(ListLoop::on_line(6))); },
        [](const ListLoop &) { headless_turn_wheel(-120); },
        [](const ListLoop &) { headless_type('x'); }, // which empties the list
    };
    for (size_t i = 0; i < std::size(followers); i++) {
        ListLoop loop;
        headless_press(MOUSE_RIGHT);
        followers[i](loop);
        headless_release(MOUSE_RIGHT);
        loop.frames_in(3);
        EXPECT_EQ(ListLoop::commands(), "right 1") << i;
    }
}

TEST(FrameLoop, TheFrameAfterAClickShowsTheEventsAfterIt) {
    ListLoop loop;
    headless_press(MOUSE_LEFT);
    headless_move_pointer(loop.on_screen(ListLoop::on_line(6)));
    EXPECT_EQ(loop.frames_in(1), 1u);
    EXPECT_TRUE(loop.shows_frame({400, 200}, ListLoop::on_line(1)));
    EXPECT_EQ(loop.frames_in(10), 1u);
    EXPECT_TRUE(loop.shows_frame({400, 200}, ListLoop::on_line(6)));
}

TEST(FrameLoop, EachClickOfAFrameGetsAFrameOfItsOwn) {
    ListLoop loop;
    for (int line : {1, 4, 6}) {
        headless_move_pointer(loop.on_screen(ListLoop::on_line(line)));
        headless_press(MOUSE_LEFT);
        headless_release(MOUSE_LEFT);
    }
    loop.frames_in(4);
    EXPECT_EQ(ListLoop::commands(), "left 1|left 4|left 6");
}

TEST(FrameLoop, TheLeftButtonWinsWhenBothGoDownTogether) {
    ListLoop loop;
    headless_press(MOUSE_RIGHT);
    headless_press(MOUSE_LEFT);
    loop.frames_in(4);
    EXPECT_EQ(ListLoop::commands(), "left 1");
}

TEST(FrameLoop, TheWheelScrollsTheHits) {
    Loop loop; // 200 high, so a step is two hits of 15
    loop.put_file("C:/src", "a.c");
    for (uint32_t line = 1; line <= 30; line++) {
        loop.put_hit(line, "needle");
    }
    loop.point_at({200, 55}); // on the file's name, which no scrolling moves
    loop.frames_in(1);
    headless_turn_wheel(-120);
    headless_turn_wheel(-360); // one step as well
    EXPECT_EQ(loop.frames_in(1), 1u);
    EXPECT_EQ(search_state.results_scroll, 4);
    EXPECT_TRUE(loop.shows_frame({400, 200}));
    headless_turn_wheel(120);
    loop.frames_in(1);
    EXPECT_EQ(search_state.results_scroll, 2);
    headless_turn_wheel(120);
    headless_turn_wheel(120);
    loop.frames_in(1);
    EXPECT_EQ(search_state.results_scroll, 0);
    EXPECT_TRUE(loop.shows_frame({400, 200}));
}

TEST(FrameLoop, TheMouseIsRelativeToTheClientArea) {
    Loop loop;
    headless_drag_to(loop.window, {300, 70});
    loop.frames_in(1);
    loop.point_at({390, 10}); // on Path's save button
    loop.frames_in(1);
    EXPECT_EQ(headless_view(loop.window)->pixels[8 * 400 + 388], 0xFF969696u);
}

TEST(FrameLoop, ClosingEndsItAtOnceAlsoWhileBusy) {
    for (uint8_t busy : {uint8_t{0}, uint8_t{1}}) {
        Loop loop;
        search_state.search_busy = busy;
        loop.point_at({200, 100});
        loop.frames_in(1);
        search_state.results_dirty = 1;
        os_set_cursor(CURSOR_WAIT);
        headless_close(loop.window);
        uint64_t drawn = frame_clock.drawn_count;
        EXPECT_EQ(frame_turn(loop.window), 0);
        EXPECT_EQ(frame_clock.drawn_count, drawn);
        EXPECT_EQ(search_state.results_dirty, 1);
        EXPECT_EQ(headless_cursor(), CURSOR_WAIT); // no longer set
        EXPECT_EQ(frame_turn(loop.window), 0);
    }
}

TEST(FrameLoop, AMinimisedWindowShowsNothingAndComesBack) {
    Loop loop;
    os_window_minimize(loop.window);
    headless_ask_redraw(loop.window);
    search_state.results_dirty = 1;
    uint32_t shown = loop.presented();
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(frame_turn(loop.window), 1);
    }
    EXPECT_EQ(loop.presented(), shown);
    EXPECT_EQ(loop.window->framebuffer.width * loop.window->framebuffer.height, 0);

    set_field(path, "C:/src");
    os_window_restore(loop.window);
    EXPECT_EQ(loop.frames_in(10), 1u);
    EXPECT_TRUE(loop.shows_frame({400, 200}));
}

TEST(FrameLoop, AResizedWindowIsDrawnInItsNewSize) {
    Loop loop;
    set_field(path, "C:/src");
    for (Size size : {Size{300, 100}, Size{640, 480}, Size{33, 7}}) {
        headless_drag_size(loop.window, size);
        EXPECT_EQ(loop.frames_in(10), 1u);
        EXPECT_TRUE(loop.shows_frame(size)) << size.width;
    }
}

TEST(FrameLoop, TheCursorIsAnArrowInsideTheClientAreaEdgesIncluded) {
    const struct {
        Point client;
        bool is_inside;
    } rows[] = {
        {{0, 0}, true},    {{400, 200}, true}, {{400, 0}, true},   {{0, 200}, true},   {{200, 100}, true},
        {{-1, 50}, false}, {{50, -1}, false},  {{401, 50}, false}, {{50, 201}, false},
    };
    Loop loop;
    loop.point_at({200, 100});
    headless_press(MOUSE_LEFT); // captures the mouse, so motions outside are reported too
    loop.frames_in(3);
    for (const auto &pointed : rows) {
        os_set_cursor(CURSOR_WAIT);
        headless_move_pointer(loop.on_screen(pointed.client));
        loop.frames_in(1);
        EXPECT_EQ(headless_cursor(), pointed.is_inside ? CURSOR_ARROW : CURSOR_WAIT)
            << pointed.client.x << ", " << pointed.client.y;
    }
    headless_move_pointer(loop.on_screen({200, 100}));
    loop.frames_in(1);
    os_set_cursor(CURSOR_WAIT);
    EXPECT_EQ(loop.frames_in(1), 0u); // the cursor needs no frame
    EXPECT_EQ(headless_cursor(), CURSOR_ARROW);
}

TEST(FrameLoop, TheCursorIsTheSystemsOnceThePointerHasLeft) {
    Loop loop;
    loop.point_at({399, 100});
    loop.frames_in(1);
    headless_move_pointer(loop.on_screen({404, 100})); // onto the window's frame, which reports no motion
    os_set_cursor(CURSOR_SIZE_WEST_EAST);
    loop.frames_in(3);
    EXPECT_EQ(headless_cursor(), CURSOR_SIZE_WEST_EAST);
    headless_move_pointer(loop.on_screen({390, 100}));
    loop.frames_in(1);
    EXPECT_EQ(headless_cursor(), CURSOR_ARROW);
}

namespace {

// With frames drawn while the system runs its own loop, as main sets it up.
struct HeldLoop : ListLoop {
    HeldLoop() {
        os_set_frame_callback(frame_in_system_loop, 1);
    }
    ~HeldLoop() {
        os_set_frame_callback(nullptr, 0);
    }
};

} // namespace

TEST(FrameLoop, FramesAreDrawnWhileTheTitleBarIsHeld) {
    HeldLoop loop;
    headless_move_pointer({-5000, -5000});
    ui_pointer_moved({-5000, -5000}); // over no row, wherever the window is
    loop.frames_in(1);
    uint32_t pass = search_state.interface_pass;
    headless_hold_title(loop.window);
    headless_drag_to(loop.window, {50, 60});
    headless_drag_to(loop.window, {70, 80});
    headless_drag_size(loop.window, {500, 300});
    uint32_t shown = loop.presented();
    EXPECT_EQ(frame_turn(loop.window), 1);
    // One after each message, another for the new size, and the turn's own.
    EXPECT_EQ(loop.presented() - shown, 5u);
    EXPECT_EQ(search_state.interface_pass - pass, 5u);
    EXPECT_TRUE(loop.shows_frame({500, 300}));
    EXPECT_EQ(loop.frames_in(10), 0u);
}

TEST(FrameLoop, TheCursorIsTheSystemsWhileTheTitleBarIsHeld) {
    HeldLoop loop;
    os_set_cursor(CURSOR_SIZE_ALL);
    static uint32_t cursor_at_event;
    os_set_event_callback([](const WindowEvent *event) {
        cursor_at_event = headless_cursor();
        input_handle_event(event);
    });
    headless_hold_title(loop.window);
    headless_ask_redraw(loop.window); // a frame is drawn after it
    headless_type('x');
    EXPECT_EQ(frame_turn(loop.window), 1);
    EXPECT_EQ(cursor_at_event, CURSOR_SIZE_ALL);
    EXPECT_EQ(headless_cursor(), CURSOR_ARROW);
}

TEST(FrameLoop, TheSystemsLoopDrawsFramesOnlyWithinThePump) {
    HeldLoop loop;
    uint64_t drawn = frame_clock.drawn_count;
    frame_in_system_loop(loop.window);
    EXPECT_EQ(frame_clock.drawn_count, drawn);
}

TEST(FrameLoop, AClickBeforeTheTitleBarIsHeldRunsOnce) {
    HeldLoop loop;
    headless_press(MOUSE_LEFT);
    headless_release(MOUSE_LEFT);
    headless_type('x');
    headless_hold_title(loop.window);
    for (int i = 0; i < 5; i++) {
        headless_ask_redraw(loop.window);
    }
    headless_release_title(loop.window);
    headless_type('y');
    EXPECT_EQ(frame_turn(loop.window), 1);
    EXPECT_EQ(ListLoop::commands(), "left 1");
    EXPECT_EQ(text_of(*query), "xy");
}

TEST(FrameLoop, AWindowThatIsClosedWhileItsTitleBarIsHeldEndsTheLoop) {
    HeldLoop loop;
    headless_hold_title(loop.window);
    headless_ask_redraw(loop.window);
    headless_close(loop.window);
    EXPECT_EQ(frame_turn(loop.window), 0);
}

TEST(FrameLoop, EachTurnCountsAPassAndEmptiesTheScratchArena) {
    Loop loop;
    uint32_t pass = search_state.interface_pass;
    for (uint32_t i = 1; i <= 3; i++) {
        scratch_join(str_from("a"), str_from("b"));
        EXPECT_GT(scratch->used, 0u);
        loop.frames_in(1);
        EXPECT_EQ(scratch->used, 0u);
        EXPECT_EQ(search_state.interface_pass, pass + i);
    }
}

TEST(FrameLoop, TextStorageIsFreedOnceTheWorkerHasTurnedTwice) {
    Loop loop;
    search_state.worker_pass = 5; // there is a worker that reads the texts
    retire_block(&search_state.retired_text, os_alloc(16));
    for (uint32_t pass = 5; pass <= 6; pass++) {
        search_state.worker_pass = pass;
        loop.frames_in(3);
        EXPECT_NE(search_state.retired_text.first, nullptr);
    }
    search_state.worker_pass = 7;
    loop.frames_in(1);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    search_state.worker_pass = 0;
}

TEST(FrameLoop, AKeyGoesDownInOneTurnOnly) {
    Loop loop;
    headless_press_key('K');
    loop.frames_in(1);
    EXPECT_TRUE(ui_went_down('K'));
    loop.frames_in(1);
    EXPECT_FALSE(ui_went_down('K'));
    EXPECT_TRUE(ui_is_down('K'));
    headless_release_key('K');
    loop.frames_in(1);
    EXPECT_FALSE(ui_is_down('K'));
}

TEST(FrameLoop, ATurnLastsTheWholeMillisecondsOfTheFramesTime) {
    Loop loop(144);
    loop.frames_in(2);
    EXPECT_GE(os_ticks_to_us(os_ticks() - frame_clock.frame_start_ticks), 6000);
    loop.frames_in(1);
    EXPECT_GE(frame_clock.last_us, 6000);
    EXPECT_GE(frame_clock.last_fraction, 6000.0 / 6944);
}

TEST(FrameLoop, LessThanAMillisecondIsNotSlept) {
    Loop loop(30);
    NoSleeps none; // each ends at once, so the turn goes on asking until less than 1 ms is left
    const std::vector<uint32_t> &sleeps = NoSleeps::asked_ms;
    while (sleeps.empty()) { // a turn that uses up its frame does not sleep
        loop.frames_in(1);
    }
    EXPECT_LE(*std::max_element(sleeps.begin(), sleeps.end()), 33u);
    EXPECT_GE(*std::min_element(sleeps.begin(), sleeps.end()), 1u);
    EXPECT_TRUE(std::is_sorted(sleeps.rbegin(), sleeps.rend()));
}

TEST(FrameLoop, AMachineThatSleptForDaysIsNotWaitedFor) {
    Loop loop(30);
    constexpr int64_t days = 10000000000000; // ticks; their microseconds overflow to a negative number
    EXPECT_LT(os_ticks_to_us(days), -1000000);
    NoSleeps none(days);
    while (NoSleeps::asked_ms.empty()) {
        loop.frames_in(1);
    }
    EXPECT_EQ(NoSleeps::asked_ms.size(), 1u);
}

TEST(FrameLoop, TheClockAddsUpTheFrames) {
    Loop loop;
    int64_t total = frame_clock.total_us;
    for (int i = 0; i < 5; i++) {
        frame_clock.frame_start_ticks -= 12345678; // a frame's length that is not whole milliseconds
        loop.frames_in(1);
        EXPECT_GE(frame_clock.last_us, os_ticks_to_us(12345678));
        total += frame_clock.last_us;
        EXPECT_EQ(frame_clock.total_us, total);
        EXPECT_EQ(frame_clock.total_ms, total / 1000);
        EXPECT_EQ(frame_clock.last_ms, frame_clock.last_us / 1000);
        EXPECT_EQ(frame_clock.last_fraction, static_cast<double>(frame_clock.last_us));
    }
}
