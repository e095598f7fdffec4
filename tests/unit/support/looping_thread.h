// A thread that repeats a function until it is asked to stop.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "os/clock.h"
#include "os/threads.h"

class LoopingThread {
public:
    Thread *thread; // null if it could not be started

    explicit LoopingThread(void (*repeated_function)()) : repeated(repeated_function) {
        static auto &records = *new std::vector<Thread *>; // never freed
        thread = os_thread_start(loop, this);
        EXPECT_NE(thread, nullptr);
        records.push_back(thread);
    }
    ~LoopingThread() {
        stop();
    }
    LoopingThread(const LoopingThread &) = delete;
    LoopingThread &operator=(const LoopingThread &) = delete;

    // Returns after the function's last call.
    void stop() {
        is_asked_to_stop = 1;
        while (thread && !has_stopped) {
            os_sleep_ms(1);
        }
    }

private:
    static uint32_t loop(void *record) {
        LoopingThread *self = static_cast<LoopingThread *>(static_cast<Thread *>(record)->user_data);
        while (!self->is_asked_to_stop) {
            self->repeated();
        }
        self->has_stopped = 1;
        return 0;
    }

    void (*repeated)();
    std::atomic<uint8_t> is_asked_to_stop = 0, has_stopped = 0;
};
