#include <gtest/gtest.h>
#include <windows.h>

#include "support/system_files.h"

uint64_t process_id() {
    return GetCurrentProcessId();
}

namespace {

// Unlike the system's own calls, the C++ library fails on paths of more than 260 units.
void remove_long_paths(const std::wstring &folder) {
    WIN32_FIND_DATAW entry;
    HANDLE listing = FindFirstFileW((folder + L"\\*").c_str(), &entry);
    if (listing != INVALID_HANDLE_VALUE) {
        do {
            std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..") {
                continue;
            }
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                remove_long_paths(folder + L"\\" + name);
            } else {
                DeleteFileW((folder + L"\\" + name).c_str());
            }
        } while (FindNextFileW(listing, &entry));
        FindClose(listing);
    }
    RemoveDirectoryW(folder.c_str());
}

} // namespace

void remove_tree(const std::filesystem::path &root) {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
    if (std::filesystem::exists(root, ignored)) {
        remove_long_paths(L"\\\\?\\" + root.native());
    }
}

void set_last_write(const std::filesystem::path &path, int64_t ms_since_1970) {
    constexpr int64_t ms_from_1601_to_1970 = 11644473600000;
    uint64_t ticks = static_cast<uint64_t>((ms_since_1970 + ms_from_1601_to_1970) * 10000);
    FILETIME time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
    CloseHandle(file);
}

HeldForWriting::HeldForWriting(const std::filesystem::path &path)
    : handle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) {
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
}

HeldForWriting::~HeldForWriting() {
    CloseHandle(handle);
}

Unreadable::Unreadable(const std::filesystem::path &locked)
    : path(locked), handle(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr)) {
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
}

Unreadable::~Unreadable() {
    CloseHandle(handle);
}
