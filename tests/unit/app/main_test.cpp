// The program's main, with what it calls noted; what would need the program's own folder, or never end, is
// only noted.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/frame.h"
#include "app/input.h"
#include "app/scratch.h"
#include "app/startup.h"
#include "os/console.h"
#include "os/files.h"
#include "os/memory.h"
#include "os/threads.h"
#include "os/window.h"
#include "search/worker.h"
#include "support/headless_window.h"
#include "support/test_tree.h"

namespace {

struct Calls {
    std::vector<std::string> names;
    PlatformWindow *window;
    Size asked_size;
    std::u16string title;
    uint16_t flags;
    Point position_when_shown;
    Size size_when_shown;
    uint8_t was_visible_before_show;
    WindowEventCallback *callback;
    int32_t refresh_rate;
    std::string folder;
    std::string command_line;
    int turns;
};
Calls calls;

void note(const char *name) {
    calls.names.push_back(name);
}

void noted_init() {
    note("init");
    os_init();
}

void noted_scratch_create() {
    note("scratch");
    scratch_create();
}

const MonitorInfo *noted_get_monitors(uint32_t *count) {
    note("monitors");
    return os_get_monitors(count);
}

PlatformWindow *noted_window_create(int32_t width, int32_t height, Str title, uint16_t flags) {
    note("window");
    calls.asked_size = {width, height};
    calls.flags = flags;
    calls.window = os_window_create(width, height, title, flags);
    if (calls.window) {
        const HeadlessView *view = headless_view(calls.window);
        calls.title.assign(view->title, view->title + view->title_count);
    }
    return calls.window;
}

void noted_window_center(PlatformWindow *window, const MonitorInfo *monitor) {
    note("centre");
    os_window_center(window, monitor);
}

void noted_window_show(PlatformWindow *window, uint8_t visible) {
    note("show");
    calls.was_visible_before_show = headless_view(window)->is_visible;
    calls.position_when_shown = window->window_position;
    calls.size_when_shown = window->window_size;
    os_window_show(window, visible);
}

void noted_set_event_callback(WindowEventCallback *callback) {
    note("callback");
    calls.callback = callback;
}

void noted_clock_start(int32_t refresh_rate) {
    note("clock");
    calls.refresh_rate = refresh_rate;
}

void noted_set_frame_callback(WindowFrameCallback *callback, uint32_t period_ms) {
    note("frame callback");
    EXPECT_EQ(callback, frame_in_system_loop);
    EXPECT_EQ(period_ms, 1u); // of a frame that lasts less: the clock has not been started
}

void noted_reserve_buffers() {
    note("buffers");
}

void noted_load(Str folder, Str command_line) {
    note("load");
    calls.folder = to_string(folder);
    calls.command_line = to_string(command_line);
}

void noted_focus() {
    note("focus");
}

Thread *noted_worker_start() {
    note("worker");
    return nullptr;
}

uint8_t noted_turn(PlatformWindow *window) {
    note("turn");
    EXPECT_EQ(window, calls.window);
    return ++calls.turns < 3;
}

} // namespace

#define os_init noted_init
#define scratch_create noted_scratch_create
#define os_get_monitors noted_get_monitors
#define os_window_create noted_window_create
#define os_window_center noted_window_center
#define os_window_show noted_window_show
#define os_set_event_callback noted_set_event_callback
#define frame_clock_start noted_clock_start
#define os_set_frame_callback noted_set_frame_callback
#define startup_reserve_buffers noted_reserve_buffers
#define startup_load noted_load
#define startup_focus noted_focus
#define search_worker_start noted_worker_start
#define frame_turn noted_turn
#define main program_main
#define TARNWICK_VERSION "1.2.3"
#include "app/main.cpp"
#undef main
#undef scratch_create
#undef os_init

namespace {

class Program : public ::testing::Test {
protected:
    void SetUp() override {
        calls = {};
    }

    void TearDown() override {
        if (calls.window) {
            os_window_destroy(calls.window);
            os_free(calls.window);
        }
        if (scratch) {
            os_free(scratch->data);
            os_free(scratch);
            scratch = nullptr;
        }
        set_monitor({0, 0, 1280, 1024}, 60);
    }

    static void set_monitor(Rect work_area, uint32_t refresh_rate) {
        HeadlessMonitor monitor = {1, work_area, {0, 0, 1280, 1024}, {1280, 1024}, refresh_rate, "screen"};
        headless_set_monitors(&monitor, 1);
    }

    // What the program prints and returns.
    static std::string run() {
        testing::internal::CaptureStdout();
        int status = program_main();
        return testing::internal::GetCapturedStdout() + std::to_string(status);
    }

    using Names = std::vector<std::string>;
};

} // namespace

TEST_F(Program, StartsInItsOrder) {
    run();
    EXPECT_EQ(calls.names,
              (Names{"init", "scratch", "monitors", "window", "centre", "show", "callback", "clock",
                     "frame callback", "buffers", "load", "focus", "worker", "turn", "turn", "turn"}));
    EXPECT_EQ(calls.callback, input_handle_event);
    EXPECT_EQ(calls.folder, to_string(os_exe_folder()));
    EXPECT_EQ(calls.command_line, to_string(os_command_line()));
}

TEST_F(Program, TheWindowIs1000WideAndNineTenthsOfTheWorkAreaHigh) {
    set_monitor({40, 9, 1201, 1015}, 144);
    run();
    EXPECT_EQ(calls.asked_size.width, 1000);
    EXPECT_EQ(calls.asked_size.height, 913); // 913.5
    EXPECT_EQ(calls.flags, WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
    EXPECT_EQ(calls.was_visible_before_show, 0);
    EXPECT_TRUE(headless_view(calls.window)->is_visible);
    EXPECT_EQ(calls.position_when_shown.x, 600 - calls.size_when_shown.width / 2);
    EXPECT_EQ(calls.position_when_shown.y, 507 - calls.size_when_shown.height / 2);
    EXPECT_EQ(calls.refresh_rate, 144);
    std::string title = "Tarnwick  |  1.2.3";
    std::u16string units;
    for (size_t i = 0; i < title.size(); i += 2) {
        units += static_cast<char16_t>(title[i] | title[i + 1] << 8);
    }
    EXPECT_EQ(calls.title, units);
}

TEST_F(Program, WithoutAWindowSaysSoAndEndsWithOne) {
    headless_refuse_next_window();
    EXPECT_EQ(run(), "[main_init:1092] WTF failed to open window!\n1");
    EXPECT_EQ(calls.names, (Names{"init", "scratch", "monitors", "window"}));
}

TEST_F(Program, WithoutAMonitorSaysSoAndEndsWithOne) {
    headless_set_monitors(nullptr, 0);
    EXPECT_EQ(run(), "[main_init:1092] WTF failed to open window!\n1");
    EXPECT_EQ(calls.names, (Names{"init", "scratch", "monitors"}));
}

TEST_F(Program, EndsWithZeroWhenTheFramesEnd) {
    EXPECT_EQ(run(), "0");
    EXPECT_EQ(calls.turns, 3);
}
