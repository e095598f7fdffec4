#include "app/results_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "actions/command_template.h"
#include "actions/plain_template.h"
#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/plain_results.h"
#include "app/scrolling.h"
#include "os/arrays.h"
#include "render/utf8_scope.h"
#include "support/heap_hook.h"
#include "support/picture.h"
#include "support/recorded_commands.h"

namespace {

StrBuf *const path = &search_state.path;

constexpr uint32_t ground = 0xFF1A1A1A, unpainted = 0xFF123456;
constexpr Point nowhere = {-1000, -1000};
constexpr int32_t list_top = 50; // of a frame with lines of 15 pixels

// Two files with hits below C:/code/proj, and no commands run yet.
struct ListScope : FrameScope {
    ListScope() {
        recorded_commands.clear();
        settings.left_click_cmd = str_from("L {tarn_file_folder}/{tarn_file_name}:{tarn_row}:{tarn_column}");
        settings.right_click_cmd = str_from("R {tarn_file_folder_bs}\\{tarn_file_name} {tarn_byte}");
        set_field(path, "C:/code/proj");
        put_file("C:/code/proj/src", "main.c");
        put_hit(3, "int needle;", 5, 40);
        put_hit(12, "needle = 1;", 1, 100);
        put_hit(200, "return needle;", 8, 2000);
        put_file("C:/code/proj", "b.h");
        put_hit(1, "needle", 1, 0);
    }
};

Layout layout_at(int32_t y, Point mouse) {
    Layout layout = {};
    layout.y = y;
    layout.mouse = mouse;
    layout.font_size = settings.font_size;
    layout.line_height = settings.line_height;
    layout.text_y_offset = settings.text_y_offset;
    return layout;
}

void draw_list(Canvas *canvas, int32_t first, Layout *layout) {
    scratch_empty();
    results_view(&canvas->framebuffer, first, layout);
}

testing::AssertionResult same_pixels(const Framebuffer &a, const Framebuffer &b) {
    for (int32_t i = 0; i < a.width * a.height; i++) {
        if (a.pixels[i] != b.pixels[i]) {
            return testing::AssertionFailure() << "differ at " << i % a.width << ", " << i / a.width;
        }
    }
    return testing::AssertionSuccess();
}

// Draws rows given as text: "main.c  src" for a file, ":12 needle" for a hit, "*:12 needle" for a hit under
// the mouse, "" for an empty row.
void draw_rows(Framebuffer *framebuffer, int32_t top, const std::vector<std::string> &rows) {
    for (const std::string &row : rows) {
        bool is_hovered = row[0] == '*';
        std::string text = row.substr(is_hovered ? 1 : 0);
        if (text[0] == ':') {
            size_t end = text.find(' ') + 1;
            plain_line_row(framebuffer, top, text.substr(0, end), text.substr(end), is_hovered);
        } else if (!text.empty()) {
            size_t gap = text.find("  ");
            plain_header_row(framebuffer, top, text.substr(0, gap), text.substr(gap + 2));
        }
        top += settings.line_height;
    }
}

// Expects the list from that hit on to show these rows, at the top of a window of that height.
void expect_rows(int32_t first, const std::vector<std::string> &rows, int32_t height = 150,
                 Point mouse = nowhere) {
    Canvas drawn(300, height, ground), plain(300, height, ground);
    Layout layout = layout_at(0, mouse);
    draw_list(&drawn, first, &layout);
    draw_rows(&plain.framebuffer, 0, rows);
    EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
    EXPECT_EQ(layout.y, static_cast<int32_t>(rows.size()) * settings.line_height);
}

enum Buttons { NONE, LEFT, RIGHT, BOTH };

// Begins a frame in which these buttons go down.
void press(Buttons buttons) {
    for (uint16_t button : {MOUSE_LEFT, MOUSE_RIGHT}) {
        if (ui_is_down(button)) {
            ui_release(button, {});
        }
    }
    ui_begin_frame();
    if (buttons == RIGHT || buttons == BOTH) {
        ui_press(MOUSE_RIGHT, {});
    }
    if (buttons == LEFT || buttons == BOTH) {
        ui_press(MOUSE_LEFT, {});
    }
}

// The commands run since the last call, with '|' after each.
std::string commands() {
    std::string texts;
    for (const RecordedCommand &command : recorded_commands) {
        EXPECT_TRUE(command.is_zero_terminated);
        EXPECT_EQ(command.show_console, 0);
        texts += command.text + "|";
    }
    recorded_commands.clear();
    return texts;
}

// The commands that a click there runs, in a list from that hit on at the top of a window 150 pixels high.
std::string click(Point mouse, Buttons buttons = LEFT, int32_t first = 0) {
    press(buttons);
    Canvas canvas(300, 150, ground);
    Layout layout = layout_at(0, mouse);
    draw_list(&canvas, first, &layout);
    return commands();
}

void forget_row_text() {
    os_free(row_text.data);
    row_text = {};
}

// Puts the model's rows into the store; half of the empty texts have a null pointer.
void put(const PlainList &list, std::mt19937 *random) {
    const auto over = [&](const std::string &text) {
        return text.empty() && (*random)() % 2 == 0 ? Str{} : str_over(text);
    };
    results_store.file_table.count = 0;
    results_store.hit_table.count = 0;
    for (const PlainFile &file : list.files) {
        FileEntry entry = {over(file.folder), over(file.name)};
        dynarray_push(&results_store.file_table, sizeof(entry), &entry);
    }
    for (const PlainResult &result : list.results) {
        ResultRecord hit = {};
        hit.kind = result.opens_file ? RESULT_FILE_HEADER : RESULT_HIT;
        hit.file_index = result.file;
        hit.line = static_cast<uint32_t>(result.line);
        hit.column = static_cast<uint32_t>(result.column);
        hit.byte_offset = static_cast<uint32_t>(result.byte);
        hit.text = over(result.text);
        dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
    }
}

} // namespace

// ---- Rows ----

TEST(ResultsList, AFileIsNamedAboveItsLines) {
    ListScope scope;
    expect_rows(0, {"main.c  proj/src", ":3 int needle;", ":12 needle = 1;", ":200 return needle;",
                    "b.h  proj", ":1 needle"});
}

TEST(ResultsList, TextsHaveTheirColoursAndPlaces) {
    ListScope scope;
    scope.use_sizes(15, 21, 17); // 15 / 2 is 7
    Canvas drawn(300, 100, ground), plain(300, 100, ground);
    Layout layout = layout_at(31, nowhere);
    draw_list(&drawn, 3, &layout);
    const auto text = [&](int32_t x, int32_t y, uint32_t colour, const char *bytes) {
        return static_cast<int32_t>(draw_text(&plain.framebuffer, {x, y}, 15, 15, colour, str_from(bytes)) &
                                    0xFFFFFFFF);
    };
    int32_t name_width = text(10, 31 + 17, 0xFFFFFF00, "main.c");
    text(10 + name_width + 7, 31 + 17, 0xFF7F7F7F, "proj/src");
    int32_t prefix_width = text(30, 52 + 17, 0xFF00FFFF, ":200 ");
    text(30 + prefix_width, 52 + 17, 0xFFFFFFFF, "return needle;");
    name_width = text(10, 73 + 17, 0xFFFFFF00, "b.h");
    text(10 + name_width + 7, 73 + 17, 0xFF7F7F7F, "proj");
    text(30 + text(30, 94 + 17, 0xFF00FFFF, ":1 "), 94 + 17, 0xFFFFFFFF, "needle"); // cut at the edge
    EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
    EXPECT_EQ(layout.y, 31 + 4 * 21);
}

TEST(ResultsList, TheFirstVisibleHitsFileIsNamedAgain) {
    ListScope scope;
    expect_rows(3, {"main.c  proj/src", ":200 return needle;", "b.h  proj", ":1 needle"});
    expect_rows(1, {"main.c  proj/src", ":3 int needle;", ":12 needle = 1;", ":200 return needle;",
                    "b.h  proj", ":1 needle"});
}

TEST(ResultsList, AFileThatComesFirstIsNamedOnce) {
    ListScope scope;
    expect_rows(4, {"b.h  proj", ":1 needle"});
}

TEST(ResultsList, TheFirstVisibleHitsFileIsNamedBelowSuggestionsToo) {
    ListScope scope;
    scope.put_folders({"one"}, {"two"});
    Canvas drawn(300, 150, unpainted), plain(300, 150, unpainted);
    search_state.results_scroll = 3;
    frame_draw(&drawn.framebuffer, nowhere);
    results_store.hit_table.count = 0;
    frame_draw(&plain.framebuffer, nowhere);
    draw_rows(&plain.framebuffer, list_top + 2 * 15,
              {"main.c  proj/src", ":200 return needle;", "b.h  proj", ":1 needle"});
    EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
}

TEST(ResultsList, ARowIsBegunWhileItsTopIsAboveTheLowerEdge) {
    ListScope scope;
    expect_rows(0, {"main.c  proj/src", ":3 int needle;", ":12 needle = 1;"}, 45);
    expect_rows(0, {"main.c  proj/src", ":3 int needle;", ":12 needle = 1;"}, 31);
    expect_rows(0, {"main.c  proj/src", ":3 int needle;"}, 30);
    expect_rows(0, {"main.c  proj/src"}, 1);
}

TEST(ResultsList, AListBelowTheWindowHasNoRows) {
    ListScope scope;
    for (int32_t y : {100, 101, 500}) {
        press(LEFT);
        Canvas drawn(300, 100, ground), plain(300, 100, ground);
        Layout layout = layout_at(y, {10, y + 15});
        draw_list(&drawn, 1, &layout);
        EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
        EXPECT_EQ(layout.y, y);
        EXPECT_EQ(commands(), "");
    }
}

TEST(ResultsList, TheFirstHitsLineIsBegunBelowANameInTheLastRow) {
    ListScope scope;
    Canvas canvas(300, 100, ground);
    Layout layout = layout_at(90, {10, 110}); // the header is at 90, the hit at 105
    press(LEFT);
    draw_list(&canvas, 2, &layout);
    EXPECT_EQ(layout.y, 120); // and nothing after it
    EXPECT_EQ(commands(), "L C:/code/proj/src/main.c:12:1|");
    press(LEFT);
    layout = layout_at(90, {10, 104});
    draw_list(&canvas, 2, &layout);
    EXPECT_EQ(commands(), "");
    press(LEFT);
    layout = layout_at(90, {10, 120});
    draw_list(&canvas, 2, &layout);
    EXPECT_EQ(commands(), "");
}

TEST(ResultsList, OfACutUtf8TextOnlyWholeCharactersAreShown) {
    ListScope scope;
    const std::string whole = "\xE4\xBD\xA0", cut = "\xE4\xBD\xA0\xE4\xBD";
    scope.put_hit(2, cut.c_str());
    ResultRecord *hit = reinterpret_cast<ResultRecord *>(results_store.hit_table.data) + 6;
    for (uint8_t is_cut : {uint8_t{0}, uint8_t{1}}) {
        hit->is_cut = is_cut;
        expect_rows(6, {"b.h  proj", ":2 " + cut}); // as bytes
        Utf8Scope utf8;
        expect_rows(6, {"b.h  proj", ":2 " + (is_cut ? whole : cut)});
    }
}

TEST(ResultsList, LineZeroHasItsPrefix) {
    ListScope scope;
    scope.put_hit(0, "needle");
    expect_rows(6, {"b.h  proj", ":0 needle"});
}

TEST(ResultsList, LineNumbersFromTwoToThe31OnAreNegative) {
    ListScope scope;
    scope.put_hit(2147483647, "last");
    scope.put_hit(2147483648, "first");
    scope.put_hit(4294967295, "end");
    expect_rows(6, {"b.h  proj", ":2147483647 last", ":-2147483648 first", ":-1 end"});
    EXPECT_EQ(click({50, 35}, LEFT, 6), "L C:/code/proj/b.h:-2147483648:1|");
}

TEST(ResultsList, TextsWithoutMemoryAreEmpty) {
    ListScope scope;
    FileEntry file = {};
    dynarray_push(&results_store.file_table, sizeof(file), &file);
    ResultRecord hit = {};
    hit.file_index = 2;
    hit.line = 7;
    dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
    expect_rows(6, {"  ", ":7 "});
    settings.show_full_paths = true;
    expect_rows(6, {"  ", ":7 "});
    EXPECT_EQ(click({50, 20}, LEFT, 6), "L /:7:0|");
}

TEST(ResultsList, AHitOfAMissingFileIsAnEmptyRow) {
    ListScope scope;
    ResultRecord *hits = reinterpret_cast<ResultRecord *>(results_store.hit_table.data);
    hits[2].file_index = 2;
    hits[4].file_index = UINT32_MAX;
    expect_rows(0, {"main.c  proj/src", ":3 int needle;", "", ":200 return needle;", "", ":1 needle"});
    expect_rows(1, {"main.c  proj/src", ":3 int needle;", "", ":200 return needle;", "", ":1 needle"});
    EXPECT_EQ(click({50, 35}), "");
    EXPECT_EQ(click({50, 65}), "");
    EXPECT_EQ(click({50, 50}), "L C:/code/proj/src/main.c:200:8|");
}

TEST(ResultsList, AFirstHitOfAMissingFileHasNoHeader) {
    ListScope scope;
    ResultRecord *hits = reinterpret_cast<ResultRecord *>(results_store.hit_table.data);
    hits[1].file_index = 2;
    expect_rows(1, {"", ":12 needle = 1;", ":200 return needle;", "b.h  proj", ":1 needle"});
    expect_rows(1, {"", "*:12 needle = 1;", ":200 return needle;", "b.h  proj", ":1 needle"}, 150, {1, 20});
}

TEST(ResultsList, WithoutFilesNothingIsShown) {
    ListScope scope;
    results_store.file_table.count = 0;
    expect_rows(0, {"", "", "", "", "", ""});
    EXPECT_EQ(click({50, 20}), "");
}

TEST(ResultsList, WithoutHitsThereAreNoRows) {
    ListScope scope;
    results_store.hit_table.count = 0;
    expect_rows(0, {});
    expect_rows(INT32_MAX, {});
    EXPECT_EQ(click({50, 20}), "");
}

TEST(ResultsList, IsEmptyPastTheLastHit) {
    ListScope scope;
    expect_rows(5, {"b.h  proj", ":1 needle"});
    for (int32_t first : {6, 7, 1 << 8, 1 << 16, 1 << 20, 1 << 24, 1 << 30, INT32_MAX}) {
        expect_rows(first, {});
        EXPECT_EQ(click({50, 20}, LEFT, first), "");
    }
}

TEST(ResultsList, PastTheLastHitTheScrollBarStays) {
    ListScope scope;
    for (int32_t scroll : {6, 1000, INT32_MAX}) {
        Canvas drawn(300, 110, unpainted), plain(300, 110, unpainted); // four rows fill the list
        search_state.results_scroll = scroll;
        frame_draw(&drawn.framebuffer, nowhere);
        uint64_t files = results_store.file_table.count;
        results_store.file_table.count = 0;
        frame_draw(&plain.framebuffer, nowhere);
        results_store.file_table.count = files;
        EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
        EXPECT_EQ(drawn.framebuffer.pixels[109 * 300 + 289], 0xFF505050);
        EXPECT_EQ(drawn.framebuffer.pixels[50 * 300 + 295], 0xFF323232);
        EXPECT_EQ(drawn.framebuffer.pixels[109 * 300 + 295], 0xFFA0A0A0);
        EXPECT_EQ(drawn.framebuffer.pixels[109 * 300 + 100], ground);
    }
}

TEST(ResultsList, TheScrollOfTheFrameIsTheFirstRow) {
    ListScope scope;
    for (int32_t scroll = 0; scroll < 6; scroll++) {
        Canvas drawn(300, 300, unpainted), plain(300, 300, unpainted);
        search_state.results_scroll = scroll;
        frame_draw(&drawn.framebuffer, {40, 110});
        uint64_t count = results_store.hit_table.count;
        results_store.hit_table.count = 0;
        frame_draw(&plain.framebuffer, {40, 110});
        results_store.hit_table.count = count;
        Layout layout = layout_at(list_top, {40, 110});
        draw_list(&plain, scroll, &layout);
        EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer)) << scroll;
        EXPECT_EQ(search_state.results_scroll, scroll);
    }
}

// ---- Folders ----

TEST(ResultsList, FoldersStartWithTheSearchedOnesName) {
    ListScope scope;
    expect_rows(3, {"main.c  proj/src", ":200 return needle;", "b.h  proj", ":1 needle"});
    settings.show_full_paths = true;
    expect_rows(3, {"main.c  C:/code/proj/src", ":200 return needle;", "b.h  C:/code/proj", ":1 needle"});
}

TEST(ResultsList, ASlashAtThePathsEndChangesNoFolder) {
    ListScope scope;
    for (const char *typed : {"C:/code/proj/", "C:/code/proj//", "  C:\\code\\proj\\ ", "\"C:/code/proj\""}) {
        set_field(path, typed);
        expect_rows(3, {"main.c  proj/src", ":200 return needle;", "b.h  proj", ":1 needle"});
    }
}

TEST(ResultsList, AFolderThatIsShorterThanWhatIsLeftOutIsEmpty) {
    ListScope scope;
    const struct {
        const char *path, *first, *second;
    } rows[] = {
        {"C:/code/proj/s", "main.c  src", "b.h  "},
        {"C:/code/proj/src/a", "main.c  ", "b.h  "},
        {"C:/code/proj/src/deeper/and/deeper", "main.c  ", "b.h  "},
        {"C:/code/pro/x", "main.c  /src", "b.h  "}, // bytes are counted, not compared
        {"D:/a/b", "main.c  de/proj/src", "b.h  de/proj"},
    };
    for (const auto &edited : rows) {
        set_field(path, edited.path);
        expect_rows(3, {edited.first, ":200 return needle;", edited.second, ":1 needle"});
    }
}

TEST(ResultsList, APathWithoutASlashHidesNothing) {
    ListScope scope;
    for (const char *typed : {"", "C:", " proj ", "C:/", "\\", "///", "\"\""}) {
        set_field(path, typed);
        expect_rows(3, {"main.c  C:/code/proj/src", ":200 return needle;", "b.h  C:/code/proj", ":1 needle"});
    }
}

TEST(ResultsHiddenFolder, IsAllBeforeTheSearchedFoldersName) {
    const struct {
        const char *path;
        uint64_t bytes;
    } rows[] = {
        {"C:/code/proj", 8},
        {"C:/code/proj/", 8},
        {"C:/code/proj///", 8},
        {"C:\\code\\proj\\", 8},
        {" C:/code/proj ", 8},
        {"\tC:/code/p\r\n", 8},
        {"\"C:/code/proj/\"", 8},
        {"C:/code/proj / /", 8},
        {"C:/co de/proj", 9},
        {"/srv", 1},
        {"//server/share", 9},
        {"C:/", 0},
        {"C:", 0},
        {"", 0},
        {"   ", 0},
        {"/", 0},
        {"\\\\", 0},
        {"proj", 0},
        {"proj/", 0},
        {"./proj", 2},
        {"C:/code/proj\"/src", 14},
        {"/ x", 1},
    };
    FrameScope scope;
    for (const auto &typed : rows) {
        std::string text = typed.path;
        EXPECT_EQ(results_hidden_folder_bytes(str_over(text)), typed.bytes) << typed.path;
        EXPECT_EQ(text, typed.path); // the field's own text stays
    }
    EXPECT_EQ(results_hidden_folder_bytes({}), 0u);
}

TEST(ResultsHiddenFolder, TheFieldsTextStaysAsItIsTyped) {
    ListScope scope;
    set_field(path, " C:\\code\\proj\\ ");
    expect_rows(4, {"b.h  proj", ":1 needle"});
    EXPECT_EQ(text_of(*path), " C:\\code\\proj\\ ");
}

TEST(ResultsHiddenFolder, IsNothingForAPathThatDoesNotFitTheScratchArena) {
    ListScope scope;
    scratch_empty();
    uint64_t used = scratch->used;
    std::string longest = "C:/code/" + std::string(scratch->capacity - used - 9, 'x');
    EXPECT_EQ(results_hidden_folder_bytes(str_over(longest)), 8u);
    EXPECT_EQ(results_hidden_folder_bytes(str_from("C:/code/proj")), 0u); // full
    scratch_empty();
    longest += 'x';
    EXPECT_EQ(results_hidden_folder_bytes(str_over(longest)), 0u);
    EXPECT_EQ(results_hidden_folder_bytes(str_from("C:/code/proj")), 8u);
}

// ---- The mouse ----

TEST(ResultsMouse, ALineUnderItIsHighlighted) {
    ListScope scope;
    const struct {
        int32_t y;
        int row; // -1: none
    } rows[] = {{-1, -1}, {0, -1},  {14, -1}, {15, 1}, {29, 1}, {30, 2},  {44, 2},         {45, 3},
                {59, 3},  {60, -1}, {74, -1}, {75, 5}, {89, 5}, {90, -1}, {INT32_MAX, -1}, {INT32_MIN, -1}};
    for (const auto &pointed : rows) {
        std::vector<std::string> expected = {"main.c  proj/src",    ":3 int needle;", ":12 needle = 1;",
                                             ":200 return needle;", "b.h  proj",      ":1 needle"};
        if (pointed.row >= 0) {
            std::string &hovered = expected[static_cast<size_t>(pointed.row)];
            hovered = "*" + hovered;
        }
        for (int32_t x : {-500, 0, 100, 299, 300, 5000}) {
            SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(pointed.y));
            expect_rows(0, expected, 150, {x, pointed.y});
        }
    }
}

TEST(ResultsMouse, OnAFilesNameNothingIsHighlightedAndNothingRun) {
    ListScope scope;
    expect_rows(0, {"main.c  proj/src", ":3 int needle;"}, 30, {20, 7});
    expect_rows(2, {"main.c  proj/src", ":12 needle = 1;"}, 30, {20, 7});
    for (Buttons buttons : {LEFT, RIGHT, BOTH}) {
        EXPECT_EQ(click({20, 7}, buttons), "");
        EXPECT_EQ(click({20, 7}, buttons, 2), "");
        EXPECT_EQ(click({20, 65}, buttons), "");
    }
}

TEST(ResultsMouse, OnASuggestionNothingIsRun) {
    ListScope scope;
    scope.put_folders({"one"}, {"two"});
    search_state.results_scroll = 1;
    Canvas canvas(300, 200, unpainted);
    for (int32_t y : {list_top, list_top + 15, list_top + 30}) { // the third row is a header
        press(LEFT);
        frame_draw(&canvas.framebuffer, {40, y + 5});
        EXPECT_EQ(commands(), "");
    }
    press(LEFT);
    frame_draw(&canvas.framebuffer, {40, list_top + 45});
    EXPECT_EQ(commands(), "L C:/code/proj/src/main.c:3:5|");
}

TEST(ResultsMouse, EachButtonRunsItsCommand) {
    ListScope scope;
    EXPECT_EQ(click({50, 20}, NONE), "");
    EXPECT_EQ(click({50, 20}, LEFT), "L C:/code/proj/src/main.c:3:5|");
    EXPECT_EQ(click({50, 20}, RIGHT), "R C:\\code\\proj\\src\\main.c 40|");
    EXPECT_EQ(click({50, 50}, LEFT), "L C:/code/proj/src/main.c:200:8|");
    EXPECT_EQ(click({50, 80}, RIGHT), "R C:\\code\\proj\\b.h 0|");
    EXPECT_EQ(click({50, 20}, LEFT, 5), "L C:/code/proj/b.h:1:1|");
}

TEST(ResultsMouse, TheMiddleButtonRunsNothing) {
    ListScope scope;
    press(NONE);
    ui_press(MOUSE_MIDDLE, {});
    Canvas canvas(300, 150, ground);
    Layout layout = layout_at(0, {50, 20});
    draw_list(&canvas, 0, &layout);
    EXPECT_EQ(commands(), "");
    EXPECT_FALSE(layout.click_consumed);
}

TEST(ResultsMouse, TheLeftButtonWinsWhenBothWentDown) {
    ListScope scope;
    EXPECT_EQ(click({50, 20}, BOTH), "L C:/code/proj/src/main.c:3:5|");
    settings.left_click_cmd = str_from(""); // then nothing, not the right one
    EXPECT_EQ(click({50, 20}, BOTH), "");
}

TEST(ResultsMouse, AHeldButtonRunsNothing) {
    ListScope scope;
    EXPECT_EQ(click({50, 20}, LEFT), "L C:/code/proj/src/main.c:3:5|");
    Canvas canvas(300, 150, ground);
    ui_begin_frame();
    Layout layout = layout_at(0, {50, 35});
    draw_list(&canvas, 0, &layout);
    EXPECT_EQ(commands(), "");
    ui_begin_frame();
    ui_press(MOUSE_LEFT, {}); // down again without having been up
    layout = layout_at(0, {50, 35});
    draw_list(&canvas, 0, &layout);
    EXPECT_EQ(commands(), "");
    ui_begin_frame();
    ui_release(MOUSE_LEFT, {});
    layout = layout_at(0, {50, 35});
    draw_list(&canvas, 0, &layout);
    EXPECT_EQ(commands(), "");
}

TEST(ResultsMouse, AConsumedClickRunsNothing) {
    ListScope scope;
    for (Buttons buttons : {LEFT, RIGHT, BOTH}) {
        press(buttons);
        Canvas canvas(300, 150, ground), plain(300, 150, ground);
        Layout layout = layout_at(0, {50, 20});
        layout.click_consumed = true;
        draw_list(&canvas, 4, &layout);
        EXPECT_EQ(commands(), "");
        draw_rows(&plain.framebuffer, 0, {"b.h  proj", "*:1 needle"}); // still highlighted
        EXPECT_TRUE(same_pixels(canvas.framebuffer, plain.framebuffer));
    }
}

TEST(ResultsMouse, OneCommandAFrame) {
    ListScope scope;
    press(BOTH);
    Canvas canvas(300, 150, ground);
    Layout layout = layout_at(0, {50, 20});
    draw_list(&canvas, 0, &layout);
    EXPECT_TRUE(layout.click_consumed);
    layout.y = 0;
    draw_list(&canvas, 0, &layout);
    EXPECT_EQ(commands(), "L C:/code/proj/src/main.c:3:5|");
}

TEST(ResultsMouse, AnOpenDropDownKeepsClicksFromTheList) {
    ListScope scope;
    scope.focus(&path_field, {});
    set_entries(&path_field, {"one"});
    input_field.dropdown_open = true;
    Canvas canvas(300, 200, unpainted);
    for (Buttons buttons : {RIGHT, LEFT}) {
        press(buttons);
        frame_draw(&canvas.framebuffer, {50, 70});
        EXPECT_EQ(commands(), "");
    }
}

TEST(ResultsMouse, AClickBesideTheWindowOrOnTheScrollBarIsTheRows) {
    ListScope scope;
    for (int32_t x : {INT32_MIN, -1, 0, 10, 295, 300, INT32_MAX}) {
        EXPECT_EQ(click({x, 35}, RIGHT), "R C:\\code\\proj\\src\\main.c 100|") << x;
    }
}

TEST(ResultsMouse, ARowThatANewSearchOverwritesRunsWhatIsShown) {
    ListScope scope;
    std::string folder = "C:/code/proj/src", name = "main.c";
    FileEntry *file = reinterpret_cast<FileEntry *>(results_store.file_table.data);
    *file = {str_over(folder), str_over(name)};
    forget_row_text();
    {
        HeapHookScope hook([&](uint64_t size) { // the row's prefix is made after the row is read
            if (size == 1025) {
                search_state.requests_taken = search_state.requests_taken + 1;
                folder.assign(folder.size(), 'x');
                name.assign(name.size(), 'x');
            }
            return true;
        });
        EXPECT_EQ(click({50, 20}), "L C:/code/proj/src/main.c:3:5|");
    }
    EXPECT_EQ(name, "xxxxxx");
}

TEST(ResultsMouse, ARowWhoseTextsDoNotFitTheScratchArenaRunsNothing) {
    ListScope scope;
    settings.show_full_paths = true; // so that nothing else is joined there
    uint64_t folder_size = strlen("C:/code/proj/src") + 1, name_size = strlen("main.c") + 1;
    for (uint64_t room :
         {folder_size + name_size, folder_size + name_size - 1, folder_size, folder_size - 1}) {
        scratch_empty();
        std::string filler(scratch->capacity - room - 1, 'x');
        scratch_join(str_over(filler), {});
        Canvas canvas(300, 150, ground);
        Layout layout = layout_at(0, {50, 20});
        press(LEFT);
        results_view(&canvas.framebuffer, 0, &layout);
        EXPECT_EQ(commands(), room == folder_size + name_size ? "L C:/code/proj/src/main.c:3:5|" : "")
            << room;
    }
}

TEST(ResultsMouse, TheCommandIsTheTemplateWithTheHitsParts) {
    ListScope scope;
    settings.left_click_cmd =
        str_from("{tarn_row} {tarn_column} {tarn_byte} {tarn_file_name} {tarn_file_folder} "
                 "{tarn_file_folder_bs} {tarn_no}");
    EXPECT_EQ(click({50, 50}), "200 8 2000 main.c C:/code/proj/src C:\\code\\proj\\src {tarn_no}|");
    settings.show_full_paths = true; // changes only what is shown
    EXPECT_EQ(click({50, 50}), "200 8 2000 main.c C:/code/proj/src C:\\code\\proj\\src {tarn_no}|");
}

TEST(ResultsMouse, TheDefaultTemplatesOpenAndShowTheFile) {
    FrameScope scope;
    recorded_commands.clear();
    scope.put_file("C:/data/src", "a.c");
    scope.put_hit(12, "needle", 5, 77);
    std::string left = click({50, 20}, LEFT);
    std::string right = click({50, 20}, RIGHT);
#ifdef _WIN32
    EXPECT_EQ(left, "\"C:/Program Files/Sublime Text/sublime_text.exe\" \"C:/data/src/a.c\":12:5|");
    EXPECT_EQ(right, "explorer /select,\"C:\\data\\src\\a.c\"|");
#else
    EXPECT_EQ(left, "xdg-open \"C:/data/src/a.c\"|");
    EXPECT_EQ(right, "xdg-open \"C:/data/src\"|");
#endif
}

TEST(ResultsMouse, TheTemplateIsNotChangedAndNeedsNoZeroAfterIt) {
    ListScope scope;
    std::string bytes = "edit {tarn_row} and more";
    settings.left_click_cmd = {15, bytes.data()};
    EXPECT_EQ(click({50, 20}), "edit 3|");
    EXPECT_EQ(click({50, 35}), "edit 12|");
    EXPECT_EQ(bytes, "edit {tarn_row} and more");
}

TEST(ResultsMouse, AnEmptyTemplateRunsNothing) {
    ListScope scope;
    settings.left_click_cmd = settings.right_click_cmd = str_from("");
    for (Buttons buttons : {LEFT, RIGHT, BOTH}) {
        EXPECT_EQ(click({50, 20}, buttons), "");
    }
    settings.left_click_cmd = {};
    EXPECT_EQ(click({50, 20}), "");
}

TEST(ResultsMouse, ATemplateLongerThanTheRowTextIsRunWhole) {
    ListScope scope;
    std::string text(5000, 'x');
    settings.left_click_cmd = str_over(text);
    EXPECT_EQ(click({50, 20}), text + "|");
    expect_rows(4, {"b.h  proj", ":1 needle"}); // the rows' texts are unchanged
}

// ---- Without memory ----

TEST(ResultsMemory, WithoutARowTextLinesHaveNoPrefixAndClicksRunNothing) {
    ListScope scope;
    forget_row_text();
    {
        HeapHookScope hook([](uint64_t size) { return size != 1025; });
        Canvas drawn(300, 150, ground), plain(300, 150, ground);
        Layout layout = layout_at(0, {50, 20});
        press(LEFT);
        draw_list(&drawn, 4, &layout);
        plain_header_row(&plain.framebuffer, 0, "b.h", "proj");
        plain_line_row(&plain.framebuffer, 15, "", "needle", true);
        EXPECT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer));
        EXPECT_EQ(commands(), "");
        EXPECT_EQ(row_text.data, nullptr);
    }
    expect_rows(4, {"b.h  proj", "*:1 needle"}, 150, {50, 20});
    EXPECT_EQ(commands(), "L C:/code/proj/b.h:1:1|"); // the button is still down in this frame
}

TEST(ResultsMemory, ATemplateWithoutRoomRunsNothingAndTheRowsStay) {
    ListScope scope;
    forget_row_text();
    std::string text(1025, 'x');
    settings.left_click_cmd = str_over(text);
    expect_rows(4, {"b.h  proj", ":1 needle"}); // allocates the row text
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(click({50, 20}, LEFT, 4), "");
        expect_rows(4, {"b.h  proj", ":1 needle"});
        text.pop_back();
        settings.left_click_cmd = str_over(text);
        EXPECT_EQ(click({50, 20}, LEFT, 4), text + "|"); // fits
    }
    EXPECT_EQ(click({50, 20}, RIGHT, 4), "R C:\\code\\proj\\b.h 0|");
}

// ---- Many hits ----

namespace {

constexpr uint64_t million = 1000000;

// Row i of a list that alternates between two files, each time with nine hits.
ResultRecord repeated_row(uint64_t i) {
    static const std::string texts[] = {"one", "two needles", "needle three", "", "five"};
    ResultRecord row = {};
    row.kind = i % 10 == 0 ? RESULT_FILE_HEADER : RESULT_HIT;
    row.file_index = i / 10 % 2;
    row.line = row.kind == RESULT_HIT ? static_cast<uint32_t>(i % 100) : 0;
    row.column = 1;
    row.text = row.kind == RESULT_HIT ? str_over(texts[i % 5]) : Str{};
    return row;
}

void put_repeated(uint64_t count) {
    results_store.hit_table.count = 0;
    for (uint64_t i = 0; i < count; i++) {
        ResultRecord row = repeated_row(i);
        dynarray_push(&results_store.hit_table, sizeof(row), &row);
    }
}

} // namespace

TEST(ResultsMany, AMillionLookLikeAHundredFromTheSamePlace) {
    ListScope scope;
    for (int32_t offset : {0, 1, 10, 55, 95, 99}) {
        Canvas few(300, 150, ground), many(300, 150, ground), last(300, 150, ground);
        put_repeated(100);
        Layout few_layout = layout_at(0, {50, 20});
        draw_list(&few, offset, &few_layout);
        put_repeated(million);
        Layout last_layout = layout_at(0, {50, 20});
        draw_list(&last, static_cast<int32_t>(million - 100) + offset, &last_layout);
        EXPECT_TRUE(same_pixels(few.framebuffer, last.framebuffer)) << offset;
        EXPECT_EQ(few_layout.y, last_layout.y);
        if (offset <= 55) { // below, the list of a hundred ends within the window
            Layout many_layout = layout_at(0, {50, 20});
            draw_list(&many, 500000 + offset, &many_layout);
            EXPECT_TRUE(same_pixels(few.framebuffer, many.framebuffer)) << offset;
            EXPECT_EQ(few_layout.y, many_layout.y);
        }
    }
}

// Of the table's million rows only those in the window exist; reading another one is reading outside its
// memory.
TEST(ResultsMany, OnlyRowsInTheWindowAreRead) {
    ListScope scope;
    DynArray &table = results_store.hit_table;
    const auto drawn_from = [](Canvas *canvas, int32_t first) {
        Layout layout = layout_at(0, {50, 20});
        draw_list(canvas, first, &layout);
    };
    for (int32_t first : {0, 500003, 999990}) {
        uint64_t visible = first % 10 == 0 ? 10 : 9; // one of the ten rows is the header
        std::vector<ResultRecord> rows(visible);
        for (uint64_t i = 0; i < visible; i++) {
            rows[i] = repeated_row(static_cast<uint64_t>(first) + i);
        }
        Canvas whole(300, 150, ground), part(300, 150, ground);
        put_repeated(million);
        drawn_from(&whole, first);
        char *data = table.data;
        uintptr_t missing = static_cast<uintptr_t>(first) * sizeof(ResultRecord);
        table.data = reinterpret_cast<char *>(reinterpret_cast<uintptr_t>(rows.data()) - missing);
        drawn_from(&part, first);
        table.data = data;
        EXPECT_TRUE(same_pixels(whole.framebuffer, part.framebuffer)) << first;
    }
}

// A settings file may set any line height: then no row is in the window, and none may be read.
TEST(ResultsMany, LinesHigherThanEveryWindowShowNone) {
    ListScope scope;
    put_repeated(million);
    DynArray &table = results_store.hit_table;
    char *data = table.data;
    for (int32_t line_height : {1 << 24, 1 << 29, 1 << 30, INT32_MAX}) {
        for (int32_t text_y_offset : {INT32_MIN, 0, INT32_MAX}) {
            scope.use_sizes(14, line_height, text_y_offset);
            Canvas canvas(300, 150, ground);
            table.data = reinterpret_cast<char *>(64); // not mapped
            frame_draw(&canvas.framebuffer, {50, 20});
            table.data = data;
            EXPECT_EQ(recorded_commands.size(), 0u);
        }
    }
}

// ---- Against the plain list ----

namespace {

// Makes random lists, and sets the program's state to them.
struct RandomLists {
    std::mt19937 random{20261121};

    size_t below(size_t limit) {
        return static_cast<size_t>(random() % limit);
    }
    int32_t from(int32_t least, int32_t most) {
        return least + static_cast<int32_t>(below(static_cast<size_t>(most - least + 1)));
    }
    bool one_in(size_t limit) {
        return below(limit) == 0;
    }
    const std::string &one_of(const std::vector<std::string> &texts) {
        return texts[below(texts.size())];
    }

    PlainList list() {
        static const std::vector<std::string> paths = {
            "",           "C:",          "proj",           "C:/code/proj",       "C:/code/proj/",
            "  C:/code ", "C:\\code\\p", "\"C:/code/p\"",  "C:/code/proj / //",  "/",
            "\\ \\",      "/x",          "C:/code/proj/s", "C:/c/d/e/f/g/h/i/j", " \t C:\\code/pro\n",
        };
        static const std::vector<std::string> folders = {"",  "C:/code/proj", "C:/code/proj/src/deep",
                                                         "/", "C:/code",      "//server/share"};
        static const std::vector<std::string> names = {"", "main.c", "a", "a_rather_long_name_of_a_file.cpp"};
        static const std::vector<std::string> texts = {"",     "needle",       "int needle = 1;",
                                                       "a\tb", "\x01\xC3\xA9", std::string(100, 'W')};
        PlainList list = {};
        for (size_t count = one_in(8) ? 0 : 1 + below(4); count > 0; count--) {
            list.files.push_back({one_of(folders), one_of(names)});
        }
        for (size_t count = below(one_in(6) ? 3 : 40); count > 0; count--) {
            bool opens_file = one_in(4);
            size_t past_last = one_in(12) ? random() : 0;
            uint32_t file = static_cast<uint32_t>(past_last + below(std::max(list.files.size(), size_t{1})));
            list.results.push_back({opens_file, file, number(), number(), number(), one_of(texts)});
        }
        list.path = one_of(paths);
        list.shows_full_paths = one_in(4);
        list.first = one_in(2) ? 0 : static_cast<int64_t>(below(list.results.size() + 3));
        if (one_in(40)) {
            list.first = INT32_MAX;
        }
        return list;
    }
    int32_t number() {
        return one_in(8) ? static_cast<int32_t>(random()) : from(0, 300);
    }
    void set_state(const PlainList &list) {
        put(list, &random);
        set_field(path, list.path);
        settings.show_full_paths = list.shows_full_paths;
        const int32_t sizes[][3] = {{14, 15, 12}, {10, 11, 9}, {15, 20, 3}, {20, 16, 17}};
        const auto &chosen = sizes[below(4)];
        FrameScope::use_sizes(chosen[0], chosen[1], chosen[2]);
        static const std::vector<std::string> templates = {
            "", "e {tarn_row}", "{tarn_file_folder_bs}/{tarn_file_name}", "{tarn_byte}:{tarn_column}{"};
        settings.left_click_cmd = str_over(one_of(templates));
        settings.right_click_cmd = str_over(one_of(templates));
    }
};

// The commands that a frame's click has to run, as commands() returns them.
std::string plain_click(const PlainList &list, int32_t height, bool left, bool right) {
    std::optional<PlainResult> hit = plain_hovered(list, height);
    if (!hit || (!left && !right)) {
        return "";
    }
    std::string command = to_string(left ? settings.left_click_cmd : settings.right_click_cmd);
    const PlainFile &file = list.files[hit->file];
    command = plain_command(command, {file.folder, file.name, hit->line, hit->column, hit->byte},
                            longest_command, [](size_t) { return true; });
    return command.empty() ? "" : command + "|";
}

} // namespace

TEST(ResultsModel, TheListIsThePlainOneAndClicksRunItsCommands) {
    ListScope scope;
    RandomLists states;
    size_t run = 0, hovered = 0;
    for (int i = 0; i < 3000; i++) {
        PlainList list = states.list();
        states.set_state(list);
        Size size = {states.from(1, 250), states.from(1, 220)};
        list.top = states.one_in(3) ? states.from(-40, size.height + 10) : states.from(0, 30);
        list.mouse_y = states.one_in(4) ? states.from(-300, 500) : states.from(0, size.height + 20);
        Buttons buttons = static_cast<Buttons>(states.below(4));
        press(buttons);
        if (states.one_in(6)) { // a held button has not gone down in this frame
            ui_begin_frame();
            buttons = NONE;
        }
        Layout layout = layout_at(list.top, {states.from(-300, 500), list.mouse_y});
        layout.click_consumed = states.one_in(5);
        bool is_free = !layout.click_consumed;
        Canvas drawn(size.width, size.height, ground), plain(size.width, size.height, ground);
        draw_list(&drawn, static_cast<int32_t>(list.first), &layout);
        plain_list(&plain.framebuffer, list);
        ASSERT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer)) << i;
        bool left = is_free && (buttons == LEFT || buttons == BOTH);
        bool right = is_free && (buttons == RIGHT || buttons == BOTH);
        std::string expected = plain_click(list, size.height, left, right);
        ASSERT_EQ(commands(), expected) << i;
        bool is_clicked = (left || right) && plain_hovered(list, size.height);
        ASSERT_EQ(layout.click_consumed, !is_free || is_clicked) << i;
        run += !expected.empty();
        hovered += plain_hovered(list, size.height).has_value();
    }
    EXPECT_GT(hovered, 500u); // there are enough such states
    EXPECT_GT(run, 150u);
}

TEST(ResultsModel, TheFrameShowsThePlainListBelowItsSuggestions) {
    ListScope scope;
    RandomLists states;
    size_t run = 0, bars = 0;
    for (int i = 0; i < 1000; i++) {
        PlainList list = states.list();
        states.set_state(list);
        for (DynArray *folders : {&results_store.matching_folders, &results_store.other_folders}) {
            folders->count = 0;
        }
        std::vector<const char *> matching(states.below(3), "match"), others(states.below(3), "other");
        scope.put_folders(matching, others);
        int32_t area_top = 4 + 2 * (settings.line_height + 8);
        Size size = {states.from(1, 250), states.from(1, 250)};
        list.top = area_top + static_cast<int32_t>(matching.size() + others.size()) * settings.line_height;
        list.mouse_y = states.from(area_top, size.height + area_top); // below the fields
        Point mouse = {states.from(-100, 350), list.mouse_y};
        search_state.results_scroll = static_cast<int32_t>(list.first);
        search_state.search_busy = states.one_in(2);
        Buttons buttons = static_cast<Buttons>(states.below(4));

        Canvas drawn(size.width, size.height, unpainted), plain(size.width, size.height, unpainted);
        Canvas with_bar(size.width, size.height, unpainted);
        press(buttons);
        scratch_empty();
        frame_draw(&drawn.framebuffer, mouse);
        press(NONE);
        results_store.file_table.count = 0; // so that the hits show only in the scroll bar
        frame_draw(&with_bar.framebuffer, mouse);
        results_store.hit_table.count = 0;
        frame_draw(&plain.framebuffer, mouse);
        std::vector<int32_t> bar; // pixels, drawn over the list
        for (int32_t at = 0; at < size.width * size.height; at++) {
            if (with_bar.framebuffer.pixels[at] != plain.framebuffer.pixels[at]) {
                bar.push_back(at);
            }
        }
        plain_list(&plain.framebuffer, list);
        for (int32_t at : bar) {
            plain.framebuffer.pixels[at] = with_bar.framebuffer.pixels[at];
        }
        ASSERT_TRUE(same_pixels(drawn.framebuffer, plain.framebuffer)) << i;
        std::string expected = plain_click(list, size.height, buttons == LEFT || buttons == BOTH,
                                           buttons == RIGHT || buttons == BOTH);
        ASSERT_EQ(commands(), expected) << i;
        run += !expected.empty();
        bars += !bar.empty();
    }
    EXPECT_GT(run, 50u);
    EXPECT_GT(bars, 100u);
}

// ---- Pictures ----

namespace {

// Compares frames of a list of several files with the kept pictures.
struct PictureScope : FrameScope {
    PictureScope() {
        recorded_commands.clear();
        set_field(path, "C:/code/proj");
        set_field(&search_state.query, "needle");
        put_file("C:/code/proj/src", "main.c");
        put_hit(3, "#include \"needle.h\"");
        put_hit(41, "static Needle *needle_find(Haystack *hay) {");
        put_hit(118, "return needle ? needle->next : NULL; // gjpqy");
        put_file("C:/code/proj/include/public", "needle.h");
        put_hit(1, "#pragma once // needle");
        put_hit(1042, "typedef struct Needle Needle;");
        put_hit(100000, "void needle_free(Needle *needle);");
        put_file("C:/code/proj", "README");
        put_hit(7, "How to find a needle");
        put_hit(9, "How to lose one");
    }
    static void expect(const std::string &name, Point mouse = nowhere, Size size = {420, 160}) {
        Canvas canvas(size.width, size.height, unpainted);
        frame_draw(&canvas.framebuffer, mouse);
        expect_picture(canvas.framebuffer, name);
    }
};

} // namespace

TEST(ResultsPicture, FromTheTop) {
    PictureScope scope;
    scope.expect("results_top", nowhere, {420, 240});
}

TEST(ResultsPicture, FromTheMiddleOfAFile) {
    PictureScope scope;
    search_state.results_scroll = 3;
    scope.expect("results_middle");
}

TEST(ResultsPicture, ALineUnderTheMouse) {
    PictureScope scope;
    scope.expect("results_hover", {200, 85});
}

TEST(ResultsPicture, WithFullPaths) {
    PictureScope scope;
    settings.show_full_paths = true;
    scope.expect("results_full_paths");
}

TEST(ResultsPicture, BelowSuggestions) {
    PictureScope scope;
    set_field(path, "C:/code/pr");
    scope.put_folders({"proj"}, {"attic", "tools"});
    scope.expect("results_suggestions", {200, 130});
}

TEST(ResultsPicture, LongLinesUnderTheScrollBar) {
    PictureScope scope;
    std::string text(100, 'W');
    ResultRecord *hits = reinterpret_cast<ResultRecord *>(results_store.hit_table.data);
    hits[1].text = hits[3].text = hits[5].text = str_over(text);
    scope.expect("results_long_lines", {200, 70});
}

// A real search, in a folder with a relative name, as the path is drawn.
TEST(ResultsPicture, IgnoringCaseAndSkippingFolders) {
    PictureScope scope;
    for (const char *file : {"project/main.c", "project/.git/main.c", "project/build/main.c",
                             "project/src/needle.h", "project/src/build/needle.h"}) {
        scope.tree.file(file, "/* Needles */\n\n#define NEEDLE_MAX 8\nneedle_find();\nneédle();\n........\n");
    }
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(scope.tree.native(""));
    search_state.ignore_case = true;
    search_state.skip_folders = str_from(".git build");
    search_rows(scope.tree, "project", "Needle");
    std::filesystem::current_path(before);
    scope.focus(&query_field, {{0, 6}});
    scope.expect("results_ignore_case", nowhere, {420, 180});
}

TEST(ResultsPicture, LargerText) {
    const struct {
        int32_t font_size, line_height, text_y_offset;
        Size size;
    } rows[] = {{20, 22, 17, {560, 240}}, {32, 35, 27, {800, 360}}};
    for (const auto &sizes : rows) {
        PictureScope scope;
        scope.use_sizes(sizes.font_size, sizes.line_height, sizes.text_y_offset);
        scope.expect("results_size_" + std::to_string(sizes.font_size), {100, sizes.size.height / 2 + 30},
                     sizes.size);
    }
}
