#include "os/threads.h"

#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include "os/linux/clock.h"
#include "os/memory.h"

// ---- Threads ----

namespace {

constexpr size_t stack_size = 64 << 20; // bytes; a walk recurses into deep trees
constexpr size_t small_stack_size = 1 << 20;

struct Start {
    ThreadRoutine *routine;
    Thread *record;
    sem_t is_taken; // the new thread no longer needs this struct
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

Thread *start_thread(ThreadRoutine *routine, void *user_data, size_t stack) {
    Thread *thread = static_cast<Thread *>(os_alloc_zero(sizeof(Thread)));
    if (!thread) {
        return nullptr;
    }
    thread->user_data = user_data;
    Start start = {routine, thread, {}};
    sem_init(&start.is_taken, 0, 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
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

} // namespace

Thread *os_thread_start(ThreadRoutine *routine, void *user_data) {
    return start_thread(routine, user_data, stack_size);
}

Thread *os_thread_start_small(ThreadRoutine *routine, void *user_data) {
    return start_thread(routine, user_data, small_stack_size);
}

void os_thread_hide_error_boxes() {}

void os_thread_lower_priority() {
    constexpr int step = 5;                    // niceness goes up to 19
    id_t thread = static_cast<id_t>(gettid()); // on Linux, sets the priority of this thread only
    setpriority(PRIO_PROCESS, thread, getpriority(PRIO_PROCESS, thread) + step);
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

// ---- Waiting ----

static_assert(sizeof(pthread_cond_t) <= sizeof(Condition));
static_assert(alignof(pthread_cond_t) <= alignof(Condition));

namespace {

pthread_cond_t *cond_of(Condition *condition) {
    return reinterpret_cast<pthread_cond_t *>(condition->words);
}

} // namespace

Condition os_condition_init() {
    Condition condition = {};
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(cond_of(&condition), &attributes);
    pthread_condattr_destroy(&attributes);
    return condition;
}

void os_condition_wait(Condition *condition, Lock *lock, uint32_t ms) {
    if (ms == UINT32_MAX) {
        pthread_cond_wait(cond_of(condition), mutex_of(lock));
        return;
    }
    timespec end;
    clock_gettime(CLOCK_MONOTONIC, &end);
    add_ms(&end, ms);
    pthread_cond_timedwait(cond_of(condition), mutex_of(lock), &end);
}

void os_condition_wake_one(Condition *condition) {
    pthread_cond_signal(cond_of(condition));
}

void os_condition_wake_all(Condition *condition) {
    pthread_cond_broadcast(cond_of(condition));
}
