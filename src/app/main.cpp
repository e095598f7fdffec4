#include "app/frame.h"
#include "app/input.h"
#include "app/scratch.h"
#include "app/startup.h"
#include "os/console.h"
#include "os/files.h"
#include "os/threads.h"
#include "os/window.h"
#include "search/worker.h"

namespace {

// Printed as the source line; a fixed value, not __LINE__.
constexpr int32_t window_failure_line = 1092;

int32_t fail_without_window() {
    os_print("[%s:%i] ", "main_init", window_failure_line);
    os_print("WTF failed to open window!\n");
    return 1;
}

} // namespace

int main() {
    os_init();
    scratch_create();
    uint32_t monitor_count = 0;
    const MonitorInfo *monitor = os_get_monitors(&monitor_count);
    if (monitor_count == 0) {
        return fail_without_window();
    }
    int32_t height = static_cast<int32_t>(monitor->work_area.height * 0.9);
    PlatformWindow *window = os_window_create(1000, height, str_from("Tarnwick  |  " TARNWICK_VERSION),
                                              WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
    if (!window) {
        return fail_without_window();
    }
    os_window_center(window, monitor);
    os_window_show(window, 1);
    os_set_event_callback(input_handle_event);
    frame_clock_start(monitor->refresh_rate);
    int64_t frame_ms = frame_clock.target_us / 1000;
    os_set_frame_callback(frame_in_system_loop, frame_ms > 0 ? static_cast<uint32_t>(frame_ms) : 1);
    startup_reserve_buffers();
    startup_load(os_exe_folder(), os_command_line());
    startup_focus();
    search_worker_start();
    while (frame_turn(window)) {
    }
    return 0;
}
