#include "app/startup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/program_scope.h"
#include "render/font_scope.h"
#include "search/results_store.h"
#include "support/heap_hook.h"
#include "support/ui_scope.h"

namespace {

const std::vector<uint64_t> all_capacities = {1024, 1024, 10000, 100000, 128, 128, 128, 128, 16};

std::vector<uint64_t> capacities() {
    return {search_state.path.capacity,
            search_state.query.capacity,
            results_store.file_table.capacity,
            results_store.hit_table.capacity,
            path_field.entries.capacity,
            query_field.entries.capacity,
            results_store.matching_folders.capacity,
            results_store.other_folders.capacity,
            ui_focus.caret_list.capacity};
}

// The program's folder: settings, default font, both lists.
class ProgramFolder {
public:
    explicit ProgramFolder(const std::string &settings_file) {
        std::string font_path = default_font_path();
        tree.file("source_code_pro.otf",
                  bytes_of(std::filesystem::path(std::u8string(font_path.begin(), font_path.end()))));
        tree.file("settings.txt", settings_file);
        tree.file("saved_paths.txt", "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
        tree.file("saved_queries.txt", "foo\r\nbar\r\nbaz");
        folder = tree.path() + "/";
    }

    // The fields and lists after start-up.
    std::string after(const std::string &command_line) const {
        startup_load(str_over(folder), str_over(command_line));
        return text_of(search_state.path) + ": " + entries_of(path_field.entries) + "; " +
               text_of(search_state.query) + ": " + entries_of(query_field.entries);
    }

    TestTree tree;
    std::string folder;
};

} // namespace

TEST(StartupBuffers, HaveTheirCapacitiesAndEmptyTexts) {
    LeakScope unused_texts_stay;
    startup_reserve_buffers();
    EXPECT_EQ(capacities(), all_capacities);
    for (const StrBuf *text : {&search_state.path, &search_state.query}) {
        EXPECT_EQ(text->count, 0u);
        EXPECT_EQ(text->data[0], 0);
    }
    free_buffers();
}

TEST(StartupBuffers, OneWithoutMemoryHasCapacityZeroAndTheOthersAreThere) {
    LeakScope unused_texts_stay;
    size_t lost = 0;
    for (uint64_t failing = 0, count = 0; failing <= count; failing++) {
        {
            FailingAllocation allocations(failing);
            startup_reserve_buffers();
            count = allocations.sizes.size();
        }
        std::vector<uint64_t> expected = all_capacities;
        if (lost < expected.size() && capacities()[lost] == 0) { // not so for the texts that nothing uses
            expected[lost++] = 0;
        }
        EXPECT_EQ(capacities(), expected);
        free_buffers();
    }
    EXPECT_EQ(lost, all_capacities.size());
}

TEST(Startup, ReadsSettingsFontAndBothLists) {
    AppScope app;
    ProgramFolder program("font_size 20\nmax_file_size 5K\n");
    EXPECT_EQ(program.after("tarnwick.exe"), "C:/src: D:/a/b/|E:/x; foo: bar|baz");
    EXPECT_EQ(settings.font_size, 20);
    EXPECT_EQ(search_state.max_file_size, 5000);
    EXPECT_GT(font.sizes.capacity, 0u);
    EXPECT_EQ(to_string(saved_folder), program.folder);
}

TEST(Startup, TheCommandLineReplacesTheRememberedTexts) {
    AppScope app;
    ProgramFolder program("");
    EXPECT_EQ(program.after("\"C:\\tarnwick.exe\" \"D:\\code\" -needle text"),
              "D:/code: D:/a/b/|E:/x; needle text: bar|baz");
}

TEST(Startup, TheTextsAreRestoredOnlyWhereTheSettingsSaySo) {
    for (const auto &[file, state] : std::vector<std::pair<std::string, std::string>>{
             {"remember_last_path no", ": D:/a/b/|E:/x; foo: bar|baz"},
             {"remember_last_query no", "C:/src: D:/a/b/|E:/x; : bar|baz"},
             {"remember_last_path 0\nremember_last_query 0", ": D:/a/b/|E:/x; : bar|baz"}}) {
        AppScope app;
        ProgramFolder program(file);
        EXPECT_EQ(program.after("x.exe"), state);
    }
}

TEST(Startup, WritesNothingAndMarksNothing) {
    AppScope app;
    ProgramFolder program("");
    program.after("x.exe \"D:/a/b/\" -bar");
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
    program.after("x.exe \"D:/a/b/\" -bar");
    startup_focus();
    EXPECT_EQ(ui_focus.field, &query_field);
    ASSERT_EQ(ui_focus.caret_list.count, 1u);
    EXPECT_EQ(editor_carets()[0].anchor, 0);
    EXPECT_EQ(editor_carets()[0].caret, 3);
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(path_field.is_saved, 0); // although the path is saved: only the focused field is marked
}

TEST(Startup, AListWithoutMemoryTakesNoEntriesAndKeepsItsFile) {
    AppScope app;
    ProgramFolder program("");
    os_free(path_field.entries.data);
    path_field.entries = {};
    EXPECT_EQ(program.after("x.exe"), "C:/src: ; foo: bar|baz");
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
            program.after("x.exe -needle");
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
