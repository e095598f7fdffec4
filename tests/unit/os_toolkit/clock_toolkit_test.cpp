#include "os/toolkit/clock.h"

#include <gtest/gtest.h>

#include "support/threads.h"

namespace {

class ToolkitClock : public testing::Test {
protected:
    void SetUp() override {
        os_init();
    }
};

TEST_F(ToolkitClock, TheClocksAgreeAndNeverGoBack) {
    int64_t us = os_now_us();
    int64_t ticks_as_us = os_ticks_to_us(os_ticks());
    int64_t ms = os_now_ms();
    int64_t us_later = os_now_us();
    EXPECT_LE(us, ticks_as_us);
    EXPECT_LE(ticks_as_us / 1000, ms);
    EXPECT_LE(ms, us_later / 1000);
    EXPECT_LE(ticks_as_us, us_later);
}

TEST_F(ToolkitClock, ASleepInSecondsLastsAtLeastAboutAsLongAsAsked) {
    // Wide margin: a system may wake a sleeper up to one step of its clock too early.
    int64_t start = os_ticks();
    os_sleep_s(1);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 900 / 1000);
    os_sleep_s(0);
}

#ifdef _WIN32
TEST_F(ToolkitClock, ASleepInSecondsIsAlertable) {
    volatile uint8_t is_called = 0;
    PAPCFUNC note_call = [](ULONG_PTR flag) { *reinterpret_cast<volatile uint8_t *>(flag) = 1; };
    ASSERT_NE(QueueUserAPC(note_call, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&is_called)), 0u);
    os_sleep_s(patience_s);
    EXPECT_EQ(is_called, 1);
}
#endif

} // namespace
