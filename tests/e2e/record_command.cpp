// A program for search_and_click_test.sh: appends its whole command line as one line to commands.txt in its
// own folder.
#include <windows.h>

namespace {

constexpr DWORD longest = 65536; // UTF-16 units of a path; a command line has less

wchar_t path[longest];
char line[3 * longest];

} // namespace

int main() {
    DWORD length = GetModuleFileNameW(nullptr, path, longest);
    while (length > 0 && path[length - 1] != L'\\') {
        length--;
    }
    constexpr wchar_t name[] = L"commands.txt";
    if (length == 0 || length > longest - sizeof(name) / sizeof(wchar_t)) {
        return 1;
    }
    CopyMemory(path + length, name, sizeof(name));
    // Opened for one writer at a time, so that lines do not mix.
    HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    while (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION) {
        Sleep(1);
        file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    }
    int count = WideCharToMultiByte(CP_UTF8, 0, GetCommandLineW(), -1, line, sizeof(line), nullptr, nullptr);
    if (file == INVALID_HANDLE_VALUE || count == 0) {
        return 1;
    }
    line[count - 1] = '\n'; // in place of the terminator
    DWORD written = 0;
    return WriteFile(file, line, static_cast<DWORD>(count), &written, nullptr) ? 0 : 1;
}
