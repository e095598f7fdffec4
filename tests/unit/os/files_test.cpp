#include "os/files.h"

#include <gtest/gtest.h>

#include <stdio.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/heap_hook.h"
#include "support/system_files.h"
#include "support/test_tree.h"

#ifdef _WIN32
#include <windows.h>

#include "os/win32/files.h"
#else
#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

#ifdef __linux__
// The linker redirects the program's calls of syscall, which reads folders, to the first; the second is the
// real one.
extern "C" long __wrap_syscall(long number, int folder, char *entries, size_t room);
extern "C" long __real_syscall(long number, ...);

static uint8_t hides_types; // whether folders report no entry's type, as on some file systems

long __wrap_syscall(long number, int folder, char *entries, size_t room) {
    long got = __real_syscall(number, folder, entries, room);
    for (long at = 0; hides_types && at < got;) {
        dirent64 *entry = reinterpret_cast<dirent64 *>(entries + at);
        entry->d_type = DT_UNKNOWN;
        at += entry->d_reclen;
    }
    return got;
}
#endif

namespace {

Str read(const std::string &path) {
    return os_file_read_all(str_over(path));
}

std::string read_text(const std::string &path) {
    Str contents = read(path);
    EXPECT_NE(contents.data, nullptr);
    std::string text = to_string(contents);
    os_file_free(&contents);
    return text;
}

int32_t write(const std::string &path, const std::string &bytes) {
    return os_file_write(str_over(path), static_cast<uint32_t>(bytes.size()), bytes.data());
}

// Entries as "name size" or "name/", sorted; size is left out for LIST_SUBFOLDERS.
std::vector<std::string> list(const std::string &path, FolderListingUse use) {
    std::vector<std::string> names;
    FolderEntry entry;
    void *listing = os_folder_first(str_over(path), use, &entry);
    if (!listing) {
        return names;
    }
    do {
        std::string name = to_string(entry.name);
        EXPECT_EQ(entry.name.data[entry.name.count], 0);
        if (name != "." && name != "..") {
            std::string size = use == LIST_SUBFOLDERS ? "" : " " + std::to_string(entry.size);
            names.push_back(name + (entry.is_folder ? "/" : size));
        }
    } while (os_folder_next(listing, &entry));
    os_folder_close(listing);
    std::sort(names.begin(), names.end());
    return names;
}

using Names = std::vector<std::string>;

const char *const outside_ascii[] = {"é.txt", "你好.txt", "\xF0\x9F\x98\x80.txt"};

} // namespace

#ifdef _WIN32

// ---- A disk that fails ----

// The linker redirects every call to the first of each pair; the second is the real one.
extern "C" {
extern decltype(&GetFileSizeEx) __wrap___imp_GetFileSizeEx;
extern decltype(&GetFileSizeEx) __real___imp_GetFileSizeEx;
extern decltype(&ReadFile) __wrap___imp_ReadFile;
extern decltype(&ReadFile) __real___imp_ReadFile;
}

namespace {

bool sizes_fail;
bool reads_fail;

BOOL WINAPI size_or_failure(HANDLE file, LARGE_INTEGER *size) {
    if (sizes_fail) {
        SetLastError(ERROR_CRC);
        return FALSE;
    }
    return __real___imp_GetFileSizeEx(file, size);
}

BOOL WINAPI read_or_failure(HANDLE file, void *bytes, DWORD count, DWORD *read, OVERLAPPED *overlapped) {
    if (reads_fail) {
        SetLastError(ERROR_CRC);
        return FALSE;
    }
    return __real___imp_ReadFile(file, bytes, count, read, overlapped);
}

// What the system says about an error, in the user's language.
std::string words_of(DWORD error) {
    char words[512] = "";
    EXPECT_NE(
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error, 0x400, words, sizeof(words), nullptr), 0u);
    return words;
}

} // namespace

decltype(&GetFileSizeEx) __wrap___imp_GetFileSizeEx = size_or_failure;
decltype(&ReadFile) __wrap___imp_ReadFile = read_or_failure;

#endif

// ---- Reading ----

TEST(FileRead, ReturnsEveryByte) {
    TestTree tree;
    std::string bytes("a\r\n\0\x1A\xFF end", 10);
    tree.file("f", bytes);
    EXPECT_EQ(read_text(tree.path("f")), bytes);
}

TEST(FileRead, AHundredBytesGetABlockOf138PaddedWithZeros) {
    TestTree tree;
    tree.file("f", std::string(100, 'x'));
    std::vector<uint64_t> sizes;
    Str contents;
    {
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return true;
        });
        contents = read(tree.path("f"));
    }
    EXPECT_EQ(sizes, std::vector<uint64_t>{138});
    ASSERT_EQ(contents.count, 100u);
    EXPECT_EQ(to_string(contents), std::string(100, 'x'));
    for (int i = 100; i < 138; i++) {
        ASSERT_EQ(contents.data[i], 0) << i;
    }
    os_file_free(&contents);
}

TEST(FileRead, BlocksAddTheRemainderAndDoNotRoundUp) {
    TestTree tree;
    const std::pair<uint64_t, uint64_t> rows[] = {{0, 2},     {1, 4},     {62, 126},  {63, 64},    {64, 66},
                                                  {126, 190}, {127, 128}, {128, 130}, {1000, 1042}};
    for (const auto &[bytes, block] : rows) {
        tree.file("f", std::string(bytes, 'x'));
        std::vector<uint64_t> sizes;
        HeapHookScope hook([&](uint64_t size) {
            sizes.push_back(size);
            return true;
        });
        Str contents = read(tree.path("f"));
        EXPECT_EQ(sizes, std::vector<uint64_t>{block});
        os_file_free(&contents);
    }
}

TEST(FileRead, AnEmptyFileHasAPointer) {
    TestTree tree;
    tree.file("f", "");
    Str contents = read(tree.path("f"));
    EXPECT_EQ(contents.count, 0u);
    ASSERT_NE(contents.data, nullptr);
    EXPECT_EQ(contents.data[0], 0);
    EXPECT_EQ(contents.data[1], 0); // 0 + 1 + 1 bytes
    os_file_free(&contents);
    EXPECT_EQ(contents.data, nullptr);
    EXPECT_EQ(contents.count, 0u);
}

TEST(FileRead, AMissingFileHasNoneAndLeavesTheLastErrorAlone) {
    TestTree tree;
    os_last_file_error.code = 4711;
    Str contents = read(tree.path("missing"));
    EXPECT_EQ(contents.count, 0u);
    EXPECT_EQ(contents.data, nullptr);
    EXPECT_EQ(os_last_file_error.code, 4711u);
    os_file_free(&contents); // allowed
}

TEST(FileRead, WhatCannotBeAPathCannotBeRead) {
    EXPECT_EQ(read("").data, nullptr);
    EXPECT_EQ(read(std::string(5000, 'x')).data, nullptr);
    EXPECT_EQ(read(std::string(10000000, 'x')).data, nullptr);
    EXPECT_EQ(os_file_read_all({}).data, nullptr);
}

TEST(FileRead, APathEndsAtItsZeroByte) {
    TestTree tree;
    tree.file("f", "text");
    EXPECT_EQ(read_text(tree.path("f") + std::string("\0junk", 5)), "text");
    EXPECT_EQ(read_text(tree.path("f") + '\0' + std::string(200000, 'x')), "text");
}

TEST(FileRead, AFolderCannotBeRead) {
    TestTree tree;
    tree.folder("d");
    EXPECT_EQ(read(tree.path("d")).data, nullptr);
}

TEST(FileRead, AFileThatAnotherHandleHoldsOpenForWritingIsRead) {
    TestTree tree;
    tree.file("f", "text");
    HeldForWriting held(tree.native("f"));
    EXPECT_EQ(read_text(tree.path("f")), "text");
}

TEST(FileRead, AnUnreadableFileHasNoPointer) {
    TestTree tree;
    tree.file("f", "text");
    {
        Unreadable unreadable(tree.native("f"));
        EXPECT_EQ(read(tree.path("f")).data, nullptr);
    }
    EXPECT_EQ(read_text(tree.path("f")), "text");
}

TEST(FileRead, OutOfMemoryIsAFailedReadAndIsNoted) {
    TestTree tree;
    tree.file("f", "text");
    os_last_file_error = {};
    {
        HeapHookScope hook([](uint64_t) { return false; });
        EXPECT_EQ(read(tree.path("f")).data, nullptr);
    }
    EXPECT_NE(os_last_file_error.code, 0u);
    EXPECT_NE(os_last_file_error.text[0], 0);
    EXPECT_EQ(read_text(tree.path("f")), "text");
    EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 0); // both reads closed it
}

#ifdef _WIN32
TEST(FileRead, ASuccessIntentionallyNotesWhateverErrorTheSystemHadLast) {
    TestTree tree;
    tree.file("f", "text");
    for (DWORD last : {DWORD{ERROR_SHARING_VIOLATION}, DWORD{ERROR_SUCCESS}}) {
        HeapHookScope hook([&](uint64_t) {
            SetLastError(last);
            return true;
        });
        EXPECT_EQ(read_text(tree.path("f")), "text");
        EXPECT_EQ(os_last_file_error.code, last);
        EXPECT_EQ(os_last_file_error.text, last == ERROR_SUCCESS ? "" : words_of(last));
    }
}

TEST(FileRead, AFileThatFailsAfterItsOpeningHasNoPointerAndIsNotedAndClosed) {
    TestTree tree;
    tree.file("f", "text");
    for (bool *fails : {&sizes_fail, &reads_fail}) {
        os_last_file_error = {};
        *fails = true;
        Str contents = read(tree.path("f"));
        *fails = false;
        EXPECT_EQ(contents.data, nullptr);
        EXPECT_EQ(contents.count, 0u);
        EXPECT_EQ(os_last_file_error.code, DWORD{ERROR_CRC});
        EXPECT_EQ(os_last_file_error.text, words_of(ERROR_CRC));
    }
    EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 0); // it was closed
}

TEST(FileRead, WhileAFileIsReadOthersMayReadAndWriteItButNotDeleteIt) {
    TestTree tree;
    tree.file("f", "text");
    bool is_asked = false;
    HeapHookScope hook([&](uint64_t) {
        is_asked = true;
        EXPECT_EQ(bytes_of(tree.native("f")), "text");
        HeldForWriting(tree.native("f"));
        EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 1);
        return true;
    });
    EXPECT_EQ(read_text(tree.path("f")), "text");
    EXPECT_TRUE(is_asked);
}
#endif

TEST(FileRead, AFileThatShrinksMeanwhileKeepsItsLengthPaddedWithZeros) {
    TestTree tree;
    tree.file("f", "0123456789");
    // The block is allocated after reading the size and before reading the file.
    HeapHookScope hook([&](uint64_t) {
        fs::resize_file(tree.native("f"), 4);
        return true;
    });
    EXPECT_EQ(read_text(tree.path("f")), std::string("0123\0\0\0\0\0\0", 10));
}

TEST(FileRead, AFileThatGrowsMeanwhileIsReadUpToItsOldLength) {
    TestTree tree;
    tree.file("f", "0123");
    HeapHookScope hook([&](uint64_t) {
        fs::resize_file(tree.native("f"), 100);
        return true;
    });
    EXPECT_EQ(read_text(tree.path("f")), "0123");
}

TEST(FileRead, NamesOutsideAscii) {
    TestTree tree;
    for (const char *name : outside_ascii) {
        tree.file(name, name);
        EXPECT_EQ(read_text(tree.path(name)), name);
    }
}

#ifdef __linux__
TEST(FileRead, PipesAndDevicesAreNotFiles) {
    TestTree tree;
    ASSERT_EQ(mkfifo(tree.native("pipe").c_str(), 0600), 0);
    os_last_file_error = {};
    EXPECT_EQ(read(tree.path("pipe")).data, nullptr); // without waiting for a writer
    EXPECT_NE(os_last_file_error.code, 0u);
    EXPECT_NE(os_last_file_error.text[0], 0);
    EXPECT_EQ(read("/dev/zero").data, nullptr);
    tree.file("f", "x");
    EXPECT_EQ(read_text(tree.path("f")), "x");
    EXPECT_EQ(os_last_file_error.code, 0u);
    EXPECT_EQ(os_last_file_error.text[0], 0);
}

// Opening a pipe wakes a waiting writer, and opening a device can do anything.
TEST(FileRead, PipesAndSocketsAreNotEvenOpened) {
    TestTree tree;
    ASSERT_EQ(mkfifo(tree.native("pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", tree.native("link"));
    int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {AF_UNIX, {}};
    int folder = open(tree.path().c_str(), O_PATH); // the full path may be too long for a socket address
    snprintf(address.sun_path, sizeof(address.sun_path), "/proc/self/fd/%i/socket", folder);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof(address)), 0);
    int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, tree.native("pipe").c_str(), IN_OPEN), 0);

    EXPECT_EQ(read(tree.path("pipe")).data, nullptr);
    FolderEntry entry;
    void *listing = os_folder_first(str_over(tree.path()), LIST_FILES, &entry);
    ASSERT_NE(listing, nullptr);
    size_t count = 0;
    do {
        std::string path = tree.path(to_string(entry.name));
        EXPECT_EQ(os_file_read_entry(str_over(path), entry.name).data, nullptr);
        count++;
    } while (os_folder_next(listing, &entry));
    os_folder_close(listing);
    EXPECT_EQ(count, 5u); // ".", "..", the pipe, its link and the socket
    char events[4096];
    EXPECT_EQ(::read(watch, events, sizeof(events)), -1) << "opened";
    close(watch);
    close(listener);
    close(folder);
}
#endif

// ---- Writing and deleting ----

TEST(FileWrite, CreatesAFile) {
    TestTree tree;
    std::string bytes("a\n\0\r\n", 5);
    EXPECT_EQ(write(tree.path("f"), bytes), 0);
    EXPECT_EQ(bytes_of(tree.native("f")), bytes);
    EXPECT_EQ(write(tree.path("é"), ""), 0);
    EXPECT_TRUE(fs::exists(tree.native("é")));
}

TEST(FileWrite, OverALongerFileLeavesItsEndInPlace) {
    TestTree tree;
    tree.file("f", "abcdefghijklmnopqrst");
    EXPECT_EQ(write(tree.path("f"), "0123456789"), 0);
    EXPECT_EQ(bytes_of(tree.native("f")), "0123456789klmnopqrst");
}

TEST(FileWrite, IntoAMissingFolderCannotOpen) {
    TestTree tree;
    EXPECT_EQ(write(tree.path("missing/f"), "x"), 1);
    EXPECT_EQ(write(tree.path(), "x"), 1); // a folder
    EXPECT_EQ(write("", "x"), 1);
}

#ifdef _WIN32
TEST(FileWrite, AFileThatAnyoneHoldsOpenCannotBeOpened) {
    TestTree tree;
    tree.file("f", "text");
    HeldForWriting held(tree.native("f")); // shares writing, but os_file_write does not
    EXPECT_EQ(write(tree.path("f"), "x"), 1);
    EXPECT_EQ(read_text(tree.path("f")), "text");
}

TEST(FileWrite, WhatTheSystemDoesNotTakeIsAFailedWrite) {
    TestTree tree;
    EXPECT_EQ(os_file_write(str_over(tree.path("f")), 4, nullptr), 2);
    EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 0); // it was closed
}
#endif

#ifdef __linux__
TEST(FileWrite, WhatTheSystemDoesNotTakeIsAFailedWrite) {
    EXPECT_EQ(write("/dev/full", "x"), 2);
    TestTree tree;
    ASSERT_EQ(mkfifo(tree.native("pipe").c_str(), 0600), 0);
    EXPECT_EQ(write(tree.path("pipe"), "x"), 1); // without waiting for a reader
}
#endif

TEST(FileWrite, APathThatIsTooLongCannotBeOpenedOrDeleted) {
    std::string path(100000, 'x');
    EXPECT_EQ(write(path, "x"), 1);
    EXPECT_EQ(os_file_delete(str_over(path)), 1);
}

TEST(FileDelete, DeletesOrFindsNothingToDelete) {
    TestTree tree;
    tree.file("f", "x");
    EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 0);
    EXPECT_FALSE(fs::exists(tree.native("f")));
    EXPECT_EQ(os_file_delete(str_over(tree.path("f"))), 0);
}

TEST(FileDelete, AMissingFolderOrAFolderIsAFailure) {
    TestTree tree;
    tree.folder("d");
    EXPECT_EQ(os_file_delete(str_over(tree.path("missing/f"))), 1);
    EXPECT_EQ(os_file_delete(str_over(tree.path("d"))), 1);
    EXPECT_TRUE(fs::exists(tree.native("d")));
}

TEST(PathExists, FilesAndFolders) {
    TestTree tree;
    tree.file("f", "x");
    tree.folder("d");
    EXPECT_TRUE(os_path_exists(str_over(tree.path("f"))));
    EXPECT_TRUE(os_path_exists(str_over(tree.path("d"))));
    EXPECT_TRUE(os_path_exists(str_over(tree.path("d/"))));
    EXPECT_FALSE(os_path_exists(str_over(tree.path("x"))));
    EXPECT_FALSE(os_path_exists(str_over(tree.path("f/x"))));
    EXPECT_FALSE(os_path_exists({}));
    EXPECT_FALSE(os_path_exists(str_over(std::string(100000, 'x'))));
}

TEST(PathExists, FoldersAreDistinguishedFromFiles) {
    TestTree tree;
    tree.file("f", "x");
    tree.folder("d");
    EXPECT_FALSE(os_path_is_folder(str_over(tree.path("f"))));
    EXPECT_TRUE(os_path_is_folder(str_over(tree.path("d"))));
    EXPECT_FALSE(os_path_is_folder(str_over(tree.path("x"))));
    EXPECT_FALSE(os_path_is_folder({}));
    EXPECT_FALSE(os_path_is_folder(str_over(std::string(100000, 'x'))));
#ifndef _WIN32
    fs::create_symlink(tree.native("d"), tree.native("link"));
    EXPECT_TRUE(os_path_is_folder(str_over(tree.path("link"))));
#endif
}

TEST(EntryNames, AreTheSameInAnyCaseOnWindowsOnly) {
    const auto is_same = [](const std::string &a, const std::string &b) {
        return os_is_same_name(str_over(a), str_over(b));
    };
#ifdef _WIN32
    const bool in_any_case = true;
#else
    const bool in_any_case = false;
#endif
    EXPECT_TRUE(is_same("build", "build"));
    EXPECT_EQ(is_same("build", "BUILD"), in_any_case);
    EXPECT_EQ(is_same("größe", "GRÖßE"), in_any_case);
    EXPECT_FALSE(is_same("build", "buil"));
    EXPECT_FALSE(is_same("build", "build "));
    EXPECT_FALSE(is_same("größe", "grösse"));
    EXPECT_FALSE(is_same("[", "{"));
    EXPECT_FALSE(is_same("a", std::string(100000, 'a')));
    EXPECT_FALSE(is_same("a", ""));
}

TEST(Paths, AreMadeForTheSystemWithoutTheHeap) {
    TestTree tree;
    tree.folder("d");
    std::string path = tree.path("d/你.txt");
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_EQ(write(path, "x"), 0);
    EXPECT_TRUE(os_path_exists(str_over(path)));
    EXPECT_EQ(os_file_delete(str_over(path)), 0);
    EXPECT_FALSE(os_path_exists(str_over(path)));
}

TEST(ExeFolder, EndsInASlashAndHoldsTheExecutable) {
    Str folder = os_exe_folder();
    ASSERT_GT(folder.count, 1u);
    EXPECT_EQ(folder.data[folder.count - 1], '/');
    EXPECT_EQ(folder.data[folder.count], 0);
    EXPECT_EQ(to_string(folder).find('\\'), std::string::npos);
#ifdef _WIN32
    EXPECT_TRUE(os_path_exists(str_over(to_string(folder) + "os_tests.exe")));
#else
    EXPECT_TRUE(os_path_exists(str_over(to_string(folder) + "os_tests")));
#endif
    EXPECT_EQ(os_exe_folder().data, folder.data); // found once
}

#ifdef _WIN32

// ---- Started through a link ----

// The linker redirects every call to the first of each pair; the second is the real one.
extern "C" {
extern decltype(&GetFinalPathNameByHandleW) __wrap___imp_GetFinalPathNameByHandleW;
extern decltype(&GetFinalPathNameByHandleW) __real___imp_GetFinalPathNameByHandleW;
extern decltype(&GetFileAttributesW) __wrap___imp_GetFileAttributesW;
extern decltype(&GetFileAttributesW) __real___imp_GetFileAttributesW;
}

namespace {

const std::wstring *final_path; // the system's answer in a test; empty: the call fails
bool is_link;

DWORD WINAPI final_path_or_real(HANDLE file, wchar_t *path, DWORD capacity, DWORD flags) {
    if (!final_path) {
        return __real___imp_GetFinalPathNameByHandleW(file, path, capacity, flags);
    }
    if (final_path->size() >= capacity) {
        return static_cast<DWORD>(final_path->size() + 1); // as the system requests more room
    }
    wcscpy(path, final_path->c_str());
    return static_cast<DWORD>(final_path->size());
}

DWORD WINAPI attributes_or_link(const wchar_t *path) {
    DWORD attributes = __real___imp_GetFileAttributesW(path);
    return is_link ? attributes | FILE_ATTRIBUTE_REPARSE_POINT : attributes;
}

// What a file's path resolves to when this is the system's answer.
std::wstring resolved(const std::wstring &path, const std::wstring &answer) {
    wchar_t text[260];
    wcscpy(text, path.c_str());
    final_path = &answer;
    uint32_t units = wide_resolve_links(text, static_cast<uint32_t>(path.size()));
    final_path = nullptr;
    EXPECT_EQ(units, wcslen(text));
    return text;
}

} // namespace

decltype(&GetFinalPathNameByHandleW) __wrap___imp_GetFinalPathNameByHandleW = final_path_or_real;
decltype(&GetFileAttributesW) __wrap___imp_GetFileAttributesW = attributes_or_link;

TEST(ExeFolder, OfALinkIsThatOfTheFile) {
    TestTree tree;
    tree.file("link.exe", "");
    const std::wstring path = tree.native("link.exe").native();
    EXPECT_EQ(resolved(path, L"\\\\?\\D:\\größe\\real.exe"), L"D:\\größe\\real.exe");
    EXPECT_EQ(resolved(path, L"\\\\?\\C:\\a.exe"), L"C:\\a.exe");
    is_link = true;
    EXPECT_EQ(resolved(path, L"\\\\?\\UNC\\server\\share\\a.exe"), L"\\\\server\\share\\a.exe");
    is_link = false;
    EXPECT_EQ(resolved(path, L"\\\\?\\UNC\\server\\share\\a.exe"), path); // on a mapped drive
}

TEST(ExeFolder, IsThatOfTheLinkWhenTheFileIsUnknownOrItsPathIsTooLong) {
    TestTree tree;
    tree.file("link.exe", "");
    const std::wstring path = tree.native("link.exe").native();
    EXPECT_EQ(resolved(path, L""), path);
    EXPECT_EQ(resolved(path, L"\\\\?\\unix\\a.exe"), path); // neither on a drive nor on a server
    const std::wstring longest = L"C:\\" + std::wstring(256, L'x');
    EXPECT_EQ(resolved(path, L"\\\\?\\" + longest), longest); // 259 units
    EXPECT_EQ(resolved(path, L"\\\\?\\" + longest + L"x"), path);
    EXPECT_EQ(resolved(path, L"\\\\?\\" + longest + L"xyz"), path);
    is_link = true;
    const std::wstring share = L"server\\share\\" + std::wstring(244, L'x');
    EXPECT_EQ(resolved(path, L"\\\\?\\UNC\\" + share), L"\\\\" + share); // 259 units
    EXPECT_EQ(resolved(path, L"\\\\?\\UNC\\" + share + L"x"), path);
    is_link = false;
    const std::wstring missing = tree.native("missing.exe").native();
    EXPECT_EQ(resolved(missing, L"\\\\?\\C:\\a.exe"), missing);
}

#endif

// ---- Listing ----

TEST(FolderListing, ReportsNamesSizesAndFolders) {
    TestTree tree;
    tree.file("a.txt", "12345");
    tree.file("empty", "");
    tree.file(".hidden", "x");
    tree.folder("d");
    EXPECT_EQ(list(tree.path(), LIST_DETAILS), (Names{".hidden 1", "a.txt 5", "d/", "empty 0"}));
    EXPECT_EQ(list(tree.path(), LIST_FILES), (Names{".hidden 1", "a.txt 5", "d/", "empty 0"}));
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), (Names{".hidden", "a.txt", "d/", "empty"}));
}

TEST(FolderListing, ASizeOf4GiBAndMoreIsWhole) {
    TestTree tree;
    tree.file("f", "");
    fs::resize_file(tree.native("f"), (uint64_t{1} << 32) + 10); // sparse
    for (FolderListingUse use : {LIST_DETAILS, LIST_FILES}) {
        EXPECT_EQ(list(tree.path(), use), Names{"f 4294967306"});
    }
}

#ifdef _WIN32
TEST(FolderListing, HiddenAndSystemEntriesAreListed) {
    TestTree tree;
    tree.file("hidden", "x");
    tree.file("system", "xx");
    tree.folder("d");
    EXPECT_TRUE(SetFileAttributesW(tree.native("hidden").c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_TRUE(SetFileAttributesW(tree.native("system").c_str(), FILE_ATTRIBUTE_SYSTEM));
    EXPECT_TRUE(SetFileAttributesW(tree.native("d").c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ(list(tree.path(), LIST_DETAILS), (Names{"d/", "hidden 1", "system 2"}));
}
#endif

TEST(FolderListing, AnEmptyOrMissingFolderOrAFileHasNoEntries) {
    TestTree tree;
    tree.folder("d");
    tree.file("f", "x");
    for (FolderListingUse use : {LIST_DETAILS, LIST_FILES, LIST_SUBFOLDERS}) {
        EXPECT_EQ(list(tree.path("d"), use), Names{});
        EXPECT_EQ(list(tree.path("missing"), use), Names{});
        EXPECT_EQ(list(tree.path("f"), use), Names{});
        EXPECT_EQ(list(std::string(100000, 'x'), use), Names{});
    }
}

TEST(FolderListing, ATrailingSlashMakesNoDifferenceAndAZeroByteNoEntries) {
    TestTree tree;
    tree.file("f", "x");
    EXPECT_EQ(list(tree.path() + "/", LIST_DETAILS), Names{"f 1"});
    EXPECT_EQ(list(tree.path() + std::string("\0junk", 5), LIST_DETAILS), Names{});
}

TEST(FolderListing, AnEmptyPathListsTheRoot) {
    EXPECT_EQ(list("", LIST_SUBFOLDERS), list("/", LIST_SUBFOLDERS));
    EXPECT_NE(list("", LIST_SUBFOLDERS), Names{});
}

TEST(FolderListing, NamesOutsideAscii) {
    TestTree tree;
    Names names;
    for (const char *name : outside_ascii) {
        tree.file(name, "x");
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), names);
    tree.file("fólder/x", "x");
    EXPECT_EQ(list(tree.path("fólder"), LIST_FILES), Names{"x 1"});
}

namespace {

// The names of a LIST_ONCE listing, with "/" after a folder's, the size if it is known, and "special".
Names list_once(const TestTree &tree) {
    Names names;
    FolderEntry entry;
    std::string path = tree.path();
    void *listing = os_folder_first(str_over(path), LIST_ONCE, &entry);
    do {
        std::string name = to_string(entry.name);
        if (name != "." && name != "..") {
            EXPECT_TRUE(entry.has_size || entry.size == 0);
            names.push_back(name +
                            (entry.is_folder  ? "/"
                             : entry.has_size ? " 5"
                                              : "") +
                            (entry.is_special ? " special" : ""));
            EXPECT_TRUE(entry.is_folder || !entry.has_size || entry.size == 5);
        }
    } while (os_folder_next(listing, &entry));
    os_folder_close(listing);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(FolderListing, OneForBothPassesReportsFoldersAndFilesWithTheirSizesOrWithout) {
    TestTree tree;
    tree.file("f", "12345");
    tree.folder("d");
#ifdef __linux__
    fs::create_symlink("f", tree.native("link"));
    fs::create_symlink("..", tree.native("up")); // left out: it points to a folder above
    EXPECT_EQ(list_once(tree), (Names{"d/", "f", "link 5 special"}));
#else
    EXPECT_EQ(list_once(tree), (Names{"d/", "f 5"}));
#endif
}

#ifdef __linux__
TEST(FolderListing, OneForBothPassesFindsTypesThatTheFileSystemDoesNotReport) {
    TestTree tree;
    tree.file("f", "12345");
    tree.folder("d");
    fs::create_symlink("f", tree.native("link"));
    fs::create_symlink("..", tree.native("up"));
    hides_types = 1;
    EXPECT_EQ(list_once(tree), (Names{"d/", "f", "link 5 special"}));
    hides_types = 0;
}
#endif

// ---- Files of one folder ----

TEST(FilesOfFolder, AreOpenedWithTheirSizesAndRead) {
    TestTree tree;
    std::string path = tree.path();
    FilesOfFolder files = os_files_of(str_over(path));
    for (size_t size : {0u, 1u, 100u, 4095u, 4096u, 4097u, 8191u, 8192u, 8193u, 20000u}) {
        std::string bytes(size, 'x');
        tree.file("ä", bytes);
        std::string room(8192, '?');
        OpenedFile file = os_file_open(files, str_from("ä"), 8192, room.data());
        ASSERT_NE(file.handle, -1);
        EXPECT_EQ(file.size, size);
        if (file.is_read) {
            EXPECT_EQ(room.substr(0, size), bytes);
            EXPECT_LT(size, 8192u);
        }
        std::string read(size + 10, '?');
        EXPECT_TRUE(os_file_read(file, static_cast<uint32_t>(read.size()), read.data()));
        EXPECT_EQ(read, bytes + std::string(10, '\0'));
        os_file_close(&file);
        EXPECT_EQ(file.handle, -1);
    }
    OpenedFile missing = os_file_open(files, str_from("missing"), 0, nullptr);
    EXPECT_EQ(missing.handle, -1);
    os_file_close(&missing);
    os_files_close(&files);
}

TEST(FilesOfFolder, OfAFolderThatCannotBeOpenedCannotBeEither) {
    for (const std::string &path : {std::string("/nowhere"), std::string(40000, 'x')}) {
        FilesOfFolder files = os_files_of(str_over(path));
        EXPECT_EQ(os_file_open(files, str_from("f"), 0, nullptr).handle, -1);
        os_files_close(&files);
    }
}

#ifdef __linux__
TEST(FilesOfFolder, HaveTheSizesThatTheSystemReportsThoughTheirBytesAreMore) {
    char room[4096];
    FilesOfFolder files = os_files_of(str_from("/proc/self"));
    OpenedFile file = os_file_open(files, str_from("status"), sizeof(room), room);
    EXPECT_EQ(file.size, 0u); // opened or not, as seeking to its end may fail
    EXPECT_FALSE(file.is_read);
    os_file_close(&file);
    os_files_close(&files);
}
#endif

// ---- Entries that are read ----

TEST(FolderListing, AReadEntryHasItsFilesBytes) {
    TestTree tree;
    tree.file("a", "text of a");
    tree.file("b", "");
    for (FolderListingUse use : {LIST_DETAILS, LIST_FILES, LIST_SUBFOLDERS}) {
        FolderEntry entry;
        void *listing = os_folder_first(str_over(tree.path()), use, &entry);
        ASSERT_NE(listing, nullptr);
        int read_files = 0;
        do {
            if (!entry.is_folder) {
                std::string path = tree.path(to_string(entry.name));
                Str contents = os_file_read_entry(str_over(path), entry.name);
                ASSERT_NE(contents.data, nullptr);
                EXPECT_EQ(to_string(contents), to_string(entry.name) == "a" ? "text of a" : "");
                os_file_free(&contents);
                read_files++;
            }
        } while (os_folder_next(listing, &entry));
        os_folder_close(listing);
        EXPECT_EQ(read_files, 2);
    }
}

TEST(FolderListing, AnEntryWhosePathFoundNoMemoryIsNotRead) {
    TestTree tree;
    tree.file("a", "text of a");
    FolderEntry entry;
    void *listing = os_folder_first(str_over(tree.path()), LIST_FILES, &entry);
    ASSERT_NE(listing, nullptr);
    do {
        EXPECT_EQ(os_file_read_entry({}, entry.name).data, nullptr);
    } while (os_folder_next(listing, &entry));
    os_folder_close(listing);
}

TEST(FolderListing, FolderThatGrowsPastOneReadOfTheSystem) {
    TestTree tree;
    for (int i = 0; i < 3000; i++) {
        tree.file("a file with a name of some length " + std::to_string(i), "");
    }
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS).size(), 3000u);
}

#ifdef __linux__
TEST(FolderListing, ALinkIsListedAsItsTarget) {
    TestTree tree;
    tree.file("target/f", "12345");
    fs::create_symlink("target", tree.native("link"));
    fs::create_symlink("target/f", tree.native("file_link"));
    fs::create_symlink("nowhere", tree.native("dangling"));
    fs::create_symlink(".", tree.native("self"));
    EXPECT_EQ(list(tree.path(), LIST_DETAILS),
              (Names{"dangling 0", "file_link 5", "link/", "self/", "target/"}));
    // "self" points to its own folder: left out when folders may be entered.
    EXPECT_EQ(list(tree.path(), LIST_FILES), (Names{"dangling 0", "file_link 5", "link/", "target/"}));
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), (Names{"dangling", "file_link", "link/", "target/"}));
}

TEST(FolderListing, TheSecondListingInARowIsServedFromTheFirst) {
    TestTree tree;
    tree.file("f", "x");
    EXPECT_EQ(list(tree.path(), LIST_FILES), Names{"f 1"});
    tree.folder("new");
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), Names{"f"});
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), (Names{"f", "new/"})); // once only
    EXPECT_EQ(list(tree.path(), LIST_FILES), (Names{"f 1", "new/"}));
    EXPECT_EQ(list(tree.path("new"), LIST_SUBFOLDERS), Names{}); // another folder
    tree.folder("newer");
    EXPECT_EQ(list(tree.path(), LIST_SUBFOLDERS), (Names{"f", "new/", "newer/"}));
}

TEST(FolderListing, TwoListingsAtOnceAreBothGivenBack) {
    TestTree tree;
    tree.file("a/f", "x");
    tree.file("b/f", "x");
    std::string a = tree.path("a"), b = tree.path("b");
    FolderEntry entry_of_a, entry_of_b;
    void *listing_of_a = os_folder_first(str_over(a), LIST_FILES, &entry_of_a);
    void *listing_of_b = os_folder_first(str_over(b), LIST_FILES, &entry_of_b);
    while (os_folder_next(listing_of_a, &entry_of_a)) {
    }
    while (os_folder_next(listing_of_b, &entry_of_b)) {
    }
    os_folder_close(listing_of_b);
    os_folder_close(listing_of_a);
    EXPECT_EQ(list(a, LIST_SUBFOLDERS), Names{"f"});
}

TEST(FolderListing, NamesThatAreNotUtf8AreListedAsTheyAre) {
    TestTree tree;
    tree.file("\xFF\xFE", "x");
    EXPECT_EQ(list(tree.path(), LIST_FILES), Names{"\xFF\xFE 1"});
}

TEST(FolderListing, AnUnreadableFolderHasNoEntries) {
    TestTree tree;
    tree.file("d/f", "x");
    Unreadable unreadable(tree.native("d"));
    EXPECT_EQ(list(tree.path("d"), LIST_FILES), Names{});
}

TEST(FolderListing, WithoutMemoryForItsBlockAFolderIsEmpty) {
    TestTree tree;
    tree.file("f", "x");
    HeapHookScope hook([](uint64_t) { return false; });
    EXPECT_EQ(list(tree.path(), LIST_FILES), Names{});
}
#endif
