#include "os/toolkit/threads.h"

#include <gtest/gtest.h>

#include "os/clock.h"
#include "os/memory.h"
#include "support/threads.h"

namespace {

// A thread that counts, and what it shares with its test.
struct CountingThread {
    volatile uint64_t count = 0;
    volatile uint8_t is_asked_to_end;
    Thread *thread;

    explicit CountingThread(ThreadRoutine *routine, uint8_t ends_at_once = 0)
        : is_asked_to_end(ends_at_once), thread(os_thread_start(routine, this)) {
        EXPECT_NE(thread, nullptr);
    }
    void end();
};

uint32_t count_until_asked(void *record) {
    auto *self = static_cast<CountingThread *>(static_cast<Thread *>(record)->user_data);
    while (!self->is_asked_to_end) {
        self->count = self->count + 1;
    }
    return 7;
}

uint32_t count_with_sleeps(void *record) {
    auto *self = static_cast<CountingThread *>(static_cast<Thread *>(record)->user_data);
    while (!self->is_asked_to_end) {
        self->count = self->count + 1;
        os_sleep_ms(1);
    }
    return 7;
}

bool goes_on(const CountingThread &counting) {
    uint64_t before = counting.count;
    return eventually([&] { return counting.count != before; });
}

// A system may return from suspending a moment before the thread has stopped.
bool comes_to_a_stop(const CountingThread &counting) {
    return eventually([&] {
        uint64_t before = counting.count;
        os_sleep_ms(50);
        return counting.count == before;
    });
}

// Lets the thread end by itself and frees its record.
void CountingThread::end() {
    is_asked_to_end = 1;
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

class ThreadControl : public testing::Test {
protected:
    void SetUp() override {
        os_init();
    }
};

// ---- Suspending ----

TEST_F(ThreadControl, ASuspendedThreadStopsUntilItIsResumed) {
    CountingThread counting(count_until_asked);
    EXPECT_TRUE(goes_on(counting));

    os_thread_suspend(counting.thread);
    EXPECT_EQ(counting.thread->suspended, 1);
    EXPECT_TRUE(comes_to_a_stop(counting));

    os_thread_resume(counting.thread);
    EXPECT_EQ(counting.thread->suspended, 0);
    EXPECT_TRUE(goes_on(counting));
    counting.end();
}

#ifndef _WIN32
TEST_F(ThreadControl, AThreadHasStoppedOnceSuspendReturns) {
    CountingThread counting(count_until_asked);
    for (int round = 0; round < 1000; round++) {
        os_thread_suspend(counting.thread);
        uint64_t stopped_at = counting.count;
        for (int i = 0; i < 5; i++) {
            os_sleep_ms(0);
        }
        ASSERT_EQ(counting.count, stopped_at);
        os_thread_resume(counting.thread);
    }
    counting.end();
}
#endif

TEST_F(ThreadControl, ASleepingThreadCanBeSuspended) {
    CountingThread counting(count_with_sleeps);
    EXPECT_TRUE(goes_on(counting));
    os_thread_suspend(counting.thread);
    EXPECT_TRUE(comes_to_a_stop(counting));
    os_thread_resume(counting.thread);
    EXPECT_TRUE(goes_on(counting));
    counting.end();
}

TEST_F(ThreadControl, SuspendingTwiceSuspendsOnce) {
    CountingThread counting(count_until_asked);
    EXPECT_TRUE(goes_on(counting));
    os_thread_suspend(counting.thread);
    os_thread_suspend(counting.thread);
    EXPECT_TRUE(comes_to_a_stop(counting));
    os_thread_resume(counting.thread);
    EXPECT_TRUE(goes_on(counting));
    counting.end();
}

TEST_F(ThreadControl, ResumingAThreadThatIsNotSuspendedDoesNothing) {
    CountingThread counting(count_until_asked);
    os_thread_resume(counting.thread);
    EXPECT_EQ(counting.thread->suspended, 0);
    EXPECT_TRUE(goes_on(counting));
    // A resumption that was remembered would undo this suspension.
    os_thread_suspend(counting.thread);
    EXPECT_TRUE(comes_to_a_stop(counting));
    os_thread_resume(counting.thread);
    counting.end();
}

TEST_F(ThreadControl, SuspendingAndResumingAThreadThatHasEndedReturns) {
    CountingThread counting(count_until_asked, 1);
    os_thread_suspend(counting.thread);
    EXPECT_EQ(counting.thread->suspended, 1);
    os_thread_resume(counting.thread);
    EXPECT_EQ(counting.thread->suspended, 0);
    counting.end();
}

TEST_F(ThreadControl, ANullRecordOrHandleIsNeitherSuspendedNorResumed) {
    os_thread_suspend(nullptr);
    os_thread_resume(nullptr);
    Thread without_handle = {};
    os_thread_suspend(&without_handle);
    os_thread_resume(&without_handle);
    EXPECT_EQ(without_handle.suspended, 0);
}

// ---- Killing ----

TEST_F(ThreadControl, AKilledThreadEndsWhereverItIs) {
    for (ThreadRoutine *routine : {count_until_asked, count_with_sleeps}) {
        CountingThread counting(routine);
        EXPECT_TRUE(goes_on(counting));
        void *handle = counting.thread->handle;
        os_thread_kill(counting.thread);
        EXPECT_EQ(wait_for_end(handle), Ending::killed);
        uint64_t count = counting.count;
        os_sleep_ms(5);
        EXPECT_EQ(counting.count, count);
    }
}

TEST_F(ThreadControl, ASuspendedThreadCanBeKilled) {
    CountingThread counting(count_until_asked);
    // A thread that is killed while it starts keeps the system's own locks, and the next one waits for ever.
    EXPECT_TRUE(goes_on(counting));
    os_thread_suspend(counting.thread);
    EXPECT_TRUE(comes_to_a_stop(counting));
    void *handle = counting.thread->handle;
    os_thread_kill(counting.thread);
    EXPECT_EQ(wait_for_end(handle), Ending::killed);
}

TEST_F(ThreadControl, AbortingAllThreadsOnlyWritesADebugLine) {
    CountingThread counting(count_until_asked);
    testing::internal::CaptureStdout();
    os_abort_all_threads();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "* TODO * os_abort_all_threads\n");
    EXPECT_TRUE(goes_on(counting));
    counting.end();
}

} // namespace
