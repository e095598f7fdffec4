#include "os/win32/files.h"

#include <string.h>

#include "os/files.h"
#include "os/paths.h"
#include "os/win32/utf16.h"

// ---- Paths ----

namespace {

constexpr int32_t longest_path = 32767; // UTF-16 units of the longest path that the system accepts

// The path up to its first zero byte.
Str path_text(Str path) {
    return {path.count > 0 ? strnlen(path.data, path.count) : 0, path.data};
}

} // namespace

#define PATH_ON_STACK(name, path) WIDE_ON_STACK(name, path_text(path), longest_path)

// ---- Whole files ----

LastFileError os_last_file_error;

namespace {

void note_last_error() {
    constexpr DWORD user_default_language = 0x400;
    DWORD code = GetLastError();
    os_last_file_error.code = code;
    os_last_file_error.text[0] = 0;
    if (code != 0) {
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, user_default_language,
                       os_last_file_error.text, sizeof(os_last_file_error.text), nullptr);
    }
}

// Null: the path is too long.
HANDLE open_to_read(const wchar_t *path) {
    return path ? CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr)
                : INVALID_HANDLE_VALUE;
}

} // namespace

Str os_file_read_all(Str path) {
    PATH_ON_STACK(wide, path);
    HANDLE file = open_to_read(wide);
    if (file == INVALID_HANDLE_VALUE) {
        return {};
    }
    Str contents = {};
    char *block = nullptr;
    LARGE_INTEGER size;
    if (GetFileSizeEx(file, &size)) {
        uint64_t count = size.LowPart;
        uint64_t block_size = count + 1 + ((count + 1) & 63); // intentionally not rounded up
        block = static_cast<char *>(os_alloc(block_size));
        DWORD read = 0;
        // The heap sets no error code.
        if (!block) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        } else if (ReadFile(file, block, size.LowPart, &read, nullptr)) {
            memset(block + read, 0, block_size - read);
            contents = {count, block};
        }
    }
    note_last_error();
    if (!contents.data) {
        os_free(block);
    }
    CloseHandle(file);
    return contents;
}

Str os_file_read_entry(Str path, Str) {
    return os_file_read_all(path);
}

void os_file_free(Str *contents) {
    if (contents->data) {
        os_free(contents->data);
    }
    *contents = {};
}

int32_t os_file_write(Str path, uint32_t count, const char *bytes) {
    PATH_ON_STACK(wide, path);
    HANDLE file =
        wide ? CreateFileW(wide, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)
             : INVALID_HANDLE_VALUE;
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    DWORD written = 0;
    int32_t result = WriteFile(file, bytes, count, &written, nullptr) && written == count ? 0 : 2;
    CloseHandle(file);
    return result;
}

int32_t os_file_delete(Str path) {
    PATH_ON_STACK(wide, path);
    return wide && (DeleteFileW(wide) || GetLastError() == ERROR_FILE_NOT_FOUND) ? 0 : 1;
}

bool os_path_exists(Str path) {
    PATH_ON_STACK(wide, path);
    return wide && GetFileAttributesW(wide) != INVALID_FILE_ATTRIBUTES;
}

bool os_path_is_folder(Str path) {
    PATH_ON_STACK(wide, path);
    DWORD attributes = wide ? GetFileAttributesW(wide) : INVALID_FILE_ATTRIBUTES;
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool os_is_same_name(Str a, Str b) {
    WIDE_ON_STACK(wide_a, a, MAX_PATH);
    WIDE_ON_STACK(wide_b, b, MAX_PATH);
    return wide_a && wide_b &&
           CompareStringOrdinal(wide_a, wide_a_units, wide_b, wide_b_units, TRUE) == CSTR_EQUAL;
}

uint32_t exe_path(wchar_t (&path)[longest_exe_path]) {
    return GetModuleFileNameW(nullptr, path, longest_exe_path);
}

uint32_t wide_resolve_links(wchar_t (&path)[longest_exe_path], uint32_t units) {
    if (units == 0 || units >= longest_exe_path) {
        return units; // no path, or only part of it
    }
    constexpr DWORD share_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE file = CreateFileW(path, 0, share_all, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return units;
    }
    constexpr DWORD capacity = longest_exe_path + 8;
    wchar_t resolved[capacity]; // begins with \\?\ and a drive, or with \\?\UNC\ and a server
    DWORD count = GetFinalPathNameByHandleW(file, resolved, capacity, VOLUME_NAME_DOS);
    CloseHandle(file);
    if (count == 0 || count >= capacity) {
        return units;
    }
    wchar_t *start = resolved + 4;
    if (wcsncmp(start, L"UNC\\", 4) == 0) {
        // A file on a mapped drive keeps its drive letter, unless it is itself a link.
        if (!(GetFileAttributesW(path) & FILE_ATTRIBUTE_REPARSE_POINT)) {
            return units;
        }
        start += 2;
        start[0] = L'\\'; // the one before the server follows
    } else if (count < 6 || start[1] != L':') {
        return units;
    }
    uint32_t resolved_units = static_cast<uint32_t>(wcslen(start));
    if (resolved_units >= longest_exe_path) {
        return units;
    }
    wcscpy(path, start);
    return resolved_units;
}

Str os_exe_folder() {
    static Str folder;
    if (!folder.data) {
        wchar_t path[longest_exe_path];
        uint32_t units = wide_resolve_links(path, exe_path(path));
        folder = str_cut_to_folder(utf8_from_wide(path, static_cast<int32_t>(units)));
    }
    return folder;
}

// ---- Files of one folder ----

uint32_t os_files_can_open(uint32_t most) {
    return most; // only memory limits the number of handles
}

FilesOfFolder os_files_of(Str folder) {
    return {folder, -1, false};
}

void os_files_close(FilesOfFolder *files) {
    *files = {{}, -1, false};
}

OpenedFile os_file_open(const FilesOfFolder &files, Str name, uint32_t, char *) {
    uint64_t folder_count = files.path.count;
    uint64_t count = folder_count + 1 + name.count;
    if (count > uint64_t{longest_path} * 3) {
        return {-1, 0, false};
    }
    char *path = static_cast<char *>(__builtin_alloca(count));
    memcpy(path, files.path.data, folder_count);
    path[folder_count] = '/';
    memcpy(path + folder_count + 1, name.data, name.count);
    PATH_ON_STACK(wide, (Str{count, path}));
    HANDLE file = open_to_read(wide);
    LARGE_INTEGER size;
    if (file != INVALID_HANDLE_VALUE && GetFileSizeEx(file, &size)) {
        return {reinterpret_cast<int64_t>(file), static_cast<uint64_t>(size.QuadPart), false};
    }
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
    return {-1, 0, false};
}

bool os_file_read(const OpenedFile &file, uint32_t count, char *bytes) {
    DWORD read = 0;
    if (!ReadFile(reinterpret_cast<HANDLE>(file.handle), bytes, count, &read, nullptr)) {
        return false;
    }
    memset(bytes + read, 0, count - read);
    return true;
}

void os_file_close(OpenedFile *file) {
    if (file->handle != -1) {
        CloseHandle(reinterpret_cast<HANDLE>(file->handle));
        file->handle = -1;
    }
}

// ---- Folder listing ----

namespace {

void fill_entry(FolderEntry *entry, const WIN32_FIND_DATAW &found) {
    int32_t bytes = utf8_convert(found.cFileName, lstrlenW(found.cFileName), entry->name_bytes,
                                 sizeof(entry->name_bytes) - 1);
    entry->name_bytes[bytes] = 0;
    entry->name = {static_cast<uint64_t>(bytes), entry->name_bytes};
    entry->is_folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry->has_size = true;
    entry->is_special = false;
    entry->size = entry->is_folder ? 0 : uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
    entry->written = static_cast<int64_t>(uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32 |
                                          found.ftLastWriteTime.dwLowDateTime);
}

} // namespace

void *os_folder_first(Str folder, FolderListingUse use, FolderEntry *entry) {
    uint64_t count = path_text(folder).count;
    if (count != folder.count || count > uint64_t{longest_path} * 3) {
        return nullptr;
    }
    char *pattern = static_cast<char *>(__builtin_alloca(count + 3));
    if (count > 0) {
        memcpy(pattern, folder.data, count);
    }
    if (count == 0 || (pattern[count - 1] != '/' && pattern[count - 1] != '\\')) {
        pattern[count++] = '/';
    }
    pattern[count++] = '*';
    pattern[count] = 0;
    PATH_ON_STACK(wide, (Str{count, pattern}));
    if (!wide) {
        return nullptr;
    }
    WIN32_FIND_DATAW found;
    HANDLE listing = use == LIST_ONCE ? FindFirstFileExW(wide, FindExInfoBasic, &found, FindExSearchNameMatch,
                                                         nullptr, FIND_FIRST_EX_LARGE_FETCH)
                                      : FindFirstFileW(wide, &found);
    if (listing == nullptr || listing == INVALID_HANDLE_VALUE) {
        return nullptr;
    }
    fill_entry(entry, found);
    return listing;
}

bool os_folder_next(void *handle, FolderEntry *entry) {
    WIN32_FIND_DATAW found;
    if (!FindNextFileW(handle, &found)) {
        return false;
    }
    fill_entry(entry, found);
    return true;
}

void os_folder_close(void *handle) {
    FindClose(handle);
}
