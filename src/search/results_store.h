// What a search has found. The worker fills it, the interface reads the rows below the counts.
//
// Rows are only appended, and a row is complete before the count includes it. When a request is published or
// taken the counts become 0, and new rows overwrite the old ones. Strings live in the arena, which is rewound
// between searches, never freed.
#pragma once

#include <stdint.h>

#include "os/arena.h"
#include "os/arrays.h"
#include "os/shared_blocks.h"
#include "os/strings.h"

// A file that was read, with or without hits.
struct FileEntry {
    Str folder; // '/'-separated, no '/' added at its end
    Str name;
};

enum ResultKind : uint8_t {
    RESULT_HIT = 0,
    RESULT_FILE_HEADER = 1, // precedes a file's first hit; everything but the file index is zero
};

struct ResultRecord {
    uint8_t kind;         // a ResultKind
    uint8_t is_cut;       // the text may end within a character: cut at 400 bytes or at the file's end
    uint32_t file_index;  // row of file_table
    uint32_t line;        // 1-based
    uint32_t column;      // 1-based, in bytes from the line's start
    uint32_t byte_offset; // 0-based, in bytes from the file's start
    Str text;             // the line, trimmed, at most 400 bytes
};

// A line that contains the query, to be stored.
struct LineHit {
    uint32_t line; // the members are as in ResultRecord
    uint32_t column;
    uint32_t byte_offset;
    Str text;
    bool is_cut;
};

struct ResultStore {
    // worker only
    StringArena arena;
    RetiredBlocks retired; // replaced storage of the tables below
    // worker appends, interface reads; the interface also zeroes hit_table's count when it publishes a
    // request
    DynArray file_table;       // FileEntry
    DynArray hit_table;        // ResultRecord
    DynArray matching_folders; // Str: sub-folders of the typed folder that begin with the typed name
    DynArray other_folders;    // Str: the others
};

extern ResultStore results_store;

// Rows.
inline constexpr uint64_t reserved_files = 10000;
inline constexpr uint64_t reserved_hits = 100000;
inline constexpr uint64_t reserved_folders = 128; // in each of the two tables

// Interface, before the worker starts: reserve the tables. When out of memory a table has capacity 0: it
// stays empty, and a push onto it never returns.
void results_store_reserve_files_and_hits();
void results_store_reserve_folders(); // matching_folders and other_folders
void results_store_reserve();         // all four

// Worker, when it starts: reserves the arena's first block.
void results_store_start_arena();

// Worker: folder + "/" + name in the arena, or the empty Str.
Str results_push_path(Str folder, Str name);

// Worker: appends the row of a file that was read. Returns false when out of memory; file_index is then
// undefined.
bool results_push_file(Str folder, Str name, uint32_t *file_index);

// Worker: appends a hit, preceded by the file's header if it is the file's first.
void results_push_hit(uint32_t file_index, const LineHit &hit);

// A snapshot of a table's rows: their count and the address of the first. Valid until the reader's next pass.
struct TableRows {
    uint64_t count;
    char *data;
};
TableRows table_rows(const DynArray *table);

// ---- Rows, for the interface ----

enum RowCopy : uint8_t {
    ROW_GONE = 0,     // no such row, or dropped during the copy: the rest of the record is undefined
    ROW_IN_PLACE = 1, // the file's folder or name, or the folder's name, did not fit into room
    ROW_COPIED = 2,
};

struct HitRow {
    RowCopy copy;
    ResultRecord hit;
    FileEntry file;         // the hit's
    uint64_t search_number; // of the search that found it: current_search_number() during the copy
};

struct FolderRow {
    RowCopy copy;
    Str name;
};

// Interface: copies a row with its texts, complete and from one search, even while the worker overwrites them
// with the next one's. (Between publishing and taking only the interface zeroes a count, and not during a
// copy.) The texts are copied into room, the caller's memory, each zero-terminated. A text that does not fit
// stays in the arena, which is never freed, but the next search may overwrite its bytes.
HitRow results_hit_at(uint64_t row, Str room);
FolderRow results_folder_at(const DynArray *folders, uint64_t row, Str room); // of either table

// The same of the folder that Enter completes the path to: the first matching one.
FolderRow results_completion(Str room);

static_assert(sizeof(FileEntry) == 32 && offsetof(FileEntry, name) == 16);
static_assert(sizeof(ResultRecord) == 40 && offsetof(ResultRecord, kind) == 0 &&
              offsetof(ResultRecord, file_index) == 4 && offsetof(ResultRecord, line) == 8 &&
              offsetof(ResultRecord, column) == 12 && offsetof(ResultRecord, byte_offset) == 16 &&
              offsetof(ResultRecord, text) == 24);
