// Detects that a function never returns, by running it in a process with little time. Not on Windows, which
// cannot fork.
#pragma once

#ifndef _WIN32
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

// Whether a step is still running when its process has used 100 ms of processor time; a signal ends it then.
// Waiting costs no such time, so a busy machine makes no difference.
inline bool never_returns(void (*step)()) {
    pid_t child = fork();
    if (child == 0) {
        signal(SIGPROF, SIG_DFL);
        const itimerval limit = {{0, 0}, {0, 100000}};
        setitimer(ITIMER_PROF, &limit, nullptr);
        step();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF;
}
#endif
