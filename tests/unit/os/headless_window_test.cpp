// What only the off-screen window lets a test set: the clock, other monitors, a second window's place.
#include "support/headless_window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "os/memory.h"
#include "os/toolkit/window.h"
#include "support/heap_hook.h"

namespace {

constexpr uint16_t program_flags = WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN;

std::vector<WindowEvent> seen;

void note_event(const WindowEvent *event) {
    seen.push_back(*event);
}

class OffscreenWindow : public ::testing::Test {
protected:
    void SetUp() override {
        os_pump_messages();
        seen.clear();
        os_set_event_callback(note_event);
        window = create_shown({100, 100});
    }

    void TearDown() override {
        destroy(window);
        os_set_event_callback(nullptr);
        headless_set_double_press(500, {4, 4});
        headless_set_time(1'000'000);
    }

    static void destroy(PlatformWindow *created) {
        os_window_destroy(created);
        os_free(created);
    }

    PlatformWindow *create_shown(Point client_position) {
        PlatformWindow *created = os_window_create(200, 100, str_from("Tarnwick"), program_flags);
        os_window_move_client(created, client_position);
        os_window_show(created, true);
        os_pump_messages();
        seen.clear();
        return created;
    }

    // Presses and releases at that place of the client area at that time; returns the press's state.
    int press(uint32_t time_ms, Point client = {10, 10}) {
        headless_set_time(time_ms);
        headless_move_pointer({100 + client.x, 100 + client.y});
        headless_press(MOUSE_LEFT);
        headless_release(MOUSE_LEFT);
        os_pump_messages();
        int state = -1;
        for (const WindowEvent &event : seen) {
            if (event.type == EVENT_MOUSE_BUTTON && event.button.state != BUTTON_RELEASED) {
                state = event.button.state;
            }
        }
        seen.clear();
        return state;
    }

    // The types of the events that wait.
    std::vector<int> pump_types() {
        seen.clear();
        os_pump_messages();
        std::vector<int> types;
        for (const WindowEvent &event : seen) {
            types.push_back(event.type);
        }
        return types;
    }

    PlatformWindow *window = nullptr;
};

} // namespace

// ---- Double presses ----

TEST_F(OffscreenWindow, ASecondPressIsDoubleBelowTheDoublePressTimeOnly) {
    EXPECT_EQ(press(10'000), BUTTON_PRESSED);
    EXPECT_EQ(press(10'499), BUTTON_DOUBLE_PRESSED);
    EXPECT_EQ(press(20'000), BUTTON_PRESSED);
    EXPECT_EQ(press(20'500), BUTTON_PRESSED);
    EXPECT_EQ(press(20'999), BUTTON_DOUBLE_PRESSED);
}

TEST_F(OffscreenWindow, ASecondPressIsDoubleWithinTheDoublePressSizeOnly) {
    headless_set_double_press(500, {4, 6});
    EXPECT_EQ(press(10'000, {50, 50}), BUTTON_PRESSED);
    EXPECT_EQ(press(10'001, {53, 55}), BUTTON_DOUBLE_PRESSED);
    EXPECT_EQ(press(20'000, {50, 50}), BUTTON_PRESSED);
    EXPECT_EQ(press(20'001, {47, 45}), BUTTON_DOUBLE_PRESSED);
    EXPECT_EQ(press(30'000, {50, 50}), BUTTON_PRESSED);
    EXPECT_EQ(press(30'001, {54, 50}), BUTTON_PRESSED);
    EXPECT_EQ(press(40'000, {50, 50}), BUTTON_PRESSED);
    EXPECT_EQ(press(40'001, {50, 44}), BUTTON_PRESSED);
}

TEST_F(OffscreenWindow, AfterADoublePressTheNextOneIsSingle) {
    EXPECT_EQ(press(10'000), BUTTON_PRESSED);
    EXPECT_EQ(press(10'100), BUTTON_DOUBLE_PRESSED);
    EXPECT_EQ(press(10'200), BUTTON_PRESSED);
    EXPECT_EQ(press(10'300), BUTTON_DOUBLE_PRESSED);
    EXPECT_EQ(press(10'400), BUTTON_PRESSED);
}

TEST_F(OffscreenWindow, ADoublePressMayLieAcrossTheClocksWrap) {
    EXPECT_EQ(press(0xFFFFFFF0), BUTTON_PRESSED);
    EXPECT_EQ(press(0x00000100), BUTTON_DOUBLE_PRESSED);
}

// ---- Focus and raw mouse input ----

TEST_F(OffscreenWindow, ReportsWhenItGetsAndLosesTheFocus) {
    headless_focus(nullptr);
    os_pump_messages();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].type, EVENT_FOCUS);
    EXPECT_EQ(seen[0].focus.is_gained, 0);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_FOCUS);
    headless_press_key(0x25); // reaches no window
    headless_release_key(0x25);
    headless_type('x');
    EXPECT_EQ(os_pump_messages(), 0u);

    seen.clear();
    headless_focus(window);
    os_pump_messages();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].focus.is_gained, 1);
    EXPECT_TRUE(window->flags & WINDOW_FLAG_FOCUS);
}

TEST_F(OffscreenWindow, RawMouseInputIsRegisteredWhileTheWindowThatWantsItHasTheFocus) {
    EXPECT_FALSE(headless_raw_mouse_is_registered());
    headless_focus(nullptr);
    os_pump_messages();
    os_window_request_raw_mouse(window);
    EXPECT_FALSE(headless_raw_mouse_is_registered());
    EXPECT_EQ(window->input_flags, WINDOW_INPUT_RAW_WANTED);

    headless_focus(window);
    os_pump_messages();
    EXPECT_TRUE(headless_raw_mouse_is_registered());
    EXPECT_EQ(window->input_flags,
              WINDOW_INPUT_RAW_WANTED | WINDOW_INPUT_RAW_ACTIVE | WINDOW_INPUT_RAW_REGISTERED);

    headless_focus(nullptr);
    os_pump_messages();
    EXPECT_FALSE(headless_raw_mouse_is_registered());
    EXPECT_EQ(window->input_flags, WINDOW_INPUT_RAW_WANTED);
}

TEST_F(OffscreenWindow, RawMouseInputEndsWithItsWindow) {
    os_window_request_raw_mouse(window);
    EXPECT_TRUE(headless_raw_mouse_is_registered());
    os_window_destroy(window);
    EXPECT_FALSE(headless_raw_mouse_is_registered());
    EXPECT_EQ(window->input_flags, WINDOW_INPUT_RAW_WANTED);
}

TEST_F(OffscreenWindow, UnregisteringRawMouseInputAffectsEveryWindow) {
    PlatformWindow *other = create_shown({600, 100});
    headless_focus(window);
    os_pump_messages();
    os_window_request_raw_mouse(window);
    window->input_flags |= WINDOW_INPUT_RAW_REGISTERED;
    other->input_flags |= WINDOW_INPUT_RAW_REGISTERED;
    headless_focus(other);
    os_pump_messages();
    EXPECT_EQ(other->input_flags & WINDOW_INPUT_RAW_REGISTERED, 0);
    destroy(other);
}

TEST_F(OffscreenWindow, ShowingAnotherWindowTakesTheFocusAndRawMouseInput) {
    os_window_request_raw_mouse(window);
    PlatformWindow *other = os_window_create(200, 100, str_from("Tarnwick"), program_flags);
    seen.clear();
    os_window_show(other, true);
    ASSERT_GE(seen.size(), 2u);
    EXPECT_EQ(seen[0].window, window);
    EXPECT_EQ(seen[0].type, EVENT_FOCUS);
    EXPECT_EQ(seen[0].focus.is_gained, 0);
    EXPECT_EQ(seen[1].window, other);
    EXPECT_EQ(seen[1].focus.is_gained, 1);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_FOCUS);
    EXPECT_FALSE(headless_raw_mouse_is_registered());
    destroy(other);
}

TEST_F(OffscreenWindow, OneThatIsVisibleFromTheStartReportsNoEvent) {
    PlatformWindow *other = os_window_create(200, 100, str_from("Tarnwick"), WINDOW_FLAG_FRAMEBUFFER);
    EXPECT_TRUE(headless_view(other)->is_visible);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(os_pump_messages(), 1u); // the redraw
    destroy(other);
}

TEST_F(OffscreenWindow, MovingAMinimisedWindowDoesNotChangeHowItComesBack) {
    os_window_minimize(window);
    os_window_move(window, {5, 5});
    os_window_restore(window);
    EXPECT_EQ(window->client_size.width, 200);
    EXPECT_EQ(window->client_size.height, 100);
    EXPECT_EQ(window->client_position.x, 100);
}

// ---- Two windows and the screen ----

TEST_F(OffscreenWindow, ThePointerGoesFromOneWindowToTheOther) {
    PlatformWindow *other = create_shown({600, 100});
    headless_move_pointer({110, 110});
    EXPECT_EQ(pump_types(), std::vector<int>{EVENT_MOUSE_ENTER});
    headless_move_pointer({610, 110});
    EXPECT_EQ(pump_types(), (std::vector<int>{EVENT_MOUSE_LEAVE, EVENT_MOUSE_ENTER}));
    EXPECT_EQ(seen[0].window, window);
    EXPECT_EQ(seen[1].window, other);
    destroy(other);
}

TEST_F(OffscreenWindow, AHeldButtonKeepsThePointerWhereverItGoes) {
    headless_move_pointer({110, 110});
    headless_press(MOUSE_LEFT);
    pump_types();
    headless_move_pointer({-20, 2000});
    EXPECT_EQ(pump_types(), std::vector<int>{EVENT_MOUSE_MOVE});
    EXPECT_EQ(seen[0].mouse.position.x, -20);
    EXPECT_EQ(seen[0].mouse.position.y, 2000);
    headless_release(MOUSE_LEFT);
    EXPECT_EQ(pump_types(), std::vector<int>{EVENT_MOUSE_BUTTON});
    headless_move_pointer({-21, 2000});
    EXPECT_EQ(pump_types(), std::vector<int>{EVENT_MOUSE_LEAVE});
}

TEST_F(OffscreenWindow, NothingReachesAWindowWhosePointIsCovered) {
    PlatformWindow *other = create_shown({120, 120}); // in front
    headless_move_pointer({130, 130});
    headless_turn_wheel(120);
    EXPECT_EQ(pump_types(), (std::vector<int>{EVENT_MOUSE_ENTER, EVENT_MOUSE_WHEEL}));
    EXPECT_EQ(seen[1].window, other);
    headless_move_pointer({120, 100}); // the other one's frame
    headless_turn_wheel(120);
    EXPECT_EQ(pump_types(), std::vector<int>{EVENT_MOUSE_LEAVE});
    destroy(other);
}

TEST_F(OffscreenWindow, AClosedWindowsWaitingMessagesAreLost) {
    headless_type('a');
    headless_close(window);
    headless_type('b');
    Str name = str_from("C:/a");
    headless_drop(window, {1, 1}, &name, 1);
    EXPECT_EQ(pump_types(), (std::vector<int>{EVENT_CHAR, EVENT_FOCUS, EVENT_WINDOW_CLOSED}));
}

TEST_F(OffscreenWindow, DraggingMovesAndResizesItInsideThePump) {
    headless_drag_to(window, {30, 40});
    headless_drag_size(window, {333, 222});
    EXPECT_EQ(window->client_size.width, 200);
    EXPECT_EQ(pump_types(), (std::vector<int>{EVENT_WINDOW_MOVED, EVENT_WINDOW_RESIZED}));
    EXPECT_EQ(window->window_position.x, 30);
    EXPECT_EQ(window->framebuffer.width, 333);
    EXPECT_EQ(window->framebuffer.height, 222);
}

namespace {

// What has been called, in order: 'e' an event, 'f' a frame.
std::string calls;

void note_event_call(const WindowEvent *) {
    calls += 'e';
}

void note_frame_call(PlatformWindow *) {
    calls += 'f';
}

} // namespace

TEST_F(OffscreenWindow, CallsForFramesWhileItsTitleBarIsHeldAndAfterEachNewSize) {
    os_set_event_callback(note_event_call);
    os_set_frame_callback(note_frame_call, 10);
    calls.clear();
    headless_type('a');
    headless_hold_title(window);
    headless_drag_to(window, {50, 60});
    headless_drag_size(window, {300, 200});
    headless_type('b');
    headless_release_title(window);
    headless_type('c');
    headless_drag_size(window, {200, 100});
    os_pump_messages();
    EXPECT_EQ(calls, "e"
                     "ef"
                     "eff"
                     "ef"
                     "ee");
    os_set_frame_callback(nullptr, 0);
}

TEST_F(OffscreenWindow, CallsForNoFrameWithinACallback) {
    os_set_event_callback([](const WindowEvent *event) {
        calls += 'e';
        if (event->type == EVENT_CHAR) {
            os_window_resize(event->window, {300, 200});
        }
    });
    os_set_frame_callback(
        [](PlatformWindow *held) {
            calls += 'f';
            os_window_resize(held, {210, 110});
        },
        10);
    calls.clear();
    headless_hold_title(window);
    headless_type('a');
    headless_release_title(window);
    os_pump_messages();
    EXPECT_EQ(calls, "ee"
                     "fe"); // the character with its new size, then the frame with its own
    os_set_frame_callback(nullptr, 0);
}

TEST_F(OffscreenWindow, EventsAndTheirOrderAreTheSameWhileItsTitleBarIsHeld) {
    std::vector<uint8_t> types[2];
    for (bool is_held : {false, true}) {
        seen.clear();
        os_set_frame_callback(note_frame_call, 10);
        if (is_held) {
            headless_hold_title(window);
        }
        headless_drag_to(window, {50, 60});
        headless_type('a');
        headless_drag_size(window, {300, 200});
        headless_release_title(window);
        headless_drag_size(window, {200, 100});
        headless_drag_to(window, {100, 100});
        os_pump_messages();
        os_set_frame_callback(nullptr, 0);
        for (const WindowEvent &event : seen) {
            types[is_held].push_back(event.type);
        }
    }
    EXPECT_EQ(types[0].size(), 5u);
    EXPECT_EQ(types[0], types[1]);
}

TEST_F(OffscreenWindow, CountsEachPresentationThatShowsSomething) {
    EXPECT_EQ(headless_view(window)->presented, 0u);
    os_window_blit(window);
    os_window_blit_rect(window, {0, 0, 5, 5});
    EXPECT_EQ(headless_view(window)->presented, 2u);
    os_window_minimize(window);
    os_window_blit(window);
    EXPECT_EQ(headless_view(window)->presented, 2u);
    EXPECT_TRUE(headless_view(window)->is_minimized);
}

TEST_F(OffscreenWindow, ACallbackMayCauseFurtherEvents) {
    os_set_event_callback([](const WindowEvent *event) {
        PlatformWindow *self = event->window;
        uint8_t type = event->type;
        seen.push_back(*event);
        if (type == EVENT_CHAR) {
            for (int32_t i = 0; i < 200; i++) {
                headless_ask_redraw(self); // the queue grows while one of its messages is handled
            }
            os_window_resize(self, {50, 60});
        }
    });
    headless_type('a');
    EXPECT_EQ(os_pump_messages(), 201u);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[1].type, EVENT_WINDOW_RESIZED);
    EXPECT_EQ(seen[1].resized.height, 60);
}

TEST_F(OffscreenWindow, AWindowThatCannotBeCreatedIsNull) {
    headless_refuse_next_window();
    EXPECT_EQ(os_window_create(10, 10, str_from("x"), program_flags), nullptr);
    PlatformWindow *next = os_window_create(10, 10, str_from("x"), program_flags);
    EXPECT_NE(next, nullptr);
    destroy(next);
}

TEST_F(OffscreenWindow, TheNamesOfADropGetFourBytesForEachUnit) {
    uint64_t asked = 0;
    const Str names[] = {str_from("C:/a"), str_from("D:/bc")};
    HeapHookScope hook([&asked](uint64_t size) {
        asked = size;
        return false;
    });
    headless_drop(window, {1, 1}, names, 2);
    EXPECT_EQ(asked, (4u + 5u) * 4u + 1u);
}

// ---- Cursor and monitors ----

TEST_F(OffscreenWindow, ACursorBeyondTheTableIsIgnored) {
    os_set_cursor(CURSOR_TEXT);
    EXPECT_EQ(headless_cursor(), CURSOR_TEXT);
    os_set_cursor(32);
    os_set_cursor(0xFFFFFFFF);
    EXPECT_EQ(headless_cursor(), CURSOR_TEXT);
    os_set_cursor(31);
    EXPECT_EQ(headless_cursor(), 31u);
    os_set_cursor(CURSOR_ARROW);
}

TEST_F(OffscreenWindow, TheSystemCursorIsHiddenAndShownHoweverOften) {
    os_show_system_cursor(false);
    os_show_system_cursor(false);
    EXPECT_FALSE(headless_cursor_is_visible());
    os_show_system_cursor(true);
    EXPECT_TRUE(headless_cursor_is_visible());
}

TEST(OffscreenMonitors, AreDescribedAsTheSystemDoes) {
    const HeadlessMonitor monitors[] = {
        {0, {1920, 0, 1280, 984}, {1920, 0, 1280, 1024}, {0, 0}, 1, "second"},
        {1, {0, 0, 1920, 1040}, {0, 0, 1920, 1080}, {3840, 2160}, 144, "first"},
    };
    headless_set_monitors(monitors, 2);
    uint32_t count = 0;
    const MonitorInfo *found = os_get_monitors(&count);
    ASSERT_EQ(count, 2u);
    EXPECT_TRUE(str_equal(found[0].name, str_from("first")));
    EXPECT_EQ(found[0].flags, MONITOR_FLAG_PRIMARY);
    EXPECT_EQ(found[0].work_area.height, 1040);
    EXPECT_EQ(found[0].resolution.width, 3840);
    EXPECT_EQ(found[0].refresh_rate, 144);
    EXPECT_EQ(found[1].flags, 0);
    EXPECT_EQ(found[1].origin.x, 1920);
    EXPECT_EQ(found[1].resolution.height, 1024);
    EXPECT_EQ(found[1].refresh_rate, 60);

    headless_set_monitors(nullptr, 0);
    EXPECT_EQ(os_get_monitors(&count), nullptr);
    EXPECT_EQ(count, 0u);
    const HeadlessMonitor usual = {1, {0, 0, 1280, 1024}, {0, 0, 1280, 1024}, {1280, 1024}, 60, "off-screen"};
    headless_set_monitors(&usual, 1);
}
