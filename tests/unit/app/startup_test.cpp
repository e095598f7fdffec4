#include "app/startup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/frame.h"
#include "app/program_scope.h"
#include "search/results_store.h"
#include "support/headless_window.h"
#include "support/heap_hook.h"
#include "support/ui_scope.h"

namespace {

// The fields and lists after start-up.
std::string after(const ProgramFolder &program, const std::string &command_line) {
    startup_load(str_over(program.folder), str_over(command_line));
    return text_of(search_state.path) + ": " + entries_of(path_field.entries) + "; " +
           text_of(search_state.query) + ": " + entries_of(query_field.entries);
}

void set_monitor(Rect work_area, uint32_t refresh_rate) {
    HeadlessMonitor monitor = {true, work_area, {0, 0, 1280, 1024}, {1280, 1024}, refresh_rate, "screen"};
    headless_set_monitors(&monitor, 1);
}

} // namespace

TEST(StartupWindow, Is1000WideAndNineTenthsOfTheWorkAreaHigh) {
    ProgramScope scope;
    set_monitor({40, 9, 1201, 1015}, 144);
    PlatformWindow *window = scope.window = startup_open_window();
    set_monitor({0, 0, 1280, 1024}, 60);
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(headless_view(window)->is_visible);
    EXPECT_EQ(window->client_size.width, 1000);
    EXPECT_EQ(window->client_size.height, 913); // 913.5
    EXPECT_EQ(window->framebuffer.width, 1000);
    EXPECT_EQ(window->window_position.x, 600 - window->window_size.width / 2);
    EXPECT_EQ(window->window_position.y, 507 - window->window_size.height / 2);
    EXPECT_EQ(frame_clock.target_us, frame_time_us(144));
}

TEST(StartupWindow, IsCentredWhileItIsHiddenAndDeliversNoEventsUntilItIsShown) {
    ProgramScope scope;
    static std::vector<bool> visible_when_moved;
    os_set_event_callback([](const WindowEvent *event) { // until the program sets its own
        if (event->type == EVENT_WINDOW_MOVED) {
            visible_when_moved.push_back(headless_view(event->window)->is_visible);
        }
    });
    scope.window = startup_open_window();
    EXPECT_EQ(visible_when_moved, (std::vector<bool>{false, true})); // when centred, when shown
}

TEST(StartupWindow, ThereIsNoneWithoutAMonitorOrWhenItCannotBeCreated) {
    headless_set_monitors(nullptr, 0);
    EXPECT_EQ(startup_open_window(), nullptr);
    set_monitor({0, 0, 1280, 1024}, 60);
    headless_refuse_next_window();
    EXPECT_EQ(startup_open_window(), nullptr);
}

TEST(StartupBuffers, HaveTheirCapacitiesAndEmptyTexts) {
    LeakScope unused_texts_stay;
    startup_reserve_buffers();
    EXPECT_EQ(search_state.path.capacity, 1024u);
    EXPECT_EQ(search_state.query.capacity, 1024u);
    EXPECT_EQ(results_store.file_table.capacity, 10000u);
    EXPECT_EQ(results_store.hit_table.capacity, 100000u);
    EXPECT_EQ(path_field.entries.capacity, 128u);
    EXPECT_EQ(query_field.entries.capacity, 128u);
    EXPECT_EQ(results_store.matching_folders.capacity, 128u);
    EXPECT_EQ(results_store.other_folders.capacity, 128u);
    EXPECT_EQ(input_field.caret_list.capacity, 16u);
    for (const StrBuf *text : {&search_state.path, &search_state.query}) {
        EXPECT_EQ(text->count, 0u);
        EXPECT_EQ(text->data[0], 0);
    }
    free_buffers();
}

TEST(Startup, ReadsSettingsFontAndBothLists) {
    AppScope app;
    ProgramFolder program("font_size 20\nmax_file_size 5K\n");
    EXPECT_EQ(after(program, "tarnwick.exe"), "C:/src: D:/a/b/|E:/x; foo: bar|baz");
    EXPECT_EQ(settings.font_size, 20);
    EXPECT_EQ(search_state.max_file_size, 5000);
    EXPECT_GT(font.sizes.capacity, 0u);
    EXPECT_EQ(to_string(saved_folder), program.folder);
}

TEST(Startup, TheCommandLineReplacesTheRememberedTexts) {
    AppScope app;
    ProgramFolder program("");
    EXPECT_EQ(after(program, "\"C:\\tarnwick.exe\" \"D:\\code\" -needle text"),
              "D:/code: D:/a/b/|E:/x; needle text: bar|baz");
}

TEST(Startup, TheTextsAreRestoredOnlyWhereTheSettingsSaySo) {
    for (const auto &[file, state] : std::vector<std::pair<std::string, std::string>>{
             {"remember_last_path no", ": D:/a/b/|E:/x; foo: bar|baz"},
             {"remember_last_query no", "C:/src: D:/a/b/|E:/x; : bar|baz"},
             {"remember_last_path 0\nremember_last_query 0", ": D:/a/b/|E:/x; : bar|baz"}}) {
        AppScope app;
        ProgramFolder program(file);
        EXPECT_EQ(after(program, "x.exe"), state);
    }
}

TEST(Startup, WritesNothingAndMarksNothing) {
    AppScope app;
    ProgramFolder program("");
    after(program, "x.exe \"D:/a/b/\" -bar");
    EXPECT_EQ(bytes_of(program.tree.native("saved_paths.txt")), "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
    EXPECT_EQ(bytes_of(program.tree.native("saved_queries.txt")), "foo\r\nbar\r\nbaz");
    EXPECT_EQ(path_field.is_saved, 0);
    EXPECT_EQ(query_field.is_saved, 0);
}

TEST(Startup, AnEmptyFolderLeavesEverythingAtItsDefaults) {
    AppScope app;
    TestTree tree;
    std::string folder = tree.path() + "/";
    startup_load(str_over(folder), {});
    EXPECT_EQ(settings.font_size, 14);
    EXPECT_EQ(text_of(search_state.path) + text_of(search_state.query), "");
    EXPECT_EQ(path_field.entries.count + query_field.entries.count, 0u);
    EXPECT_EQ(font.sizes.capacity, 0u);
    EXPECT_TRUE(std::filesystem::is_empty(tree.native("")));
}

TEST(Startup, SaysNothingWhateverItFinds) {
    AppScope app;
    UiScope ui;
    LeakScope fonts_that_failed_stay;
    TestTree tree;
    std::string folder = tree.path() + "/";
    testing::internal::CaptureStdout();
    startup_load(str_over(folder), {}); // no files at all
    tree.file("settings.txt", "font_size x\nfont_file settings.txt\nmax_file_size -\nfont_sized 3\n\xFF\xFE");
    tree.file("source_code_pro.otf", "no font");
    tree.folder("saved_paths.txt"); // can be neither read nor replaced
    tree.file("saved_queries.txt", "\n\xFF\n");
    startup_load(str_over(folder), str_from("x.exe a b"));
    startup_focus();
    saved_list_write(&path_field);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Startup, TheQueryHasTheFocusAndIsSelectedAndMarked) {
    AppScope app;
    UiScope ui;
    ProgramFolder program("");
    after(program, "x.exe \"D:/a/b/\" -bar");
    startup_focus();
    EXPECT_EQ(input_field.focused_field, &query_field);
    ASSERT_EQ(input_field.caret_list.count, 1u);
    EXPECT_EQ(field_carets()[0].anchor, 0);
    EXPECT_EQ(field_carets()[0].caret, 3);
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(path_field.is_saved, 0); // although the path is saved: only the focused field is marked
}

TEST(Startup, AListWithoutMemoryTakesNoEntriesAndKeepsItsFile) {
    AppScope app;
    ProgramFolder program("");
    os_free(path_field.entries.data);
    path_field.entries = {};
    EXPECT_EQ(after(program, "x.exe"), "C:/src: ; foo: bar|baz");
    saved_list_save(&path_field, &path_field);
    saved_list_write(&path_field);
    EXPECT_EQ(path_field.entries.count, 0u);
    EXPECT_EQ(bytes_of(program.tree.native("saved_paths.txt")), "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
}

TEST(Startup, GoesOnWhicheverAllocationFails) {
    ProgramFolder program("font_size 20\n");
    for (uint64_t failing = 0, count = 0; failing <= count; failing++) {
        AppScope app;
        LeakScope fonts_that_failed_stay;
        {
            FailingAllocation allocations(failing);
            after(program, "x.exe -needle");
            count = allocations.sizes.size();
        }
        // One failed allocation loses at most one thing: the settings, the font, a list or an entry's text.
        int lost = (settings.font_size != 20) + (font.sizes.capacity == 0) +
                   (entries_of(path_field.entries) != "D:/a/b/|E:/x") +
                   (entries_of(query_field.entries) != "bar|baz");
        EXPECT_LE(lost, 1) << failing;
        EXPECT_EQ(text_of(search_state.query), "needle");
        EXPECT_EQ(bytes_of(program.tree.native("saved_paths.txt")), "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
    }
}
