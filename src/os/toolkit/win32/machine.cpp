#include "os/toolkit/machine.h"

#include "os/win32/files.h"
#include "os/win32/utf16.h"

uint32_t os_processor_count() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

uint64_t os_installed_memory() {
    ULONGLONG kilobytes = 0;
    return GetPhysicallyInstalledSystemMemory(&kilobytes) ? kilobytes * 1024 : 0;
}

Str os_exe_name() {
    static Str path;
    if (!path.data) {
        wchar_t wide[longest_exe_path];
        path = utf8_from_wide(wide, static_cast<int32_t>(exe_path(wide)));
    }
    return file_name_of(path);
}
