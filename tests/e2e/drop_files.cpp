// Drops files on a window like the file manager: drop_files CLASS X Y NAME... posts one message to the first
// window of that class. Exits with 1 when there is none or the message cannot be posted.
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

#include <shlobj.h>

#include <string>

namespace {

std::wstring wide_from(const char *text) {
    std::wstring wide(strlen(text) + 1, 0);
    int units = MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(units)); // including the terminator
    return wide;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 5) {
        fprintf(stderr, "drop_files CLASS X Y NAME...\n");
        return 2;
    }
    HWND window = FindWindowW(wide_from(argv[1]).c_str(), nullptr);
    std::wstring names;
    for (int i = 4; i < argc; i++) {
        names += wide_from(argv[i]);
    }
    names.push_back(0);
    DROPFILES head = {};
    head.pFiles = sizeof(head);
    head.pt = {atoi(argv[2]), atoi(argv[3])};
    head.fWide = TRUE;
    std::string drop(reinterpret_cast<const char *>(&head), sizeof(head));
    drop.append(reinterpret_cast<const char *>(names.data()), names.size() * sizeof(wchar_t));

    // A drop handle is valid only in the window's process; the address of a block there serves as one.
    DWORD process_id = 0;
    GetWindowThreadProcessId(window, &process_id);
    HANDLE process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_WRITE, FALSE, process_id);
    void *block = VirtualAllocEx(process, nullptr, drop.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    return !block || !WriteProcessMemory(process, block, drop.data(), drop.size(), nullptr) ||
           !PostMessageW(window, WM_DROPFILES, reinterpret_cast<WPARAM>(block), 0);
}
