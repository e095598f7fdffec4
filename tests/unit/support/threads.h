// Waiting for threads.
#pragma once

#include <stdint.h>

#include <chrono>
#include <functional>

#include "os/clock.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#include <time.h>
#endif

// Long enough for any machine; only a failing test waits for so long.
inline constexpr int64_t patience_s = 60;

inline bool eventually(const std::function<bool()> &condition) {
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
inline Ending wait_for_end(void *handle, uint32_t *result = nullptr) {
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
