// Code that runs one instruction at a time, so that a test sees every state that another thread could see.
#pragma once

#ifndef _WIN32
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <x86intrin.h>

#include <gtest/gtest.h>

#include <string>

namespace each_step {

constexpr size_t most_values = 10;
constexpr size_t most_states = 100;

struct State {
    int64_t values[most_values];
};

// The processor's trap after each instruction arrives as a signal, in the middle of anything, so noting a
// state allocates nothing.
inline State (*look_now)();
inline State states[most_states];
inline size_t state_count;

inline void note_state(int) {
    State now = look_now();
    if (state_count < most_states &&
        (state_count == 0 || memcmp(&states[state_count - 1], &now, sizeof(now)) != 0)) {
        states[state_count++] = now;
    }
}

} // namespace each_step

// Runs act and looks after each of its instructions. Returns what was seen, each change as a line of the
// first value_count values.
inline std::string states_while(void (*act)(), size_t value_count, each_step::State (*look)()) {
    constexpr unsigned long long trap_flag = 0x100;
    struct sigaction action = {};
    struct sigaction outer;
    action.sa_handler = each_step::note_state;
    each_step::look_now = look;
    each_step::state_count = 0;
    sigaction(SIGTRAP, &action, &outer);
    __writeeflags(__readeflags() | trap_flag);
    act();
    __writeeflags(__readeflags() & ~trap_flag);
    sigaction(SIGTRAP, &outer, nullptr);
    std::string lines;
    for (size_t i = 0; i < each_step::state_count; i++) {
        for (size_t value = 0; value < value_count; value++) {
            lines += (value > 0 ? " " : "") + std::to_string(each_step::states[i].values[value]);
        }
        lines += "\n";
    }
    return lines;
}

namespace each_step {

inline int step, change_step;
inline void (*change_once)();

} // namespace each_step

// Runs act again and again, with change after another of its instructions each time, as if by another thread,
// until act ends before that. prepare comes before each run, and check after it.
inline void change_after_each_step(void (*prepare)(), void (*act)(), void (*change)(), void (*check)()) {
    using namespace each_step;
    change_once = change;
    change_step = 0;
    do {
        SCOPED_TRACE(change_step);
        prepare();
        step = 0;
        states_while(act, 0, [] {
            if (step++ == change_step) {
                change_once();
            }
            return State{};
        });
        check();
        change_step++;
    } while (step >= change_step);
}
#endif
