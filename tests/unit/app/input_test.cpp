#include "app/input.h"

#include <gtest/gtest.h>

#include <string>

#include "app/frame_scope.h"
#include "support/heap_hook.h"

namespace {

StrBuf *const path = &search_state.path;
StrBuf *const query = &search_state.query;

void type(uint32_t unit) {
    WindowEvent event = {};
    event.type = EVENT_CHAR;
    event.character.unit = unit;
    input_handle_event(&event);
}

void key(uint16_t code, uint8_t state = KEY_PRESSED) {
    WindowEvent event = {};
    event.type = EVENT_KEY;
    event.key = {code, state};
    input_handle_event(&event);
}

void button(uint16_t which, uint8_t state, Point position = {}) {
    WindowEvent event = {};
    event.type = EVENT_MOUSE_BUTTON;
    event.button = {which, position, state};
    input_handle_event(&event);
}

void pointer(uint8_t type, Point position) {
    WindowEvent event = {};
    event.type = type;
    event.mouse.position = position;
    input_handle_event(&event);
}

void wheel(int32_t direction) {
    PlatformWindow window = {};
    window.client_size = {1000, 600};
    WindowEvent event = {};
    event.type = EVENT_MOUSE_WHEEL;
    event.window = &window;
    event.wheel = {{7, 8}, direction};
    input_handle_event(&event);
}

void focus_event(uint8_t is_gained) {
    WindowEvent event = {};
    event.type = EVENT_FOCUS;
    event.focus.is_gained = is_gained;
    input_handle_event(&event);
}

// Nothing requested, and results that a request would empty.
void settle() {
    results_store.hit_table.count = 0;
    FrameScope::put_hits(2);
    search_state.results_dirty = 0;
    search_state.request_pending = 0;
}

// 1 when a request was published whole, 0 when nothing was; anything else when only parts were.
int published() {
    bool is_empty = results_store.hit_table.count == 0;
    if (is_empty && search_state.results_dirty == 1 && search_state.request_pending == 1) {
        return 1;
    }
    return !is_empty && !search_state.results_dirty && !search_state.request_pending ? 0 : -1;
}

// What the interface's state and the files would show of an event that did something to a text.
struct Seen {
    std::string path, query, carets, paths_file, queries_file;
    int published;
    bool operator==(const Seen &) const = default;
};

Seen see(const FrameScope &scope) {
    return {text_of(*path),
            text_of(*query),
            carets(),
            scope.file("saved_paths.txt"),
            scope.file("saved_queries.txt"),
            published()};
}

} // namespace

// ---- Typing ----

TEST(InputTyping, EditsTheFocusedFieldWritesItsFileAndStartsASearch) {
    FrameScope scope;
    set_entries(path, {"C:/kept", "(removed)"});
    set_entries(query, {"hay"});
    for (StrBuf *field : {path, query}) {
        scope.focus(field, {{0, 0}});
        settle();
        type('a');
        EXPECT_EQ(text_of(*field), "a");
        EXPECT_EQ(carets(), "{1,1}");
        EXPECT_EQ(published(), 1);
        EXPECT_EQ(scope.file("saved_paths.txt"), "a\r\nC:/kept");
        EXPECT_EQ(scope.file("saved_queries.txt"), field == path ? "none" : "a\r\nhay");
    }
}

TEST(InputTyping, RewritesTheFileWithEachCharacter) {
    FrameScope scope;
    scope.focus(path, {{0, 0}});
    for (char c : std::string("C:/co")) {
        type(static_cast<uint8_t>(c));
    }
    EXPECT_EQ(text_of(*path), "C:/co");
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/co");
    key(KEY_BACKSPACE);
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/c");
}

TEST(InputTyping, UpdatesTheFocusedFieldsMark) {
    FrameScope scope;
    set_entries(query, {"ab"});
    scope.focus(query, {{0, 0}});
    type('a');
    EXPECT_EQ(saved_lists.query_saved, 0);
    type('b');
    EXPECT_EQ(saved_lists.query_saved, 1);
    type('c');
    EXPECT_EQ(saved_lists.query_saved, 0);
    key(KEY_BACKSPACE);
    EXPECT_EQ(saved_lists.query_saved, 1);
}

TEST(InputTyping, ABlankAtTheEndOfAPathIsGoneAtOnceAndTheCaretStaysInside) {
    FrameScope scope;
    set_field(path, "C:/Program");
    scope.focus(path, {{10, 10}});
    settle();
    type(' '); // that it cannot be typed is meant
    EXPECT_EQ(text_of(*path), "C:/Program");
    EXPECT_EQ(carets(), "{10,10}");
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/Program");
    type('"');
    key(KEY_BACKSPACE);
    EXPECT_EQ(text_of(*path), "C:/Progra");
    EXPECT_EQ(carets(), "{9,9}");

    // In a query it stays, and so do a backslash and a quote.
    scope.focus(query, {{0, 0}});
    for (char c : std::string("a \\\" ")) {
        type(static_cast<uint8_t>(c));
    }
    EXPECT_EQ(text_of(*query), "a \\\" ");
    EXPECT_EQ(carets(), "{5,5}");
}

TEST(InputTyping, ABackslashInAPathBecomesASlash) {
    FrameScope scope;
    scope.focus(path, {{0, 0}});
    for (char c : std::string("C:\\x\\")) {
        type(static_cast<uint8_t>(c));
    }
    EXPECT_EQ(text_of(*path), "C:/x/");
    EXPECT_EQ(carets(), "{5,5}");
}

TEST(InputTyping, CleaningAPathClampsEveryCaret) {
    FrameScope scope;
    set_field(path, "   C:/a   ");
    scope.focus(path, {{0, 1}, {10, 10}});
    type('x');
    EXPECT_EQ(text_of(*path), "x  C:/a   x");
    set_field(path, "      ");
    scope.focus(path, {{2, 2}, {6, 6}});
    type(' ');
    EXPECT_EQ(text_of(*path), "");
    EXPECT_EQ(carets(), "{0,0}{0,0}");
}

TEST(InputTyping, TabAndLineFeedCharactersAreNone) {
    FrameScope scope;
    set_field(query, "ab");
    scope.focus(query, {{0, 2}});
    settle();
    Seen before = see(scope);
    type('\t');
    type('\n');
    EXPECT_TRUE(see(scope) == before);
    type(13); // the window never sends it
    EXPECT_EQ(text_of(*query), "\r");
}

TEST(InputTyping, EscapesCharacterIsTyped) {
    FrameScope scope;
    set_field(query, "ab");
    scope.focus(query, {{0, 2}});
    settle();
    type(27); // that is meant
    EXPECT_EQ(text_of(*query), "\x1B");
    EXPECT_EQ(published(), 1);
}

TEST(InputTyping, ACharacterOfManyBytesIsTypedWhole) {
    FrameScope scope;
    scope.focus(query, {{0, 0}});
    type(0xE9);
    EXPECT_EQ(text_of(*query), "\xC3\xA9");
    EXPECT_EQ(scope.file("saved_queries.txt"), "\xC3\xA9");
}

TEST(InputTyping, WithoutAFocusedFieldNothingHappens) {
    FrameScope scope;
    set_field(path, "a");
    set_field(query, "b");
    settle();
    Seen before = see(scope);
    type('x');
    key(KEY_BACKSPACE);
    key(KEY_DELETE);
    key(KEY_ENTER);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_TRUE(ui_is_down(KEY_DELETE)); // the keys themselves are known
}

TEST(InputTyping, AKeyThatOnlyMovesTheCaretSearchesForNothing) {
    FrameScope scope;
    set_field(query, "abc");
    scope.focus(query, {{1, 1}});
    settle();
    key(KEY_RIGHT);
    EXPECT_EQ(carets(), "{2,2}");
    key(KEY_END);
    key(KEY_RIGHT, KEY_REPEATED);
    key(KEY_RIGHT, KEY_RELEASED);
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*query), "abc");
    EXPECT_EQ(published(), 0);
    EXPECT_EQ(scope.file("saved_queries.txt"), "none");
}

TEST(InputTyping, ARepeatedBackspaceGoesOnAndItsReleaseDoesNothing) {
    FrameScope scope;
    set_field(query, "abcd");
    scope.focus(query, {{4, 4}});
    key(KEY_BACKSPACE);
    key(KEY_BACKSPACE, KEY_REPEATED);
    settle();
    key(KEY_BACKSPACE, KEY_RELEASED);
    EXPECT_EQ(text_of(*query), "ab");
    EXPECT_EQ(published(), 0);
}

TEST(InputTyping, ABackspaceThatRemovesNothingSearchesAndWritesAllTheSame) {
    FrameScope scope;
    set_entries(query, {"hay"});
    scope.focus(query, {{0, 0}});
    settle();
    key(KEY_BACKSPACE); // that is meant
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_queries.txt"), "\r\nhay");
}

TEST(InputTyping, AFileThatCannotBeWrittenStopsNoSearch) {
    FrameScope scope;
    std::string missing = scope.folder + "missing/";
    saved_lists.folder = str_over(missing);
    scope.focus(query, {{0, 0}});
    settle();
    type('a');
    EXPECT_EQ(text_of(*query), "a");
    EXPECT_EQ(published(), 1);
}

TEST(InputTyping, WithoutMemoryTheTextStaysAndIsSearchedForAgain) {
    FrameScope scope;
    set_field(query, std::string(1024, 'x')); // its storage is full
    scope.focus(query, {{1024, 1024}});
    settle();
    {
        HeapHookScope hook([](uint64_t) { return false; });
        type('a');
    }
    EXPECT_EQ(text_of(*query), std::string(1024, 'x'));
    EXPECT_EQ(carets(), "{1024,1024}");
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_queries.txt"), "none");
}

// ---- Keys ----

TEST(InputKeys, ArePressedRepeatedAndReleasedWhereThePointerIs) {
    FrameScope scope;
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    key('K');
    EXPECT_EQ(ui_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_IS_DOWN);
    EXPECT_EQ(ui_state.slots['K'].press_position.x, 30);
    key('K', KEY_REPEATED);
    EXPECT_EQ(ui_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_DOWN_AGAIN | INPUT_IS_DOWN);
    key('K', KEY_RELEASED);
    EXPECT_EQ(ui_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_DOWN_AGAIN | INPUT_WENT_UP);
    EXPECT_EQ(ui_state.slots['K'].release_position.y, 40);
    EXPECT_EQ(ui_state.slots['K'].transitions, 3u);
}

TEST(InputKeys, CodesFrom256OnChangeNoSlotOfTheMouse) {
    FrameScope scope;
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    ui_begin_frame();
    for (uint32_t code = 0x100; code <= 0xFFFF; code++) {
        key(static_cast<uint16_t>(code));
    }
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        ASSERT_EQ(ui_state.slots[slot].transitions, 0u) << slot;
    }
    EXPECT_EQ(ui_pointer_position().x, 30);
    EXPECT_EQ(ui_state.wheel_steps, 0);
    button(MOUSE_LEFT, BUTTON_PRESSED);
    key(MOUSE_LEFT, KEY_RELEASED);
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));
    key(255);
    EXPECT_TRUE(ui_is_down(255));
}

TEST(InputKeys, CtrlIsKnownToTheEditorFromTheSameEvents) {
    FrameScope scope;
    set_field(query, "abc");
    scope.focus(query, {{1, 1}});
    key(KEY_CTRL);
    key(KEY_A);
    EXPECT_EQ(carets(), "{0,3}");
}

TEST(InputFocus, ItsLossReleasesAllThatIsDown) {
    FrameScope scope;
    key(KEY_ALT);
    key(KEY_CTRL);
    button(MOUSE_LEFT, BUTTON_PRESSED, {1, 2});
    ui_begin_frame();
    focus_event(0);
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        ASSERT_FALSE(ui_is_down(slot)) << slot;
    }
    EXPECT_TRUE(ui_state.slots[KEY_ALT].state & INPUT_WENT_UP);
    EXPECT_TRUE(ui_state.slots[MOUSE_LEFT].state & INPUT_WENT_UP);
    EXPECT_FALSE(ui_state.slots[KEY_SHIFT].state & INPUT_WENT_UP);
}

TEST(InputFocus, ItsGainReleasesNothingAndNeitherChangesATextOrTheFocusedField) {
    FrameScope scope;
    set_field(query, "abc");
    scope.focus(query, {{1, 2}});
    settle();
    Seen before = see(scope);
    key(KEY_SHIFT);
    focus_event(1);
    EXPECT_TRUE(ui_is_down(KEY_SHIFT));
    focus_event(0);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_EQ(ui_state.focused_field, query);
}

// ---- The mouse ----

TEST(InputMouse, ADoublePressIsAPress) {
    FrameScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {3, 4});
    button(MOUSE_LEFT, BUTTON_RELEASED, {5, 6});
    ui_begin_frame();
    button(MOUSE_LEFT, BUTTON_DOUBLE_PRESSED, {7, 8});
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));
    const InputSlot &left = ui_state.slots[MOUSE_LEFT];
    EXPECT_EQ(left.press_position.x, 7);
    EXPECT_EQ(left.release_position.y, 6);
    button(MOUSE_LEFT, BUTTON_RELEASED, {9, 9});
    EXPECT_FALSE(ui_is_down(MOUSE_LEFT));
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT)); // a whole click within a frame still counts
}

TEST(InputMouse, EveryButtonHasASlotOfItsOwn) {
    FrameScope scope;
    for (uint16_t which : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
        button(which, BUTTON_PRESSED);
        for (uint16_t other : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
            EXPECT_EQ(ui_is_down(other), other == which);
        }
        button(which, BUTTON_RELEASED);
    }
}

TEST(InputMouse, OnlyMovingMovesThePointer) {
    FrameScope scope;
    EXPECT_EQ(ui_pointer_position().x, 0);
    pointer(EVENT_MOUSE_ENTER, {10, 20}); // that is meant
    EXPECT_EQ(ui_pointer_position().x, 0);
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    pointer(EVENT_MOUSE_LEAVE, {-1, -1}); // that is meant
    button(MOUSE_LEFT, BUTTON_PRESSED, {90, 90});
    wheel(1);
    EXPECT_EQ(ui_pointer_position().x, 30);
    EXPECT_EQ(ui_pointer_position().y, 40);
}

TEST(InputMouse, TheWheelsStepsAddUpWithinAFrame) {
    FrameScope scope;
    wheel(1);
    wheel(1);
    wheel(-1);
    EXPECT_EQ(ui_state.wheel_steps, 1);
    EXPECT_EQ(ui_state.slots[SLOT_WHEEL].press_position.y, 8);
    ui_begin_frame();
    EXPECT_EQ(ui_state.wheel_steps, 0);
}

TEST(InputOther, EventsWithoutAMeaningChangeNothing) {
    FrameScope scope;
    set_field(query, "abc");
    scope.focus(query, {{1, 2}});
    settle();
    Seen before = see(scope);
    for (int type = 0; type <= 255; type++) {
        bool has_meaning = type == EVENT_MOUSE_MOVE || (type >= EVENT_MOUSE_BUTTON && type <= EVENT_CHAR) ||
                           type == EVENT_FOCUS;
        if (!has_meaning) {
            WindowEvent event = {};
            event.type = static_cast<uint8_t>(type);
            event.dropped.names = "C:/dropped\0";
            input_handle_event(&event);
        }
    }
    EXPECT_TRUE(see(scope) == before);
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        ASSERT_EQ(ui_state.slots[slot].transitions, 0u) << slot;
    }
}
