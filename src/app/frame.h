// The frame loop, and the drawing of a frame. Interface thread only.
//
// A frame is drawn only when a message arrived, an event waited for it, results_dirty is set or the status
// line's counts have changed. So an idle window costs little more than one sleep per frame.
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
    int64_t total_us;          // sum of all frames
    int64_t total_ms;
    int64_t last_ms;
    double last_fraction; // last frame's length divided by target_us
    uint64_t drawn_count; // frames drawn
};
extern FrameClock frame_clock;

// How the loop sleeps; os_sleep_us unless a test replaces it. us: at least 1000.
extern void (*frame_sleep_us)(int64_t us);

// A frame's length on a monitor, in microseconds. refresh_rate: in hertz; at least 30 is used.
int64_t frame_time_us(int32_t refresh_rate);

// Starts the clock, with the frame time for that refresh rate.
void frame_clock_start(int32_t refresh_rate);

// Draws a whole frame and handles the clicks in it. mouse: the pointer in the client area. Needs no window.
void frame_draw(Framebuffer *framebuffer, Point mouse);

// One turn of the loop: handles the pending messages, draws if something may have changed, and sleeps for the
// rest of the frame time. Returns false once the window is closed.
bool frame_turn(PlatformWindow *window);

// The callback for os_set_frame_callback: ends the frame that frame_turn's pump is in, drawing it, and begins
// the next. Does nothing outside that pump.
void frame_in_system_loop(PlatformWindow *window);
