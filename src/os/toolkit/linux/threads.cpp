#include "os/toolkit/threads.h"

#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>

#include "os/console.h"
#include "os/linux/clock.h"
#include "os/memory.h"

// ---- Threads ----

// Suspending is done with two signals: the first one's handler reports that the thread has stopped and waits
// there for the second one.

namespace {

constexpr int signal_suspend = SIGUSR1;
constexpr int signal_resume = SIGUSR2;

sem_t thread_has_stopped; // one thread suspends others, one at a time

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
    static bool is_prepared;
    if (is_prepared) {
        return;
    }
    is_prepared = true;
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
bool thread_has_ended(pthread_t thread) {
    clockid_t clock;
    return pthread_getcpuclockid(thread, &clock) != 0;
}

} // namespace

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
