#include "os/toolkit/dates.h"

#include "os/win32/files.h"

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
