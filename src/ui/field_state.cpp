#include "ui/field_state.h"

#include "search/search_state.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"

Field path_field = {
    .text = &search_state.path,
    .is_path = true,
    .file_stem = "saved_paths",
    .entries = {},
    .is_saved = false,
    .is_unread = false,
};

Field query_field = {
    .text = &search_state.query,
    .is_path = false,
    .file_stem = "saved_queries",
    .entries = {},
    .is_saved = false,
    .is_unread = false,
};

InputField input_field;

void field_changed(Field *field) {
    saved_mark_update(field);
    saved_list_write(field);
    publish_request();
}
