// Files and folders. Paths are UTF-8 with '/' as the separator and end at their first zero byte; one that is
// too long for the system cannot be opened.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Whole files (each system) ----

// The outcome of the last read, kept for inspection; nothing in the program uses it. Both threads write it
// without a lock, so code and text may come from different reads.
struct LastFileError {
    uint32_t code;  // the system's error code; 0: none
    char text[512]; // the system's message for it, in the system's own code page; empty for code 0
};
extern LastFileError os_last_file_error;

// Reads a whole file, which other programs may have open for reading and writing. Returns its bytes, owned by
// the caller and freed with os_file_free, or length 0 and a null pointer when it cannot be opened or read; an
// empty file has length 0 and a pointer. A size of 4 GiB or more is cut to its low 32 bits. The block has n +
// 1 + ((n + 1) AND 63) bytes for a length of n; those from n on are zero. A file that shrinks while it is
// read keeps its length, padded with zeros.
Str os_file_read_all(Str path);

// The same for the entry that a folder listing has just returned, with its path and its own name; faster
// where the system has already opened the file for its size. An empty path cannot be read, whatever the name.
Str os_file_read_entry(Str path, Str name);

// Frees what os_file_read_all returned, and sets it to length 0 and a null pointer.
void os_file_free(Str *contents);

// Writes count bytes at the start of a file, which is created when missing and never truncated: delete it
// first to make it shorter. Returns 0: written, 1: could not be opened, 2: could not be written.
int32_t os_file_write(Str path, uint32_t count, const char *bytes);

// Returns 0 when the file was deleted or did not exist in an existing folder, else 1.
int32_t os_file_delete(Str path);

// Whether a file or folder of that name exists.
bool os_path_exists(Str path);

// Whether it is a folder, or a link to one.
bool os_path_is_folder(Str path);

// The executable's folder, ending in '/', with links to the executable resolved. Owned by the layer, found by
// the first call; the empty Str when out of memory.
Str os_exe_folder();

// ---- Files of one folder (each system) ----

// For a thread that reads many files of a folder into memory of its own. Nothing here allocates, or touches
// os_last_file_error.

struct FilesOfFolder {
    Str path;                 // the caller's, for as long as this is used
    int64_t handle;           // the system's, if it has one
    uint8_t reads_tell_sizes; // whether a read that gets fewer bytes than it asked for ends with the file
};

// Prepares for opening files of a folder. If the folder cannot be opened, none of its files can.
FilesOfFolder os_files_of(Str folder);

// Ends it; files that are open stay open.
void os_files_close(FilesOfFolder *files);

struct OpenedFile {
    int64_t handle;  // the system's; -1: could not be opened
    uint64_t size;   // bytes; of a file that could not be opened where the system tells it, else 0
    uint8_t is_read; // whether all of it is in the memory given to os_file_open
};

// Opens a file of the folder for reading, as os_file_read_all does. A system that learns the size by reading
// reads a file of fewer than room bytes at once; the contents of bytes are undefined otherwise.
OpenedFile os_file_open(const FilesOfFolder &files, Str name, uint32_t room, char *bytes);

// Reads the first count bytes of an open file; bytes that it does not have are zero. Returns 0 when the
// reading fails.
uint8_t os_file_read(const OpenedFile &file, uint32_t count, char *bytes);

void os_file_close(OpenedFile *file);

// ---- Folder listing (each system) ----

// One entry of a folder, as the system reports it.
struct FolderEntry {
    Str name;        // zero-terminated; until the next entry or the listing's end, and not in a copy of this
    uint64_t size;   // bytes; 0 for a folder
    int64_t written; // last write, as the system counts
    uint8_t is_folder;
    uint8_t has_size;     // whether size is known; only LIST_ONCE leaves it out
    uint8_t is_special;   // LIST_ONCE: neither a folder nor a plain file: a link to a file, a pipe, a device
    char name_bytes[784]; // holds the name on a system that does not keep it itself
};

// What a listing is for, so that a system can save itself work.
enum FolderListingUse : uint8_t {
    LIST_DETAILS,    // everything is wanted
    LIST_FILES,      // to read the files: any time may be zero, and a link to a folder that holds it left out
    LIST_SUBFOLDERS, // to enter the folders: any size and time may be zero, and a link to a folder that holds
                     // it is left out where the system does not limit the length of paths. Directly after a
                     // finished LIST_FILES of the same folder, the entries may be those that were seen then.
    LIST_ONCE,       // for both in one listing: any time may be zero, a file's size may be unknown, and links
                     // are left out as for LIST_SUBFOLDERS
};

// Starts listing a folder's entries, "." and ".." among them, in the system's order, and fills in the first
// one. Returns the listing's handle, or null when the folder cannot be listed, has no entry, or has a zero
// byte in its text.
void *os_folder_first(Str folder, FolderListingUse use, FolderEntry *entry);

// Fills in the next entry; returns 0 after the last one.
uint8_t os_folder_next(void *handle, FolderEntry *entry);

// Ends a listing.
void os_folder_close(void *handle);
