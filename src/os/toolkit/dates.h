// The date and time now, and the words for writing dates.
#pragma once

#include "os/date_time.h"

// ---- The calendar (each system) ----

DateTime os_utc_time();
DateTime os_local_time();

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
