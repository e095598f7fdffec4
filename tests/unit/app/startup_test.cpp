#include "app/startup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "app/app_scope.h"
#include "render/font_scope.h"
#include "search/results_store.h"
#include "support/heap_hook.h"
#include "support/ui_scope.h"

namespace {

// Frees what startup_reserve_buffers reserves, but for the two texts that nothing uses.
void free_buffers() {
    for (StrBuf *text : {&search_state.path, &search_state.query}) {
        os_free(text->data);
        *text = {};
    }
    for (DynArray *array :
         {&results_store.file_table, &results_store.hit_table, &path_field.entries, &query_field.entries,
          &results_store.matching_folders, &results_store.other_folders, &input_field.caret_list}) {
        os_free(array->data);
        *array = {};
    }
}

// Sizes in bytes, in the order in which they are asked for.
const std::vector<uint64_t> buffer_sizes = {
    1024 + 1,    // the path
    1024 + 1,    // the query
    128 + 1,     // two texts that nothing uses
    128 + 1,     //
    10000 * 32,  // files
    100000 * 40, // hits
    128 * 32,    // saved paths
    128 * 32,    // saved queries
    128 * 16,    // matching folders
    128 * 16,    // other folders
    16 * 8,      // carets
};

// A folder as it lies beside the program: settings, default font, both lists.
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

TEST(StartupBuffers, AreReservedInTheirOrder) {
    LeakScope unused_texts_stay;
    std::vector<uint64_t> sizes;
    {
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return true;
        });
        startup_reserve_buffers();
    }
    EXPECT_EQ(sizes, buffer_sizes);
    for (const StrBuf *text : {&search_state.path, &search_state.query}) {
        EXPECT_EQ(text->count, 0u);
        EXPECT_EQ(text->capacity, 1024u);
        EXPECT_EQ(text->data[0], 0);
    }
    EXPECT_EQ(results_store.file_table.capacity, 10000u);
    EXPECT_EQ(results_store.hit_table.capacity, 100000u);
    for (const DynArray *array : {&path_field.entries, &query_field.entries, &results_store.matching_folders,
                                  &results_store.other_folders}) {
        EXPECT_EQ(array->count, 0u);
        EXPECT_EQ(array->capacity, 128u);
    }
    EXPECT_EQ(input_field.caret_list.capacity, 16u);
    free_buffers();
}

TEST(StartupBuffers, ARefusedOneHasCapacityZeroAndTheOthersAreThere) {
    LeakScope unused_texts_stay;
    for (size_t refused = 0; refused < buffer_sizes.size(); refused++) {
        size_t asked = 0;
        {
            HeapHookScope hook([&](uint64_t) { return asked++ != refused; });
            startup_reserve_buffers();
        }
        EXPECT_EQ(asked, buffer_sizes.size());
        const uint64_t capacities[] = {search_state.path.capacity,
                                       search_state.query.capacity,
                                       128,
                                       128,
                                       results_store.file_table.capacity,
                                       results_store.hit_table.capacity,
                                       path_field.entries.capacity,
                                       query_field.entries.capacity,
                                       results_store.matching_folders.capacity,
                                       results_store.other_folders.capacity,
                                       input_field.caret_list.capacity};
        for (size_t i = 0; i < buffer_sizes.size(); i++) {
            EXPECT_EQ(capacities[i] == 0, i == refused && i != 2 && i != 3) << i;
        }
        free_buffers();
    }
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

TEST(Startup, TheCommandLinePrevailsOverTheRememberedTexts) {
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
    EXPECT_EQ(input_field.focused_field, &query_field);
    ASSERT_EQ(input_field.caret_list.count, 1u);
    EXPECT_EQ(field_carets()[0].anchor, 0);
    EXPECT_EQ(field_carets()[0].caret, 3);
    EXPECT_EQ(query_field.is_saved, 1);
    EXPECT_EQ(path_field.is_saved, 0); // though the path is a saved one: only the focused field is marked
}

TEST(Startup, AListThatWasRefusedTakesNoEntriesAndKeepsItsFile) {
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

TEST(Startup, LoadsThePathsBeforeTheQueries) {
    AppScope app;
    ProgramFolder program("");
    program.tree.file("saved_paths.txt", "\n" + std::string(1000, 'p') + "\n");
    program.tree.file("saved_queries.txt", "\n" + std::string(3000, 'q') + "\n");
    std::vector<uint64_t> entries; // the storage of an entry's text is a power of two and one byte
    {
        HeapHookScope hook([&](uint64_t size) {
            if (size == 1024 + 1 || size == 4096 + 1) {
                entries.push_back(size);
            }
            return true;
        });
        program.after("x.exe");
    }
    EXPECT_EQ(entries, (std::vector<uint64_t>{1025, 4097}));
}

TEST(Startup, WhicheverAllocationIsRefusedItGoesOn) {
    ProgramFolder program("font_size 20\n");
    for (int refused = 0, asked = 0; refused <= asked; refused++) {
        AppScope app;
        LeakScope fonts_that_failed_stay;
        asked = 0;
        {
            HeapHookScope hook([&](uint64_t) { return asked++ != refused; });
            program.after("x.exe -needle");
        }
        // One refusal costs one thing at most: the settings, the font, a list or an entry's text.
        int lost = (settings.font_size != 20) + (font.sizes.capacity == 0) +
                   (entries_of(path_field.entries) != "D:/a/b/|E:/x") +
                   (entries_of(query_field.entries) != "bar|baz");
        EXPECT_LE(lost, 1) << refused;
        EXPECT_EQ(text_of(search_state.query), "needle");
        EXPECT_EQ(bytes_of(program.tree.native("saved_paths.txt")), "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
    }
}
