// The saved entries of a field, which its drop-down shows, and the mark that tells whether its text is one of
// them. Interface thread only.
//
// How to use it: reserve the lists and load both (saved_files.h). From then on field_changed after each
// change of the focused field's text.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/strings.h"
#include "ui/field.h"

struct SavedEntry {
    uint64_t in_use;   // 1: live; 0: removed, which keeps its slot and is shown, but is not written
    uint64_t length;   // bytes of text
    char *text;        // owned, zero-terminated; null, with length and capacity 0, when memory was out
    uint64_t capacity; // bytes of text's storage, less one
};

// Reserves both lists, 128 entries each. One that gets no memory has capacity 0: it takes no entries, and its
// file is left as it is.
void saved_lists_reserve();

// An entry of a list, by its row; valid until an entry is added.
SavedEntry *saved_entry_at(const DynArray *list, uint64_t row);

// Its text, in the entry's own storage.
Str saved_entry_text(const SavedEntry *entry);

enum SavedEntryState : uint8_t {
    SAVED_REMOVED = 0,
    SAVED_LIVE = 1,
    SAVED_ANY,
};

// The first entry that holds the same bytes and is in the wanted state; null when there is none.
SavedEntry *saved_list_find(const DynArray *list, Str text, SavedEntryState wanted);

// Appends a live entry with a copy of text; without memory for the copy an empty one.
void saved_list_add(DynArray *list, Str text);

// Updates whether the focused field's text is saved. A path is cleaned in place first, trailing slashes kept:
// it may get shorter, so the caller clamps its carets. Nothing happens for a null pointer.
void saved_mark_update(Field *focused);

// What the save button of a field does: adds its text to its list, brings back the removed entry that has the
// same text, or, for a text that is marked as saved, nothing but writing the file once more when a removed
// entry equals it. Cleans a path as the mark update does, updates the focused field's mark (so that field's
// path may get shorter as well) and writes the file. Bringing an entry back does neither; kept.
// Starts no search, also for a path that the cleaning has changed.
void saved_list_save(Field *field, Field *focused);

// Turns a live entry of the focused field into a removed one, or the other way round; writes the file and
// updates the mark. Nothing happens for a row that is not there.
void saved_entry_flip(Field *field, uint64_t row);

static_assert(sizeof(SavedEntry) == 32 && offsetof(SavedEntry, length) == 8 &&
              offsetof(SavedEntry, text) == 16 && offsetof(SavedEntry, capacity) == 24);
