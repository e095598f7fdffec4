// The program's state while its window is open, for one test.
#pragma once

#include <string>
#include <vector>

#include "app/app_scope.h"
#include "os/arrays.h"
#include "os/clock.h"
#include "render/font_scope.h"
#include "search/results_store.h"
#include "support/ui_scope.h"

// As after start-up, with the fallback's sizes, empty fields without focus, and a folder for the lists'
// files.
struct FrameScope : AppScope {
    UiScope ui;
    FontScope the_font;
    TestTree tree;
    std::string folder = tree.path() + "/";

    FrameScope() {
        os_init(); // the clock
        saved_folder = str_over(folder);
        use_sizes(14, 15, 12);
        search_state.request_pending = 0;
        search_state.search_busy = 0;
        ui_begin_frame();
    }
    ~FrameScope() {
        search_state.search_busy = 0;
        search_state.request_pending = 1;
        search_state.interface_pass = 0;
    }

    static void use_sizes(int32_t font_size, int32_t line_height, int32_t text_y_offset) {
        settings.font_size = font_size;
        settings.line_height = line_height;
        settings.text_y_offset = text_y_offset;
    }

    static void focus(Field *field, std::vector<Caret> carets) {
        input_field.focused_field = field;
        input_field.caret_list.count = 0;
        for (const Caret &caret : carets) {
            dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
        }
    }

    static void put_folders(const std::vector<const char *> &matching,
                            const std::vector<const char *> &others) {
        for (const char *name : matching) {
            Str text = str_from(name);
            dynarray_push(&results_store.matching_folders, sizeof(text), &text);
        }
        for (const char *name : others) {
            Str text = str_from(name);
            dynarray_push(&results_store.other_folders, sizeof(text), &text);
        }
    }

    // A file; its hits follow.
    static void put_file(const char *in_folder, const char *name) {
        FileEntry file = {str_from(in_folder), str_from(name)};
        dynarray_push(&results_store.file_table, sizeof(file), &file);
        ResultRecord header = {};
        header.kind = RESULT_FILE_HEADER;
        header.file_index = static_cast<uint32_t>(results_store.file_table.count - 1);
        dynarray_push(&results_store.hit_table, sizeof(header), &header);
    }

    // A hit in the last file.
    static void put_hit(uint32_t line, const char *text, uint32_t column = 1, uint32_t byte_offset = 0) {
        ResultRecord hit = {};
        hit.file_index = static_cast<uint32_t>(results_store.file_table.count - 1);
        hit.line = line;
        hit.column = column;
        hit.byte_offset = byte_offset;
        hit.text = str_from(text);
        dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
    }

    // Hits of a missing file, which show only in the scroll bar.
    static void put_hits(int count) {
        for (int i = 0; i < count; i++) {
            ResultRecord hit = {};
            dynarray_push(&results_store.hit_table, sizeof(hit), &hit);
        }
    }

    // The contents of one of the lists' files; "none" when it is missing.
    std::string file(const std::string &name) const {
        return std::filesystem::exists(tree.native(name)) ? bytes_of(tree.native(name)) : "none";
    }
};
