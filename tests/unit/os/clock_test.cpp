#include "os/clock.h"

#include <functional>

#include <gtest/gtest.h>

#include "support/threads.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

class Clock : public testing::Test {
protected:
    void SetUp() override {
        os_init();
    }
};

TEST_F(Clock, ASecondOfTicksIsAMillionMicroseconds) {
    EXPECT_GT(os_ticks_per_second, 0);
    EXPECT_EQ(os_ticks_to_us(os_ticks_per_second), 1000000);
    EXPECT_EQ(os_ticks_to_us(0), 0);
    EXPECT_EQ(os_ticks_to_us(-os_ticks_per_second), -1000000);
}

struct FixedFrequency {
    int64_t kept = os_ticks_per_second;

    explicit FixedFrequency(int64_t frequency) {
        os_ticks_per_second = frequency;
    }
    ~FixedFrequency() {
        os_ticks_per_second = kept;
    }
};

TEST_F(Clock, TicksAreMultipliedBeforeTheyAreDivided) {
    FixedFrequency frequency(3000000);
    EXPECT_EQ(os_ticks_to_us(2), 0);
    EXPECT_EQ(os_ticks_to_us(3), 1);
    EXPECT_EQ(os_ticks_to_us(4500001), 1500000);
}

TEST_F(Clock, TheConversionOfTicksWrapsAfterSomeTenDays) {
    FixedFrequency frequency(10000000);
    EXPECT_EQ(os_ticks_to_us(INT64_MAX / 1000000), 922337203685);
    EXPECT_EQ(os_ticks_to_us(INT64_MAX / 1000000 + 1), -922337203685);
    EXPECT_EQ(os_ticks_to_us(int64_t{20} * 24 * 3600 * 10000000),
              -116674407370); // 20 days: wrapped, not 1728 * 10^9
}

// ---- Sleeping ----

TEST_F(Clock, MicrosecondsAreRoundedDownToWholeMilliseconds) {
    EXPECT_EQ(sleep_ms_from_us(0), 0u);
    EXPECT_EQ(sleep_ms_from_us(999), 0u);
    EXPECT_EQ(sleep_ms_from_us(1000), 1u);
    EXPECT_EQ(sleep_ms_from_us(16666), 16u);
    EXPECT_EQ(sleep_ms_from_us(-999), 0u);
}

TEST_F(Clock, MillisecondsToSleepAreTruncatedTo32Bits) {
    EXPECT_EQ(sleep_ms_from_us(int64_t{0x100000000} * 1000), 0u);
    EXPECT_EQ(sleep_ms_from_us(int64_t{0x100000005} * 1000 + 999), 5u);
    EXPECT_EQ(sleep_ms_from_us(-5000), 0xFFFFFFFBu);
}

TEST_F(Clock, ASleepLastsAtLeastAboutAsLongAsAsked) {
    // Wide margin: a system may wake a sleeping thread up to one clock tick early.
    int64_t start = os_ticks();
    os_sleep_ms(100);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 50 / 1000);

    start = os_ticks();
    os_sleep_us(100999);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 50 / 1000);
    os_sleep_us(999);
}

#ifdef _WIN32
void CALLBACK note_call(ULONG_PTR flag) {
    *reinterpret_cast<volatile uint8_t *>(flag) = 1;
}

TEST_F(Clock, EverySleepIsAlertable) {
    const std::function<void()> sleeps[] = {
        [] { os_sleep_ms(patience_s * 1000); },
        [] { os_sleep_us(patience_s * 1000000); },
    };
    for (const auto &sleep : sleeps) {
        volatile uint8_t is_called = 0;
        ASSERT_NE(QueueUserAPC(note_call, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&is_called)), 0u);
        sleep();
        EXPECT_EQ(is_called, 1);
    }
}
#endif

} // namespace

#ifdef _WIN32

// ---- DPI awareness ----

// The linker redirects every call of SetProcessDPIAware to the first of these; the second is the real one.
extern "C" {
extern BOOL(WINAPI *__wrap___imp_SetProcessDPIAware)();
extern BOOL(WINAPI *__real___imp_SetProcessDPIAware)();
}

namespace {

BOOL dpi_result = TRUE;

BOOL WINAPI return_dpi_result() {
    return dpi_result;
}

} // namespace

BOOL(WINAPI *__wrap___imp_SetProcessDPIAware)() = return_dpi_result;

TEST_F(Clock, InitHidesTheSystemsErrorBoxesForItsThreadButNotForTheProcess) {
    UINT of_process = SetErrorMode(0); // what started programs inherit
    DWORD of_thread;
    ASSERT_TRUE(SetThreadErrorMode(SEM_NOOPENFILEERRORBOX, &of_thread));
    os_init();
    EXPECT_EQ(SetErrorMode(of_process), 0u);
    EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_NOOPENFILEERRORBOX | SEM_FAILCRITICALERRORS});
    SetThreadErrorMode(of_thread, nullptr);
}

TEST_F(Clock, InitMakesTheProcessDpiAwareAndGoesOnWithoutIt) {
    for (BOOL given : {TRUE, FALSE}) {
        dpi_result = given;
        os_ticks_per_second = 0;
        testing::internal::CaptureStdout();
        os_init();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  given ? "" : "Error: failed to set DPI awareness\n");
        EXPECT_GT(os_ticks_per_second, 0);
    }
    EXPECT_TRUE(__real___imp_SetProcessDPIAware());
}

#endif
