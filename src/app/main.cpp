#include "app/frame.h"
#include "app/scratch.h"
#include "app/startup.h"
#include "os/clock.h"
#include "os/console.h"
#include "os/files.h"
#include "os/window.h"
#include "search/worker.h"

namespace {

// Printed as the source line; a fixed value, not __LINE__.
constexpr int32_t window_failure_line = 1092;

} // namespace

int main() {
    os_init();
    scratch_create();
    PlatformWindow *window = startup_open_window();
    if (!window) {
        os_print("[%s:%i] ", "main_init", window_failure_line);
        os_print("WTF failed to open window!\n");
        return 1;
    }
    startup_reserve_buffers();
    startup_load(os_exe_folder(), os_command_line());
    startup_focus();
    search_worker_start();
    while (frame_turn(window)) {
    }
    return 0;
}
