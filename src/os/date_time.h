// Dates with the time of day.
#pragma once

#include <stddef.h>
#include <stdint.h>

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

// The last write of a file, UTC, as folder listings report it.
using FileTime = DateTime;

// Converts a weekday from the systems' numbering: Sunday 0 to Saturday 6.
constexpr uint8_t weekday_from_system(uint32_t day) {
    return static_cast<uint8_t>(day == 0 ? 7 : day);
}

static_assert(sizeof(DateTime) == 12 && offsetof(DateTime, month) == 2 && offsetof(DateTime, day) == 3 &&
              offsetof(DateTime, weekday) == 4 && offsetof(DateTime, hour) == 5 &&
              offsetof(DateTime, minute) == 6 && offsetof(DateTime, second) == 7 &&
              offsetof(DateTime, microsecond) == 8);
