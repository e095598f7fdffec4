#include "app/startup.h"

#include "app/command_line.h"
#include "app/settings.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/line_editor.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"
#include "ui/ui_state.h"

namespace {

// Allocated but unused; keeps the allocation order.
StrBuf unused_texts[2];

} // namespace

void startup_reserve_buffers() {
    strbuf_init(&search_state.path, 1024);
    strbuf_init(&search_state.query, 1024);
    strbuf_init(&unused_texts[0], 128);
    strbuf_init(&unused_texts[1], 128);
    results_store_reserve_files_and_hits();
    saved_lists_reserve();
    results_store_reserve_folders();
    dynarray_init(&ui_focus.caret_list, sizeof(Caret), 16);
}

void startup_load(Str folder, Str command_line) {
    settings_load(folder);
    saved_folder = folder;
    saved_list_load(&path_field, settings.remember_last_path);
    saved_list_load(&query_field, settings.remember_last_query);
    command_line_apply(command_line);
}

void startup_focus() {
    ui_focus.field = &query_field;
    editor_set_single_caret(0, editor_text_end(query_field.text));
    saved_mark_update(&query_field);
}
