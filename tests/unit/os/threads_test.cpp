#include "os/threads.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "os/memory.h"

#ifdef _WIN32
#include <windows.h>

#include "os/win32/files.h"
#else
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

// Long enough for any machine; only a failing test waits for so long.
constexpr int64_t patience_s = 60;

bool eventually(const std::function<bool()> &condition) {
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(patience_s);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        os_sleep_ms(1);
    }
    return true;
}

enum class Ending { returned, killed, still_running };

// Waits for a thread's end by its system handle, which outlives the record, and closes the handle.
Ending wait_for_end(void *handle, uint32_t *result = nullptr) {
#ifdef _WIN32
    if (WaitForSingleObject(handle, patience_s * 1000) != WAIT_OBJECT_0) {
        return Ending::still_running;
    }
    DWORD code = 0;
    GetExitCodeThread(handle, &code);
    CloseHandle(handle);
    if (result) {
        *result = code;
    }
    return code == 1 ? Ending::killed : Ending::returned; // the routines here return other values
#else
    timespec end;
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += patience_s;
    void *value = nullptr;
    if (pthread_timedjoin_np(reinterpret_cast<pthread_t>(handle), &value, &end) != 0) {
        return Ending::still_running;
    }
    if (result) {
        *result = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(value));
    }
    return value == PTHREAD_CANCELED ? Ending::killed : Ending::returned;
#endif
}

// What a counting thread shares with its test.
struct Counter {
    volatile uint64_t count = 0;
    volatile uint8_t is_asked_to_end = 0;
};

uint32_t count_until_asked(void *record) {
    Counter *counter = static_cast<Counter *>(static_cast<Thread *>(record)->user_data);
    while (!counter->is_asked_to_end) {
        counter->count = counter->count + 1;
    }
    return 7;
}

uint32_t count_with_sleeps(void *record) {
    Counter *counter = static_cast<Counter *>(static_cast<Thread *>(record)->user_data);
    while (!counter->is_asked_to_end) {
        counter->count = counter->count + 1;
        os_sleep_ms(1);
    }
    return 7;
}

bool goes_on(const Counter &counter) {
    uint64_t before = counter.count;
    return eventually([&] { return counter.count != before; });
}

// A system may return from suspending a moment before the thread has stopped.
bool comes_to_a_stop(const Counter &counter) {
    return eventually([&] {
        uint64_t before = counter.count;
        os_sleep_ms(50);
        return counter.count == before;
    });
}

// Lets a counting thread end by itself and gives its record back.
void end_thread(Thread *thread, Counter *counter) {
    counter->is_asked_to_end = 1;
    void *handle = thread->handle;
#ifdef _WIN32
    DWORD code = 0;
    EXPECT_EQ(WaitForSingleObject(handle, patience_s * 1000), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(GetExitCodeThread(handle, &code));
    EXPECT_EQ(code, 7u);
    os_thread_kill(thread); // frees the record of a thread that has ended, too
    EXPECT_TRUE(CloseHandle(handle));
#else
    clockid_t clock;
    EXPECT_TRUE(
        eventually([&] { return pthread_getcpuclockid(reinterpret_cast<pthread_t>(handle), &clock) != 0; }));
    os_thread_kill(thread); // frees the record of a thread that has ended, too
    EXPECT_EQ(wait_for_end(handle), Ending::returned);
#endif
}

class Threads : public testing::Test {
protected:
    void SetUp() override {
        os_init();
    }

    void TearDown() override {
        os_heap_hook = nullptr;
    }
};

// ---- Starting ----

struct Seen {
    void *volatile record = nullptr;
    void *volatile user_data = nullptr;
};

uint32_t report_what_came(void *record) {
    Thread *thread = static_cast<Thread *>(record);
    Seen *seen = static_cast<Seen *>(thread->user_data);
    seen->record = record;
    seen->user_data = thread->user_data;
    return 42;
}

TEST_F(Threads, TheRoutineReceivesItsRecordWithTheUserDataInIt) {
    Seen seen;
    Thread *thread = os_thread_start(report_what_came, &seen);
    ASSERT_NE(thread, nullptr);
    uint32_t result = 0;
    EXPECT_EQ(wait_for_end(thread->handle, &result), Ending::returned);
    EXPECT_EQ(result, 42u);
    EXPECT_EQ(seen.record, thread);
    EXPECT_EQ(seen.user_data, &seen);
    EXPECT_EQ(thread->suspended, 0);
    os_free(thread); // its handle is closed already, so it cannot be killed any more
}

uint64_t asked_size;

uint8_t refuse_and_note(uint64_t size) {
    asked_size = size;
    return 0;
}

TEST_F(Threads, WithoutMemoryForTheRecordNoThreadIsStarted) {
    Seen seen;
    os_heap_hook = refuse_and_note;
    EXPECT_EQ(os_thread_start(report_what_came, &seen), nullptr);
    EXPECT_EQ(asked_size, 24u);
    EXPECT_EQ(seen.record, nullptr);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
uint32_t sleep_for_ever(void *) {
    os_sleep_ms(UINT32_MAX);
    return 0;
}

TEST_F(Threads, AThreadThatTheSystemRefusesIsNull) {
    // In a process of its own, which gets no more memory; a few stacks of earlier threads may be left for
    // use.
    pid_t child = fork();
    if (child == 0) {
        rlimit none = {0, 0};
        setrlimit(RLIMIT_AS, &none);
        for (int i = 0; i < 1000; i++) {
            if (!os_thread_start(sleep_for_ever, nullptr)) {
                _exit(0);
            }
        }
        _exit(1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

// Each level keeps 16 KiB that it must not lose, so that 3000 levels need some 48 MB.
uint32_t recurse(uint32_t levels) {
    volatile uint8_t kept[16384];
    kept[0] = static_cast<uint8_t>(levels);
    kept[sizeof(kept) - 1] = static_cast<uint8_t>(levels);
    uint32_t below = levels > 1 ? recurse(levels - 1) : 0;
    return below + (kept[0] == static_cast<uint8_t>(levels) && kept[sizeof(kept) - 1] == kept[0]);
}

uint32_t recurse_deeply(void *) {
    return recurse(3000);
}

TEST_F(Threads, AThreadHasRoomForDeepRecursion) {
    Thread *thread = os_thread_start(recurse_deeply, nullptr);
    ASSERT_NE(thread, nullptr);
    uint32_t result = 0;
    EXPECT_EQ(wait_for_end(thread->handle, &result), Ending::returned);
    EXPECT_EQ(result, 3000u);
    os_free(thread);
}

// ---- Suspending ----

TEST_F(Threads, ASuspendedThreadStandsStillUntilItIsResumed) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(goes_on(counter));

    os_thread_suspend(thread);
    EXPECT_EQ(thread->suspended, 1);
    EXPECT_TRUE(comes_to_a_stop(counter));

    os_thread_resume(thread);
    EXPECT_EQ(thread->suspended, 0);
    EXPECT_TRUE(goes_on(counter));
    end_thread(thread, &counter);
}

#ifndef _WIN32
TEST_F(Threads, AThreadHasStoppedOnceSuspendReturns) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    for (int round = 0; round < 1000; round++) {
        os_thread_suspend(thread);
        uint64_t stopped_at = counter.count;
        for (int i = 0; i < 5; i++) {
            os_sleep_ms(0);
        }
        ASSERT_EQ(counter.count, stopped_at);
        os_thread_resume(thread);
    }
    end_thread(thread, &counter);
}
#endif

TEST_F(Threads, ASleepingThreadCanBeSuspended) {
    Counter counter;
    Thread *thread = os_thread_start(count_with_sleeps, &counter);
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(goes_on(counter));
    os_thread_suspend(thread);
    EXPECT_TRUE(comes_to_a_stop(counter));
    os_thread_resume(thread);
    EXPECT_TRUE(goes_on(counter));
    end_thread(thread, &counter);
}

TEST_F(Threads, SuspendingTwiceSuspendsOnce) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(goes_on(counter));
    os_thread_suspend(thread);
    os_thread_suspend(thread);
    EXPECT_TRUE(comes_to_a_stop(counter));
    os_thread_resume(thread);
    EXPECT_TRUE(goes_on(counter));
    end_thread(thread, &counter);
}

TEST_F(Threads, ResumingAThreadThatIsNotSuspendedDoesNothing) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    os_thread_resume(thread);
    EXPECT_EQ(thread->suspended, 0);
    EXPECT_TRUE(goes_on(counter));
    // A resumption kept for later would undo this suspension.
    os_thread_suspend(thread);
    EXPECT_TRUE(comes_to_a_stop(counter));
    os_thread_resume(thread);
    end_thread(thread, &counter);
}

TEST_F(Threads, SuspendingAndResumingAThreadThatHasEndedReturns) {
    Counter counter;
    counter.is_asked_to_end = 1;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    os_thread_suspend(thread);
    EXPECT_EQ(thread->suspended, 1);
    os_thread_resume(thread);
    EXPECT_EQ(thread->suspended, 0);
    end_thread(thread, &counter);
}

TEST_F(Threads, ANullRecordOrHandleIsNeitherSuspendedNorResumed) {
    os_thread_suspend(nullptr);
    os_thread_resume(nullptr);
    Thread without_handle = {};
    os_thread_suspend(&without_handle);
    os_thread_resume(&without_handle);
    EXPECT_EQ(without_handle.suspended, 0);
}

// ---- Killing ----

TEST_F(Threads, AKilledThreadEndsWhereverItIs) {
    for (ThreadRoutine *routine : {count_until_asked, count_with_sleeps}) {
        Counter counter;
        Thread *thread = os_thread_start(routine, &counter);
        ASSERT_NE(thread, nullptr);
        EXPECT_TRUE(goes_on(counter));
        void *handle = thread->handle;
        os_thread_kill(thread);
        EXPECT_EQ(wait_for_end(handle), Ending::killed);
        uint64_t count = counter.count;
        os_sleep_ms(5);
        EXPECT_EQ(counter.count, count);
    }
}

TEST_F(Threads, ASuspendedThreadCanBeKilled) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    // A thread that is killed while it starts takes the system's own locks with it, and the next one waits
    // for ever.
    EXPECT_TRUE(goes_on(counter));
    os_thread_suspend(thread);
    EXPECT_TRUE(comes_to_a_stop(counter));
    void *handle = thread->handle;
    os_thread_kill(thread);
    EXPECT_EQ(wait_for_end(handle), Ending::killed);
}

TEST_F(Threads, AbortingAllThreadsOnlyWritesADebugLine) {
    Counter counter;
    Thread *thread = os_thread_start(count_until_asked, &counter);
    ASSERT_NE(thread, nullptr);
    testing::internal::CaptureStdout();
    os_abort_all_threads();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "* TODO * os_abort_all_threads\n");
    EXPECT_TRUE(goes_on(counter));
    end_thread(thread, &counter);
}

// ---- Locks ----

struct Account {
    Lock lock = os_lock_init();
    volatile uint64_t balance = 0;
};

constexpr uint64_t rounds = 20000;

uint32_t pay_in_under_the_lock(void *record) {
    Account *account = static_cast<Account *>(static_cast<Thread *>(record)->user_data);
    for (uint64_t i = 0; i < rounds; i++) {
        os_lock_enter(&account->lock);
        uint64_t balance = account->balance;
        if (i % 100 == 0) {
            os_sleep_ms(0); // so that the other thread gets its chance in between
        }
        account->balance = balance + 1;
        os_lock_leave(&account->lock);
    }
    return 0;
}

TEST_F(Threads, ALockKeepsTwoThreadsApart) {
    Account account;
    Thread *first = os_thread_start(pay_in_under_the_lock, &account);
    Thread *second = os_thread_start(pay_in_under_the_lock, &account);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(wait_for_end(first->handle), Ending::returned);
    EXPECT_EQ(wait_for_end(second->handle), Ending::returned);
    EXPECT_EQ(account.balance, 2 * rounds);
    os_lock_free(&account.lock);
    os_free(first);
    os_free(second);
}

// Takes the lock and leaves it again if nobody else holds it, and returns whether that is so.
uint32_t try_lock(void *record) {
    Lock *lock = static_cast<Lock *>(static_cast<Thread *>(record)->user_data);
#ifdef _WIN32
    bool is_free = TryEnterCriticalSection(reinterpret_cast<CRITICAL_SECTION *>(lock->words));
#else
    bool is_free = pthread_mutex_trylock(reinterpret_cast<pthread_mutex_t *>(lock->words)) == 0;
#endif
    if (is_free) {
        os_lock_leave(lock);
    }
    return is_free ? 3 : 2;
}

bool is_free_for_another_thread(Lock *lock) {
    Thread *thread = os_thread_start(try_lock, lock);
    uint32_t result = 0;
    EXPECT_EQ(wait_for_end(thread->handle, &result), Ending::returned);
    os_free(thread);
    return result == 3;
}

TEST_F(Threads, ALockThatWasEnteredTwiceIsFreeAfterLeavingTwice) {
    Lock lock = os_lock_init();
    EXPECT_TRUE(is_free_for_another_thread(&lock));
    os_lock_enter(&lock);
    os_lock_enter(&lock);
    os_lock_leave(&lock);
    EXPECT_FALSE(is_free_for_another_thread(&lock));
    os_lock_leave(&lock);
    EXPECT_TRUE(is_free_for_another_thread(&lock));
    os_lock_free(&lock);
}

// ---- Clocks ----

TEST_F(Threads, ASecondOfTicksIsAMillionMicroseconds) {
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

TEST_F(Threads, TicksAreMultipliedBeforeTheyAreDivided) {
    FixedFrequency frequency(3000000);
    EXPECT_EQ(os_ticks_to_us(2), 0);
    EXPECT_EQ(os_ticks_to_us(3), 1);
    EXPECT_EQ(os_ticks_to_us(4500001), 1500000);
}

TEST_F(Threads, TheConversionOfTicksWrapsAfterSomeTenDays) {
    FixedFrequency frequency(10000000);
    EXPECT_EQ(os_ticks_to_us(INT64_MAX / 1000000), 922337203685);
    EXPECT_EQ(os_ticks_to_us(INT64_MAX / 1000000 + 1), -922337203685);
    EXPECT_EQ(os_ticks_to_us(int64_t{20} * 24 * 3600 * 10000000),
              -116674407370); // 20 days, and not 1728 * 10^9
}

TEST_F(Threads, TheClocksAgreeAndNeverGoBack) {
    int64_t us = os_now_us();
    int64_t ticks_as_us = os_ticks_to_us(os_ticks());
    int64_t ms = os_now_ms();
    int64_t us_later = os_now_us();
    EXPECT_LE(us, ticks_as_us);
    EXPECT_LE(ticks_as_us / 1000, ms);
    EXPECT_LE(ms, us_later / 1000);
    EXPECT_LE(ticks_as_us, us_later);
}

// ---- Sleeping ----

TEST_F(Threads, MicrosecondsAreRoundedDownToWholeMilliseconds) {
    EXPECT_EQ(sleep_ms_from_us(0), 0u);
    EXPECT_EQ(sleep_ms_from_us(999), 0u);
    EXPECT_EQ(sleep_ms_from_us(1000), 1u);
    EXPECT_EQ(sleep_ms_from_us(16666), 16u);
    EXPECT_EQ(sleep_ms_from_us(-999), 0u);
}

TEST_F(Threads, MillisecondsToSleepAreCutTo32Bits) {
    EXPECT_EQ(sleep_ms_from_us(int64_t{0x100000000} * 1000), 0u);
    EXPECT_EQ(sleep_ms_from_us(int64_t{0x100000005} * 1000 + 999), 5u);
    EXPECT_EQ(sleep_ms_from_us(-5000), 0xFFFFFFFBu);
}

TEST_F(Threads, ASleepLastsAtLeastAboutAsLongAsAsked) {
    // Wide margin: a system may wake a sleeper up to one step of its clock too early.
    int64_t start = os_ticks();
    os_sleep_ms(100);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 50 / 1000);

    start = os_ticks();
    os_sleep_us(100999);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 50 / 1000);

    start = os_ticks();
    os_sleep_s(1);
    EXPECT_GE(os_ticks() - start, os_ticks_per_second * 900 / 1000);
    os_sleep_s(0);
    os_sleep_us(999);
}

#ifdef _WIN32
void CALLBACK note_call(ULONG_PTR flag) {
    *reinterpret_cast<volatile uint8_t *>(flag) = 1;
}

TEST_F(Threads, EverySleepIsAlertable) {
    const std::function<void()> sleeps[] = {
        [] { os_sleep_ms(patience_s * 1000); },
        [] { os_sleep_us(patience_s * 1000000); },
        [] { os_sleep_s(patience_s); },
    };
    for (const auto &sleep : sleeps) {
        volatile uint8_t is_called = 0;
        ASSERT_NE(QueueUserAPC(note_call, GetCurrentThread(), reinterpret_cast<ULONG_PTR>(&is_called)), 0u);
        sleep();
        EXPECT_EQ(is_called, 1);
    }
}
#endif

// ---- Dates ----

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

TEST_F(Threads, UtcTimeIsTheSystemsTime) {
    int64_t before = std::time(nullptr);
    DateTime time = os_utc_time();
    int64_t after = std::time(nullptr);
    EXPECT_GE(seconds_of(time), before - 1); // time() may lag by a step of the system's clock
    EXPECT_LE(seconds_of(time), after + 1);
    expect_valid(time);
}

TEST_F(Threads, LocalTimeIsTheTimeOfTheSystemsTimeZone) {
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

TEST_F(Threads, LocalTimeFollowsTheTimeZone) {
    TimeZone zone("XYZ-13:30"); // thirteen and a half hours east
    int64_t utc = seconds_of(os_utc_time());
    int64_t local = seconds_of(os_local_time());
    EXPECT_GE(local - utc, 13 * 3600 + 1800);
    EXPECT_LE(local - utc, 13 * 3600 + 1800 + patience_s);
}
#endif

TEST(Dates, WeeksRunFromMondayToSunday) {
    EXPECT_EQ(weekday_from_system(0), 7);
    EXPECT_EQ(weekday_from_system(1), 1);
    EXPECT_EQ(weekday_from_system(6), 6);
}

#ifdef _WIN32
TEST(Dates, ASystemTimeIsTakenOverFieldByField) {
    SYSTEMTIME sunday = {2023, 12, 0, 31, 23, 58, 59, 987};
    DateTime time = date_time_from_system(sunday);
    EXPECT_EQ(time.year, 2023);
    EXPECT_EQ(time.month, 12);
    EXPECT_EQ(time.day, 31);
    EXPECT_EQ(time.weekday, 7);
    EXPECT_EQ(time.hour, 23);
    EXPECT_EQ(time.minute, 58);
    EXPECT_EQ(time.second, 59);
    EXPECT_EQ(time.microsecond, 987000u);
    SYSTEMTIME monday = {2024, 1, 1, 1, 0, 0, 0, 0};
    EXPECT_EQ(date_time_from_system(monday).weekday, 1);
}
#endif

TEST(Dates, TheNamesAreInOrderAndShortOnesAreTheFirstThreeLetters) {
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

} // namespace

#ifdef _WIN32

// ---- Real pixels ----

// The linker hands every call of SetProcessDPIAware to the first of these; the second is the real one.
extern "C" {
extern BOOL(WINAPI *__wrap___imp_SetProcessDPIAware)();
extern BOOL(WINAPI *__real___imp_SetProcessDPIAware)();
}

namespace {

uint32_t asked_for_real_pixels;
BOOL real_pixels_are_given = TRUE;

BOOL WINAPI count_askings() {
    asked_for_real_pixels++;
    return real_pixels_are_given;
}

} // namespace

BOOL(WINAPI *__wrap___imp_SetProcessDPIAware)() = count_askings;

TEST_F(Threads, TheStartTurnsTheSystemsErrorBoxesOffForItsOwnThreadAndNotForTheProcess) {
    UINT of_process = SetErrorMode(0); // what programs that are started inherit
    DWORD of_thread;
    ASSERT_TRUE(SetThreadErrorMode(SEM_NOOPENFILEERRORBOX, &of_thread));
    os_init();
    EXPECT_EQ(SetErrorMode(of_process), 0u);
    EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_NOOPENFILEERRORBOX | SEM_FAILCRITICALERRORS});
    SetThreadErrorMode(of_thread, nullptr);
}

TEST_F(Threads, TheStartAsksForRealPixelsAndGoesOnWithoutThem) {
    for (BOOL given : {TRUE, FALSE}) {
        asked_for_real_pixels = 0;
        real_pixels_are_given = given;
        os_ticks_per_second = 0;
        testing::internal::CaptureStdout();
        os_init();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  given ? "" : "Error: failed to set DPI awareness\n");
        EXPECT_EQ(asked_for_real_pixels, 1u);
        EXPECT_GT(os_ticks_per_second, 0);
    }
    EXPECT_TRUE(__real___imp_SetProcessDPIAware());
}

#endif
