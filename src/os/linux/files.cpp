#include "os/files.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "os/linux/clock.h"
#include "os/linux/files.h"
#include "os/paths.h"

namespace {

// A path for system calls: zero-terminated, shorter than PATH_MAX.
struct SystemPath {
    uint64_t count; // bytes; 0 for a path that is too long: the empty text, which no call finds
    char text[PATH_MAX];

    explicit SystemPath(Str path) {
        count = path.count > 0 ? strnlen(path.data, path.count) : 0;
        if (count >= PATH_MAX) {
            count = 0;
        }
        if (count > 0) {
            memcpy(text, path.data, count);
        }
        text[count] = 0;
    }
};

// Opening must neither wait for a pipe's writer nor give this process a controlling terminal.
constexpr int open_to_read = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// The file of the entry that a LIST_FILES listing has just returned.
struct OpenEntry {
    int file;         // -1: none
    const char *name; // the entry's name, in the listing
    uint64_t size;    // bytes
};
thread_local OpenEntry open_entry = {-1, nullptr, 0};

} // namespace

// ---- Whole files ----

LastFileError os_last_file_error;

namespace {

void note_last_error(int32_t code) {
    os_last_file_error.code = static_cast<uint32_t>(code);
    os_last_file_error.text[0] = 0;
    if (code != 0) {
        const char *text = strerror_r(code, os_last_file_error.text, sizeof(os_last_file_error.text));
        if (text != os_last_file_error.text) {
            strncpy(os_last_file_error.text, text, sizeof(os_last_file_error.text) - 1);
        }
    }
}

// Reads up to count bytes; returns how many were read, or -1 when a read fails.
int64_t read_up_to(int file, char *bytes, uint64_t count) {
    uint64_t done = 0;
    while (done < count) {
        ssize_t got = pread(file, bytes + done, count - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<uint64_t>(got);
    }
    return static_cast<int64_t>(done);
}

// Reads an open file of a known size.
Str read_open_file(int file, uint64_t size) {
    Str contents = {};
    uint64_t count = static_cast<uint32_t>(size);
    uint64_t block_size = count + 1 + ((count + 1) & 63); // intentionally not rounded up
    char *block = static_cast<char *>(os_alloc(block_size));
    int64_t got = block ? read_up_to(file, block, count) : -1;
    if (got >= 0) {
        memset(block + got, 0, block_size - static_cast<uint64_t>(got));
        contents = {count, block};
        note_last_error(0);
    } else {
        note_last_error(block ? errno : ENOMEM);
        os_free(block);
    }
    return contents;
}

} // namespace

Str os_file_read_all(Str path) {
    SystemPath name(path);
    struct stat info;
    if (stat(name.text, &info) == 0 && !S_ISREG(info.st_mode)) {
        note_last_error(EISDIR); // opening a pipe or a device has side effects
        return {};
    }
    int file = open(name.text, open_to_read);
    if (file < 0) {
        return {};
    }
    Str contents = {};
    int32_t error = fstat(file, &info) == 0 ? 0 : errno;
    if (error == 0 && !S_ISREG(info.st_mode)) {
        error = EISDIR; // replaced since the stat
    }
    if (error == 0) {
        contents = read_open_file(file, static_cast<uint64_t>(info.st_size));
    } else {
        note_last_error(error);
    }
    close(file);
    return contents;
}

Str os_file_read_entry(Str path, Str name) {
    // An empty path means out of memory: it names no file, open or not.
    if (path.count == 0 || open_entry.file < 0 || open_entry.name != name.data) {
        return os_file_read_all(path);
    }
    return read_open_file(open_entry.file, open_entry.size);
}

void os_file_free(Str *contents) {
    os_free(contents->data);
    *contents = {};
}

int32_t os_file_write(Str path, uint32_t count, const char *bytes) {
    int file = open(SystemPath(path).text, O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
    if (file < 0) {
        return 1;
    }
    uint32_t done = 0;
    while (done < count) {
        ssize_t put = write(file, bytes + done, count - done);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            break;
        }
        done += static_cast<uint32_t>(put);
    }
    return close(file) == 0 && done == count ? 0 : 2;
}

int32_t os_file_delete(Str path) {
    SystemPath name(path);
    if (unlink(name.text) == 0) {
        return 0;
    }
    if (errno != ENOENT) {
        return 1;
    }
    // A missing file and a missing folder give the same error.
    char *slash = strrchr(name.text, '/');
    if (slash == nullptr || slash == name.text) {
        return name.count > 0 ? 0 : 1;
    }
    *slash = 0;
    return access(name.text, F_OK) == 0 ? 0 : 1;
}

bool os_path_exists(Str path) {
    struct stat info;
    return lstat(SystemPath(path).text, &info) == 0;
}

bool os_path_is_folder(Str path) {
    struct stat info;
    return stat(SystemPath(path).text, &info) == 0 && S_ISDIR(info.st_mode);
}

bool os_is_same_name(Str a, Str b) {
    return str_equal(a, b);
}

Str exe_path() {
    char *path = static_cast<char *>(os_alloc(PATH_MAX));
    ssize_t count = path ? readlink("/proc/self/exe", path, PATH_MAX - 1) : -1;
    if (count < 0) {
        os_free(path);
        return {};
    }
    path[count] = 0;
    return {static_cast<uint64_t>(count), path};
}

Str os_exe_folder() {
    static Str folder;
    if (!folder.data) {
        folder = str_cut_to_folder(exe_path());
    }
    return folder;
}

// ---- Files of one folder ----

namespace {

// On these file systems a file's size is reliable; in /proc, for one, it is not.
bool reads_tell_sizes(int folder) {
    struct statfs info;
    if (fstatfs(folder, &info) != 0) {
        return false;
    }
    switch (static_cast<uint64_t>(info.f_type)) {
    case EXT4_SUPER_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case OVERLAYFS_SUPER_MAGIC:
        return true;
    default:
        return false;
    }
}

// Reads a whole file; returns false when it has, or may have, room bytes or more.
bool read_to_end(int file, uint32_t room, char *bytes, uint64_t *size) {
    constexpr uint64_t page = 4096; // a read cut short by a disk error ends at a page boundary
    ssize_t got = pread(file, bytes, room, 0);
    *size = got > 0 ? static_cast<uint64_t>(got) : 0;
    return *size < room && *size % page != 0;
}

// The size of a file that cannot be opened, even if its folder could not; 0 if the system does not report it.
uint64_t reported_size(const FilesOfFolder &files, Str name) {
    struct stat info;
    int error = -1;
    SystemPath path(files.path);
    if (files.handle >= 0) {
        error = fstatat(static_cast<int>(files.handle), name.data, &info, 0);
    } else if (path.count + 1 + name.count < PATH_MAX) {
        path.text[path.count] = '/';
        memcpy(path.text + path.count + 1, name.data, name.count + 1);
        error = stat(path.text, &info);
    }
    return error == 0 ? static_cast<uint64_t>(info.st_size) : 0;
}

} // namespace

uint32_t os_files_can_open(uint32_t most) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    uint32_t unused = 0;
    for (rlim_t file = 0; file < limit.rlim_cur && unused < most; file++) {
        unused += fcntl(static_cast<int>(file), F_GETFD) < 0;
    }
    return unused;
}

FilesOfFolder os_files_of(Str folder) {
    int handle = open(SystemPath(folder).text, O_PATH | O_DIRECTORY | O_CLOEXEC);
    return {folder, handle, handle >= 0 && reads_tell_sizes(handle)};
}

void os_files_close(FilesOfFolder *files) {
    if (files->handle >= 0) {
        close(static_cast<int>(files->handle));
    }
    *files = {{}, -1, false};
}

OpenedFile os_file_open(const FilesOfFolder &files, Str name, uint32_t room, char *bytes) {
    int folder = static_cast<int>(files.handle);
    int file = openat(folder, name.data, open_to_read);
    OpenedFile opened = {file, 0, false};
    if (file >= 0 && files.reads_tell_sizes && read_to_end(file, room, bytes, &opened.size)) {
        opened.is_read = true;
        return opened;
    }
    off_t size = file >= 0 ? lseek(file, 0, SEEK_END) : -1; // the quickest way to learn it
    if (size >= 0) {
        opened.size = static_cast<uint64_t>(size);
        return opened;
    }
    if (file >= 0) {
        close(file);
    }
    return {-1, reported_size(files, name), false};
}

bool os_file_read(const OpenedFile &file, uint32_t count, char *bytes) {
    int64_t got = read_up_to(static_cast<int>(file.handle), bytes, count);
    if (got < 0) {
        return false;
    }
    memset(bytes + got, 0, count - static_cast<uint64_t>(got));
    return true;
}

void os_file_close(OpenedFile *file) {
    if (file->handle >= 0) {
        close(static_cast<int>(file->handle));
        file->handle = -1;
    }
}

// ---- Folder listing ----

// A folder is read completely when its listing starts, so that a walk of a deep tree does not keep a folder
// open for each level and run out of file descriptors. It stays open only while its own files are visited.

namespace {

struct Listing {
    uint64_t end;      // bytes of entries, which follow this record
    uint64_t next;     // byte offset of the next entry
    uint64_t capacity; // bytes for entries
    int folder;        // open while its files are visited; else -1
    FolderListingUse use;
    Str path; // of a listing to keep, on the heap

    char *entries() {
        return reinterpret_cast<char *>(this + 1);
    }
};

// A search lists every folder twice in a row, for its files and for its sub-folders. The second listing
// reuses what the first has read, which is kept here in between.
thread_local Listing *kept_listing;

void close_open_entry() {
    if (open_entry.file >= 0) {
        close(open_entry.file);
        open_entry.file = -1;
    }
}

void free_listing(Listing *listing) {
    if (listing) {
        if (listing->folder >= 0) {
            close(listing->folder);
        }
        os_free(listing->path.data);
        os_free(listing);
    }
}

// Whether a folder is the one at path or one above it.
bool is_on_path(const struct stat &folder, const SystemPath &path) {
    SystemPath prefix = path;
    for (uint64_t i = 0; i <= path.count; i++) {
        if (i != path.count && path.text[i] != '/') {
            continue;
        }
        prefix.text[i] = 0;
        struct stat info;
        if (stat(i == 0 ? "/" : prefix.text, &info) == 0 && info.st_dev == folder.st_dev &&
            info.st_ino == folder.st_ino) {
            return true;
        }
        prefix.text[i] = path.text[i];
    }
    return false;
}

// Resolves links, and entries whose type the file system does not report: d_type becomes DT_DIR, DT_REG, or
// DT_UNKNOWN for anything else (for LIST_ONCE also for links to files). A link to a folder on its own path
// gets an empty name instead, so that every walk ends.
void resolve_links(Listing *listing, const SystemPath &path) {
    for (uint64_t at = 0; at < listing->end;) {
        dirent64 *entry = reinterpret_cast<dirent64 *>(listing->entries() + at);
        at += entry->d_reclen;
        if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) {
            continue;
        }
        struct stat info = {};
        bool is_link = entry->d_type == DT_LNK;
        if (!is_link) {
            fstatat(listing->folder, entry->d_name, &info, AT_SYMLINK_NOFOLLOW);
            is_link = S_ISLNK(info.st_mode);
        }
        if (is_link) {
            fstatat(listing->folder, entry->d_name, &info, 0);
        }
        bool is_folder = S_ISDIR(info.st_mode);
        bool is_dot = strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0;
        if (is_folder && !is_dot && listing->use != LIST_DETAILS && is_on_path(info, path)) {
            entry->d_name[0] = 0;
        }
        bool is_file = S_ISREG(info.st_mode) && !(is_link && listing->use == LIST_ONCE);
        entry->d_type = is_folder ? DT_DIR : is_file ? DT_REG : DT_UNKNOWN;
    }
}

// Reads the entries of an open folder up to the first error; null when out of memory.
Listing *read_folder(int folder) {
    constexpr uint64_t first_capacity = 32768;
    constexpr uint64_t smallest_read = 4096; // room for any single entry
    Listing *listing = static_cast<Listing *>(os_alloc(sizeof(Listing) + first_capacity));
    if (!listing) {
        return nullptr;
    }
    *listing = {0, 0, first_capacity, folder, LIST_DETAILS, {}};
    for (;;) {
        if (listing->capacity - listing->end < smallest_read) {
            uint64_t capacity = listing->capacity * 2;
            Listing *grown = static_cast<Listing *>(os_realloc(listing, sizeof(Listing) + capacity));
            if (!grown) {
                os_free(listing);
                return nullptr;
            }
            listing = grown;
            listing->capacity = capacity;
        }
        int64_t got = syscall(SYS_getdents64, folder, listing->entries() + listing->end,
                              listing->capacity - listing->end);
        if (got <= 0) {
            break; // the end, or an error, which ends the listing
        }
        listing->end += static_cast<uint64_t>(got);
    }
    return listing;
}

// Fills in size and last write. A file that will be read is opened to find its size, and stays open until the
// next entry.
void look_at_entry(Listing *listing, const dirent64 *found, FolderEntry *entry) {
    if (listing->use == LIST_FILES && found->d_type == DT_REG) {
        int file = openat(listing->folder, found->d_name, open_to_read);
        off_t size = file >= 0 ? lseek(file, 0, SEEK_END) : -1; // the quickest way to learn it
        if (size >= 0) {
            entry->size = static_cast<uint64_t>(size);
            open_entry = {file, found->d_name, entry->size};
            return;
        }
        if (file >= 0) {
            close(file);
        }
    }
    struct stat info;
    if (fstatat(listing->folder, found->d_name, &info, 0) == 0) {
        entry->size = entry->is_folder ? 0 : static_cast<uint64_t>(info.st_size);
        entry->written = info.st_mtim.tv_sec * nanoseconds_per_second + info.st_mtim.tv_nsec;
    }
}

// Reads a folder; null when that fails.
Listing *open_listing(Str folder, FolderListingUse use, const SystemPath &path) {
    if (path.count != folder.count) {
        return nullptr; // too long, or contains a zero byte
    }
    int file = open(path.count > 0 ? path.text : "/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    Listing *listing = read_folder(file);
    if (!listing) {
        close(file);
        return nullptr;
    }
    listing->use = use;
    resolve_links(listing, path);
    if (use == LIST_FILES) {
        listing->path = str_copy(str_from(path.text)); // empty when out of memory: the listing is not kept
    }
    if (use == LIST_SUBFOLDERS) {
        close(file);
        listing->folder = -1;
    }
    if (use == LIST_FILES || use == LIST_SUBFOLDERS) {
        Listing *shrunk = static_cast<Listing *>(os_realloc(listing, sizeof(Listing) + listing->end));
        listing = shrunk ? shrunk : listing;
    }
    return listing;
}

} // namespace

void *os_folder_first(Str folder, FolderListingUse use, FolderEntry *entry) {
    SystemPath path(folder);
    Listing *listing = kept_listing;
    kept_listing = nullptr;
    if (listing && use == LIST_SUBFOLDERS && str_equal(listing->path, {path.count, path.text})) {
        listing->use = use;
        listing->next = 0;
    } else {
        free_listing(listing);
        listing = open_listing(folder, use, path);
    }
    if (listing && !os_folder_next(listing, entry)) {
        os_folder_close(listing);
        return nullptr;
    }
    return listing;
}

bool os_folder_next(void *handle, FolderEntry *entry) {
    Listing *listing = static_cast<Listing *>(handle);
    close_open_entry();
    while (listing->next < listing->end) {
        dirent64 *found = reinterpret_cast<dirent64 *>(listing->entries() + listing->next);
        listing->next += found->d_reclen;
        if (found->d_name[0] == 0) {
            continue; // left out by resolve_links
        }
        entry->name = {strlen(found->d_name), found->d_name};
        entry->is_folder = found->d_type == DT_DIR;
        entry->size = 0;
        entry->written = 0;
        entry->is_special = !entry->is_folder && found->d_type != DT_REG;
        entry->has_size = listing->use != LIST_ONCE || entry->is_special;
        if (listing->use == LIST_DETAILS || (listing->use == LIST_FILES && !entry->is_folder) ||
            (listing->use == LIST_ONCE && entry->is_special)) {
            look_at_entry(listing, found, entry);
        }
        return true;
    }
    return false;
}

void os_folder_close(void *handle) {
    Listing *listing = static_cast<Listing *>(handle);
    close_open_entry();
    if (listing->use == LIST_FILES && listing->next >= listing->end && listing->path.data) {
        close(listing->folder);
        listing->folder = -1;
        free_listing(kept_listing);
        kept_listing = listing;
    } else {
        free_listing(listing);
    }
}
