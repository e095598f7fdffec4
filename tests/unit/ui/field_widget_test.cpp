#include "ui/field_widget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "os/arrays.h"
#include "render/draw.h"
#include "render/font_scope.h"
#include "render/text.h"
#include "render/utf8_scope.h"
#include "search/results_store.h"
#include "support/each_step.h"
#include "support/heap_hook.h"
#include "support/picture.h"
#include "support/ui_scope.h"
#include "ui/saved_lists_scope.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

constexpr uint32_t ground = 0xFF1A1A1A, focused_ground = 0xFF323232, grey = 0xFF505050,
                   tail_grey = 0xFF7F7F7F;
constexpr uint32_t yellow = 0xFFFFFF00, red = 0xFFFF0000, light_grey = 0xFF969696;
constexpr Point nowhere = {-1000, -1000};

// Places at 14 pixels, where every glyph is 6 wide, in a window 420 wide.
constexpr Rect row = {6, 4, 420, 23};
constexpr Rect save_button = {405, 6, 19, 19};
constexpr int32_t text_x = 6 + 6 * 6; // after "Path: "
constexpr Point on_row = {100, 15};
constexpr Point on_save = {410, 15};

constexpr uint32_t white(uint32_t alpha) {
    return alpha << 24 | 0xFFFFFF;
}

// The drop-down's rows below the field.
constexpr Rect entry_row(int32_t i) {
    return {6, 27 + 17 * i, 420, 17};
}
constexpr Rect entry_button(int32_t i) {
    return {8, 29 + 17 * i, 13, 13};
}
constexpr Point on_entry(int32_t i) {
    return {100, 27 + 17 * i + 8};
}
constexpr Point on_entry_button(int32_t i) {
    return {14, 27 + 17 * i + 8};
}

// An expected picture, drawn with the primitives.
struct Drawing : Canvas {
    explicit Drawing(int32_t width = 420, int32_t height = 120) : Canvas(width, height, ground) {}

    void fill(Rect rect, uint32_t colour) {
        fill_rect(&framebuffer, {0, 0, framebuffer.width, framebuffer.height}, rect, colour);
    }
    void blend(Rect rect, uint32_t colour) {
        blend_rect(&framebuffer, {0, 0, framebuffer.width, framebuffer.height}, rect, colour);
    }
    void text(int32_t x, uint32_t colour, const std::string &text, int32_t baseline = 16) {
        draw_text(&framebuffer, {x, baseline}, 14, 14, colour, str_over(text));
    }
    // A field's row without carets and completion.
    void field(const std::string &label, const std::string &content, uint32_t alpha,
               uint32_t button_colour = grey, bool focused = false) {
        if (focused) {
            fill(row, focused_ground);
        }
        text(6, white(alpha), label);
        text(6 + 6 * static_cast<int32_t>(label.size()), white(alpha), content);
        fill(save_button, button_colour);
        fill({6, 19, 420, 1}, grey);
    }
    uint32_t at(Point point) const {
        return framebuffer.pixels[point.y * framebuffer.width + point.x];
    }
};

// The first place where two pictures differ, or "".
std::string difference(const Drawing &a, const Drawing &b) {
    for (int32_t y = 0; y < a.framebuffer.height; y++) {
        for (int32_t x = 0; x < a.framebuffer.width; x++) {
            if (a.at({x, y}) != b.at({x, y})) {
                return "column " + std::to_string(x) + ", row " + std::to_string(y);
            }
        }
    }
    return "";
}

// The two fields, empty and without focus, with a folder for their files.
struct Fields : SavedListsScope {
    UiScope ui;
    FontScope the_font;
    TestTree tree;
    std::string folder = tree.path() + "/";
    Drawing drawing;
    Layout layout = {};

    explicit Fields(const std::string &font_path = default_font_path()) : the_font(font_path) {
        saved_folder = str_over(folder);
        search_state.request_pending = 0;
        ui_begin_frame();
    }

    static void complete(const char *name) {
        Str entry = str_from(name);
        dynarray_push(&results_store.matching_folders, sizeof(Str), &entry);
    }

    static void focus(Field *field, int32_t anchor = 0, int32_t caret = 0) {
        input_field.focused_field = field;
        field_set_single_caret(anchor, caret);
    }

    // The files' contents; "none" when one is missing.
    std::string file(const std::string &name) const {
        return std::filesystem::exists(tree.native(name)) ? bytes_of(tree.native(name)) : "none";
    }

    // The start of a frame: an empty picture and the layout.
    void begin(Point mouse) {
        drawing.fill({0, 0, drawing.framebuffer.width, drawing.framebuffer.height}, ground);
        layout = {};
        layout.x = 6;
        layout.y = 4;
        layout.width = drawing.framebuffer.width;
        layout.row_advance = 23;
        layout.font_size = 14;
        layout.line_height = 15;
        layout.text_y_offset = 12;
        layout.mouse = mouse;
    }

    void draw(Field *field, Point mouse = nowhere) {
        begin(mouse);
        draw_next(field);
    }
    void draw_next(Field *field) {
        field_widget(&drawing.framebuffer, str_from(field == path ? "Path: " : "Src: "), field, &layout);
    }

    // Draws the frame in which a button goes down.
    void click(Field *field, Point mouse, uint16_t button = MOUSE_LEFT) {
        search_state.results_dirty = 0;
        ui_release(button, mouse); // of an earlier click
        ui_begin_frame();
        ui_press(button, mouse);
        draw(field, mouse);
    }
};

// A table of results that a published request empties.
void put_a_hit() {
    ResultRecord hit = {};
    dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
}

bool is_published() {
    return results_store.hit_table.count == 0 && search_state.results_dirty && search_state.request_pending;
}

} // namespace

// ---- The toggle button ----

TEST(ToggleButton, HasFourColoursAndFillsItsRectangleOnly) {
    UiScope scope;
    const struct {
        bool is_on;
        Point mouse;
        uint32_t colour;
    } rows[] = {{true, nowhere, yellow},
                {false, nowhere, grey},
                {true, {12, 23}, red},
                {false, {12, 23}, light_grey}};
    for (const auto &shown : rows) {
        Drawing drawing(40, 40), expected(40, 40);
        Layout layout = {};
        layout.mouse = shown.mouse;
        EXPECT_FALSE(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, shown.is_on, &layout));
        expected.fill({10, 20, 7, 5}, shown.colour);
        EXPECT_EQ(difference(drawing, expected), "");
    }
}

TEST(ToggleButton, IsHoveredFromItsFirstPixelToBeforeItsEnd) {
    UiScope scope;
    const struct {
        Point mouse;
        bool is_hovered;
    } rows[] = {{{10, 20}, true},  {{16, 20}, true},  {{10, 24}, true},  {{16, 24}, true}, {{9, 22}, false},
                {{17, 22}, false}, {{12, 19}, false}, {{12, 25}, false}, {{0, 0}, false}};
    for (const auto &pointed : rows) {
        Drawing drawing(40, 40);
        Layout layout = {};
        layout.mouse = pointed.mouse;
        ui_begin_frame();
        ui_release(MOUSE_LEFT, {});
        ui_press(MOUSE_LEFT, {});
        EXPECT_EQ(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, false, &layout), pointed.is_hovered)
            << pointed.mouse.x << ", " << pointed.mouse.y;
        EXPECT_EQ(drawing.at({12, 22}), pointed.is_hovered ? light_grey : grey);
        EXPECT_EQ(ui_went_down(MOUSE_LEFT), !pointed.is_hovered);
    }
}

TEST(ToggleButton, ConsumesThePress) {
    SearchScope search;
    UiScope scope;
    Drawing drawing(40, 40);
    Layout layout = {};
    layout.mouse = {12, 22};
    ui_press(MOUSE_LEFT, {});
    EXPECT_TRUE(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, false, &layout));
    EXPECT_EQ(search_state.results_dirty, 1);
    EXPECT_FALSE(layout.click_consumed); // the caller sets it
    EXPECT_FALSE(ui_went_down(MOUSE_LEFT));
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));
    EXPECT_FALSE(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, false, &layout));
}

TEST(ToggleButton, LeavesAConsumedClickAHeldAndAnotherButtonAlone) {
    SearchScope search;
    UiScope scope;
    Drawing drawing(40, 40);
    Layout layout = {};
    layout.mouse = {12, 22};
    layout.click_consumed = true;
    ui_press(MOUSE_LEFT, {});
    EXPECT_FALSE(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, false, &layout));
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
    layout.click_consumed = false;
    ui_begin_frame(); // from here on the button is held
    ui_press(MOUSE_RIGHT, {});
    ui_press(MOUSE_MIDDLE, {});
    EXPECT_FALSE(toggle_button(&drawing.framebuffer, {10, 20, 7, 5}, false, &layout));
    EXPECT_TRUE(ui_went_down(MOUSE_RIGHT));
    EXPECT_EQ(search_state.results_dirty, 0);
}

// ---- The look of a field ----

TEST(FieldWidget, DrawsLabelTextSaveButtonAndUnderline) {
    Fields fields;
    set_field(path, "C:/src");
    fields.draw(path);
    Drawing expected;
    expected.field("Path: ", "C:/src", 140);
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

TEST(FieldWidget, ItsTextIsBrightestUnderTheMouseAndBrighterWithTheFocus) {
    Fields fields;
    set_field(query, "needle");
    input_field.focused_field = query; // without a caret
    fields.draw(query);
    Drawing focused;
    focused.field("Src: ", "needle", 220, grey, true);
    EXPECT_EQ(difference(fields.drawing, focused), "");

    fields.draw(query, on_row);
    Drawing both;
    both.field("Src: ", "needle", 255, grey, true);
    EXPECT_EQ(difference(fields.drawing, both), "");
}

TEST(FieldWidget, IsHoveredFromItsFirstPixelToBeforeItsEnd) {
    Fields fields;
    set_field(path, "a");
    Drawing plain, hovered;
    plain.field("Path: ", "a", 140);
    hovered.field("Path: ", "a", 255);
    const struct {
        Point mouse;
        bool is_hovered;
    } rows[] = {{{6, 4}, true},   {{6, 26}, true},    {{425, 4}, true}, {{425, 26}, true},
                {{5, 15}, false}, {{426, 15}, false}, {{20, 3}, false}, {{20, 27}, false}};
    for (const auto &pointed : rows) {
        fields.draw(path, pointed.mouse);
        EXPECT_EQ(difference(fields.drawing, pointed.is_hovered ? hovered : plain), "")
            << pointed.mouse.x << ", " << pointed.mouse.y;
    }
}

TEST(FieldWidget, TheSaveButtonShowsTheSavedFlagAndTheMouse) {
    Fields fields;
    set_field(path, "a");
    for (uint8_t saved = 0; saved <= 1; saved++) {
        path_field.is_saved = saved;
        fields.draw(path);
        EXPECT_EQ(fields.drawing.at({410, 10}), saved ? yellow : grey);
        fields.draw(path, on_save);
        EXPECT_EQ(fields.drawing.at({410, 10}), saved ? red : light_grey);
    }
}

TEST(FieldWidget, ATextWithoutAListHasNoSaveButtonAndNoDropDown) {
    Fields fields;
    StrBuf text;
    strbuf_init(&text, 16);
    strbuf_append(&text, 3, "abc");
    Field other = {};
    other.text = &text;
    fields.focus(&other);
    input_field.caret_list.count = 0;
    input_field.dropdown_open = true;
    fields.click(&other, on_save, MOUSE_MIDDLE);
    Drawing expected;
    expected.fill(row, focused_ground);
    expected.text(6, white(255), "Src: ");
    expected.text(36, white(255), "abc");
    expected.fill({6, 19, 420, 1}, grey);
    EXPECT_EQ(difference(fields.drawing, expected), "");
    EXPECT_EQ(fields.layout.stop, 0);
    EXPECT_EQ(fields.layout.y, 27);
    fields.click(&other, on_save);
    EXPECT_EQ(carets(), "{0,3}");
    input_field.focused_field = nullptr;
    os_free(text.data);
}

TEST(FieldWidget, ALongTextEndsAtTheSaveButton) {
    Fields fields;
    set_field(path, std::string(500, 'W'));
    fields.draw(path);
    Drawing expected;
    expected.text(6, white(140), "Path: ");
    expected.text(text_x, white(140), std::string(500, 'W'));
    expected.fill({403, 4, 17, 23}, ground); // no text around the button
    expected.fill(save_button, grey);
    expected.fill({6, 19, 420, 1}, grey);
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

TEST(FieldWidget, LinesBelowTheFirstAreNotDrawn) {
    Fields fields;
    set_field(query, "a\nb\nc\nd\n\n\tg");
    fields.complete("completion\nin lines");
    fields.draw(query);
    for (int32_t y = 27; y < fields.drawing.framebuffer.height; y++) {
        for (int32_t x = 0; x < fields.drawing.framebuffer.width; x++) {
            ASSERT_EQ(fields.drawing.at({x, y}), ground) << x << ", " << y;
        }
    }
}

TEST(FieldWidget, MovesTheLayoutByARow) {
    Fields fields;
    set_field(query, "a\nb\nc");
    fields.draw(query);
    EXPECT_EQ(fields.layout.y, 27);
    EXPECT_EQ(fields.layout.stop, 0);
    EXPECT_FALSE(fields.layout.click_consumed);
    fields.draw_next(path);
    EXPECT_EQ(fields.layout.y, 50);
}

TEST(FieldWidget, FitsAnyFramebuffer) {
    Fields fields;
    set_field(path, "C:/src/a");
    fields.complete("abc");
    set_entries(path, {"one", "(two)"});
    fields.focus(path, 2, 5);
    input_field.dropdown_open = true;
    for (int32_t width : {0, 1, 5, 6, 7, 20, 60}) {
        for (int32_t height : {0, 1, 4, 19, 27, 28, 44, 45, 46}) {
            Canvas canvas(width, height, ground);
            fields.begin({3, 3});
            fields.layout.width = width;
            path_field.is_saved = 1;
            field_widget(&canvas.framebuffer, str_from("Path: "), path, &fields.layout);
            // A row of the list begins above the lower edge.
            EXPECT_EQ(fields.layout.y, height <= 27 ? 27 : height <= 44 ? 44 : 61);
            for (int32_t i = 0; i < width * height; i++) {
                ASSERT_EQ(canvas.framebuffer.pixels[i] >> 24, 255u);
            }
        }
    }
}

// ---- Carets ----

namespace {

// The box of a selection over the focused field.
void put_box(Drawing *drawing, int32_t left, int32_t right) {
    drawing->blend({left, 4, right - left, 23}, 0x32FFFFFF);
    if (right - left < 3) {
        drawing->blend({left, 4, right - left, 23}, 0xC8FFFFFF);
    }
    drawing->blend({left, 4, right - left, 1}, 0xC8FFFFFF);
    drawing->blend({left, 26, right - left, 1}, 0xC8FFFFFF);
    drawing->blend({left, 5, 1, 21}, 0xC8FFFFFF);
    drawing->blend({right - 1, 5, 1, 21}, 0xC8FFFFFF);
}

void put_bar(Drawing *drawing, int32_t x) {
    drawing->blend({x, 4, 2, 23}, 0xC8FFFFFF);
}

// The expected picture of a focused Path field with that text and those carets.
template <typename Put> void expect_carets(const std::string &text, std::vector<Caret> carets, Put put) {
    Fields fields;
    set_field(path, text);
    input_field.focused_field = path;
    for (const Caret &caret : carets) {
        dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
    }
    fields.draw(path);
    Drawing expected;
    expected.fill(row, focused_ground);
    expected.text(6, white(220), "Path: ");
    Framebuffer row_only = expected.framebuffer; // lines below are cut at the row's end
    row_only.height = 27;
    draw_text(&row_only, {text_x, 16}, 14, 14, white(220), str_over(text));
    put(&expected);
    expected.fill(save_button, grey);
    expected.fill({6, 19, 420, 1}, grey);
    EXPECT_EQ(difference(fields.drawing, expected), "") << text;
}

} // namespace

TEST(FieldCarets, ABareCaretIsABarTwoPixelsWide) {
    expect_carets("abc", {{0, 0}}, [](Drawing *drawing) { put_bar(drawing, text_x); });
    expect_carets("abc", {{2, 2}}, [](Drawing *drawing) { put_bar(drawing, text_x + 12); });
    expect_carets("abc", {{3, 3}}, [](Drawing *drawing) { put_bar(drawing, text_x + 18); });
    expect_carets("", {{0, 0}}, [](Drawing *drawing) { put_bar(drawing, text_x); });
}

TEST(FieldCarets, ASelectionIsABoxWithAnOutlineInEitherDirection) {
    expect_carets("abcdef", {{1, 4}}, [](Drawing *drawing) { put_box(drawing, text_x + 6, text_x + 24); });
    expect_carets("abcdef", {{4, 1}}, [](Drawing *drawing) { put_box(drawing, text_x + 6, text_x + 24); });
}

TEST(FieldCarets, ManyAreDrawnOneOverTheOtherInTheirOrder) {
    expect_carets("abcdefgh", {{4, 6}, {5, 5}, {0, 1}}, [](Drawing *drawing) {
        put_box(drawing, text_x + 24, text_x + 36);
        put_bar(drawing, text_x + 30);
        put_box(drawing, text_x, text_x + 6);
    });
}

TEST(FieldCarets, AreAfterWideTabsAndNarrowControlBytes) {
    // A tab is 28 wide, another control byte 4.
    expect_carets("a\tb\x01"
                  "c",
                  {{1, 2}, {3, 4}, {5, 5}}, [](Drawing *drawing) {
                      put_box(drawing, text_x + 6, text_x + 34);
                      put_box(drawing, text_x + 40, text_x + 44);
                      put_bar(drawing, text_x + 50);
                  });
}

TEST(FieldCarets, AreAfterTheKerningOfTheirPair) {
    TestTree tree;
    for (const std::string second : {"V", " "}) {
        int a, other;
        {
            FontScope scope;
            a = stbtt_FindGlyphIndex(&font.info, 'A');
            other = stbtt_FindGlyphIndex(&font.info, second[0]);
        }
        tree.file("font",
                  with_table(bytes_of(default_font_path()), "GPOS", "kern", kern_table(a, other, -200)));
        Fields fields(tree.path("font"));
        set_field(path, "xA" + second); // 2 pixels closer
        fields.focus(path, 2, 3);
        fields.draw(path);
        Drawing expected;
        expected.fill(row, focused_ground);
        expected.text(6, white(220), "Path: ");
        expected.text(text_x, white(220), "xA" + second);
        put_box(&expected, text_x + 10, text_x + 16);
        expected.fill(save_button, grey);
        expected.fill({6, 19, 420, 1}, grey);
        EXPECT_EQ(difference(fields.drawing, expected), "") << "A" << second;
    }
}

TEST(FieldCarets, CountFromTheStartOfTheirLine) {
    expect_carets("ab\ncde", {{3, 3}, {5, 5}}, [](Drawing *drawing) {
        put_bar(drawing, text_x);
        put_bar(drawing, text_x + 12);
    });
    // A selection over a line feed ends left of its start.
    expect_carets("abcd\ne", {{3, 6}}, [](Drawing *drawing) { put_box(drawing, text_x + 6, text_x + 18); });
}

TEST(FieldCarets, ASelectionOfNoWidthIsDrawnAsASelection) {
    // A whole line with its line feed begins and ends at the row's start.
    expect_carets("abc\nd", {{0, 4}}, [](Drawing *drawing) { put_box(drawing, text_x, text_x); });
    expect_carets("abc\nd", {{4, 0}}, [](Drawing *drawing) { put_box(drawing, text_x, text_x); });
}

TEST(FieldCarets, ABoxOfLessThanThreePixelsIsBlendedTwiceAndOutlined) {
    for (int32_t width : {2, 3}) {
        Fields fields;
        set_field(query, "\x01");
        fields.focus(query, 0, 1);
        fields.begin(nowhere);
        fields.layout.font_size = 4 * (width - 1); // a control byte is a quarter wide and one
        field_widget(&fields.drawing.framebuffer, {}, query, &fields.layout);
        Drawing expected;
        expected.fill(row, focused_ground);
        put_box(&expected, 6, 6 + width);
        expected.fill(save_button, grey);
        expected.fill({6, 19, 420, 1}, grey);
        EXPECT_EQ(difference(fields.drawing, expected), "") << width;
    }
}

TEST(FieldCarets, ABoxOfLessThanThreePixelsHeightIsBlendedTwiceToo) {
    for (int32_t height : {2, 3}) {
        Fields fields;
        set_field(query, "\x01");
        fields.focus(query, 0, 1);
        fields.begin(nowhere);
        fields.layout.row_advance = height;
        field_widget(&fields.drawing.framebuffer, {}, query, &fields.layout);
        Drawing expected;
        expected.fill({6, 4, 420, height}, focused_ground);
        expected.blend({6, 4, 4, height}, 0x32FFFFFF);
        if (height < 3) {
            expected.blend({6, 4, 4, height}, 0xC8FFFFFF);
        }
        expected.blend({6, 4, 4, 1}, 0xC8FFFFFF);
        expected.blend({6, 4 + height - 1, 4, 1}, 0xC8FFFFFF);
        expected.blend({6, 5, 1, height - 2}, 0xC8FFFFFF);
        expected.blend({9, 5, 1, height - 2}, 0xC8FFFFFF);
        expected.fill({6, 19, 420, 1}, grey);
        EXPECT_EQ(difference(fields.drawing, expected), "") << height;
    }
}

TEST(FieldCarets, BelongToTheFocusedFieldOnly) {
    Fields fields;
    set_field(path, "abc");
    fields.focus(query, 0, 3);
    fields.draw(path);
    Drawing expected;
    expected.field("Path: ", "abc", 140);
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

TEST(FieldCarets, OfUtf8TextsAreWhereTheGlyphsAre) {
    Utf8Scope utf8;
    // é, 你 and 😀 are 6, 11 and 11 wide, and the byte at their end is a missing glyph of 6.
    const std::string text = "a\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80\xE4";
    const struct { int32_t offset, x; } places[] = {{0, 0}, {1, 6}, {3, 12}, {6, 23}, {10, 34}, {11, 40}};
    for (const auto &place : places) {
        expect_carets(text, {{place.offset, place.offset}},
                      [&](Drawing *drawing) { put_bar(drawing, text_x + place.x); });
    }
    expect_carets(text, {{3, 10}}, [](Drawing *drawing) { put_box(drawing, text_x + 12, text_x + 34); });
    // Inside a character it is drawn at its start.
    for (int32_t inside : {7, 8, 9}) {
        expect_carets(text, {{inside, inside}}, [](Drawing *drawing) { put_bar(drawing, text_x + 23); });
    }
}

// ---- The completion ----

TEST(FieldCompletion, IsWhatFollowsTheTypedNameOnEitherField) {
    const struct {
        const char *text, *entry, *tail;
    } rows[] = {
        {"C:/src/ap", "apps", "ps"}, {"C:/src/ap", "Apps", "ps"},  {"C:/src/", "apps", "apps"},
        {"C:/src/apps", "apps", ""}, {"C:/src/appss", "apps", ""}, {"C:/src/appstore", "apps", ""},
        {"", "apps", "apps"},        {"ap", "apps", "ps"}, // without a '/' the whole text is the name
        {"/", "apps", "apps"},       {"a//b", "bc", "c"},          {"C:/src/ap", "", ""},
        {"x/zz", "apps", "ps"}, // bytes are counted, not compared
    };
    for (const auto &typed : rows) {
        for (Field *field : {path, query}) { // intentionally also on Src
            Fields fields;
            std::string label = field == path ? "Path: " : "Src: ";
            std::string text = typed.text;
            fields.complete(typed.entry);
            fields.complete("other");
            set_field(field, text);
            fields.draw(field);
            Drawing expected;
            expected.field(label, text, 140);
            expected.text(6 + 6 * static_cast<int32_t>(label.size() + text.size()), tail_grey, typed.tail);
            expected.fill({6, 19, 420, 1}, grey);
            EXPECT_EQ(difference(fields.drawing, expected), "") << label << text << " " << typed.entry;
        }
    }
}

TEST(FieldCompletion, OfAUtf8TextBeginsWithAWholeCharacterAfterTheLastGlyph) {
    for (const auto &[typed, tail] : {std::pair<std::string, const char *>{"x", "\xE5\xA5\xBDz"},
                                      {"\xC3\xA9", "\xE5\xA5\xBDz"},
                                      {"\xE4\xBD\xA0", "\xE5\xA5\xBDz"},
                                      {"", "\xE4\xBD\xA0\xE5\xA5\xBDz"},
                                      {"\xE4\xBD\xA0\xE5\xA5\xBDz", ""}}) {
        Fields fields;
        Utf8Scope utf8;
        fields.complete("\xE4\xBD\xA0\xE5\xA5\xBDz");
        set_field(path, typed);
        fields.draw(path);
        Drawing expected;
        expected.field("Path: ", typed, 140);
        Framebuffer nothing = {};
        int32_t width = static_cast<int32_t>(draw_text(&nothing, {0, 0}, 14, 14, 0, str_over(typed)));
        expected.text(text_x + width, tail_grey, tail);
        expected.fill({6, 19, 420, 1}, grey);
        EXPECT_EQ(difference(fields.drawing, expected), "") << typed;
    }
}

TEST(FieldCompletion, BeginsWhereTheTextsLastLineEnds) {
    for (const std::string text : {"abcdef\n/c", "/c\n", "\n"}) {
        Fields fields;
        fields.complete("completion");
        set_field(path, text);
        fields.draw(path);
        Drawing expected;
        expected.text(6, white(140), "Path: ");
        Framebuffer row_only = expected.framebuffer; // lines below are cut at the row's end
        row_only.height = 27;
        draw_text(&row_only, {text_x, 16}, 14, 14, white(140), str_over(text));
        std::string typed = text.substr(text.find('/') + 1); // the whole text without one
        size_t last_line = text.size() - (text.rfind('\n') + 1);
        expected.text(text_x + 6 * static_cast<int32_t>(last_line), tail_grey,
                      std::string("completion").substr(typed.size()));
        expected.fill(save_button, grey);
        expected.fill({6, 19, 420, 1}, grey);
        EXPECT_EQ(difference(fields.drawing, expected), "") << text;
    }
}

TEST(FieldCompletion, IsNoneWithoutAnEntryOrItsBytes) {
    Fields fields;
    set_field(path, "a");
    Str gone = {}; // without memory for its name
    dynarray_push(&results_store.matching_folders, sizeof(Str), &gone);
    fields.draw(path);
    Drawing expected;
    expected.field("Path: ", "a", 140);
    EXPECT_EQ(difference(fields.drawing, expected), "");
    results_store.matching_folders.count = 0;
    fields.draw(path);
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

// ---- Clicks on the row ----

TEST(FieldClick, ALeftClickSelectsAllAndClosesTheDropDown) {
    Fields fields;
    set_field(path, "C:/src");
    set_field(query, "needle");
    fields.focus(query, 2, 2);
    input_field.dropdown_open = true;
    fields.click(path, on_row);
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(carets(), "{0,6}");
    EXPECT_FALSE(input_field.dropdown_open);
    EXPECT_EQ(search_state.results_dirty, 1);
    EXPECT_EQ(search_state.request_pending, 0);
    EXPECT_TRUE(fields.layout.click_consumed);
    EXPECT_EQ(fields.layout.stop, 0);
}

TEST(FieldClick, ShowsInTheNextFrame) {
    Fields fields;
    set_field(path, "C:/src");
    fields.click(path, on_row);
    Drawing before;
    before.field("Path: ", "C:/src", 255);
    EXPECT_EQ(difference(fields.drawing, before), "");
    ui_begin_frame();
    fields.draw(path, on_row);
    EXPECT_EQ(fields.drawing.at({300, 10}), focused_ground);
}

TEST(FieldClick, TypingThenReplacesTheText) {
    Fields fields;
    set_field(query, "needle");
    fields.click(query, on_row);
    WindowEvent event = {};
    event.type = EVENT_CHAR;
    event.character.unit = 'x';
    bool handled, changed;
    field_handle_key(query, &event, &handled, &changed);
    EXPECT_EQ(text_of(*query), "x");
}

TEST(FieldClick, SelectsAllOfAFieldThatHasTheFocusAndOfAnEmptyOne) {
    Fields fields;
    set_field(path, "abc");
    fields.focus(path, 2, 1);
    fields.click(path, on_row);
    EXPECT_EQ(carets(), "{0,3}");
    fields.click(query, on_row);
    EXPECT_EQ(carets(), "{0,0}");
    EXPECT_EQ(input_field.focused_field, query);
}

TEST(FieldClick, ARightClickOpensClosesAndMovesTheDropDownWithoutAskingForAFrame) {
    Fields fields;
    set_field(path, "C:/src");
    set_field(query, "needle");
    set_entries(path, {"one"});
    const struct {
        Field *field;
        uint8_t is_open;
        const char *carets;
    } rows[] = {
        {path, 1, "{0,6}"},  {path, 0, "{0,6}"},  {path, 1, "{0,6}"}, {query, 1, "{0,6}"},
        {query, 0, "{0,6}"}, {query, 1, "{0,6}"}, {path, 1, "{0,6}"}, // an open one moves along
    };
    fields.focus(query, 3, 3);
    for (const auto &clicked : rows) {
        fields.click(clicked.field, on_row, MOUSE_RIGHT);
        EXPECT_EQ(input_field.focused_field, clicked.field);
        EXPECT_EQ(input_field.dropdown_open, clicked.is_open);
        EXPECT_EQ(carets(), clicked.carets);
        EXPECT_EQ(search_state.results_dirty, 0); // intentional: the release redraws
        EXPECT_TRUE(fields.layout.click_consumed);
    }
}

TEST(FieldClick, TheLeftButtonWinsWhenBothGoDown) {
    Fields fields;
    set_field(path, "abc");
    ui_press(MOUSE_RIGHT, on_row);
    ui_press(MOUSE_LEFT, on_row);
    fields.draw(path, on_row);
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_FALSE(input_field.dropdown_open);
    EXPECT_EQ(search_state.results_dirty, 1);
}

TEST(FieldClick, BesideTheRowAndWithAHeldOrMiddleButtonNothingHappens) {
    Fields fields;
    set_field(path, "abc");
    for (Point beside : {Point{5, 15}, Point{100, 3}, Point{100, 27}}) {
        fields.click(path, beside);
        fields.click(path, beside, MOUSE_RIGHT);
        ui_release(MOUSE_LEFT, beside);
        ui_release(MOUSE_RIGHT, beside);
    }
    fields.click(path, on_row, MOUSE_MIDDLE);
    ui_press(MOUSE_LEFT, on_row);
    ui_begin_frame();
    fields.draw(path, on_row);
    EXPECT_EQ(input_field.focused_field, nullptr);
    EXPECT_FALSE(fields.layout.click_consumed);
}

TEST(FieldClick, IsOneActionOnly) {
    Fields fields;
    set_field(path, "abc");
    fields.begin(on_row);
    ui_press(MOUSE_LEFT, on_row);
    fields.layout.click_consumed = true;
    fields.draw_next(path);
    EXPECT_EQ(input_field.focused_field, nullptr);

    // A click on the save button does not move the focus.
    ui_begin_frame();
    fields.click(path, on_save);
    EXPECT_EQ(input_field.focused_field, nullptr);
    EXPECT_TRUE(fields.layout.click_consumed);
    EXPECT_EQ(entries_of(path_field.entries), "abc");

    // With both buttons at once on the save button only the text is saved.
    set_field(path, "def");
    ui_release(MOUSE_LEFT, on_save);
    ui_begin_frame();
    ui_press(MOUSE_RIGHT, on_save);
    ui_press(MOUSE_LEFT, on_save);
    fields.draw(path, on_save);
    EXPECT_EQ(input_field.focused_field, nullptr);
    EXPECT_EQ(entries_of(path_field.entries), "abc|def");
}

TEST(FieldClick, ARightClickOnTheSaveButtonIsOneOnTheRow) {
    Fields fields;
    set_field(path, "abc");
    fields.click(path, on_save, MOUSE_RIGHT);
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(entries_of(path_field.entries), "");
}

// ---- The save button ----

TEST(SaveButton, AddsTheTextWritesTheFileAndMarksTheFocusedField) {
    Fields fields;
    set_field(query, "needle");
    set_entries(query, {"one", "(two)"});
    fields.focus(query, 0, 6);
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "one|(two)|needle");
    EXPECT_EQ(fields.file("saved_queries.txt"), "needle\r\none\r\nneedle");
    EXPECT_EQ(fields.file("saved_paths.txt"), "none");
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(search_state.results_dirty, 1);
    EXPECT_EQ(search_state.request_pending, 0);
    EXPECT_TRUE(fields.layout.click_consumed);
    EXPECT_EQ(carets(), "{0,6}");
}

TEST(SaveButton, OfAFieldWithoutTheFocusKeepsItsColour) {
    Fields fields;
    set_field(query, "needle");
    fields.focus(path);
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "needle");
    EXPECT_EQ(fields.file("saved_queries.txt"), "needle\r\nneedle");
    EXPECT_EQ(query_field.is_saved, 0); // only the focused field's mark is updated
}

TEST(SaveButton, SavesNoEmptyText) {
    Fields fields;
    fields.focus(path);
    fields.click(path, on_save);
    set_field(path, " \t");
    fields.click(path, on_save);
    EXPECT_EQ(entries_of(path_field.entries), "");
    EXPECT_EQ(fields.file("saved_paths.txt"), "none");
}

TEST(SaveButton, BringsARemovedEntryBackWithoutWritingOrMarking) {
    Fields fields;
    set_field(query, "two");
    set_entries(query, {"one", "(two)"});
    fields.focus(query);
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "one|two");
    EXPECT_EQ(fields.file("saved_queries.txt"), "none"); // intentional
    EXPECT_EQ(query_field.is_saved, 0);
    EXPECT_EQ(search_state.results_dirty, 1);
}

TEST(SaveButton, OfASavedTextChangesNothing) {
    Fields fields;
    set_field(query, "one");
    set_entries(query, {"one", "(two)"});
    fields.focus(query);
    query_field.is_saved = 1;
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "one|(two)");
    EXPECT_EQ(fields.file("saved_queries.txt"), "none");
    EXPECT_TRUE(fields.layout.click_consumed);
}

TEST(SaveButton, OfASavedTextThatARemovedEntryEqualsWritesTheFile) {
    Fields fields;
    set_field(query, "one");
    set_entries(query, {"one", "(one)"});
    fields.focus(query);
    query_field.is_saved = 1;
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "one|(one)");
    EXPECT_EQ(fields.file("saved_queries.txt"), "one\r\none");
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(SaveButton, DeletesTheFirstOf21RemovedEntriesForGood) {
    Fields fields;
    std::vector<std::string> entries = {"live"};
    std::string rest;
    for (int i = 1; i <= 21; i++) {
        entries.push_back("(r" + std::to_string(i) + ")");
        rest += i > 1 ? "|(r" + std::to_string(i) + ")" : "";
    }
    set_entries(query, entries);
    set_field(query, "new");
    fields.focus(query);
    fields.click(query, on_save);
    EXPECT_EQ(entries_of(query_field.entries), "live" + rest + "|new");

    set_field(query, "newer");
    query_field.is_saved = 0;
    fields.click(query, on_save); // 20 removed entries stay
    EXPECT_EQ(entries_of(query_field.entries), "live" + rest + "|new|newer");
}

TEST(SaveButton, CleansAPathAndKeepsItsCaretsInside) {
    Fields fields;
    set_field(path, " \"C:\\src\\\" ");
    fields.focus(path, 0, 11);
    fields.click(path, on_save);
    EXPECT_EQ(text_of(*path), "C:/src/");
    EXPECT_EQ(entries_of(path_field.entries), "C:/src/");
    EXPECT_EQ(fields.file("saved_paths.txt"), "C:/src/\r\nC:/src/");
    EXPECT_EQ(carets(), "{0,7}");
    EXPECT_EQ(path_field.is_saved, 1);
}

TEST(SaveButton, ShowsTheCleanedPathAndItsCaretsInTheFrameOfTheClick) {
    Fields fields;
    set_field(path, " \"C:\\src\\\" ");
    fields.complete("gadgets");
    fields.focus(path, 0, 11);
    fields.click(path, on_save);
    Drawing expected;
    expected.fill(row, focused_ground);
    expected.text(6, white(255), "Path: ");
    expected.text(text_x, white(255), "C:/src/");
    put_box(&expected, text_x, text_x + 42);
    expected.text(text_x + 42, tail_grey, "gadgets");
    expected.fill(save_button, light_grey); // its mark shows in the next frame
    expected.fill({6, 19, 420, 1}, grey);
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

TEST(SaveButton, OfAPathLeavesTheOtherFieldsCarets) {
    Fields fields;
    set_field(path, "C:/src   ");
    set_field(query, "0123456789");
    fields.focus(query, 8, 10);
    fields.click(path, on_save);
    EXPECT_EQ(text_of(*path), "C:/src");
    EXPECT_EQ(carets(), "{8,10}");
}

TEST(SaveButton, OfSrcCleansAFocusedPathAndKeepsItsCaretsInside) {
    Fields fields;
    set_field(path, "C:/src    "); // as restored from the last run
    set_field(query, "needle");
    fields.focus(path, 0, 10);
    fields.click(query, on_save);
    EXPECT_EQ(text_of(*path), "C:/src"); // by the mark update
    EXPECT_EQ(carets(), "{0,6}");
}

TEST(SaveButton, IsHoveredToBeforeItsEnd) {
    Fields fields;
    set_field(query, "a");
    for (Point beside : {Point{404, 15}, Point{424, 15}, Point{410, 5}, Point{410, 25}}) {
        fields.click(query, beside);
    }
    EXPECT_EQ(entries_of(query_field.entries), "");
    fields.click(query, {405, 6});
    EXPECT_EQ(entries_of(query_field.entries), "a");
}

// ---- The drop-down ----

namespace {

// The expected list below the Path field, with the mouse over one of the entries.
void put_entries(Drawing *drawing, const std::vector<std::string> &entries, int32_t hovered = -1,
                 bool on_button = false) {
    for (int32_t i = 0; i < static_cast<int32_t>(entries.size()); i++) {
        std::string text = entries[static_cast<size_t>(i)];
        bool is_live = text[0] != '(';
        text = is_live ? text : text.substr(1, text.size() - 2);
        drawing->text(25, white(i == hovered ? 255 : 180), text, 27 + 17 * i + 1 + 12);
        bool is_hot = i == hovered && on_button;
        drawing->fill(entry_button(i), is_hot ? (is_live ? red : light_grey) : (is_live ? yellow : grey));
    }
}

// An open drop-down under the Path field.
struct OpenPaths : Fields {
    explicit OpenPaths(const std::vector<std::string> &entries, const std::string &text = "abc") {
        set_field(path, text);
        set_entries(path, entries);
        focus(path, 1, 1);
        input_field.dropdown_open = true;
    }
};

} // namespace

TEST(DropDown, ShowsLiveAndRemovedEntriesInRowsBelowTheField) {
    const std::vector<std::string> entries = {"C:/one", "(C:/two)", "C:/three"};
    OpenPaths fields(entries);
    input_field.caret_list.count = 0;
    fields.draw(path);
    Drawing expected;
    expected.field("Path: ", "abc", 220, grey, true);
    put_entries(&expected, entries);
    EXPECT_EQ(difference(fields.drawing, expected), "");
    EXPECT_EQ(fields.layout.y, 27 + 3 * 17);
    EXPECT_EQ(fields.layout.stop, 1);
}

TEST(DropDown, LightsTheRowAndTheButtonUnderTheMouse) {
    const std::vector<std::string> entries = {"C:/one", "(C:/two)", "C:/three"};
    OpenPaths fields(entries);
    input_field.caret_list.count = 0;
    const struct {
        Point mouse;
        int32_t hovered;
        bool on_button;
    } rows[] = {
        {on_entry(0), 0, false},       {on_entry(2), 2, false}, {on_entry_button(0), 0, true},
        {on_entry_button(1), 1, true}, {{6, 27}, 0, false},     {{425, 43}, 0, false},
        {{6, 44}, 1, false},           {{5, 30}, -1, false},    {{426, 30}, -1, false},
        {{100, 78}, -1, false},        {{8, 29}, 0, true},      {{20, 41}, 0, true},
        {{21, 41}, 0, false},          {{20, 42}, 0, false},
    };
    for (const auto &pointed : rows) {
        fields.draw(path, pointed.mouse);
        Drawing expected;
        expected.field("Path: ", "abc", 220, grey, true);
        put_entries(&expected, entries, pointed.hovered, pointed.on_button);
        EXPECT_EQ(difference(fields.drawing, expected), "") << pointed.mouse.x << ", " << pointed.mouse.y;
    }
}

TEST(DropDown, IsShownOnlyOpenWithEntriesUnderTheFocusedField) {
    OpenPaths fields({"one"});
    set_entries(query, {"two"});
    fields.draw(path);
    EXPECT_EQ(fields.layout.stop, 1);
    fields.draw(query);
    EXPECT_EQ(fields.layout.stop, 0);
    input_field.dropdown_open = false;
    fields.draw(path);
    EXPECT_EQ(fields.layout.stop, 0);
    EXPECT_EQ(fields.layout.y, 27);
    input_field.dropdown_open = true;
    empty_list(&path_field.entries);
    fields.draw(path);
    EXPECT_EQ(fields.layout.stop, 0);
    EXPECT_EQ(fields.layout.y, 27);
}

TEST(DropDown, AButtonFlipsItsEntryAndPrintsItsOldState) {
    OpenPaths fields({"one", "(two)"});
    testing::internal::CaptureStdout();
    fields.click(path, on_entry_button(0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ungav 1\n");
    EXPECT_EQ(entries_of(path_field.entries), "(one)|(two)");
    EXPECT_EQ(fields.file("saved_paths.txt"), "abc");
    ui_release(MOUSE_LEFT, {});

    testing::internal::CaptureStdout();
    fields.click(path, on_entry_button(1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ungav 0\n");
    EXPECT_EQ(entries_of(path_field.entries), "(one)|two");
    EXPECT_EQ(fields.file("saved_paths.txt"), "abc\r\ntwo");
    EXPECT_EQ(text_of(*path), "abc");
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(search_state.results_dirty, 1);
    EXPECT_EQ(search_state.request_pending, 0);
    EXPECT_EQ(carets(), "{1,1}");
    EXPECT_FALSE(ui_went_down(MOUSE_LEFT));
}

TEST(DropDown, AButtonUpdatesTheMarkWhichCleansThePath) {
    OpenPaths fields({"one"}, "one ");
    fields.focus(path, 4, 4);
    testing::internal::CaptureStdout();
    fields.click(path, on_entry_button(0));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(fields.file("saved_paths.txt"), "one "); // written before
    EXPECT_EQ(path_field.is_saved, 0);
    EXPECT_EQ(text_of(*path), "one");
    EXPECT_EQ(carets(), "{3,3}");
    testing::internal::CaptureStdout();
    fields.click(path, on_entry_button(0));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(path_field.is_saved, 1);
}

TEST(DropDown, APickedRowBecomesTheTextAndIsSearchedFor) {
    OpenPaths fields({"C:/one", "(C:/two)"});
    put_a_hit();
    fields.click(path, on_entry(1)); // a removed entry, which stays removed
    EXPECT_EQ(text_of(*path), "C:/two");
    EXPECT_EQ(entries_of(path_field.entries), "C:/one|(C:/two)");
    EXPECT_FALSE(input_field.dropdown_open);
    EXPECT_TRUE(is_published());
    EXPECT_EQ(fields.file("saved_paths.txt"), "C:/two\r\nC:/one");
    EXPECT_EQ(carets(), "{0,6}");
    EXPECT_EQ(path_field.is_saved, 0);
    EXPECT_EQ(fields.layout.stop, 1); // nothing below the list is drawn in this frame
    EXPECT_EQ(fields.layout.y, 27 + 2 * 17);

    input_field.dropdown_open = true;
    fields.click(path, on_entry(0));
    EXPECT_EQ(text_of(*path), "C:/one");
    EXPECT_EQ(path_field.is_saved, 1);
}

TEST(DropDown, APickIsSearchedForBeforeTheFileIsWritten) {
    OpenPaths fields({"C:/one"});
    put_a_hit();
    bool was_published = false;
    {
        HeapHookScope hook([&was_published](uint64_t size) { // the buffer for the file's bytes
            was_published |= size == 16384 + 1 && is_published();
            return true;
        });
        fields.click(path, on_entry(0));
    }
    EXPECT_TRUE(was_published);
    EXPECT_EQ(fields.file("saved_paths.txt"), "C:/one\r\nC:/one");
}

#ifndef _WIN32
TEST(DropDown, APickedPathIsCleanBeforeItIsSearchedFor) {
    static OpenPaths *open;
    static constexpr Point at_left = {24, on_entry(0).y};
    OpenPaths fields({"C:/one/"});
    fields.drawing.framebuffer.width = 26;                 // each pixel's instructions are stepped through
    saved_entry_at(&path_field.entries, 0)->text[6] = ' '; // as a file's last line may end
    open = &fields;
    fields.draw(path, at_left); // makes the glyphs
    EXPECT_EQ(states_while([] { open->click(path, at_left); }, 1,
                           [] {
                               bool is_wanted = search_state.request_pending;
                               return each_step::State{
                                   {is_wanted ? static_cast<int64_t>(path->text->count) : -1}};
                           }),
              "-1\n"
              "6\n");
}
#endif

TEST(DropDown, APickGrowsTheTextsStorageByDoubling) {
    std::string entry = "C:/" + std::string(3000, 'x');
    OpenPaths fields({entry});
    EXPECT_EQ(path->text->capacity, 1024u);
    fields.click(path, on_entry(0));
    EXPECT_EQ(text_of(*path), entry);
    EXPECT_EQ(path->text->capacity, 4096u);
    EXPECT_EQ(carets(), "{0,3003}");
}

TEST(DropDown, OutOfMemoryForAPickTheTextStaysAndIsSearchedForAgain) {
    OpenPaths fields({std::string(3000, 'x')});
    put_a_hit();
    fields.draw(path, on_entry(0)); // makes the glyphs
    {
        HeapHookScope hook([](uint64_t size) { return size != 4097; });
        fields.click(path, on_entry(0));
    }
    EXPECT_EQ(text_of(*path), "abc");
    EXPECT_EQ(path->text->capacity, 1024u);
    EXPECT_FALSE(input_field.dropdown_open);
    EXPECT_TRUE(is_published());
    EXPECT_EQ(carets(), "{0,3}");
}

TEST(DropDown, ARightClickOnARowOrItsButtonDoesNothing) {
    OpenPaths fields({"one"});
    fields.click(path, on_entry(0), MOUSE_RIGHT);
    fields.click(path, on_entry_button(0), MOUSE_RIGHT);
    EXPECT_EQ(text_of(*path), "abc");
    EXPECT_EQ(entries_of(path_field.entries), "one");
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(fields.file("saved_paths.txt"), "none");
}

TEST(DropDown, AClickOnTheFieldAboveClosesItInTheNextFrame) {
    for (uint16_t button : {MOUSE_LEFT, MOUSE_RIGHT}) {
        OpenPaths fields({"one"});
        fields.click(path, on_row, button);
        EXPECT_EQ(fields.layout.stop, 1);
        EXPECT_FALSE(input_field.dropdown_open);
        EXPECT_EQ(input_field.focused_field, path);
        ui_begin_frame();
        fields.draw(path, on_row);
        EXPECT_EQ(fields.layout.stop, 0);
    }
}

TEST(DropDown, ARightClickOnSrcOpensItsOwn) {
    Fields fields;
    set_field(query, "needle");
    set_entries(query, {"hay", "needle"});
    fields.focus(path);
    fields.click(query, on_row, MOUSE_RIGHT);
    EXPECT_EQ(fields.layout.stop, 0);
    ui_begin_frame();
    fields.draw(query, on_row);
    EXPECT_EQ(fields.layout.stop, 1);
    fields.click(query, on_entry(0));
    EXPECT_EQ(text_of(*query), "hay");
    EXPECT_EQ(fields.file("saved_queries.txt"), "hay\r\nhay\r\nneedle");
    EXPECT_EQ(fields.file("saved_paths.txt"), "none");
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(DropDown, RowsBelowTheWindowsEdgeAreNeitherDrawnNorClicked) {
    std::vector<std::string> entries(50, "entry");
    OpenPaths fields(entries);
    fields.click(path, on_entry(5)); // the last one, partly visible
    EXPECT_EQ(text_of(*path), "entry");
    EXPECT_EQ(fields.layout.y, 27 + 6 * 17);

    set_field(path, "abc");
    input_field.dropdown_open = true;
    for (Point below : {on_entry(6), on_entry_button(6), on_entry(40)}) {
        fields.click(path, below);
    }
    EXPECT_EQ(text_of(*path), "abc");
    EXPECT_TRUE(input_field.dropdown_open);
}

TEST(DropDown, AnEntryOfSeveralLinesStaysInItsRow) {
    OpenPaths fields({"a gjl", "z"});
    saved_entry_at(&path_field.entries, 0)->text[1] = '\n'; // as in a pasted and saved entry
    input_field.caret_list.count = 0;
    fields.draw(path);
    Drawing expected;
    expected.field("Path: ", "abc", 220, grey, true);
    put_entries(&expected, {"a", "z"});
    EXPECT_EQ(difference(fields.drawing, expected), "");
}

TEST(DropDown, AnEntryWithoutBytesIsAnEmptyRow) {
    OpenPaths fields({"x"});
    SavedEntry *entry = saved_entry_at(&path_field.entries, 0);
    char *text = entry->text;
    *entry = {1, 0, nullptr, 0}; // out of memory for its text
    fields.click(path, on_entry(0));
    EXPECT_EQ(text_of(*path), "");
    EXPECT_EQ(carets(), "{0,0}");
    os_free(text);
}
