// The whole program's state, for one test that starts it.
#pragma once

#include <filesystem>
#include <string>

#include "actions/command_template.h"
#include "app/app_scope.h"
#include "app/input.h"
#include "os/arrays.h"
#include "os/window.h"
#include "render/font_scope.h"
#include "search/results_store.h"
#include "support/test_tree.h"
#include "ui/field_state.h"
#include "ui/input_state.h"

// The program's folder: settings, the default font, both lists.
struct ProgramFolder {
    explicit ProgramFolder(const std::string &settings_file) {
        std::string font_path = default_font_path();
        tree.file("source_code_pro.otf",
                  bytes_of(std::filesystem::path(std::u8string(font_path.begin(), font_path.end()))));
        tree.file("settings.txt", settings_file);
        put_lists();
    }
    void put_lists() const {
        tree.file("saved_paths.txt", "C:\\src\r\nD:\\a\\b\\\r\nE:\\x");
        tree.file("saved_queries.txt", "foo\r\nbar\r\nbaz");
    }

    TestTree tree;
    std::string folder = tree.path() + "/";
};

// Frees the buffers that startup_reserve_buffers makes, except the two texts that nothing uses.
inline void free_buffers() {
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

// Expects nothing to be there, and at its end frees what start-up, the window and a search have made.
struct ProgramScope {
    static inline PlatformWindow *window; // set by the test

    ProgramScope() : first_settings(settings) {}
    ~ProgramScope() {
        os_set_event_callback(nullptr);
        os_set_frame_callback(nullptr, 0);
        if (window) {
            os_window_destroy(window);
            os_free(window);
            window = nullptr;
        }
        empty_list(&path_field.entries);
        empty_list(&query_field.entries);
        free_buffers();
        if (scratch) {
            os_free(scratch->data);
            os_free(scratch);
            scratch = nullptr;
        }
        for (uint64_t i = 0; i < font.sizes.count; i++) {
            SizedFont *sized = reinterpret_cast<SizedFont *>(font.sizes.data) + i;
            os_free(sized->bitmaps.data);
            os_free(sized->glyphs.data);
        }
        AppScope::forget_font();
        free_results_arena();
        os_free(row_text.data);
        row_text = {};
        os_free(input_state.slots);
        input_state = {};
        input_field = {};
        os_file_free(&settings.file);
        settings = first_settings;
        saved_folder = {};
        for (Field *field : {&path_field, &query_field}) {
            field->is_saved = field->is_unread = false;
        }
        search_state.request_pending = 1;
        search_state.results_dirty = 0;
        search_state.interface_pass = 0;
    }
    ProgramScope(const ProgramScope &) = delete;
    ProgramScope &operator=(const ProgramScope &) = delete;

private:
    Settings first_settings;
};
