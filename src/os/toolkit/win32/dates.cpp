#include "os/toolkit/dates.h"

#include <windows.h>

namespace {

DateTime date_time_from_system(const SYSTEMTIME &time) {
    return {time.wYear,
            static_cast<uint8_t>(time.wMonth),
            static_cast<uint8_t>(time.wDay),
            weekday_from_system(time.wDayOfWeek),
            static_cast<uint8_t>(time.wHour),
            static_cast<uint8_t>(time.wMinute),
            static_cast<uint8_t>(time.wSecond),
            uint32_t{time.wMilliseconds} * 1000};
}

} // namespace

DateTime os_utc_time() {
    SYSTEMTIME time;
    GetSystemTime(&time);
    return date_time_from_system(time);
}

DateTime os_local_time() {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return date_time_from_system(time);
}

FileTime os_entry_time(const FolderEntry &entry) {
    FILETIME written = {static_cast<DWORD>(entry.written), static_cast<DWORD>(entry.written >> 32)};
    SYSTEMTIME time = {};
    FileTimeToSystemTime(&written, &time);
    return date_time_from_system(time);
}
