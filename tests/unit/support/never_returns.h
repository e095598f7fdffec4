// Tells that something runs without end, by giving it a process of its own with little time. Not on Windows,
// which has no copies of a running process.
#pragma once

#ifndef _WIN32
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Whether a step is still running when its process has used up a second of the processor: the system ends it
// then. Waiting costs no such time, so a busy machine makes no difference.
inline bool never_returns(void (*step)()) {
    pid_t child = fork();
    if (child == 0) {
        signal(SIGXCPU, SIG_DFL);
        rlimit no_core = {0, 0};
        setrlimit(RLIMIT_CORE, &no_core);
        // The hard limit stays above: reaching that is another signal.
        rlimit limit;
        getrlimit(RLIMIT_CPU, &limit);
        limit.rlim_cur = 1;
        setrlimit(RLIMIT_CPU, &limit);
        step();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU;
}
#endif
