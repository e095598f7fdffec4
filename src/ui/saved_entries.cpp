#include "ui/saved_entries.h"

#include <algorithm>
#include <bit>

#include <string.h>

#include "os/memory.h"
#include "os/paths.h"
#include "ui/line_editor.h"
#include "ui/saved_files.h"

namespace {

constexpr int64_t removed_entries_kept = 20;

uint64_t entry_capacity(uint64_t length) {
    return std::max(std::bit_ceil(length), uint64_t{8});
}

// Deletes the first removed entry for good when there are more than are kept.
void compact_removed(DynArray *list) {
    SavedEntry *begin = saved_entry_at(list, 0);
    SavedEntry *end = saved_entry_at(list, list->count);
    const auto is_removed = [](const SavedEntry &entry) { return !entry.in_use; };
    if (std::count_if(begin, end, is_removed) > removed_entries_kept) {
        SavedEntry *first = std::find_if(begin, end, is_removed);
        os_free(first->text);
        std::copy(first + 1, end, first);
        list->count = list->count - 1;
    }
}

// Cleans a path in place, its trailing slashes kept.
void clean(Field *field) {
    if (field->is_path) {
        strbuf_clean_path(field->text, true);
        if (field == input_field.focused_field) {
            field_clamp_carets(field);
        }
    }
}

} // namespace

void saved_lists_reserve() {
    dynarray_init(&path_field.entries, sizeof(SavedEntry), reserved_entries);
    dynarray_init(&query_field.entries, sizeof(SavedEntry), reserved_entries);
}

SavedEntry *saved_entry_at(const DynArray *list, uint64_t row) {
    return reinterpret_cast<SavedEntry *>(list->data + row * sizeof(SavedEntry));
}

Str saved_entry_text(const SavedEntry *entry) {
    return {entry->length, entry->text};
}

SavedEntry *saved_list_find(const DynArray *list, Str text, SavedEntryState wanted) {
    for (uint64_t row = 0; row < list->count; row++) {
        SavedEntry *entry = saved_entry_at(list, row);
        if ((wanted == SAVED_ANY || (wanted == SAVED_LIVE) == (entry->in_use != 0)) &&
            str_equal(saved_entry_text(entry), text)) {
            return entry;
        }
    }
    return nullptr;
}

void saved_list_add(DynArray *list, Str text) {
    if (list->capacity == 0) {
        return; // a push onto it would never return
    }
    uint64_t capacity = entry_capacity(text.count);
    char *copy = static_cast<char *>(os_alloc(capacity + 1));
    SavedEntry entry = {1, 0, nullptr, 0}; // out of memory: an empty entry, which is kept and written
    if (copy) {
        memcpy(copy, text.data, text.count);
        copy[text.count] = 0;
        entry = {1, text.count, copy, capacity};
    }
    // A list that cannot grow is empty from then on; its entries' texts stay allocated.
    if (!dynarray_push(list, sizeof(SavedEntry), &entry)) {
        os_free(copy);
    }
}

void saved_mark_update(Field *focused) {
    if (!focused) {
        return;
    }
    clean(focused); // intentionally also of a space or a quote that has just been typed at the end
    focused->is_saved = saved_list_find(&focused->entries, strbuf_text(focused->text), SAVED_LIVE) != nullptr;
}

void saved_list_save(Field *field, Field *focused) {
    clean(field);
    Str text = strbuf_text(field->text);
    if (field->is_saved) {
        if (!saved_list_find(&field->entries, text, SAVED_REMOVED)) {
            return;
        }
    } else {
        if (text.count == 0) {
            return;
        }
        SavedEntry *same = saved_list_find(&field->entries, text, SAVED_ANY);
        if (same) {
            same->in_use = 1; // intentionally neither writes the file nor updates the mark
            return;
        }
        compact_removed(&field->entries);
        saved_list_add(&field->entries, text);
    }
    saved_list_write(field);
    saved_mark_update(focused);
}

void saved_entry_flip(Field *field, uint64_t row) {
    if (row >= field->entries.count) {
        return;
    }
    SavedEntry *entry = saved_entry_at(&field->entries, row);
    entry->in_use = !entry->in_use;
    saved_list_write(field);
    saved_mark_update(field);
}
