// Counts a program's handles for soak.sh: process_probe CLASS prints one line about the process of the first
// window of that class, from the system's table of handles, and the drive letter of the working folder:
//
//   handles COUNT drive LETTER
//
// Exits with 1 when there is no such window or the table cannot be read. Wine has no other way to count
// handles, and none to count another process's private bytes or window objects.
#include <stdint.h>
#include <stdio.h>
#include <windows.h>

#include <vector>

extern "C" LONG NTAPI NtQuerySystemInformation(ULONG question, void *answer, ULONG size, ULONG *used);

namespace {

// The system's layout.
struct HandleEntry {
    void *object;
    ULONG_PTR process_id;
    ULONG_PTR handle;
    ULONG access;
    USHORT creator;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};
static_assert(sizeof(HandleEntry) == 40);

struct HandleTable {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

constexpr ULONG extended_handle_information = 64; // missing in the system's header
constexpr LONG too_short = static_cast<LONG>(0xC0000004);

// Returns 0 when the table cannot be read.
uint64_t count_handles(DWORD process_id) {
    for (ULONG size = 1 << 20; size < 1 << 30; size *= 2) {
        std::vector<char> block(size);
        LONG status = NtQuerySystemInformation(extended_handle_information, block.data(), size, nullptr);
        if (status == too_short) {
            continue;
        }
        uint64_t count = 0;
        const HandleTable *table = reinterpret_cast<const HandleTable *>(block.data());
        for (ULONG_PTR i = 0; status == 0 && i < table->count; i++) {
            count += table->entries[i].process_id == process_id;
        }
        return count;
    }
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "process_probe CLASS\n");
        return 2;
    }
    HWND window = FindWindowA(argv[1], nullptr);
    DWORD process_id = 0;
    GetWindowThreadProcessId(window, &process_id);
    uint64_t handles = window ? count_handles(process_id) : 0;
    wchar_t folder[MAX_PATH];
    if (handles == 0 || GetCurrentDirectoryW(MAX_PATH, folder) == 0) {
        return 1;
    }
    printf("handles %llu drive %c\n", handles, static_cast<char>(folder[0]));
    return 0;
}
