// Dates with the time of day: now, and of a file's last write; and the words for writing them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/files.h"

// A date and time of day, UTC or local time as the function that returns it says.
struct DateTime {
    uint16_t year;
    uint8_t month;        // 1 to 12
    uint8_t day;          // of the month, from 1
    uint8_t weekday;      // Monday 1 to Sunday 7
    uint8_t hour;         // 0 to 23
    uint8_t minute;       // 0 to 59
    uint8_t second;       // 0 to 59
    uint32_t microsecond; // whole milliseconds only
};

// ---- The calendar (each system) ----

DateTime os_utc_time();
DateTime os_local_time();

// The last write of a file, UTC.
using FileTime = DateTime;

// The last write of an entry that a folder listing has returned.
FileTime os_entry_time(const FolderEntry &entry);

// ---- Weekdays (one version for all systems) ----

// Converts a weekday from the systems' numbering: Sunday 0 to Saturday 6.
constexpr uint8_t weekday_from_system(uint32_t day) {
    return static_cast<uint8_t>(day == 0 ? 7 : day);
}

// ---- Names (one version for all systems) ----

// The names for writing dates, indexed from 0; nothing in the program reads them.
inline constexpr const char *month_short_names[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
inline constexpr const char *month_names[12] = {"January",   "February", "March",    "April",
                                                "May",       "June",     "July",     "August",
                                                "September", "October",  "November", "December"};
// Monday first. The empty slot at the end of the short names is intentional.
inline constexpr const char *weekday_short_names[8] = {"Mon", "Tue", "Wed", "Thu",
                                                       "Fri", "Sat", "Sun", nullptr};
inline constexpr const char *weekday_names[7] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                 "Friday", "Saturday", "Sunday"};
// The short and the full name of a value out of range.
inline constexpr const char *invalid_names[2] = {"INV", "INVALID"};

static_assert(sizeof(DateTime) == 12 && offsetof(DateTime, month) == 2 && offsetof(DateTime, day) == 3 &&
              offsetof(DateTime, weekday) == 4 && offsetof(DateTime, hour) == 5 &&
              offsetof(DateTime, minute) == 6 && offsetof(DateTime, second) == 7 &&
              offsetof(DateTime, microsecond) == 8);
