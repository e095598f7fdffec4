// A worker that does not sleep between its turns, so that thousands of requests are really taken.
#pragma once

#include "os/clock.h"
#include "search/search_state.h"
#include "search/worker.h"

// Repeated by a LoopingThread.
inline void turn_without_sleep() {
    search_state.worker_pass = search_state.worker_pass + 1;
    search_worker_turn();
}

// Waits until the request is taken and the turn that took it has ended.
inline void wait_for_the_last_request() {
    while (search_state.request_pending) {
        os_sleep_ms(1);
    }
    uint32_t pass = search_state.worker_pass;
    while (search_state.worker_pass == pass) {
        os_sleep_ms(1);
    }
}
