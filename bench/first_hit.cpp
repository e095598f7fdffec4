// Time from a key press to the first hit on the screen: first_hit FOLDER QUERY [ROUNDS]. Runs the program's
// frame loop with an off-screen window and its worker thread. Each round types the query's last character at
// a random time and measures when the worker takes the request, when it stores the first hit, and when the
// frame with that hit is drawn. Prints medians and maxima in milliseconds.
//
// A thread that polls every 50 microseconds notes the first two times. The third is the start of the turn
// that drew the hit; the time to draw a frame has to be added.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "app/frame.h"
#include "app/input.h"
#include "app/scratch.h"
#include "app/startup.h"
#include "os/clock.h"
#include "os/files.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "search/worker.h"
#include "support/headless_window.h"

namespace {

struct Moments {
    int64_t taken, stored; // os_ticks; 0: not yet
};

volatile uint8_t is_followed; // while set, the polling thread notes the moments
volatile uint32_t taken_before;
volatile Moments moments;

void follow() {
    for (;;) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        if (!is_followed) {
            continue;
        }
        if (!moments.taken && search_state.requests_taken != taken_before) {
            moments.taken = os_ticks();
        }
        if (moments.taken && results_store.hit_table.count > 0) {
            moments.stored = os_ticks();
            is_followed = 0;
        }
    }
}

void wait_us(uint32_t us) {
    std::this_thread::sleep_for(std::chrono::microseconds(us));
}

void print(const char *what, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    printf("%-32s median %6.1f ms, largest %6.1f ms\n", what, ms[ms.size() / 2], ms.back());
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3 || argc > 4 || strlen(argv[2]) == 0) {
        fputs("usage: first_hit FOLDER QUERY [ROUNDS]\n", stderr);
        return 2;
    }
    int rounds = argc == 4 ? atoi(argv[3]) : 50;
    os_init();
    scratch_create();
    PlatformWindow *window = os_window_create(1000, 921, str_from("first hit"), WINDOW_FLAG_FRAMEBUFFER);
    headless_focus(window);
    os_set_event_callback(input_handle_event);
    frame_clock_start(60);
    startup_reserve_buffers();
    startup_load(os_exe_folder(), {});
    set_request_text(&search_state.path, str_from(argv[1]));
    Str query = str_from(argv[2]);
    set_request_text(&search_state.query, {query.count - 1, query.data});
    startup_focus();
    search_worker_start();
    std::thread(follow).detach();
    headless_press_key(KEY_END);
    std::vector<double> to_taken, to_stored, to_shown;
    std::mt19937 random(1);
    for (int i = 0; i < rounds; i++) {
        do {
            frame_turn(window);
        } while (search_state.request_pending || search_state.search_busy);
        wait_us(static_cast<uint32_t>(random() % 100000));
        taken_before = search_state.requests_taken;
        moments.taken = 0;
        moments.stored = 0;
        int64_t pressed = os_ticks();
        wait_us(static_cast<uint32_t>(random() % 16667)); // the key goes down during a turn
        headless_type(static_cast<uint8_t>(query.data[query.count - 1]));
        is_followed = 1;
        uint64_t drawn;
        do { // until a turn that began after the hit was stored has drawn
            drawn = frame_clock.drawn_count;
            frame_turn(window);
        } while (!moments.stored || frame_clock.drawn_count == drawn ||
                 frame_clock.frame_start_ticks < moments.stored);
        const auto ms_from_press = [&](int64_t at) {
            return static_cast<double>(os_ticks_to_us(at - pressed)) / 1000;
        };
        to_taken.push_back(ms_from_press(moments.taken));
        to_stored.push_back(ms_from_press(moments.stored));
        to_shown.push_back(ms_from_press(frame_clock.frame_start_ticks));
        headless_press_key(KEY_BACKSPACE);
        headless_release_key(KEY_BACKSPACE);
        frame_turn(window);
    }
    print("taken by the worker", to_taken);
    print("first hit stored", to_stored);
    print("first hit on the screen", to_shown);
    return 0;
}
