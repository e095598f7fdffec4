// The saved paths and queries: what the drop-down under each of the two fields shows, and the files beside
// the executable that keep them, with the field's last text, from one start to the next.
//
// A field is named by its text: the path or the query of search_state. Interface thread only.
//
// How to use it: set folder, reserve the lists, load both, the paths first. From then on, after each change
// of the focused field's text, saved_lists_update_mark and saved_list_write.
//
// A file is the field's text, then the live entries in their order, with "\r\n" between them and nothing
// else. Line feeds in a text break that, which is meant: what follows them loads as further entries.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/strings.h"

struct SavedEntry {
    uint64_t in_use;   // 1: live; 0: removed, which keeps its slot and is shown, but is not written
    uint64_t length;   // bytes of text
    char *text;        // owned, zero-terminated; null, with length and capacity 0, when memory was refused
    uint64_t capacity; // bytes of text's storage, less one
};

struct SavedLists {
    DynArray paths;         // SavedEntry
    DynArray queries;       // SavedEntry
    uint8_t path_saved;     // 1: the path equals a live entry of paths, as far as the last mark update knew
    uint8_t query_saved;    // the same for the query
    uint8_t paths_unread;   // 1: the paths' list could not be read; each write tries that first
    uint8_t queries_unread; // the same for the queries' list
    Str folder; // of the files, with a '/' at its end; set at start-up; no file is used while it is empty
};

extern SavedLists saved_lists;

// ---- Entries ----

// Reserves both lists, 128 entries each. A refused one has capacity 0: it takes no entries, and its file is
// left as it is.
void saved_lists_reserve();

// The field's list; null for a text that is neither the path nor the query.
DynArray *saved_list_of(const StrBuf *field);

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

// Finds out anew whether the focused field's text is saved. A focused path is cleaned in place first,
// trailing slashes kept: it may get shorter, and whoever keeps carets clamps them. Nothing happens for a null
// pointer or another text.
void saved_lists_update_mark(StrBuf *focused);

// What the save button of a field does: adds its text to its list, brings back the removed entry that has the
// same text, or, for a text that is marked as saved, nothing but writing the file once more when a removed
// entry equals it. Cleans a path as the mark update does, updates the focused field's mark (so that field's
// path may get shorter as well) and writes the file. Bringing an entry back does neither, which is meant.
// Starts no search, also for a path that the cleaning has changed.
void saved_list_save(StrBuf *field, StrBuf *focused);

// Turns a live entry of the focused field's list into a removed one, or the other way round; writes the file
// and updates the mark. Nothing happens for a row that is not there.
void saved_entry_flip(StrBuf *focused, uint64_t row);

// ---- Files ----

// Adds to the field's list what a file's bytes hold, and makes the first line the field's text when
// restore_text is set and the line is neither empty nor the only one. Turns every '\' of contents into '/'.
void saved_list_load_contents(StrBuf *field, Str contents, uint8_t restore_text);

// Appends to out the bytes that the field's file has to hold. Returns 0 when there is no memory for them; out
// is then incomplete.
uint8_t saved_list_contents(const StrBuf *field, StrBuf *out);

// Reads the field's file; nothing happens when it is missing or empty, or cannot be read. Finishes the
// writing of it that a killed program began. docs/architecture.md tells what the two files of a list may be.
void saved_list_load(StrBuf *field, uint8_t restore_text);

// Replaces the field's file, after loading what could not be read before; what still cannot be read is not
// replaced. A failure is ignored; short of memory or room, or where a file cannot be deleted or made, the old
// content stays. Whenever the program is killed meanwhile, the next load finds the list as it was before or
// as it is now; only with a folder in the second file's place may a kill or a full disk leave none.
void saved_list_write(const StrBuf *field);

static_assert(sizeof(SavedEntry) == 32 && offsetof(SavedEntry, length) == 8 &&
              offsetof(SavedEntry, text) == 16 && offsetof(SavedEntry, capacity) == 24);
