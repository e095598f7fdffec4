#include "os/toolkit/machine.h"

#include <unistd.h>

#include "os/linux/files.h"

uint32_t os_processor_count() {
    return static_cast<uint32_t>(sysconf(_SC_NPROCESSORS_ONLN));
}

uint64_t os_installed_memory() {
    int64_t pages = sysconf(_SC_PHYS_PAGES);
    int64_t page_size = sysconf(_SC_PAGESIZE);
    return pages > 0 && page_size > 0 ? static_cast<uint64_t>(pages) * static_cast<uint64_t>(page_size) : 0;
}

Str os_exe_name() {
    static Str path;
    if (!path.data) {
        path = exe_path();
    }
    return file_name_of(path);
}
