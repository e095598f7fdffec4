// The program's main. Start-up reads a folder of the test's own, and the worker, which never ends, is not
// started.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "app/frame.h"
#include "app/program_scope.h"
#include "app/startup.h"
#include "os/console.h"
#include "os/threads.h"
#include "render/font_scope.h"
#include "search/worker.h"
#include "support/headless_window.h"
#include "support/heap_hook.h"
#include "support/test_tree.h"
#include "support/ui_scope.h"

namespace {

std::string program_folder; // in place of the program's own
void (*at_last_turn)();
int turns;
bool has_worker;

void center(PlatformWindow *window, const MonitorInfo *monitor) {
    EXPECT_FALSE(headless_view(window)->is_visible); // it does not jump when it is shown
    os_window_center(window, monitor);
}

void load(Str folder, Str command_line) {
    EXPECT_EQ(to_string(folder), to_string(os_exe_folder()));
    EXPECT_EQ(to_string(command_line), to_string(os_command_line()));
    startup_load(str_over(program_folder), str_from("tarnwick.exe -needle"));
}

Thread *start_worker() {
    EXPECT_EQ(to_string(strbuf_text(&search_state.query)), "needle");
    EXPECT_EQ(search_state.max_file_size, 5000);
    has_worker = true;
    return nullptr;
}

// The third turn is the last.
bool turn(PlatformWindow *window) {
    ProgramScope::window = window;
    EXPECT_TRUE(has_worker);
    if (++turns == 3) {
        at_last_turn();
        headless_close(window);
    }
    return frame_turn(window);
}

} // namespace

#define os_window_center center
#define startup_load load
#define search_worker_start start_worker
#define frame_turn turn
#define main program_main
#define TARNWICK_VERSION "1.2.3"
#include "app/main.cpp"
#undef main
#undef frame_turn
#undef search_worker_start
#undef startup_load
#undef os_window_center

namespace {

class Program : public ::testing::Test {
protected:
    Program() {
        tree.file("settings.txt", "font_size 20\nmax_file_size 5K\n");
        std::string font_path = default_font_path();
        tree.file("source_code_pro.otf",
                  bytes_of(std::filesystem::path(std::u8string(font_path.begin(), font_path.end()))));
        program_folder = tree.path() + "/";
        at_last_turn = [] {};
        turns = 0;
        has_worker = false;
        headless_set_time(0);
    }
    ~Program() override {
        set_monitor({0, 0, 1280, 1024}, 60);
        frame_clock = {};
    }

    static void set_monitor(Rect work_area, uint32_t refresh_rate) {
        HeadlessMonitor monitor = {1, work_area, {0, 0, 1280, 1024}, {1280, 1024}, refresh_rate, "screen"};
        headless_set_monitors(&monitor, 1);
    }

    // What the program prints and returns.
    static std::string run() {
        LeakScope unused_texts_stay;
        testing::internal::CaptureStdout();
        int status = program_main();
        return testing::internal::GetCapturedStdout() + std::to_string(status);
    }

    TestTree tree;
    ProgramScope scope;
};

} // namespace

TEST_F(Program, StartsWithWhatItHasReadAndTheQuerySelected) {
    at_last_turn = [] {
        EXPECT_EQ(settings.font_size, 20);
        EXPECT_GT(font.sizes.count, 0u); // a frame has been drawn
        EXPECT_EQ(ui_focus.field, &query_field);
        EXPECT_EQ(carets(), "{0,6}");
    };
    run();
    EXPECT_EQ(turns, 3);
}

TEST_F(Program, ItsWindowsEventsReachTheFields) {
    at_last_turn = [] {
        headless_focus(ProgramScope::window);
        headless_type('x');
    };
    run();
    EXPECT_EQ(to_string(strbuf_text(&search_state.query)), "x");
    EXPECT_EQ(bytes_of(tree.native("saved_queries.txt")), "x");
}

TEST_F(Program, DrawsFramesWhileTheTitleBarIsHeld) {
    static uint64_t drawn;
    at_last_turn = [] {
        drawn = frame_clock.drawn_count;
        headless_hold_title(ProgramScope::window);
        headless_ask_redraw(ProgramScope::window);
    };
    run();
    EXPECT_GT(frame_clock.drawn_count, drawn); // in the turn in which it is closed
}

TEST_F(Program, TheWindowIs1000WideAndNineTenthsOfTheWorkAreaHigh) {
    set_monitor({40, 9, 1201, 1015}, 144);
    at_last_turn = [] {
        const PlatformWindow *window = ProgramScope::window;
        const HeadlessView *view = headless_view(window);
        EXPECT_TRUE(view->is_visible);
        EXPECT_EQ(window->client_size.width, 1000);
        EXPECT_EQ(window->client_size.height, 913); // 913.5
        EXPECT_EQ(window->framebuffer.width, 1000);
        EXPECT_EQ(window->window_position.x, 600 - window->window_size.width / 2);
        EXPECT_EQ(window->window_position.y, 507 - window->window_size.height / 2);
        EXPECT_EQ(frame_clock.target_us, frame_time_us(144));
        std::string title = "Tarnwick  |  1.2.3";
        std::u16string units;
        for (size_t i = 0; i < title.size(); i += 2) {
            units += static_cast<char16_t>(title[i] | title[i + 1] << 8);
        }
        EXPECT_EQ(std::u16string(view->title, view->title + view->title_count), units);
    };
    run();
    EXPECT_EQ(turns, 3);
}

TEST_F(Program, WithoutAWindowSaysSoAndEndsWithOne) {
    headless_refuse_next_window();
    EXPECT_EQ(run(), "[main_init:1092] WTF failed to open window!\n1");
    EXPECT_EQ(turns, 0);
}

TEST_F(Program, WithoutAMonitorSaysSoAndEndsWithOne) {
    headless_set_monitors(nullptr, 0);
    EXPECT_EQ(run(), "[main_init:1092] WTF failed to open window!\n1");
    EXPECT_EQ(turns, 0);
}

TEST_F(Program, EndsWithZeroWhenTheWindowIsClosed) {
    EXPECT_EQ(run(), "0");
    EXPECT_EQ(turns, 3);
}
