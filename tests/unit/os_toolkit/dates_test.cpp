#include "os/toolkit/dates.h"

#include <chrono>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "support/system_files.h"
#include "support/test_tree.h"
#include "support/threads.h"

namespace {

int64_t seconds_of(const DateTime &time) {
    using namespace std::chrono;
    sys_days days = year{time.year} / month{time.month} / day{time.day};
    return days.time_since_epoch() / seconds(1) + time.hour * 3600 + time.minute * 60 + time.second;
}

void expect_valid(const DateTime &time) {
    using namespace std::chrono;
    weekday expected{sys_days{year{time.year} / month{time.month} / day{time.day}}};
    EXPECT_EQ(time.weekday, expected.iso_encoding());
    EXPECT_LT(time.microsecond, 1000000u);
    EXPECT_EQ(time.microsecond % 1000, 0u);
}

TEST(Calendar, UtcTimeIsTheSystemsTime) {
    int64_t before = std::time(nullptr);
    DateTime time = os_utc_time();
    int64_t after = std::time(nullptr);
    EXPECT_GE(seconds_of(time), before - 1); // time() may lag by a step of the system's clock
    EXPECT_LE(seconds_of(time), after + 1);
    expect_valid(time);
}

TEST(Calendar, LocalTimeIsTheTimeOfTheSystemsTimeZone) {
    std::time_t now = std::time(nullptr);
    std::tm local = *std::localtime(&now);
    std::tm utc = *std::gmtime(&now);
    utc.tm_isdst = local.tm_isdst;
    int64_t offset = std::mktime(&local) - std::mktime(&utc);
    int64_t before = std::time(nullptr);
    DateTime time = os_local_time();
    int64_t after = std::time(nullptr);
    EXPECT_GE(seconds_of(time), before + offset - 1);
    EXPECT_LE(seconds_of(time), after + offset + 1);
    expect_valid(time);
}

#ifndef _WIN32
struct TimeZone {
    std::string kept;

    explicit TimeZone(const char *zone) {
        const char *before = getenv("TZ");
        kept = before ? before : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (kept.empty()) {
            unsetenv("TZ");
        } else {
            setenv("TZ", kept.c_str(), 1);
        }
        tzset();
    }
};

TEST(Calendar, LocalTimeFollowsTheTimeZone) {
    TimeZone zone("XYZ-13:30"); // thirteen and a half hours east
    int64_t utc = seconds_of(os_utc_time());
    int64_t local = seconds_of(os_local_time());
    EXPECT_GE(local - utc, 13 * 3600 + 1800);
    EXPECT_LE(local - utc, 13 * 3600 + 1800 + patience_s);
}
#endif

TEST(Calendar, TheNamesAreInOrderAndShortOnesAreTheFirstThreeLetters) {
    EXPECT_STREQ(month_names[0], "January");
    EXPECT_STREQ(month_names[8], "September");
    EXPECT_STREQ(month_names[11], "December");
    for (int i = 0; i < 12; i++) {
        EXPECT_EQ(std::string(month_names[i], 3), month_short_names[i]);
    }
    EXPECT_STREQ(weekday_names[0], "Monday");
    EXPECT_STREQ(weekday_names[6], "Sunday");
    for (int i = 0; i < 7; i++) {
        EXPECT_EQ(std::string(weekday_names[i], 3), weekday_short_names[i]);
    }
    EXPECT_EQ(weekday_short_names[7], nullptr);
    EXPECT_STREQ(invalid_names[0], "INV");
    EXPECT_STREQ(invalid_names[1], "INVALID");
}

TEST(Calendar, TheLastWriteIsUtcWithMondayAsFirstDay) {
    TestTree tree;
    tree.file("f", "x");
    // 2023-11-19 08:09:10.125, the last day of a week.
    set_last_write(tree.native("f"), ((19680 * 24 + 8) * 60 + 9) * int64_t{60000} + 10125);
    FolderEntry entry;
    void *listing = os_folder_first(str_over(tree.path()), LIST_DETAILS, &entry);
    ASSERT_NE(listing, nullptr);
    while (to_string(entry.name) != "f") {
        ASSERT_TRUE(os_folder_next(listing, &entry));
    }
    FileTime time = os_entry_time(entry);
    EXPECT_EQ(time.year, 2023);
    EXPECT_EQ(time.month, 11);
    EXPECT_EQ(time.day, 19);
    EXPECT_EQ(time.weekday, 7);
    EXPECT_EQ(time.hour, 8);
    EXPECT_EQ(time.minute, 9);
    EXPECT_EQ(time.second, 10);
    EXPECT_EQ(time.microsecond, 125000u);
    os_folder_close(listing);
}

TEST(Calendar, WeeksRunFromMondayToSunday) {
    EXPECT_EQ(weekday_from_system(0), 7);
    EXPECT_EQ(weekday_from_system(1), 1);
    EXPECT_EQ(weekday_from_system(6), 6);
}

} // namespace
