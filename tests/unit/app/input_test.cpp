#include "app/input.h"

#include <gtest/gtest.h>

#include <string>

#include "app/frame_scope.h"
#include "os/files.h"
#include "search/worker.h"
#include "support/each_step.h"
#include "support/heap_hook.h"
#include "support/recorded_commands.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

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

void wheel(int32_t direction, int32_t client_height = 600) {
    static PlatformWindow window; // a waiting event still needs it
    window.client_size = {1000, client_height};
    WindowEvent event = {};
    event.type = EVENT_MOUSE_WHEEL;
    event.window = &window;
    event.wheel = {{7, 8}, direction};
    input_handle_event(&event);
}

std::string pointer_position() {
    Point position = ui_pointer_position();
    return std::to_string(position.x) + "," + std::to_string(position.y);
}

void focus_event(uint8_t is_gained) {
    WindowEvent event = {};
    event.type = EVENT_FOCUS;
    event.focus.is_gained = is_gained;
    input_handle_event(&event);
}

// No request, and results that a request would empty.
void settle() {
    results_store.hit_table.count = 0;
    FrameScope::put_hits(2);
    search_state.results_dirty = 0;
    search_state.request_pending = 0;
}

// 1 when a request was published completely, 0 when not at all, -1 when only in parts.
int published() {
    bool is_empty = results_store.hit_table.count == 0;
    if (is_empty && search_state.results_dirty == 1 && search_state.request_pending == 1) {
        return 1;
    }
    return !is_empty && !search_state.results_dirty && !search_state.request_pending ? 0 : -1;
}

// The parts of the state and the files that an event may change.
struct Seen {
    std::string path, query, carets, paths_file, queries_file;
    const Field *focused_field;
    bool dropdown_open, path_saved, query_saved;
    int32_t scroll;
    size_t opened;
    int published;
    bool operator==(const Seen &) const = default;
};

Seen see(const FrameScope &scope) {
    return {text_of(*path),
            text_of(*query),
            carets(),
            scope.file("saved_paths.txt"),
            scope.file("saved_queries.txt"),
            input_field.focused_field,
            input_field.dropdown_open,
            path_field.is_saved,
            query_field.is_saved,
            search_state.results_scroll,
            recorded_opened_paths.size(),
            published()};
}

// A path with a caret in it, and its completions; Enter takes the first.
void put_completions(const std::string &typed, const std::vector<const char *> &names) {
    set_field(path, typed);
    FrameScope::focus(path, {{1, 1}});
    results_store.matching_folders.count = 0;
    FrameScope::put_folders(names, {"other"});
    settle();
}

} // namespace

// ---- Typing ----

TEST(InputTyping, EditsTheFocusedFieldWritesItsFileAndStartsASearch) {
    FrameScope scope;
    set_entries(path, {"C:/kept", "(removed)"});
    set_entries(query, {"hay"});
    for (Field *field : {path, query}) {
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

TEST(InputTyping, WritesTheFileBeforeItAsksForTheSearch) {
    FrameScope scope;
    scope.focus(query, {{0, 0}});
    settle();
    int asked = -1;
    {
        HeapHookScope hook([&asked](uint64_t size) { // the buffer for the file's bytes
            asked = size == 16384 + 1 ? search_state.request_pending : asked;
            return true;
        });
        type('a');
    }
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(published(), 1);
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
    EXPECT_EQ(query_field.is_saved, 0);
    type('b');
    EXPECT_EQ(query_field.is_saved, 1);
    type('c');
    EXPECT_EQ(query_field.is_saved, 0);
    key(KEY_BACKSPACE);
    EXPECT_EQ(query_field.is_saved, 1);
}

TEST(InputTyping, ASpaceAtTheEndOfAPathIsRemovedAtOnceAndTheCaretStaysInside) {
    FrameScope scope;
    set_field(path, "C:/Program");
    scope.focus(path, {{10, 10}});
    settle();
    type(' '); // intentionally cannot be typed
    EXPECT_EQ(text_of(*path), "C:/Program");
    EXPECT_EQ(carets(), "{10,10}");
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/Program");
    type('"');
    key(KEY_BACKSPACE);
    EXPECT_EQ(text_of(*path), "C:/Progra");
    EXPECT_EQ(carets(), "{9,9}");

    // In a query it stays, like a backslash or a quote.
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

TEST(InputTyping, TabAndLineFeedAreNotTyped) {
    FrameScope scope;
    set_field(query, "ab");
    scope.focus(query, {{0, 2}});
    settle();
    Seen before = see(scope);
    type('\t');
    type('\n');
    EXPECT_TRUE(see(scope) == before);
    type(13); // which the window never sends
    EXPECT_EQ(text_of(*query), "\r");
}

TEST(InputTyping, EscapesCharacterIsTyped) {
    FrameScope scope;
    set_field(query, "ab");
    scope.focus(query, {{0, 2}});
    settle();
    type(27); // intentional
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
    EXPECT_TRUE(ui_is_down(KEY_DELETE)); // the key state is updated anyway
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

TEST(InputTyping, ABackspaceThatRemovesNothingSearchesAndWritesAnyway) {
    FrameScope scope;
    set_entries(query, {"hay"});
    scope.focus(query, {{0, 0}});
    settle();
    key(KEY_BACKSPACE); // intentional
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_queries.txt"), "\r\nhay");
}

TEST(InputTyping, AFileThatCannotBeWrittenStopsNoSearch) {
    FrameScope scope;
    std::string missing = scope.folder + "missing/";
    saved_folder = str_over(missing);
    scope.focus(query, {{0, 0}});
    settle();
    type('a');
    EXPECT_EQ(text_of(*query), "a");
    EXPECT_EQ(published(), 1);
}

TEST(InputTyping, OutOfMemoryTheTextStaysAndIsSearchedForAgain) {
    FrameScope scope;
    set_field(query, std::string(1024, 'x')); // the storage is full
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

// ---- Enter ----

TEST(InputEnter, CompletesThePathWithTheFirstFolderAndStartsASearch) {
    FrameScope scope;
    set_entries(path, {"C:/kept"});
    set_entries(query, {"hay"});
    set_field(query, "q");
    put_completions("C:/code/pr", {"project/", "private"});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code/project/");
    EXPECT_EQ(carets(), "{16,16}");
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/code/project/\r\nC:/kept");
    EXPECT_EQ(scope.file("saved_queries.txt"), "none");
    EXPECT_EQ(text_of(*query), "q");
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(path->text->data[path->text->count], 0);
}

TEST(InputEnter, AppendsTheNameVerbatimWithoutASlash) {
    FrameScope scope;
    put_completions("C:/code/pr", {"project"});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code/project");
    EXPECT_EQ(carets(), "{15,15}");
}

TEST(InputEnter, CutsAfterTheLastSlashOnly) {
    FrameScope scope;
    struct Case {
        const char *typed, *completed;
    };
    for (const Case &c : {Case{"C:/code/", "C:/code/name"}, Case{"/x", "/name"}, Case{"/", "/name"},
                          Case{"//a//b", "//a//name"}, Case{"pr", "name"}, Case{"", "name"},
                          Case{"C:/a longer end than the name's", "C:/name"}}) {
        put_completions(c.typed, {"name"});
        key(KEY_ENTER);
        EXPECT_EQ(text_of(*path), c.completed);
        EXPECT_EQ(carets(),
                  "{" + std::to_string(path->text->count) + "," + std::to_string(path->text->count) + "}");
        EXPECT_EQ(path->text->data[path->text->count], 0);
        EXPECT_EQ(published(), 1);
    }
}

TEST(InputEnter, ReplacesManyCaretsByOne) {
    FrameScope scope;
    put_completions("C:/co", {"code"});
    scope.focus(path, {{0, 5}, {2, 2}, {3, 4}});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_EQ(carets(), "{7,7}");
}

TEST(InputEnter, UpdatesThePathsMark) {
    FrameScope scope;
    set_entries(path, {"C:/code"});
    put_completions("C:/co", {"code"});
    key(KEY_ENTER);
    EXPECT_EQ(path_field.is_saved, 1);
    put_completions("C:/co", {"coal"});
    key(KEY_ENTER);
    EXPECT_EQ(path_field.is_saved, 0);
}

TEST(InputEnter, ANameThatCleaningShortensLeavesTheCaretInside) {
    FrameScope scope;
    put_completions("C:/co", {"code  "});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_EQ(carets(), "{7,7}");
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/code");
}

TEST(InputEnter, ANameWithoutBytesLeavesTheFolder) {
    FrameScope scope;
    put_completions("C:/co", {""});
    reinterpret_cast<Str *>(results_store.matching_folders.data)[0] = {}; // out of memory for its text
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/");
    EXPECT_EQ(carets(), "{3,3}");
    EXPECT_EQ(published(), 1);
}

TEST(InputEnter, ANameThatTheWorkerOverwritesMeanwhileIsTheWholeOldOne) {
    FrameScope scope;
    const std::string name(2000, 'n'); // longer than the text's storage
    std::string stored_name = name;
    put_completions("C:/co", {stored_name.c_str()});
    {
        HeapHookScope hook([&](uint64_t) {
            stored_name.assign(name.size(), 'x');
            return true;
        });
        key(KEY_ENTER);
    }
    EXPECT_EQ(text_of(*path), "C:/" + name);
}

#ifndef _WIN32
TEST(InputEnter, ANameOfASearchThatIsOverChangesNothing) {
    FrameScope scope;
    scratch_empty();
    static bool is_over;
    for (bool ends : {true, false}) {
        put_completions("C:/co", {"code"});
        is_over = ends;
        scratch->data[0] = 0;
        states_while([] { key(KEY_ENTER); }, 0,
                     [] {
                         if (is_over && scratch->data[0] == 'c') { // while its name is copied
                             is_over = false;
                             search_state.requests_taken = search_state.requests_taken + 1;
                         }
                         return each_step::State{};
                     });
        EXPECT_FALSE(is_over);
        EXPECT_EQ(text_of(*path), ends ? "C:/co" : "C:/code");
        EXPECT_EQ(published(), ends ? 0 : 1);
    }
}
#endif

TEST(InputEnter, ANameThatDoesNotFitTheScratchArenaChangesNothing) {
    FrameScope scope;
    put_completions("C:/co", {"code"});
    for (uint64_t room : {4u, 5u}) { // the name needs one more for its zero byte
        scratch_empty();
        std::string filler(scratch->capacity - room - 1, 'x');
        scratch_join(str_over(filler), {});
        key(KEY_ENTER);
        EXPECT_EQ(text_of(*path), room == 4 ? "C:/co" : "C:/code");
        EXPECT_EQ(published(), room == 4 ? 0 : 1);
    }
}

TEST(InputEnter, ASecondOneBeforeTheWorkerReactsAppendsFromTheOldList) {
    FrameScope scope;
    put_completions("C:/pr", {"project/"});
    key(KEY_ENTER);
    key(KEY_ENTER); // intentionally completes again
    EXPECT_EQ(text_of(*path), "C:/project/project/");
    EXPECT_EQ(scope.file("saved_paths.txt"), "C:/project/project/");
    put_completions("C:/pr", {"project"});
    key(KEY_ENTER);
    settle();
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/project");
    EXPECT_EQ(published(), 1);
}

TEST(InputEnter, CompletesWithTheWorkersFirstFolderWhichIsThenSearched) {
    FrameScope scope;
    scope.tree.file("project/file", "a needle\n-------");
    scope.tree.folder("other");
    set_field(query, "needle");
    set_field(path, scope.tree.path("pr"));
    publish_request();
    ASSERT_TRUE(search_worker_turn());
    scope.focus(path, {});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), scope.tree.path("project"));
    EXPECT_EQ(search_state.request_pending, 1);
    ASSERT_TRUE(search_worker_turn());
    EXPECT_EQ(stored_rows(scope.tree.path()), "files 1\nfile project/file\nhit 1 3 2 a needle\n");
    settle();
    Seen before = see(scope);
    key(KEY_ENTER); // the list of folders is empty again
    EXPECT_TRUE(see(scope) == before);
}

TEST(InputEnter, DoesNothingInTheQuery) {
    FrameScope scope;
    put_completions("C:/code/pr", {"project/"});
    set_field(query, "a/b");
    scope.focus(query, {{1, 2}});
    Seen before = see(scope);
    key(KEY_ENTER);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_TRUE(ui_went_down(KEY_ENTER));
}

TEST(InputEnter, DoesNothingWithoutMatchingFolders) {
    FrameScope scope;
    put_completions("C:/code/pr", {}); // only other folders
    Seen before = see(scope);
    key(KEY_ENTER);
    EXPECT_TRUE(see(scope) == before);
}

TEST(InputEnter, DoesNothingWithoutAFocus) {
    FrameScope scope;
    put_completions("C:/code/pr", {"project/"});
    input_field.focused_field = nullptr;
    Seen before = see(scope);
    key(KEY_ENTER);
    EXPECT_TRUE(see(scope) == before);
}

TEST(InputEnter, HeldOrReleasedItDoesNothing) {
    FrameScope scope;
    put_completions("C:/code/pr", {"project/"});
    Seen before = see(scope);
    for (uint8_t state : {KEY_REPEATED, KEY_RELEASED}) {
        key(KEY_ENTER, state);
        EXPECT_TRUE(see(scope) == before);
    }
    EXPECT_EQ(input_state.slots[KEY_ENTER].transitions, 2u);
}

TEST(InputEnter, OutOfMemoryForTheTextNothingChanges) {
    FrameScope scope;
    set_entries(path, {"C:/kept"});
    std::string name(1022, 'n');
    put_completions("C:/co", {name.c_str()}); // one byte more than fits
    Seen before = see(scope);
    int asked = 0;
    {
        HeapHookScope hook(
            [&asked](uint64_t size) { // only the text's new storage fails, not the file's bytes
                asked += size == 2049;
                return size != 2049;
            });
        key(KEY_ENTER);
    }
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_EQ(path->text->capacity, 1024u);
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/" + name);
    EXPECT_EQ(carets(), "{1025,1025}");
    EXPECT_EQ(published(), 1);
}

TEST(InputEnter, ACompletionThatJustFitsNeedsNoMemory) {
    FrameScope scope;
    std::string name(1021, 'n');
    put_completions("C:/co", {name.c_str()});
    HeapHookScope hook([](uint64_t size) { return size != 2049; });
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/" + name);
    EXPECT_EQ(published(), 1);
}

TEST(InputEnter, AFileThatCannotBeWrittenStopsNoSearch) {
    FrameScope scope;
    std::string missing = scope.folder + "missing/";
    saved_folder = str_over(missing);
    put_completions("C:/co", {"code"});
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_EQ(published(), 1);
}

TEST(InputEnter, CompletesUnderAnOpenDropDownWhichStaysOpen) {
    FrameScope scope;
    put_completions("C:/co", {"code"});
    input_field.dropdown_open = true;
    key(KEY_ENTER);
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_TRUE(input_field.dropdown_open);
}

TEST(InputEnter, ShiftAndCtrlMakeNoDifference) {
    FrameScope scope;
    for (uint16_t held : {KEY_SHIFT, KEY_CTRL}) {
        put_completions("C:/co", {"code"});
        key(held);
        key(KEY_ENTER);
        key(held, KEY_RELEASED);
        EXPECT_EQ(text_of(*path), "C:/code");
        EXPECT_EQ(carets(), "{7,7}");
    }
}

// ---- Tab ----

TEST(InputTab, MovesTheFocusToAndFroAndSelectsTheWholeText) {
    FrameScope scope;
    set_field(path, "C:/code");
    set_field(query, "needle");
    scope.focus(query, {{1, 1}, {3, 3}});
    settle();
    Seen expected = see(scope);
    expected.focused_field = path;
    expected.carets = "{0,7}";
    key(KEY_TAB);
    EXPECT_TRUE(see(scope) == expected); // no search and no file
    expected.focused_field = query;
    expected.carets = "{0,6}";
    key(KEY_TAB);
    EXPECT_TRUE(see(scope) == expected);
}

TEST(InputTab, AnEmptyTextGetsACaretAtItsStart) {
    FrameScope scope;
    set_field(path, "C:/code");
    scope.focus(path, {{1, 1}});
    key(KEY_TAB);
    EXPECT_EQ(input_field.focused_field, query);
    EXPECT_EQ(carets(), "{0,0}");
}

TEST(InputTab, LeavesAPathThatIsNotCleanAsItIs) {
    FrameScope scope;
    set_field(path, " C:\\x ");
    set_field(query, "q");
    scope.focus(query, {});
    settle();
    key(KEY_TAB);
    EXPECT_EQ(text_of(*path), " C:\\x ");
    EXPECT_EQ(carets(), "{0,6}");
    EXPECT_EQ(published(), 0);
}

TEST(InputTab, HeldItMovesTheFocusOnce) {
    FrameScope scope;
    set_field(path, "C:/code");
    scope.focus(query, {});
    settle();
    key(KEY_TAB);
    scope.focus(path, {{2, 3}});
    Seen moved = see(scope);
    EXPECT_EQ(moved.focused_field, path);
    for (uint8_t state : {KEY_REPEATED, KEY_REPEATED, KEY_RELEASED}) {
        key(KEY_TAB, state);
        EXPECT_TRUE(see(scope) == moved);
    }
    EXPECT_EQ(input_state.slots[KEY_TAB].transitions, 4u);
}

TEST(InputTab, ItsCharacterIsNotTypedIntoEitherField) {
    FrameScope scope;
    set_field(path, "C:/code");
    set_field(query, "needle");
    scope.focus(query, {{0, 6}});
    settle();
    key(KEY_TAB);
    Seen moved = see(scope);
    type('\t');
    EXPECT_TRUE(see(scope) == moved);
    key(KEY_TAB);
    moved = see(scope);
    type('\t');
    EXPECT_TRUE(see(scope) == moved);
}

TEST(InputTab, WhatIsTypedNextReplacesTheTextOfTheOtherField) {
    FrameScope scope;
    set_field(path, "C:/code");
    set_field(query, "needle");
    scope.focus(path, {{7, 7}});
    settle();
    key(KEY_TAB);
    type('x');
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_EQ(text_of(*query), "x");
    EXPECT_EQ(scope.file("saved_queries.txt"), "x");
    EXPECT_EQ(scope.file("saved_paths.txt"), "none");
}

TEST(InputTab, DoesNothingWithoutAFocus) {
    FrameScope scope;
    set_field(path, "C:/code");
    settle();
    Seen before = see(scope);
    key(KEY_TAB);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_TRUE(ui_went_down(KEY_TAB));
}

TEST(InputTab, AnOpenDropDownBecomesTheOtherFields) {
    FrameScope scope;
    set_field(query, "needle");
    scope.focus(path, {});
    input_field.dropdown_open = true;
    key(KEY_TAB);
    EXPECT_EQ(input_field.focused_field, query);
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(carets(), "{0,6}");
}

TEST(InputTab, ShiftAndCtrlMakeNoDifference) {
    FrameScope scope;
    set_field(query, "needle");
    for (uint16_t held : {KEY_SHIFT, KEY_CTRL}) {
        scope.focus(path, {});
        key(held);
        key(KEY_TAB);
        key(held, KEY_RELEASED);
        EXPECT_EQ(input_field.focused_field, query);
        EXPECT_EQ(carets(), "{0,6}");
    }
}

// ---- Escape ----

TEST(InputEscape, OpensTheProgramsFolderOnceForEachFreshPress) {
    FrameScope scope;
    for (Field *field : {path, query}) {
        recorded_opened_paths.clear();
        recorded_commands.clear();
        set_field(field, "C:/code");
        scope.focus(field, {{1, 3}, {5, 5}});
        settle();
        Seen expected = see(scope);
        key(KEY_ESCAPE);
        expected.opened = 1;
        EXPECT_TRUE(see(scope) == expected); // text, carets and focus unchanged
        for (uint8_t state : {KEY_REPEATED, KEY_REPEATED, KEY_RELEASED}) {
            key(KEY_ESCAPE, state);
            EXPECT_TRUE(see(scope) == expected);
        }
        key(KEY_ESCAPE);
        ASSERT_EQ(recorded_opened_paths.size(), 2u);
        EXPECT_EQ(recorded_opened_paths[0], to_string(os_exe_folder()));
        EXPECT_EQ(recorded_opened_paths[1], to_string(os_exe_folder()));
        EXPECT_TRUE(recorded_commands.empty());
    }
    recorded_opened_paths.clear();
}

TEST(InputEscape, ReachesTheEditorToo) {
    FrameScope scope;
    recorded_opened_paths.clear();
    set_field(query, "ab");
    scope.focus(query, {{1, 9}});
    settle();
    key(KEY_ESCAPE);
    EXPECT_EQ(carets(), "{1,2}"); // as the editor does with any key
    EXPECT_EQ(text_of(*query), "ab");
    EXPECT_EQ(published(), 0);
    EXPECT_EQ(recorded_opened_paths.size(), 1u);
    recorded_opened_paths.clear();
}

TEST(InputEscape, OpensNothingWithoutAFocus) {
    FrameScope scope;
    recorded_opened_paths.clear();
    settle();
    Seen before = see(scope);
    key(KEY_ESCAPE);
    type(27);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_TRUE(ui_went_down(KEY_ESCAPE));
    EXPECT_TRUE(recorded_opened_paths.empty());
}

TEST(InputEscape, LeavesAnOpenDropDownOpen) {
    FrameScope scope;
    recorded_opened_paths.clear();
    scope.focus(path, {{0, 0}});
    input_field.dropdown_open = true;
    key(KEY_ESCAPE); // intentional
    EXPECT_TRUE(input_field.dropdown_open);
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(recorded_opened_paths.size(), 1u);
    recorded_opened_paths.clear();
}

TEST(InputEscape, ItsCharacterReplacesTheSelectionAfterItsKeyDidNot) {
    FrameScope scope;
    recorded_opened_paths.clear();
    set_field(path, "C:/code");
    scope.focus(path, {{0, 7}});
    settle();
    key(KEY_ESCAPE);
    EXPECT_EQ(text_of(*path), "C:/code");
    EXPECT_EQ(scope.file("saved_paths.txt"), "none");
    type(27); // sent with the key; intentionally typed
    EXPECT_EQ(text_of(*path), "\x1B");
    EXPECT_EQ(scope.file("saved_paths.txt"), "\x1B");
    EXPECT_EQ(published(), 1);
    EXPECT_EQ(recorded_opened_paths.size(), 1u);
    recorded_opened_paths.clear();
}

TEST(InputBindings, NoOtherCodeOrStateIsOne) {
    FrameScope scope;
    recorded_opened_paths.clear();
    put_completions("C:/code/pr", {"project/"});
    Seen before = see(scope);
    for (uint32_t code : {KEY_ENTER, KEY_TAB, KEY_ESCAPE}) {
        for (uint32_t high = 0x100; high <= 0xFF00; high += 0x100) {
            key(static_cast<uint16_t>(high + code));
        }
        for (uint32_t state = 0; state <= 255; state++) {
            if (state != KEY_PRESSED) {
                key(static_cast<uint16_t>(code), static_cast<uint8_t>(state));
            }
        }
    }
    EXPECT_TRUE(see(scope) == before);
    key(0);
    EXPECT_TRUE(see(scope) == before);
}

// ---- The wheel ----

TEST(InputWheel, ScrollsAFifthOfTheWindowsRowsAStepAndStopsAtTheFirst) {
    FrameScope scope; // rows of 15 pixels
    wheel(1);
    EXPECT_EQ(search_state.results_scroll, 0);
    wheel(-1);
    EXPECT_EQ(search_state.results_scroll, 8);
    wheel(-1);
    EXPECT_EQ(search_state.results_scroll, 16);
    wheel(1);
    EXPECT_EQ(search_state.results_scroll, 8);
    search_state.results_scroll = 7;
    wheel(1);
    EXPECT_EQ(search_state.results_scroll, 0);
}

TEST(InputWheel, TheStepFollowsTheClientHeightOfTheEventsWindow) {
    FrameScope scope;
    struct Case {
        int32_t client_height, step;
    };
    // Just below 8 and 2 rows, and at least one row.
    for (const Case &c : {Case{600, 8}, Case{599, 7}, Case{150, 2}, Case{149, 1}, Case{75, 1}, Case{74, 1},
                          Case{1, 1}, Case{0, 1}, Case{-1, 1}, Case{30000, 400}}) {
        search_state.results_scroll = 1000;
        wheel(-1, c.client_height);
        EXPECT_EQ(search_state.results_scroll, 1000 + c.step) << c.client_height;
        wheel(1, c.client_height);
        EXPECT_EQ(search_state.results_scroll, 1000) << c.client_height;
    }
    scope.use_sizes(32, 60, 30);
    wheel(-1);
    EXPECT_EQ(search_state.results_scroll, 1002);
}

TEST(InputWheel, ScrollsInEveryState) {
    FrameScope scope;
    set_entries(path, {"C:/kept"});
    set_field(path, "C:/code");
    settle(); // two rows, less than a step
    for (Field *field : {static_cast<Field *>(nullptr), path, query}) {
        for (bool is_open : {false, true}) {
            for (Point mouse : {Point{20, 8}, Point{300, 300}, Point{-5000, 9000}}) {
                scope.focus(field, {{1, 3}});
                input_field.dropdown_open = is_open;
                pointer(EVENT_MOUSE_MOVE, mouse);
                search_state.results_scroll = 100;
                Seen expected = see(scope);
                wheel(-1);
                expected.scroll = 108;
                EXPECT_TRUE(see(scope) == expected); // and nothing else, in particular no search
                wheel(1);
                wheel(1);
                EXPECT_EQ(search_state.results_scroll, 92);
            }
        }
    }
}

TEST(InputWheel, ScrollsWithoutResultsAndBeyondTheLastOne) {
    FrameScope scope;
    for (int i = 0; i < 100; i++) {
        wheel(-1); // intentionally without an end
    }
    EXPECT_EQ(search_state.results_scroll, 800);
}

TEST(InputWheel, NeverPassesTheLargestRowNumber) {
    FrameScope scope;
    search_state.results_scroll = INT32_MAX - 3;
    wheel(-1);
    EXPECT_EQ(search_state.results_scroll, INT32_MAX);
    wheel(-1);
    EXPECT_EQ(search_state.results_scroll, INT32_MAX);
    wheel(1);
    EXPECT_EQ(search_state.results_scroll, INT32_MAX - 8);
}

// ---- The first event ----

TEST(InputFirst, EachKeyOrMouseEventMakesTheSlots) {
    FrameScope scope;
    void (*const events[])() = {[] {
                                    pointer(EVENT_MOUSE_MOVE, {3, 4});
                                },
                                [] {
                                    button(MOUSE_LEFT, BUTTON_PRESSED, {3, 4});
                                },
                                [] { wheel(-1); }, [] { key('K'); }};
    const uint16_t slots[] = {SLOT_POINTER, MOUSE_LEFT, SLOT_WHEEL, 'K'};
    for (size_t i = 0; i < std::size(events); i++) {
        UiScope no_slots;
        ASSERT_EQ(input_state.slots, nullptr);
        events[i]();
        ASSERT_NE(input_state.slots, nullptr) << i;
        EXPECT_TRUE(ui_went_down(slots[i])) << i;
    }
}

// ---- Keys ----

TEST(InputKeys, ArePressedRepeatedAndReleasedWhereThePointerIs) {
    FrameScope scope;
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    key('K');
    EXPECT_EQ(input_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_IS_DOWN);
    EXPECT_EQ(input_state.slots['K'].press_position.x, 30);
    key('K', KEY_REPEATED);
    EXPECT_EQ(input_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_DOWN_AGAIN | INPUT_IS_DOWN);
    key('K', KEY_RELEASED);
    EXPECT_EQ(input_state.slots['K'].state, INPUT_WENT_DOWN | INPUT_DOWN_AGAIN | INPUT_WENT_UP);
    EXPECT_EQ(input_state.slots['K'].release_position.y, 40);
    EXPECT_EQ(input_state.slots['K'].transitions, 3u);
}

TEST(InputKeys, CodesFrom256OnChangeNoSlotOfTheMouse) {
    FrameScope scope;
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    ui_begin_frame();
    for (uint32_t code = 0x100; code <= 0xFFFF; code++) {
        key(static_cast<uint16_t>(code));
    }
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        ASSERT_EQ(input_state.slots[slot].transitions, 0u) << slot;
    }
    EXPECT_EQ(ui_pointer_position().x, 30);
    EXPECT_EQ(input_state.wheel_steps, 0);
    button(MOUSE_LEFT, BUTTON_PRESSED);
    input_begin_frame();
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

TEST(InputFocus, ItsLossReleasesEverythingThatIsDown) {
    FrameScope scope;
    key(KEY_ALT);
    key(KEY_CTRL);
    button(MOUSE_LEFT, BUTTON_PRESSED, {1, 2});
    ui_begin_frame();
    focus_event(0);
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        ASSERT_FALSE(ui_is_down(slot)) << slot;
    }
    EXPECT_TRUE(input_state.slots[KEY_ALT].state & INPUT_WENT_UP);
    EXPECT_TRUE(input_state.slots[MOUSE_LEFT].state & INPUT_WENT_UP);
    EXPECT_FALSE(input_state.slots[KEY_SHIFT].state & INPUT_WENT_UP);
}

TEST(InputFocus, ItsGainReleasesNothingAndItsLossChangesNoText) {
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
    EXPECT_EQ(input_field.focused_field, query);
}

TEST(InputFocus, ItsLossMergesTheCaretsAsShiftsReleaseDoes) {
    FrameScope scope;
    set_field(query, "abcdef");
    scope.focus(query, {{0, 2}, {1, 4}});
    focus_event(1);
    EXPECT_EQ(carets(), "{0,2}{1,4}");
    focus_event(0);
    EXPECT_EQ(carets(), "{0,4}");
}

// ---- The mouse ----

TEST(InputMouse, ADoublePressIsAPress) {
    FrameScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {3, 4});
    button(MOUSE_LEFT, BUTTON_RELEASED, {5, 6});
    input_begin_frame();
    button(MOUSE_LEFT, BUTTON_DOUBLE_PRESSED, {7, 8});
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));
    const InputSlot &left = input_state.slots[MOUSE_LEFT];
    EXPECT_EQ(left.press_position.x, 7);
    EXPECT_EQ(left.release_position.y, 6);
}

TEST(InputMouse, EveryButtonHasASlotOfItsOwn) {
    FrameScope scope;
    for (uint16_t which : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
        button(which, BUTTON_PRESSED);
        for (uint16_t other : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
            EXPECT_EQ(ui_is_down(other), other == which);
        }
        input_begin_frame();
        button(which, BUTTON_RELEASED);
    }
}

TEST(InputMouse, MotionsButtonsAndTheWheelMoveThePointer) {
    FrameScope scope;
    EXPECT_EQ(pointer_position(), "0,0");
    pointer(EVENT_MOUSE_ENTER, {10, 20}); // intentionally not on entering or leaving
    EXPECT_EQ(pointer_position(), "0,0");
    pointer(EVENT_MOUSE_MOVE, {30, 40});
    EXPECT_EQ(pointer_position(), "30,40");
    pointer(EVENT_MOUSE_LEAVE, {-1, -1});
    EXPECT_EQ(pointer_position(), "30,40");
    wheel(1);
    EXPECT_EQ(pointer_position(), "7,8");
    button(MOUSE_LEFT, BUTTON_PRESSED, {90, 91});
    EXPECT_EQ(pointer_position(), "90,91");
    input_begin_frame();
    button(MOUSE_LEFT, BUTTON_RELEASED, {50, 51});
    EXPECT_EQ(pointer_position(), "50,51");
}

// ---- Events after a press ----

TEST(InputAfterPress, WaitsForTheNextFrame) {
    FrameScope scope;
    set_field(query, "abc");
    scope.focus(query, {{3, 3}});
    settle();
    button(MOUSE_LEFT, BUTTON_PRESSED, {30, 40});
    Seen before = see(scope);
    pointer(EVENT_MOUSE_MOVE, {50, 60});
    type('d');
    key(KEY_TAB);
    button(MOUSE_LEFT, BUTTON_RELEASED, {70, 80});
    wheel(-1);
    focus_event(0);
    EXPECT_TRUE(see(scope) == before);
    EXPECT_EQ(pointer_position(), "30,40");
    EXPECT_TRUE(ui_is_down(MOUSE_LEFT));

    EXPECT_EQ(input_begin_frame(), 6u);
    EXPECT_EQ(text_of(*query), "abcd"); // the character comes before Tab
    EXPECT_EQ(input_field.focused_field, path);
    EXPECT_EQ(pointer_position(), "7,8");
    EXPECT_FALSE(ui_is_down(MOUSE_LEFT));
    EXPECT_FALSE(ui_is_down(KEY_TAB)); // released with the focus, after it was pressed
    EXPECT_GT(search_state.results_scroll, 0);
    EXPECT_EQ(input_begin_frame(), 0u);
}

TEST(InputAfterPress, WaitsOnlyUntilTheNextPress) {
    FrameScope scope;
    for (int32_t x = 1; x <= 3; x++) {
        button(MOUSE_LEFT, BUTTON_PRESSED, {x, 0});
        button(MOUSE_LEFT, BUTTON_RELEASED, {x, 1});
    }
    pointer(EVENT_MOUSE_MOVE, {4, 4});
    EXPECT_EQ(pointer_position(), "1,0");
    EXPECT_EQ(input_begin_frame(), 2u); // a release and the next press
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT));
    EXPECT_EQ(pointer_position(), "2,0");
    type('x'); // waits after the others
    EXPECT_EQ(input_begin_frame(), 2u);
    EXPECT_EQ(pointer_position(), "3,0");
    EXPECT_EQ(input_begin_frame(), 3u);
    EXPECT_FALSE(ui_went_down(MOUSE_LEFT));
    EXPECT_EQ(pointer_position(), "4,4");
}

TEST(InputAfterPress, AnotherButtonAtTheSamePlaceGoesDownTogetherWithIt) {
    FrameScope scope;
    button(MOUSE_RIGHT, BUTTON_PRESSED, {5, 6});
    button(MOUSE_MIDDLE, BUTTON_PRESSED, {5, 6});
    button(MOUSE_LEFT, BUTTON_PRESSED, {5, 6});
    EXPECT_TRUE(ui_went_down(MOUSE_LEFT) && ui_went_down(MOUSE_MIDDLE) && ui_went_down(MOUSE_RIGHT));
    EXPECT_EQ(input_begin_frame(), 0u);
}

TEST(InputAfterPress, AnotherButtonElsewhereOrLaterWaits) {
    FrameScope scope;
    button(MOUSE_LEFT, BUTTON_PRESSED, {5, 6});
    button(MOUSE_RIGHT, BUTTON_PRESSED, {5, 7});
    button(MOUSE_MIDDLE, BUTTON_PRESSED, {5, 6});
    EXPECT_FALSE(ui_went_down(MOUSE_RIGHT) || ui_went_down(MOUSE_MIDDLE));
    EXPECT_EQ(input_begin_frame(), 1u);
    EXPECT_TRUE(ui_went_down(MOUSE_RIGHT));
    EXPECT_EQ(input_begin_frame(), 1u);
    EXPECT_TRUE(ui_went_down(MOUSE_MIDDLE));
}

TEST(InputAfterPress, IsHandledBeforeTheWindowIsGone) {
    FrameScope scope;
    scope.focus(query, {{0, 0}});
    button(MOUSE_LEFT, BUTTON_PRESSED);
    type('x');
    WindowEvent closed = {};
    closed.type = EVENT_WINDOW_CLOSED;
    input_handle_event(&closed);
    EXPECT_EQ(scope.file("saved_queries.txt"), "x");
}

TEST(InputAfterPress, MoreThanCanWaitIsHandledAtOnceInItsOrder) {
    FrameScope scope;
    scope.focus(query, {{0, 0}});
    saved_folder = {}; // so that no file is written
    button(MOUSE_LEFT, BUTTON_PRESSED);
    std::string typed;
    for (size_t i = 0; i < std::size(input_state.waiting.events); i++) {
        typed += static_cast<char>('a' + i % 26);
        type(static_cast<uint8_t>(typed.back()));
    }
    EXPECT_EQ(text_of(*query), "");
    type('!');
    EXPECT_EQ(text_of(*query), typed + "!");
    type('?');
    EXPECT_EQ(text_of(*query), typed + "!");
    EXPECT_EQ(input_begin_frame(), 1u);
    EXPECT_EQ(text_of(*query), typed + "!?");
}

TEST(InputMouse, TheWheelsStepsAddUpWithinAFrame) {
    FrameScope scope;
    wheel(1);
    wheel(1);
    wheel(-1);
    EXPECT_EQ(input_state.wheel_steps, 1);
    EXPECT_EQ(input_state.slots[SLOT_WHEEL].press_position.y, 8);
    ui_begin_frame();
    EXPECT_EQ(input_state.wheel_steps, 0);
}

TEST(InputOther, OtherEventsChangeNothing) {
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
        ASSERT_EQ(input_state.slots[slot].transitions, 0u) << slot;
    }
}
