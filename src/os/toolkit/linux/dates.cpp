#include "os/toolkit/dates.h"

#include <time.h>

namespace {

DateTime date_time_from_system(const tm &date, int64_t nanosecond) {
    return {
        static_cast<uint16_t>(date.tm_year + 1900), static_cast<uint8_t>(date.tm_mon + 1),
        static_cast<uint8_t>(date.tm_mday),         weekday_from_system(static_cast<uint32_t>(date.tm_wday)),
        static_cast<uint8_t>(date.tm_hour),         static_cast<uint8_t>(date.tm_min),
        static_cast<uint8_t>(date.tm_sec),          static_cast<uint32_t>(nanosecond / 1000000 * 1000)};
}

} // namespace

DateTime os_utc_time() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm date;
    gmtime_r(&now.tv_sec, &date);
    return date_time_from_system(date, now.tv_nsec);
}

DateTime os_local_time() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm date;
    localtime_r(&now.tv_sec, &date);
    return date_time_from_system(date, now.tv_nsec);
}

FileTime os_entry_time(const FolderEntry &entry) {
    int64_t nanosecond = entry.written % 1000000000;
    nanosecond += nanosecond < 0 ? 1000000000 : 0; // before 1970
    time_t second = (entry.written - nanosecond) / 1000000000;
    tm date;
    gmtime_r(&second, &date);
    return date_time_from_system(date, nanosecond);
}
