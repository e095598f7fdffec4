// The saved entries of a field, which its drop-down shows, and the mark that tells whether its text is one of
// them. Interface thread only.
//
// How to use it: reserve the lists and load both (saved_files.h). From then on, call field_changed
// (field_state.h) after each change of the focused field's text by a key.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/arrays.h"
#include "os/strings.h"
#include "ui/field_state.h"

struct SavedEntry {
    uint64_t in_use;   // 1: live; 0: removed: keeps its slot and is shown, but is not written
    uint64_t length;   // bytes of text
    char *text;        // owned, zero-terminated; null, with length and capacity 0, when out of memory
    uint64_t capacity; // bytes of text's storage, less one
};

inline constexpr uint64_t reserved_entries = 128; // in each list

// Reserves both lists. One without memory has capacity 0: it takes no entries, and its file
// is left as it is.
void saved_lists_reserve();

// The entry at that row; valid until an entry is added or deleted.
SavedEntry *saved_entry_at(const DynArray *list, uint64_t row);

// Its text, in the entry's own storage.
Str saved_entry_text(const SavedEntry *entry);

enum SavedEntryState : uint8_t {
    SAVED_REMOVED = 0,
    SAVED_LIVE = 1,
    SAVED_ANY,
};

// The first entry with the same bytes in the wanted state; null when there is none.
SavedEntry *saved_list_find(const DynArray *list, Str text, SavedEntryState wanted);

// Appends a live entry with a copy of text; an empty entry when out of memory for the copy.
void saved_list_add(DynArray *list, Str text);

// Updates whether the focused field's text is saved. A path is cleaned in place first, trailing slashes kept,
// and its carets stay inside it. Does nothing for a null pointer.
void saved_mark_update(Field *focused);

// What a field's save button does, after cleaning a path as the mark update does. A text that is not marked
// as saved is appended to the list, unless it is empty; when an entry has the same text already, that entry
// becomes live instead, and intentionally nothing else happens. A marked text changes no entry, and nothing
// else happens unless a removed entry has the same text. Then writes the file and updates the focused field's
// mark. Starts no search, even when cleaning has changed the path.
void saved_list_save(Field *field, Field *focused);

// Makes a live entry of the focused field a removed one, or the other way round; then writes the file and
// updates the mark. Does nothing for a row that does not exist.
void saved_entry_flip(Field *field, uint64_t row);

static_assert(sizeof(SavedEntry) == 32 && offsetof(SavedEntry, length) == 8 &&
              offsetof(SavedEntry, text) == 16 && offsetof(SavedEntry, capacity) == 24);
