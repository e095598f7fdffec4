// Time to present a frame of 1000 x 900 pixels in a real window. Needs a display.
#include <benchmark/benchmark.h>

#include "os/clock.h"
#include "os/window.h"

namespace {

void present(benchmark::State &state) {
    os_init();
    PlatformWindow *window = os_window_create(1000, 900, str_from("present_bench"), WINDOW_FLAG_FRAMEBUFFER);
    if (!window) {
        state.SkipWithError("no window");
        return;
    }
    os_sleep_ms(500); // the window manager draws its frame
    os_pump_messages();
    uint32_t colour = 0;
    for (auto _ : state) {
        window->framebuffer.pixels[0] = 0xFF000000 | colour++;
        os_window_blit(window);
    }
}
BENCHMARK(present);

} // namespace

BENCHMARK_MAIN();
