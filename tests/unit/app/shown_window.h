// The program's window for tests of the frame loop.
#pragma once

#include <gtest/gtest.h>

#include "app/frame.h"
#include "app/input.h"
#include "os/memory.h"
#include "search/search_state.h"
#include "support/headless_window.h"

// Shown and idle, with frames that take no time. Needs a FrameScope.
struct ShownWindow {
    PlatformWindow *window;

    explicit ShownWindow(int32_t refresh_rate = 1000000) {
        headless_move_pointer({-5000, -5000});
        headless_focus(nullptr);
        os_pump_messages();
        window = os_window_create(400, 200, str_from("T"), WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
        os_window_show(window, 1);
        os_set_event_callback(input_handle_event);
        frame_clock_start(refresh_rate);
        search_state.results_dirty = 0;
        frame_turn(window);
    }
    ~ShownWindow() {
        os_set_event_callback(nullptr);
        os_window_destroy(window);
        os_free(window);
        os_pump_messages();
        frame_clock = {};
        search_state.results_dirty = 0;
    }
    ShownWindow(const ShownWindow &) = delete;
    ShownWindow &operator=(const ShownWindow &) = delete;

    uint32_t presented() const {
        return headless_view(window)->presented;
    }

    // How many of that number of turns drew and presented a frame.
    uint64_t frames_in(int turns) const {
        uint64_t drawn = frame_clock.drawn_count;
        uint32_t shown = presented();
        for (int i = 0; i < turns; i++) {
            EXPECT_TRUE(frame_turn(window));
        }
        EXPECT_EQ(presented() - shown, frame_clock.drawn_count - drawn);
        return frame_clock.drawn_count - drawn;
    }
};
