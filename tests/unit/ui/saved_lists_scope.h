// The two fields and their saved lists as before start-up, for one test, cleaned up afterwards.
#pragma once

#include <string>
#include <vector>

#include "os/arrays.h"
#include "os/memory.h"
#include "search/search_state.h"
#include "support/test_tree.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"

// A field's text.
inline std::string text_of(const StrBuf &text) {
    return to_string(strbuf_text(&text));
}
inline std::string text_of(const Field &field) {
    return text_of(*field.text);
}

// Makes text the whole of a field; fails the test when there is no memory for it.
inline void set_field(Field *field, const std::string &text) {
    set_field(field->text, text);
}

// A list's entries with '|' between them, removed ones in parentheses.
inline std::string entries_of(const DynArray &list) {
    std::string entries;
    for (uint64_t row = 0; row < list.count; row++) {
        const SavedEntry *entry = saved_entry_at(&list, row);
        std::string text = to_string(saved_entry_text(entry));
        entries += (row > 0 ? "|" : "") + (entry->in_use ? text : "(" + text + ")");
    }
    return entries;
}

// Frees a list's entries.
inline void empty_list(DynArray *list) {
    for (uint64_t row = 0; row < list->count; row++) {
        os_free(saved_entry_at(list, row)->text);
    }
    list->count = 0;
}

// Replaces the field's entries; removed ones are in parentheses.
inline void set_entries(Field *field, const std::vector<std::string> &entries) {
    empty_list(&field->entries);
    std::string file = "\n";
    for (const std::string &entry : entries) {
        file += (entry[0] == '(' ? entry.substr(1, entry.size() - 2) : entry) + "\n";
    }
    saved_list_load_contents(field, str_over(file), 0);
    for (uint64_t row = 0; row < entries.size(); row++) {
        saved_entry_at(&field->entries, row)->in_use = entries[row][0] != '(';
    }
}

// Empty fields and lists, no folder.
class SavedListsScope : SearchScope {
public:
    SavedListsScope() {
        saved_lists_reserve();
    }
    ~SavedListsScope() {
        for (Field *field : {&path_field, &query_field}) {
            empty_list(&field->entries);
            os_free(field->entries.data);
            field->entries = {};
            field->is_saved = field->is_unread = 0;
        }
        saved_folder = {};
    }
    SavedListsScope(const SavedListsScope &) = delete;
    SavedListsScope &operator=(const SavedListsScope &) = delete;
};
