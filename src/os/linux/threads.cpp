#include "os/threads.h"

#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include "os/console.h"
#include "os/memory.h"

namespace {

void add_ms(timespec *time, uint32_t ms) {
    time->tv_sec += ms / 1000;
    time->tv_nsec += int64_t{ms % 1000} * 1000000;
    if (time->tv_nsec >= 1000000000) {
        time->tv_sec++;
        time->tv_nsec -= 1000000000;
    }
}

} // namespace

// ---- Initialisation ----

void os_init() {
    // Coarser than the clock below it, so that os_ticks_to_us wraps after days here as well, not after hours.
    os_ticks_per_second = 10000000;
    // Writing to a pipe that nobody reads any more is to fail, not to end the process. A handler that does
    // nothing, for unlike an ignored signal it is not handed on to the programs that this one starts.
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

void os_thread_hide_error_boxes() {}

// ---- Threads ----

// Suspending is done with two signals: the first one's handler reports that the thread has stopped and waits
// there for the second one.

namespace {

constexpr size_t stack_size = 64 << 20; // bytes; a walk recurses into deep trees
constexpr int signal_suspend = SIGUSR1;
constexpr int signal_resume = SIGUSR2;

sem_t thread_has_stopped; // one thread suspends others, one at a time

struct Start {
    ThreadRoutine *routine;
    Thread *record;
    sem_t is_taken; // the new thread needs this struct no more
};

void *run_thread(void *opaque) {
    Start *start = static_cast<Start *>(opaque);
    ThreadRoutine *routine = start->routine;
    Thread *record = start->record;
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    sem_post(&start->is_taken);
    return reinterpret_cast<void *>(uintptr_t{routine(record)});
}

void wait_for_semaphore(sem_t *semaphore) {
    while (sem_wait(semaphore) != 0 && errno == EINTR) {
    }
}

pthread_t system_thread(const Thread *thread) {
    return reinterpret_cast<pthread_t>(thread->handle);
}

void wait_until_resumed(int) {
    int kept_errno = errno;
    sigset_t all_but_resume;
    sigfillset(&all_but_resume);
    sigdelset(&all_but_resume, signal_resume);
    sem_post(&thread_has_stopped);
    sigsuspend(&all_but_resume);
    errno = kept_errno;
}

void prepare_suspending() {
    static uint8_t is_prepared;
    if (is_prepared) {
        return;
    }
    is_prepared = 1;
    sem_init(&thread_has_stopped, 0, 0);
    struct sigaction action = {};
    action.sa_flags = SA_RESTART;
    sigfillset(&action.sa_mask); // above all the second signal, which must not come before the wait for it
    action.sa_handler = wait_until_resumed;
    sigaction(signal_suspend, &action, nullptr);
    action.sa_handler = [](int) {};
    sigaction(signal_resume, &action, nullptr);
}

// A signal to a thread that has ended is lost without an error.
uint8_t thread_has_ended(pthread_t thread) {
    clockid_t clock;
    return pthread_getcpuclockid(thread, &clock) != 0;
}

} // namespace

Thread *os_thread_start(ThreadRoutine *routine, void *user_data) {
    Thread *thread = static_cast<Thread *>(os_alloc_zero(sizeof(Thread)));
    if (!thread) {
        return nullptr;
    }
    thread->user_data = user_data;
    Start start = {routine, thread, {}};
    sem_init(&start.is_taken, 0, 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack_size);
    pthread_t handle;
    int error = pthread_create(&handle, &attributes, run_thread, &start);
    pthread_attr_destroy(&attributes);
    if (error == 0) {
        wait_for_semaphore(&start.is_taken);
        thread->handle = reinterpret_cast<void *>(handle);
    } else {
        os_free(thread);
        thread = nullptr;
    }
    sem_destroy(&start.is_taken);
    return thread;
}

void os_thread_suspend(Thread *thread) {
    if (!thread || !thread->handle || thread->suspended) {
        return;
    }
    prepare_suspending();
    thread->suspended = 1;
    pthread_t handle = system_thread(thread);
    pthread_kill(handle, signal_suspend);
    while (!thread_has_ended(handle)) {
        timespec soon;
        clock_gettime(CLOCK_MONOTONIC, &soon);
        add_ms(&soon, 10);
        if (sem_clockwait(&thread_has_stopped, CLOCK_MONOTONIC, &soon) == 0) {
            return;
        }
    }
}

void os_thread_resume(Thread *thread) {
    if (thread && thread->suspended) {
        thread->suspended = 0;
        pthread_kill(system_thread(thread), signal_resume);
    }
}

void os_thread_kill(Thread *thread) {
    pthread_cancel(system_thread(thread));
    *thread = {};
    os_free(thread);
}

void os_abort_all_threads() {
    os_debug_print("* TODO * os_abort_all_threads\n");
}

// ---- Locks ----

static_assert(sizeof(pthread_mutex_t) <= sizeof(Lock));
static_assert(alignof(pthread_mutex_t) <= alignof(Lock));

namespace {

pthread_mutex_t *mutex_of(Lock *lock) {
    return reinterpret_cast<pthread_mutex_t *>(lock->words);
}

} // namespace

Lock os_lock_init() {
    Lock lock = {};
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(mutex_of(&lock), &attributes);
    pthread_mutexattr_destroy(&attributes);
    return lock;
}

void os_lock_free(Lock *lock) {
    pthread_mutex_destroy(mutex_of(lock));
}

void os_lock_enter(Lock *lock) {
    pthread_mutex_lock(mutex_of(lock));
}

void os_lock_leave(Lock *lock) {
    pthread_mutex_unlock(mutex_of(lock));
}

// ---- Clocks and sleeping ----

int64_t os_ticks_per_second;

int64_t os_ticks() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 10000000 + now.tv_nsec / 100;
}

void os_sleep_ms(uint32_t ms) {
    if (ms == 0) {
        sched_yield();
        return;
    }
    if (ms == UINT32_MAX) {
        for (;;) {
            pause();
        }
    }
    timespec end;
    clock_gettime(CLOCK_MONOTONIC, &end);
    add_ms(&end, ms);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

namespace {

DateTime date_time_from_system(const tm &date, int64_t nanosecond) {
    return {
        static_cast<uint16_t>(date.tm_year + 1900), static_cast<uint8_t>(date.tm_mon + 1),
        static_cast<uint8_t>(date.tm_mday),         weekday_from_system(static_cast<uint32_t>(date.tm_wday)),
        static_cast<uint8_t>(date.tm_hour),         static_cast<uint8_t>(date.tm_min),
        static_cast<uint8_t>(date.tm_sec),          static_cast<uint32_t>(nanosecond / 1000000 * 1000)};
}

} // namespace

DateTime os_utc_time() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm date;
    gmtime_r(&now.tv_sec, &date);
    return date_time_from_system(date, now.tv_nsec);
}

DateTime os_local_time() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm date;
    localtime_r(&now.tv_sec, &date);
    return date_time_from_system(date, now.tv_nsec);
}
