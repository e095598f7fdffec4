#include "app/status_line.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <string>

#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "app/scrolling.h"
#include "app/shown_window.h"
#include "os/errors.h"
#include "render/draw.h"
#include "render/text.h"
#include "search/counted.h"
#include "support/headless_window.h"
#include "support/picture.h"
#include "support/recorded_commands.h"
#include "ui/theme.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

constexpr uint32_t unpainted = 0xFF123456;
constexpr Point nowhere = {-1000, -1000};
constexpr int32_t row_height = 15 + 8;

std::string text_of(const StatusText &text) {
    return std::string(text.bytes, text.count);
}

SearchCounts only(SearchOutcome outcome) {
    SearchCounts counts = {};
    counts.outcome = outcome;
    return counts;
}

SearchCounts running(uint64_t files, uint64_t hits) {
    SearchCounts counts = only(SEARCH_RUNS);
    counts.files = files;
    counts.hits = hits;
    return counts;
}

SearchCounts finished(uint64_t hits, uint64_t files_with_hits, uint64_t files, int64_t us = 0) {
    SearchCounts counts = only(SEARCH_FINISHED);
    counts.files = files;
    counts.files_with_hits = files_with_hits;
    counts.hits = hits;
    counts.us = us;
    return counts;
}

std::string said(const SearchCounts &counts) {
    StatusText text;
    status_of_search(counts, &text);
    EXPECT_FALSE(text.is_problem);
    return text_of(text);
}

std::string said_of_problem(SearchOutcome outcome) {
    StatusText text;
    status_of_search(only(outcome), &text);
    EXPECT_TRUE(text.is_problem);
    return text_of(text);
}

std::string reason(uint32_t error) {
    char text[512];
    return to_string(os_error_text(error, text));
}

// The shared counts, as the worker would leave them.
void put_counts(const SearchCounts &counts) {
    search_counts.outcome = counts.outcome;
    search_counts.files = counts.files;
    search_counts.files_with_hits = counts.files_with_hits;
    search_counts.hits = counts.hits;
    search_counts.too_large = counts.too_large;
    search_counts.unreadable = counts.unreadable;
    search_counts.us = counts.us;
}

// A frame's state with the status line.
struct StatusScope : FrameScope {
    CountsScope counts;

    explicit StatusScope(bool status_line = true) {
        settings.status_line = status_line;
        publish_request(); // forgets what an earlier test's click has left
        search_state.request_pending = 0;
        search_state.results_dirty = 0;
    }
    ~StatusScope() {
        os_start_error = 0;
    }
};

// Three files with hits, and more rows than a window shows.
void put_list(const FrameScope &scope) {
    set_field(path, "C:/src");
    set_field(query, "needle");
    scope.focus(query, {{6, 6}});
    scope.put_file("C:/src/lib", "haystack.c");
    for (uint32_t line = 1; line <= 30; line++) {
        scope.put_hit(line * 7, "a needle in the haystack");
    }
}

void expect_frame(const std::string &name, Size size = {420, 160}, Point mouse = nowhere) {
    Canvas canvas(size.width, size.height, unpainted);
    frame_draw(&canvas.framebuffer, mouse);
    expect_picture(canvas.framebuffer, name);
}

bool is_same(const Framebuffer &a, const Framebuffer &b, int32_t rows) {
    uint64_t count = static_cast<uint64_t>(a.width) * static_cast<uint64_t>(rows);
    return std::equal(a.pixels, a.pixels + count, b.pixels);
}

// What the row shows: the same text in the same colour, drawn plainly.
bool shows(const Framebuffer &framebuffer, const std::string &text, uint32_t colour = theme::status_text) {
    int32_t top = framebuffer.height - row_height;
    Canvas plain(framebuffer.width, framebuffer.height, theme::status_background);
    draw_text(&plain.framebuffer, {10, top + 4 + 12}, 14, 14, colour, str_over(text));
    const uint32_t *row = framebuffer.pixels + top * framebuffer.width;
    return std::equal(row, row + row_height * framebuffer.width,
                      plain.framebuffer.pixels + top * framebuffer.width);
}

} // namespace

// ---- The text ----

TEST(StatusText, ShowsTheHitsTheFilesAndTheTime) {
    EXPECT_EQ(said(finished(1234, 56, 78579, 380000)), "1,234 hits in 56 of 78,579 files, 0.38 s");
    EXPECT_EQ(said(finished(0, 0, 78579, 380000)), "No hits in 78,579 files, 0.38 s");
}

TEST(StatusText, HasTheSingularForOne) {
    EXPECT_EQ(said(finished(1, 1, 1)), "1 hit in 1 of 1 file, 0.00 s");
    EXPECT_EQ(said(finished(2, 1, 2)), "2 hits in 1 of 2 files, 0.00 s");
    EXPECT_EQ(said(finished(0, 0, 1)), "No hits in 1 file, 0.00 s");
    EXPECT_EQ(said(finished(0, 0, 0)), "No hits in 0 files, 0.00 s");
    EXPECT_EQ(said(running(1, 1)), "Searching: 1 file, 1 hit");
}

TEST(StatusText, RoundsTheTimeToHundredthsOfASecond) {
    const struct {
        int64_t us;
        const char *time;
    } rows[] = {{0, "0.00"},          {4999, "0.00"},   {5000, "0.01"},      {14999, "0.01"},
                {994999, "0.99"},     {995000, "1.00"}, {1004999, "1.00"},   {12345678, "12.35"},
                {90000000, "90.00"},  {-1, "0.00"},     {INT64_MIN, "0.00"}, {3600000000, "3,600.00"},
                {999994999, "999.99"}};
    for (const auto &row : rows) {
        EXPECT_EQ(said(finished(0, 0, 2, row.us)), std::string("No hits in 2 files, ") + row.time + " s");
    }
}

TEST(StatusText, ShowsWhatWasSkipped) {
    SearchCounts counts = finished(3, 2, 10, 10000);
    counts.too_large = 12;
    EXPECT_EQ(said(counts), "3 hits in 2 of 10 files, 0.01 s; skipped: 12 too large");
    counts.unreadable = 3;
    EXPECT_EQ(said(counts), "3 hits in 2 of 10 files, 0.01 s; skipped: 12 too large, 3 unreadable");
    counts.too_large = 0;
    counts.hits = 0;
    counts.unreadable = 1000;
    EXPECT_EQ(said(counts), "No hits in 10 files, 0.01 s; skipped: 1,000 unreadable");
}

TEST(StatusText, HasThousandsSeparators) {
    const struct {
        uint64_t number;
        const char *text;
    } rows[] = {{0, "0"},
                {9, "9"},
                {10, "10"},
                {999, "999"},
                {1000, "1,000"},
                {1001, "1,001"},
                {99999, "99,999"},
                {100000, "100,000"},
                {1000000, "1,000,000"},
                {UINT64_MAX, "18,446,744,073,709,551,615"}};
    for (const auto &row : rows) {
        EXPECT_EQ(said(running(row.number, 2)), std::string("Searching: ") + row.text + " files, 2 hits");
    }
}

TEST(StatusText, ShowsWhyNothingIsSearched) {
    EXPECT_EQ(said({}), "");
    EXPECT_EQ(said_of_problem(SEARCH_NO_SUCH_FOLDER), "No such folder");
    EXPECT_EQ(said_of_problem(SEARCH_NOT_A_FOLDER), "Not a folder");
    EXPECT_EQ(said_of_problem(SEARCH_UNREADABLE_FOLDER), "Folder not readable");
    EXPECT_EQ(said_of_problem(SEARCH_PATH_ENDS_IN_SLASH), "Not searched: the path ends in /");
}

TEST(StatusText, OfAFailedStartIsTheSystemsReasonAndTheCommand) {
    StatusText text;
    status_of_failed_start(str_from("editor \"a b\":1\n2\t3"), 2, &text);
    EXPECT_TRUE(text.is_problem);
    EXPECT_EQ(text_of(text), "Not started (" + reason(2) + "): editor \"a b\":1 2 3");
#ifndef _WIN32
    EXPECT_EQ(text_of(text), "Not started (No such file or directory): editor \"a b\":1 2 3");
#endif
}

TEST(StatusText, OfALongCommandIsItsStart) {
    StatusText text;
    std::string cmd(5000, 'x');
    status_of_failed_start(str_over(cmd), 2, &text);
    std::string whole = "Not started (" + reason(2) + "): " + cmd;
    EXPECT_EQ(text_of(text), whole.substr(0, 1024));
}

// ---- Pictures ----

TEST(StatusPicture, OfARunningSearch) {
    StatusScope scope;
    put_list(scope);
    search_state.search_busy = 1;
    put_counts(running(1234, 30));
    expect_frame("status_running");
}

TEST(StatusPicture, OfAFinishedSearchInEverySize) {
    const struct {
        int32_t font_size, line_height, text_y_offset;
        Size size;
    } rows[] = {{14, 15, 12, {500, 160}}, {21, 22, 18, {780, 240}}, {28, 30, 24, {1040, 320}}};
    for (const auto &sizes : rows) {
        StatusScope scope;
        scope.use_sizes(sizes.font_size, sizes.line_height, sizes.text_y_offset);
        put_list(scope);
        SearchCounts counts = finished(1234, 56, 78579, 380000);
        counts.too_large = 12;
        counts.unreadable = 3;
        put_counts(counts);
        expect_frame("status_size_" + std::to_string(sizes.font_size), sizes.size, {200, 90});
    }
}

TEST(StatusPicture, OfAMissingFolderInANarrowWindow) {
    StatusScope scope;
    set_field(path, "C:/scr");
    scope.focus(path, {{6, 6}});
    scope.put_folders({}, {"lib", "src"});
    put_counts(only(SEARCH_NO_SUCH_FOLDER));
    expect_frame("status_no_folder", {80, 120});
}

// ---- What is drawn where ----

TEST(StatusLine, LeavesTheRestAsInAWindowWithoutItsRow) {
    void (*const states[])(const FrameScope &) = {
        [](const FrameScope &scope) { put_list(scope); },
        [](const FrameScope &scope) {
            scope.put_folders({"one"}, {"two", "three", "four", "five", "six"});
        },
        [](const FrameScope &) { search_state.search_busy = 1; },
        [](const FrameScope &scope) {
            scope.put_hits(30);
            search_state.results_scroll = 28;
        },
        [](const FrameScope &scope) {
            set_entries(path, {"one", "two", "three", "four", "five", "six", "seven", "eight"});
            scope.focus(path, {});
            input_field.dropdown_open = true;
        },
    };
    for (size_t state = 0; state < std::size(states); state++) {
        for (int32_t height : {100, 130, 160}) {
            StatusScope scope;
            states[state](scope);
            Canvas without(300, height - row_height, unpainted), with(300, height, unpainted);
            settings.status_line = false;
            frame_draw(&without.framebuffer, {100, 72});
            settings.status_line = true;
            frame_draw(&with.framebuffer, {100, 72});
            SCOPED_TRACE(std::to_string(state) + ", " + std::to_string(height));
            EXPECT_TRUE(is_same(without.framebuffer, with.framebuffer, height - row_height));
            EXPECT_TRUE(shows(with.framebuffer, ""));
        }
    }
}

TEST(StatusLine, ShowsItsTextInTheColourOfItsKind) {
    StatusScope scope;
    Canvas canvas(400, 100, unpainted);
    put_counts(running(1234, 30));
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_TRUE(shows(canvas.framebuffer, "Searching: 1,234 files, 30 hits"));
    put_counts(only(SEARCH_NO_SUCH_FOLDER));
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_TRUE(shows(canvas.framebuffer, "No such folder", theme::status_problem));
    search_state.request_pending = 1;
    frame_draw(&canvas.framebuffer, nowhere);
    EXPECT_TRUE(shows(canvas.framebuffer, ""));
}

TEST(StatusLine, IsCutAtTheRightInANarrowWindow) {
    StatusScope scope;
    put_counts(finished(1234, 56, 78579, 380000));
    for (int32_t width : {1, 9, 11, 50, 200}) {
        Canvas canvas(width, 100, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        EXPECT_TRUE(shows(canvas.framebuffer, "1,234 hits in 56 of 78,579 files, 0.38 s")) << width;
    }
}

TEST(StatusLine, GivesWayToTheFieldsInALowWindowAndTheListToBoth) {
    StatusScope scope;
    put_list(scope);
    search_state.search_busy = 1;
    for (int32_t height : {0, 1, 20, 49, 50, 51, 60, 72, 73, 74, 80}) { // the fields end at 50
        EXPECT_EQ(list_bottom(height), std::max(height - row_height, std::min(height, 50))) << height;
        Canvas canvas(200, height, unpainted);
        frame_draw(&canvas.framebuffer, nowhere);
        for (int32_t y = 0; y < height; y++) {
            bool is_status = canvas.framebuffer.pixels[y * 200 + 199] == theme::status_background;
            EXPECT_EQ(is_status, y >= list_bottom(height)) << height << ", " << y;
        }
    }
    settings.status_line = false;
    for (int32_t height : {0, 1, 50, 1000}) {
        EXPECT_EQ(list_bottom(height), height);
    }
}

TEST(StatusLine, OfAnyHeightOfLinesStaysInTheWindow) {
    StatusScope scope;
    for (int32_t line_height : {1, 1000, 1 << 24, INT32_MAX}) {
        scope.use_sizes(14, line_height, 12);
        for (int32_t height : {0, 1, 300}) {
            EXPECT_GE(list_bottom(height), 0);
            EXPECT_LE(list_bottom(height), height);
            Canvas canvas(20, height, unpainted);
            frame_draw(&canvas.framebuffer, nowhere);
        }
    }
}

// ---- The mouse ----

TEST(StatusLine, RunsAndHighlightsNothing) {
    StatusScope scope;
    put_list(scope);
    recorded_commands.clear();
    settings.left_click_cmd = settings.right_click_cmd = str_from("command");
    for (int32_t height : {123, 130, 137}) { // the last row of the list is cut differently
        Canvas away(300, height, unpainted), on_it(300, height, unpainted);
        frame_draw(&away.framebuffer, nowhere);
        for (int32_t y = height - row_height; y < height; y++) {
            for (uint16_t button : {MOUSE_LEFT, MOUSE_RIGHT}) {
                ui_begin_frame();
                ui_press(button, {});
                frame_draw(&on_it.framebuffer, {100, y});
                ui_release(button, {});
                ui_begin_frame();
            }
            EXPECT_TRUE(is_same(away.framebuffer, on_it.framebuffer, height)) << y;
        }
        EXPECT_TRUE(recorded_commands.empty());
        ui_press(MOUSE_LEFT, {});
        frame_draw(&on_it.framebuffer, {100, height - row_height - 1}); // the list's last pixel
        EXPECT_EQ(recorded_commands.size(), 1u);
        recorded_commands.clear();
        ui_release(MOUSE_LEFT, {});
        ui_begin_frame();
    }
}

TEST(StatusLine, PicksNoEntryOfADropDownThatItCovers) {
    StatusScope scope;
    set_entries(path, {"one", "two", "three", "four", "five", "six", "seven", "eight"});
    scope.focus(path, {});
    input_field.dropdown_open = true;
    Canvas canvas(300, 100, unpainted);
    for (int32_t y = 100 - row_height; y < 100; y++) {
        ui_begin_frame();
        ui_press(MOUSE_LEFT, {});
        frame_draw(&canvas.framebuffer, {100, y});
        ui_release(MOUSE_LEFT, {});
    }
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(path->text->count, 0u);
}

TEST(StatusLine, ShortensAStepOfTheWheel) {
    StatusScope scope;
    search_state.results_scroll = 0;
    results_scroll_by(-1, 500 + row_height);
    EXPECT_EQ(search_state.results_scroll, 500 / 5 / 15);
    settings.status_line = false;
    results_scroll_by(-1, 500 + row_height);
    EXPECT_EQ(search_state.results_scroll, 500 / 5 / 15 + (500 + row_height) / 5 / 15);
}

// ---- A command that cannot be started ----

namespace {

struct FailingClicks : StatusScope {
    Canvas canvas{400, 160, unpainted};

    FailingClicks() {
        put_list(*this);
        settings.left_click_cmd = str_from("editor {tarn_row}");
        settings.right_click_cmd = str_from("");
        put_counts(finished(30, 1, 1));
    }

    void click(uint16_t button, Point at, uint32_t error) {
        os_start_error = error; // as if the start set it
        ui_begin_frame();
        ui_press(button, {});
        frame_draw(&canvas.framebuffer, at);
        ui_release(button, {});
        draw();
    }
    void draw() {
        ui_begin_frame();
        frame_draw(&canvas.framebuffer, nowhere);
    }
    bool shows_failure(int row) const {
        return shows(canvas.framebuffer, "Not started (" + reason(2) + "): editor " + std::to_string(row),
                     theme::status_problem);
    }
    bool shows_counts() const {
        return shows(canvas.framebuffer, "30 hits in 1 of 1 file, 0.00 s");
    }
};

constexpr Point on_first_hit = {100, 70}, on_second_hit = {100, 85}, on_file = {100, 55},
                on_field = {100, 10};

} // namespace

TEST(StatusLine, ShowsWhyAClickStartedNothingUntilTheNextClick) {
    FailingClicks clicks;
    EXPECT_FALSE(clicks.shows_failure(7));
    clicks.click(MOUSE_LEFT, on_first_hit, 2);
    EXPECT_TRUE(clicks.shows_failure(7));
    clicks.draw();
    EXPECT_TRUE(clicks.shows_failure(7));
    clicks.click(MOUSE_LEFT, on_second_hit, 2);
    EXPECT_TRUE(clicks.shows_failure(14));
    clicks.click(MOUSE_LEFT, on_second_hit, 0);
    EXPECT_TRUE(clicks.shows_counts());
    for (Point elsewhere : {on_file, on_field, nowhere}) {
        clicks.click(MOUSE_LEFT, on_first_hit, 2);
        EXPECT_TRUE(clicks.shows_failure(7));
        clicks.click(MOUSE_RIGHT, elsewhere, 2);
        input_field.dropdown_open = false;
        clicks.draw();
        EXPECT_TRUE(clicks.shows_counts());
    }
    clicks.click(MOUSE_RIGHT, on_first_hit, 2); // an empty command
    EXPECT_FALSE(clicks.shows_failure(7));
}

TEST(StatusLine, ShowsWhyAClickStartedNothingUntilTheNextSearch) {
    FailingClicks clicks;
    clicks.click(MOUSE_LEFT, on_first_hit, 2);
    EXPECT_TRUE(clicks.shows_failure(7));
    publish_request();
    clicks.draw();
    EXPECT_TRUE(shows(clicks.canvas.framebuffer, ""));
    search_state.request_pending = 0;
    clicks.draw();
    EXPECT_TRUE(clicks.shows_counts());
}

// ---- With list_keys ----

namespace {

void press(uint16_t code) {
    WindowEvent event = {};
    event.type = EVENT_KEY;
    event.key = {code, KEY_PRESSED};
    input_handle_event(&event);
}

} // namespace

TEST(StatusLine, ShowsWhyEnterStartedNothingUntilAKeyStartsSomething) {
    FailingClicks clicks;
    settings.list_keys = true;
    clicks.draw();
    press(KEY_DOWN);
    os_start_error = 2;
    press(KEY_ENTER);
    clicks.draw();
    EXPECT_TRUE(clicks.shows_failure(7));
    press(KEY_DOWN);
    clicks.draw();
    EXPECT_TRUE(clicks.shows_failure(7));
    os_start_error = 0;
    press(KEY_ENTER);
    clicks.draw();
    EXPECT_TRUE(clicks.shows_counts());
}

TEST(StatusLine, CoversNoHitThatTheKeysSelect) {
    FailingClicks clicks;
    settings.list_keys = true;
    clicks.draw();
    for (int i = 0; i < 30; i++) {
        press(KEY_DOWN);
        clicks.draw();
        int32_t first = -1, last = -1; // rows of pixels with the selection's colour
        for (int32_t y = 0; y < 160; y++) {
            if (clicks.canvas.framebuffer.pixels[y * 400 + 380] == theme::selected_hit) {
                first = first < 0 ? y : first;
                last = y;
            }
        }
        EXPECT_EQ(last - first, 14) << i;
        EXPECT_LT(last, 160 - row_height);
    }
}

// ---- The loop ----

namespace {

struct StatusLoop : StatusScope, ShownWindow {
    explicit StatusLoop(bool status_line = true) : StatusScope(status_line) {}

    // What the window shows.
    Framebuffer view() const {
        const HeadlessView *view = headless_view(window);
        return {view->size.width, view->size.height, const_cast<uint32_t *>(view->pixels), 0};
    }
};

} // namespace

TEST(StatusLine, IsRedrawnOnceForEachChangeOfTheCounts) {
    StatusLoop loop;
    EXPECT_EQ(loop.frames_in(100), 0u);
    search_state.search_busy = 1;
    put_counts(only(SEARCH_RUNS));
    EXPECT_EQ(loop.frames_in(100), 1u);
    search_counts.files = 1;
    EXPECT_EQ(loop.frames_in(1), 1u);
    search_counts.files = 2;
    search_counts.hits = 1;
    EXPECT_EQ(loop.frames_in(100), 1u);
    EXPECT_EQ(loop.view().pixels[100 * 400], theme::busy_frame);
    search_state.search_busy = 0;
    put_counts(finished(1, 1, 2));
    EXPECT_EQ(loop.frames_in(100), 1u);
    EXPECT_EQ(loop.view().pixels[100 * 400], theme::background); // the frame is gone
    EXPECT_TRUE(shows(loop.view(), "1 hit in 1 of 2 files, 0.00 s"));
}

TEST(StatusLine, IsRedrawnAtTheEndOfASearchEvenIfItShowsAFailedStart) {
    StatusLoop loop;
    put_list(loop);
    search_state.search_busy = 1;
    put_counts(only(SEARCH_RUNS));
    os_start_error = 2;
    headless_move_pointer({loop.window->client_position.x + 100, loop.window->client_position.y + 70});
    headless_press(MOUSE_LEFT);
    headless_release(MOUSE_LEFT);
    loop.frames_in(10);
    EXPECT_EQ(loop.view().pixels[100 * 400], theme::busy_frame);
    search_state.search_busy = 0;
    put_counts(finished(30, 1, 1));
    EXPECT_EQ(loop.frames_in(100), 1u);
    EXPECT_EQ(loop.view().pixels[100 * 400], theme::background);
    EXPECT_FALSE(shows(loop.view(), "30 hits in 1 of 1 file, 0.00 s")); // but the failed start
}

// The frame of a running search may have been drawn before the search ended.
TEST(StatusLine, CountsThatChangeWhileAFrameIsDrawnCauseAnotherOne) {
    StatusLoop loop;
    put_counts(only(SEARCH_RUNS));
    status_line_begin_frame();
    put_counts(finished(30, 1, 1));
    draw_status_line(&loop.window->framebuffer, 0, {});
    EXPECT_TRUE(status_line_is_outdated());
}

TEST(StatusLine, UnderAnOpenDropDownIsRedrawnAsWell) {
    StatusLoop loop;
    set_entries(path, {"one"});
    loop.focus(path, {});
    input_field.dropdown_open = true;
    put_counts(only(SEARCH_RUNS));
    EXPECT_EQ(loop.frames_in(100), 1u);
}

TEST(StatusLine, WithoutTheSettingCausesNoFrame) {
    StatusLoop loop(false);
    put_counts(running(1, 0));
    EXPECT_EQ(loop.frames_in(100), 0u);
    put_counts(finished(1, 1, 1));
    EXPECT_EQ(loop.frames_in(100), 0u);
}
