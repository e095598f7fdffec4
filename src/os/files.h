// Files and folders. Paths are UTF-8 with '/' as the separator and end at their first zero byte; paths
// too long for the system cannot be opened.
#pragma once

#include <stdint.h>

#include "os/strings.h"

// ---- Whole files (each system) ----

// The outcome of the last read, kept for inspection; nothing in the program uses it. Both threads write it
// without a lock, so code and text may be from different reads.
struct LastFileError {
    uint32_t code;  // the system's error code; 0: none
    char text[512]; // the system's message for it, in the system's own code page; empty for code 0
};
extern LastFileError os_last_file_error;

// Reads a whole file, which other programs may have open for reading and writing. Returns its bytes, owned by
// the caller and freed with os_file_free, or length 0 and a null pointer if it cannot be opened or read; an
// empty file has length 0 and a non-null pointer. A size of 4 GiB or more is truncated to its low 32 bits.
// For length n the block has n + 1 + ((n + 1) AND 63) bytes, all zero from n on. A file that shrinks while it
// is read keeps its length, padded with zeros.
Str os_file_read_all(Str path);

// The same for the entry that a folder listing has just returned, given its path and its name; faster where
// the file was already opened for its size. An empty path cannot be read, whatever the name.
Str os_file_read_entry(Str path, Str name);

// Frees what os_file_read_all returned and sets it to length 0 and a null pointer.
void os_file_free(Str *contents);

// Writes count bytes at the start of a file, which is created if missing and never truncated: delete it first
// to make it shorter. Returns 0: written, 1: could not be opened, 2: could not be written.
int32_t os_file_write(Str path, uint32_t count, const char *bytes);

// Returns 0 when the file was deleted or did not exist in an existing folder, else 1.
int32_t os_file_delete(Str path);

// Whether the path exists, as a file or folder.
bool os_path_exists(Str path);

// Whether it is a folder, or a link to one.
bool os_path_is_folder(Str path);

// Whether both name the same entry of a folder: in any case where the system ignores it, else byte for byte.
bool os_is_same_name(Str a, Str b);

// The executable's folder, ending in '/', with links to the executable resolved. Owned by the layer, computed
// by the first call; the empty Str when out of memory.
Str os_exe_folder();

// ---- Files of one folder (each system) ----

// For a thread that reads many files of a folder into memory of its own. Nothing here allocates, or touches
// os_last_file_error.

// How many more files and folders the process can open, at most `most`.
uint32_t os_files_can_open(uint32_t most);

struct FilesOfFolder {
    Str path;              // the caller's; must stay valid while this is used
    int64_t handle;        // the system's, if it has one
    bool reads_tell_sizes; // whether a short read always means the end of the file
};

// Prepares to open files of a folder. If the folder cannot be opened, none of its files can, but their sizes
// are still found.
FilesOfFolder os_files_of(Str folder);

// Closes the folder; open files stay open.
void os_files_close(FilesOfFolder *files);

struct OpenedFile {
    int64_t handle; // the system's; -1: could not be opened
    uint64_t size;  // bytes; if the file could not be opened, 0 unless the system reports its size
    bool is_read;   // whether os_file_open has already read all of it
};

// Opens a file of the folder for reading, as os_file_read_all does. Where reads tell sizes, a file of fewer
// than room bytes is usually read into bytes at once; is_read tells whether. If not, the contents of bytes
// are undefined.
OpenedFile os_file_open(const FilesOfFolder &files, Str name, uint32_t room, char *bytes);

// Reads the first count bytes of an open file, zeros past its end. Returns false when a read fails.
bool os_file_read(const OpenedFile &file, uint32_t count, char *bytes);

void os_file_close(OpenedFile *file);

// ---- Folder listing (each system) ----

// One entry of a folder, as the system reports it.
struct FolderEntry {
    Str name;        // zero-terminated; valid until the next entry or the end, and not in a copy of this
    uint64_t size;   // bytes; 0 for a folder
    int64_t written; // last write, in the system's own units
    bool is_folder;
    bool has_size;        // whether size is known; always, except with LIST_ONCE
    bool is_special;      // LIST_ONCE: not a folder or regular file, but a link to a file, a pipe, a device
    char name_bytes[784]; // holds the name if the system does not
};

// What a listing is for, so that a system can save itself work.
enum FolderListingUse : uint8_t {
    LIST_DETAILS,    // for everything
    LIST_FILES,      // to read the files: times may be 0, links to a folder that contains them may be missing
    LIST_SUBFOLDERS, // to enter the folders: sizes and times may be 0; where the system does not limit the
                     // length of paths, links to a folder that contains them are left out. Right after a
                     // finished LIST_FILES of the same folder, the entries may be those seen then.
    LIST_ONCE,       // for both at once: times may be 0, a file's size may be unknown, and links are left out
                     // as for LIST_SUBFOLDERS
};

// Starts listing a folder's entries, including "." and "..", in the system's order, and fills in the first.
// Returns the listing's handle, or null when the folder cannot be listed, has no entry, or its path contains
// a zero byte.
void *os_folder_first(Str folder, FolderListingUse use, FolderEntry *entry);

// Fills in the next entry; returns false after the last one.
bool os_folder_next(void *handle, FolderEntry *entry);

// Ends a listing.
void os_folder_close(void *handle);
