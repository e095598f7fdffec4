#include "os/threads.h"

#include <fstream>

#include <gtest/gtest.h>

#include "os/clock.h"
#include "os/memory.h"
#include "support/threads.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

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
    os_free(thread); // its handle is closed, so it can no longer be killed
}

uint64_t asked_size;

bool fail_and_note(uint64_t size) {
    asked_size = size;
    return false;
}

TEST_F(Threads, WithoutMemoryForTheRecordNoThreadIsStarted) {
    Seen seen;
    os_heap_hook = fail_and_note;
    EXPECT_EQ(os_thread_start(report_what_came, &seen), nullptr);
    EXPECT_EQ(asked_size, 24u);
    EXPECT_EQ(seen.record, nullptr);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
uint32_t sleep_for_ever(void *) {
    os_sleep_ms(UINT32_MAX);
    return 0;
}

TEST_F(Threads, AThreadThatTheSystemCannotStartIsNull) {
    // In a separate process with no memory left; a few stacks of earlier threads may still be reusable.
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

TEST_F(Threads, ASmallThreadReservesLittleMemory) {
    pid_t child = fork();
    if (child == 0) {
        uint64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        rlim_t most = pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE)) + (64 << 20);
        rlimit limit = {most, most};
        setrlimit(RLIMIT_AS, &limit);
        for (int i = 0; i < 32; i++) {
            if (!os_thread_start_small(sleep_for_ever, nullptr)) {
                _exit(1);
            }
        }
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

// Each level uses 16 KiB, so 3000 levels need about 48 MB.
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
            os_sleep_ms(0); // gives the other thread a chance to run
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

// Whether no other thread holds the lock; if so, enters and leaves it.
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

// ---- Waiting ----

// What waiting threads share with their test.
struct Room {
    Lock lock = os_lock_init();
    Condition change = os_condition_init();
    uint32_t waiting = 0;
    uint32_t tickets = 0;
    uint32_t passed = 0;

    ~Room() {
        os_lock_free(&lock);
    }

    uint32_t get(uint32_t Room::*value) {
        os_lock_enter(&lock);
        uint32_t result = this->*value;
        os_lock_leave(&lock);
        return result;
    }
};

uint32_t wait_for_a_ticket(void *record) {
    Room *room = static_cast<Room *>(static_cast<Thread *>(record)->user_data);
    os_lock_enter(&room->lock);
    room->waiting++;
    while (room->tickets == 0) {
        os_condition_wait(&room->change, &room->lock, UINT32_MAX);
    }
    room->tickets--;
    room->passed++;
    os_lock_leave(&room->lock);
    return 42;
}

TEST_F(Threads, AConditionWakesOneThatWaitsOrAllOfThem) {
    Room room;
    Thread *threads[4];
    for (Thread *&thread : threads) {
        thread = os_thread_start(wait_for_a_ticket, &room);
        ASSERT_NE(thread, nullptr);
    }
    EXPECT_TRUE(eventually([&] { return room.get(&Room::waiting) == 4; }));
    EXPECT_EQ(room.get(&Room::passed), 0u);
    os_lock_enter(&room.lock);
    room.tickets = 1;
    os_condition_wake_one(&room.change);
    os_lock_leave(&room.lock);
    EXPECT_TRUE(eventually([&] { return room.get(&Room::passed) == 1; }));
    os_lock_enter(&room.lock);
    room.tickets = 3;
    os_condition_wake_all(&room.change);
    os_lock_leave(&room.lock);
    for (Thread *thread : threads) {
        EXPECT_EQ(wait_for_end(thread->handle), Ending::returned);
        os_free(thread);
    }
    EXPECT_EQ(room.passed, 4u);
}

TEST_F(Threads, AWaitThatNobodyEndsLastsAboutAsLongAsAsked) {
    Room room;
    int64_t end = os_ticks() + os_ticks_per_second * 50 / 1000;
    os_lock_enter(&room.lock);
    int waits = 0;
    while (os_ticks() < end) { // a wait may end early
        os_condition_wait(&room.change, &room.lock, 100);
        waits++;
    }
    EXPECT_LT(waits, 50);
    EXPECT_FALSE(is_free_for_another_thread(&room.lock)); // entered again
    os_lock_leave(&room.lock);
}

// ---- Priorities ----

#ifdef _WIN32
int priority() {
    return -GetThreadPriority(GetCurrentThread());
}
#else
int priority() {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
}
#endif

uint32_t lower_priority(void *record) {
    int before = priority();
    os_thread_lower_priority();
    *static_cast<volatile int *>(static_cast<Thread *>(record)->user_data) = priority() - before;
    return 42;
}

TEST_F(Threads, AThreadThatLowersItsPriorityLowersNoOthers) {
    volatile int lowered_by = 0;
    int before = priority();
    Thread *thread = os_thread_start(lower_priority, const_cast<int *>(&lowered_by));
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(wait_for_end(thread->handle), Ending::returned);
    os_free(thread);
    EXPECT_GT(lowered_by, 0);
    EXPECT_EQ(priority(), before);
}

} // namespace
