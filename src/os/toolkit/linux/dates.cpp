#include "os/toolkit/dates.h"

#include <time.h>

#include "os/linux/clock.h"

namespace {

DateTime date_time_from_system(const tm &date, int64_t nanosecond) {
    return {
        static_cast<uint16_t>(date.tm_year + 1900), static_cast<uint8_t>(date.tm_mon + 1),
        static_cast<uint8_t>(date.tm_mday),         weekday_from_system(static_cast<uint32_t>(date.tm_wday)),
        static_cast<uint8_t>(date.tm_hour),         static_cast<uint8_t>(date.tm_min),
        static_cast<uint8_t>(date.tm_sec),          static_cast<uint32_t>(nanosecond / 1000000 * 1000)};
}

// convert: gmtime_r or localtime_r.
DateTime now_as(tm *(*convert)(const time_t *, tm *)) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm date;
    convert(&now.tv_sec, &date);
    return date_time_from_system(date, now.tv_nsec);
}

} // namespace

DateTime os_utc_time() {
    return now_as(gmtime_r);
}

DateTime os_local_time() {
    return now_as(localtime_r);
}

FileTime os_entry_time(const FolderEntry &entry) {
    int64_t nanosecond = entry.written % nanoseconds_per_second;
    nanosecond += nanosecond < 0 ? nanoseconds_per_second : 0; // before 1970
    time_t second = (entry.written - nanosecond) / nanoseconds_per_second;
    tm date;
    gmtime_r(&second, &date);
    return date_time_from_system(date, nanosecond);
}
