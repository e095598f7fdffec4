// The frame loop, and the drawing of one frame. Interface thread only.
//
// A frame is drawn only when a message arrived or results_dirty is set: an idle window costs one short sleep
// a frame and nothing else.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/window.h"

struct FrameClock {
    int64_t target_us;         // length of a frame
    int64_t origin_ticks;      // os_ticks at start-up
    int64_t frame_start_ticks; // os_ticks at the start of this frame
    int32_t last_us;           // length of the last frame
    int64_t total_us;          // since start-up, as the sum of the frames
    int64_t total_ms;
    int64_t last_ms;
    double last_fraction; // of target_us that the last frame took
    uint64_t drawn_count; // frames drawn
};
extern FrameClock frame_clock;

// The frames' length on a monitor, in microseconds: its refresh rate in hertz, at least 30.
int64_t frame_time_us(int32_t refresh_rate);

// Starts the clock for a monitor of that refresh rate.
void frame_clock_start(int32_t refresh_rate);

// Draws the whole of a frame and acts on the mouse's clicks in it, the pointer being at mouse in the client
// area. Needs no window.
void frame_draw(Framebuffer *framebuffer, Point mouse);

// One turn of the loop: handles what has happened, draws when something may have changed, and sleeps away the
// rest of the frame's time. Returns 0 once the window is closed.
uint8_t frame_turn(PlatformWindow *window);

// The frame callback for os_set_frame_callback: a turn without the pump, the cursor and the sleep, which
// always draws. Nothing happens outside the pump of frame_turn.
void frame_in_system_loop(PlatformWindow *window);
