// What every system's window does. The tests of the real and of the off-screen window are the same.
#include "os/window.h"

#include "os/toolkit/window.h"
#include "os/window_backend.h"
#include "support/window_fixture.h"

// ---- Creation ----

TEST_F(Window, IsCreatedHiddenWithAFramebufferOfItsClientSize) {
    PlatformWindow *window = create({300, 200});
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->flags, program_flags | WINDOW_FLAG_ALIVE | WINDOW_FLAG_FOCUS);
    EXPECT_FALSE(is_shown(window));
    EXPECT_EQ(window->client_size.width, 300);
    EXPECT_EQ(window->client_size.height, 200);
    EXPECT_GT(window->window_size.width, 300);
    EXPECT_GT(window->window_size.height, 200);
    EXPECT_GT(window->client_position.y, window->window_position.y);
    EXPECT_EQ(window->framebuffer.width, 300);
    EXPECT_EQ(window->framebuffer.height, 200);
    EXPECT_EQ(window->framebuffer.capacity, 262144u); // 240000 bytes, up to the next power of two
    ASSERT_NE(window->framebuffer.pixels, nullptr);
    memset(window->framebuffer.pixels, 0xFF, 262144); // all of it is there
    EXPECT_EQ(window->input_flags, 0);
    EXPECT_TRUE(seen.empty());
}

TEST_F(Window, WithoutTheFlagOwnsNoFramebuffer) {
    PlatformWindow *window = create({300, 200}, WINDOW_FLAG_HIDDEN);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->framebuffer.pixels, nullptr);
    EXPECT_EQ(window->framebuffer.capacity, 0u);
    os_window_resize(window, {400, 300});
    EXPECT_EQ(window->framebuffer.pixels, nullptr);
    EXPECT_EQ(window->framebuffer.width, 0);
    os_window_blit(window);
}

TEST_F(Window, BorderlessIsAHundredPixelsSquareAtTheOriginWhateverIsAsked) {
    PlatformWindow *window = create({300, 200}, program_flags | WINDOW_FLAG_BORDERLESS);
    ASSERT_NE(window, nullptr);
    EXPECT_POINT(window->window_position, (Point{0, 0}));
    EXPECT_EQ(window->window_size.width, 100);
    EXPECT_EQ(window->window_size.height, 100);
    EXPECT_EQ(window->client_size.width, 100);
    EXPECT_EQ(window->client_size.height, 100);
    EXPECT_EQ(window->framebuffer.width, 100);
}

TEST_F(Window, PopupHasNoFrame) {
    PlatformWindow *window = create({300, 200}, program_flags | WINDOW_FLAG_POPUP);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->window_size.width, 300);
    EXPECT_EQ(window->window_size.height, 200);
    EXPECT_POINT(window->client_position, window->window_position);
}

TEST_F(Window, FixedSizeHasTheAskedClientArea) {
    PlatformWindow *window = create({300, 200}, program_flags | WINDOW_FLAG_FIXED_SIZE);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->client_size.width, 300);
    EXPECT_EQ(window->client_size.height, 200);
}

TEST_F(Window, ShowsItsTitle) {
    const struct {
        const char *text;
        std::u16string as_text;
        std::u16string as_units;
    } rows[] = {
        {"abcd", u"abcd", {u'a' | u'b' << 8, u'c' | u'd' << 8}},
        {"abc", u"abc", {u'a' | u'b' << 8, u'c'}},
        {"x", u"x", u"x"},
        {"", u"Window", {u'W' | u'i' << 8, u'n' | u'd' << 8, u'o' | u'w' << 8}},
    };
    for (const auto &row : rows) {
        PlatformWindow *window = os_window_create(300, 200, str_from(row.text), program_flags);
        windows.push_back(window);
        EXPECT_EQ(shown_title(window), titles_are_text ? row.as_text : row.as_units);
    }
}

TEST_F(Window, SurvivesEveryFailedAllocationOfItsCreation) {
    constexpr int count = 9; // more than the list of windows has room for at first
    int failed_creations = 0;
    bool has_failed = true;
    for (int failing = 0; has_failed; failing++) {
        int asked = 0;
        has_failed = false;
        int failed_here = 0;
        for (int i = 0; i < count; i++) {
            bool had_failed = has_failed;
            PlatformWindow *window = nullptr;
            {
                HeapHookScope hook([&](uint64_t) {
                    bool fails = asked++ == failing;
                    has_failed |= fails;
                    return !fails;
                });
                window = create();
            }
            bool is_failing_one = has_failed && !had_failed;
            if (window) {
                EXPECT_EQ(window->framebuffer.pixels == nullptr, is_failing_one);
                EXPECT_EQ(window->framebuffer.width, is_failing_one ? 0 : 300);
                os_window_blit(window); // nothing to show, and no harm
                drive_character(window, 'a');
                EXPECT_EQ(pump(EVENT_CHAR).size(), 1u); // it is in the list
                seen.clear();
            } else {
                EXPECT_TRUE(is_failing_one);
                failed_here++;
            }
        }
        failed_creations += failed_here;
        destroy_all();
    }
    EXPECT_GE(failed_creations, 2); // the record and the title at least
}

TEST_F(Window, FindsMemoryForItsFramebufferLater) {
    PlatformWindow *window = nullptr;
    {
        HeapHookScope hook([](uint64_t size) { return size != 262144; });
        window = create({300, 200});
    }
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->framebuffer.pixels, nullptr);
    os_window_resize(window, {301, 200});
    EXPECT_NE(window->framebuffer.pixels, nullptr);
    EXPECT_EQ(window->framebuffer.width, 301);
}

TEST_F(Window, MoreThanFourLiveSideBySide) {
    std::vector<PlatformWindow *> many;
    for (int i = 0; i < 9; i++) {
        many.push_back(create({100 + i, 100}));
        ASSERT_NE(many.back(), nullptr);
    }
    os_window_destroy(many[1]);
    os_window_destroy(many[8]);
    settle();
    for (int i : {0, 2, 3, 4, 5, 6, 7}) {
        drive_close(many[static_cast<size_t>(i)]);
    }
    std::vector<SeenEvent> closed = pump(EVENT_WINDOW_CLOSED);
    ASSERT_EQ(closed.size(), 7u);
    EXPECT_EQ(closed[0].event.window, many[0]);
    EXPECT_EQ(closed[1].event.window, many[2]);
    EXPECT_EQ(closed[6].event.window, many[7]);
}

// ---- Place and size ----

TEST_F(Window, ReportsItsNewSizeAndGrowsItsFramebuffer) {
    PlatformWindow *window = create({300, 200});
    uint32_t *block = window->framebuffer.pixels;
    os_window_resize(window, {640, 480});
    std::vector<SeenEvent> resized = events(EVENT_WINDOW_RESIZED);
    ASSERT_FALSE(resized.empty());
    EXPECT_EQ(resized.back().event.window, window);
    EXPECT_EQ(resized.back().event.resized.width, 640);
    EXPECT_EQ(resized.back().event.resized.height, 480);
    EXPECT_EQ(window->client_size.width, 640);
    EXPECT_EQ(window->framebuffer.width, 640);
    EXPECT_EQ(window->framebuffer.height, 480);
    EXPECT_EQ(window->framebuffer.capacity, 2097152u);
    EXPECT_NE(window->framebuffer.pixels, block);
    for (int i = 0; i < 640 * 480; i++) {
        ASSERT_EQ(window->framebuffer.pixels[i], 0u) << i;
    }
}

TEST_F(Window, KeepsTheLargerBlockWhenItShrinksAndGrowsBack) {
    PlatformWindow *window = create({640, 480});
    uint32_t *block = window->framebuffer.pixels;
    os_window_resize(window, {300, 200});
    EXPECT_EQ(window->framebuffer.width, 300);
    EXPECT_EQ(window->framebuffer.pixels, block);
    EXPECT_EQ(window->framebuffer.capacity, 2097152u);
    HeapHookScope hook([](uint64_t size) { return size < 1000; }); // no new block of that size
    os_window_resize(window, {640, 480});
    EXPECT_EQ(window->framebuffer.width, 640);
    EXPECT_EQ(window->framebuffer.height, 480);
    EXPECT_EQ(window->framebuffer.pixels, block);
}

TEST_F(Window, KeepsBlockAndSizeWhenNoLargerOneCanBeAllocated) {
    PlatformWindow *window = create({300, 200});
    uint32_t *block = window->framebuffer.pixels;
    {
        HeapHookScope hook([](uint64_t size) { return size != 2097152; });
        os_window_resize(window, {640, 480});
    }
    EXPECT_EQ(window->client_size.width, 640);
    EXPECT_EQ(window->framebuffer.width, 300);
    EXPECT_EQ(window->framebuffer.height, 200);
    EXPECT_EQ(window->framebuffer.pixels, block);
    ASSERT_EQ(events(EVENT_WINDOW_RESIZED).size(), 1u);
    EXPECT_EQ(events(EVENT_WINDOW_RESIZED)[0].event.resized.width, 640);
}

TEST_F(Window, ReportsItsPositionUnsignedAndStoresItSigned) {
    PlatformWindow *window = create();
    os_window_move_client(window, {100, 60});
    ASSERT_FALSE(events(EVENT_WINDOW_MOVED).empty());
    EXPECT_POINT(events(EVENT_WINDOW_MOVED).back().event.moved, (Point{100, 60}));
    EXPECT_POINT(window->client_position, (Point{100, 60}));
    EXPECT_EQ(window->client_size.width, 300);

    os_window_move_client(window, {-50, -70});
    EXPECT_POINT(events(EVENT_WINDOW_MOVED).back().event.moved, (Point{65486, 65466}));
    EXPECT_POINT(window->client_position, (Point{-50, -70}));

    os_window_move(window, {20, 30});
    EXPECT_POINT(window->window_position, (Point{20, 30}));
    EXPECT_EQ(window->client_size.width, 300);
    EXPECT_EQ(window->client_size.height, 200);
}

TEST_F(Window, IsCentredAsIfTheWorkAreaBeganAtTheOrigin) {
    PlatformWindow *window = create();
    MonitorInfo monitor = {};
    monitor.work_area = {700, 50, 1001, 801};
    os_window_center(window, &monitor);
    EXPECT_EQ(window->window_position.x, 500 - window->window_size.width / 2);
    EXPECT_EQ(window->window_position.y, 400 - window->window_size.height / 2);
    EXPECT_EQ(window->client_size.width, 300);
}

TEST_F(Window, IsShownAndHidden) {
    PlatformWindow *window = create();
    os_window_show(window, true);
    EXPECT_TRUE(is_shown(window));
    os_window_show(window, false);
    EXPECT_FALSE(is_shown(window));
}

// ---- Input ----

TEST_F(Window, ReportsThePointerEnteringMovingAndLeaving) {
    PlatformWindow *window = create_shown();
    drive_pointer_to(window, {10, 20});
    os_pump_messages();
    ASSERT_EQ(events(EVENT_MOUSE_ENTER).size(), 1u);
    EXPECT_POINT(events(EVENT_MOUSE_ENTER)[0].event.mouse.position, on_screen(window, {10, 20}));
    EXPECT_TRUE(window->input_flags & WINDOW_INPUT_POINTER_INSIDE);

    seen.clear();
    drive_pointer_to(window, {11, 22});
    os_pump_messages();
    EXPECT_TRUE(events(EVENT_MOUSE_ENTER).empty());
    ASSERT_FALSE(events(EVENT_MOUSE_MOVE).empty());
    EXPECT_POINT(events(EVENT_MOUSE_MOVE).back().event.mouse.position, on_screen(window, {11, 22}));

    drive_pointer_out(window);
    os_pump_messages();
    ASSERT_FALSE(events(EVENT_MOUSE_LEAVE).empty());
    EXPECT_NE(events(EVENT_MOUSE_LEAVE)[0].event.mouse.position.x, on_screen(window, {11, 22}).x);
    EXPECT_FALSE(window->input_flags & WINDOW_INPUT_POINTER_INSIDE);

    seen.clear();
    drive_pointer_to(window, {5, 5});
    EXPECT_EQ(pump(EVENT_MOUSE_ENTER).size(), 1u);
}

TEST_F(Window, ReportsEachButtonsPressAndRelease) {
    PlatformWindow *window = create_shown();
    for (uint16_t button : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
        Point place = fresh_place();
        Point later = {place.x + 1, place.y + 2};
        drive_press(window, button, place);
        drive_release(window, button, later);
        std::vector<SeenEvent> buttons = pump(EVENT_MOUSE_BUTTON);
        ASSERT_EQ(buttons.size(), 2u);
        EXPECT_EQ(buttons[0].event.button.button, button);
        EXPECT_EQ(buttons[0].event.button.state, BUTTON_PRESSED);
        EXPECT_POINT(buttons[0].event.button.position, on_screen(window, place));
        EXPECT_EQ(buttons[1].event.button.button, button);
        EXPECT_EQ(buttons[1].event.button.state, BUTTON_RELEASED);
        EXPECT_POINT(buttons[1].event.button.position, on_screen(window, later));
        seen.clear();
    }
}

TEST_F(Window, TheThirdPressInARowIsASingleOne) {
    PlatformWindow *window = create_shown();
    for (uint16_t button : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
        Point place = fresh_place();
        for (int i = 0; i < 4; i++) {
            drive_press(window, button, {place.x + i % 2, place.y});
            drive_release(window, button, place);
        }
        std::vector<int> states;
        for (const SeenEvent &entry : pump(EVENT_MOUSE_BUTTON)) {
            states.push_back(entry.event.button.state);
        }
        EXPECT_EQ(states, (std::vector<int>{1, 0, 2, 0, 1, 0, 2, 0}));
        seen.clear();
    }
}

TEST_F(Window, APressFartherAwayIsASingleOne) {
    PlatformWindow *window = create_shown();
    Point first = fresh_place(), second = fresh_place(), third = fresh_place();
    for (Point client : {first, second, third, Point{third.x + 1, third.y + 1}}) {
        drive_press(window, MOUSE_LEFT, client);
        drive_release(window, MOUSE_LEFT, client);
    }
    std::vector<int> states;
    for (const SeenEvent &entry : pump(EVENT_MOUSE_BUTTON)) {
        states.push_back(entry.event.button.state);
    }
    EXPECT_EQ(states, (std::vector<int>{1, 0, 1, 0, 1, 0, 2, 0}));
}

TEST_F(Window, TheButtonsAreTestedForDoublePressesApart) {
    PlatformWindow *window = create_shown();
    Point place = fresh_place();
    for (uint16_t button : {MOUSE_LEFT, MOUSE_RIGHT, MOUSE_LEFT}) {
        drive_press(window, button, place);
        drive_release(window, button, place);
    }
    std::vector<int> states;
    for (const SeenEvent &entry : pump(EVENT_MOUSE_BUTTON)) {
        states.push_back(entry.event.button.state);
    }
    EXPECT_EQ(states, (std::vector<int>{1, 0, 1, 0, 2, 0}));
}

TEST_F(Window, TheWheelReportsItsDirectionAndZeroCountsAsUp) {
    PlatformWindow *window = create_shown();
    const struct {
        int32_t delta;
        int32_t direction;
    } turns[] = {{120, 1}, {-120, -1}, {0, 1}, {-1, -1}, {-119, -1}, {1, 1}, {1200, 1}, {-1200, -1}};
    for (const auto &turn : turns) {
        seen.clear();
        drive_wheel(window, turn.delta);
        std::vector<SeenEvent> wheel = pump(EVENT_MOUSE_WHEEL);
        ASSERT_EQ(wheel.size(), 1u) << turn.delta;
        EXPECT_EQ(wheel[0].event.wheel.direction, turn.direction) << turn.delta;
        EXPECT_POINT(wheel[0].event.wheel.position, on_screen(window, {1, 1}));
    }
}

TEST_F(Window, ReportsAKeysFirstPressItsRepeatsAndItsRelease) {
    PlatformWindow *window = create_shown();
    for (uint16_t code : {uint16_t{0x25}, uint16_t{0x12}}) { // Left, and Alt, which the system does not see
        seen.clear();
        drive_key_down(window, code, false);
        settle();
        drive_key_down(window, code, true);
        drive_key_down(window, code, true);
        drive_key_up(window, code);
        std::vector<SeenEvent> keys = pump(EVENT_KEY);
        ASSERT_EQ(keys.size(), 3u) << code;
        EXPECT_EQ(keys[0].event.key.code, code);
        EXPECT_EQ(keys[0].event.key.state, KEY_REPEATED);
        EXPECT_EQ(keys[1].event.key.state, KEY_REPEATED);
        EXPECT_EQ(keys[2].event.key.code, code);
        EXPECT_EQ(keys[2].event.key.state, KEY_RELEASED);
        seen.clear();
        drive_key_down(window, code, false);
        keys = pump(EVENT_KEY);
        ASSERT_FALSE(keys.empty());
        EXPECT_EQ(keys.back().event.key.state, KEY_PRESSED);
        drive_key_up(window, code);
        os_pump_messages();
    }
}

TEST_F(Window, ReportsCharactersAsUnitsEnterAsLineFeedAndNoBackspace) {
    PlatformWindow *window = create_shown();
    std::vector<uint32_t> typed = {'a', '\r', '\b', '\t', '\n', 27, 1, 0x7F, 0xE9, 0x4F60, 0xD83D, 0xDE00};
    for (uint32_t unit : typed) {
        drive_character(window, unit);
    }
    std::vector<uint32_t> units;
    for (const SeenEvent &entry : pump(EVENT_CHAR)) {
        units.push_back(entry.event.character.unit);
    }
    EXPECT_EQ(units,
              (std::vector<uint32_t>{'a', '\n', '\t', '\n', 27, 1, 0x7F, 0xE9, 0x4F60, 0xD83D, 0xDE00}));
}

TEST_F(Window, ReportsDroppedFilesWithSlashesAndAZeroAfterEach) {
    PlatformWindow *window = create_shown();
    drive_drop(window, {12, 34}, {"/code\\a.txt", "/\xC3\xA9\\\xF0\x9F\x98\x80", "/mixed\\b/c"});
    std::vector<SeenEvent> dropped = pump(EVENT_FILES_DROPPED);
    ASSERT_EQ(dropped.size(), 1u);
    EXPECT_POINT(dropped[0].event.dropped.position, (Point{12, 34}));
    EXPECT_EQ(dropped[0].event.dropped.count, 3);
    using namespace std::string_literals;
    EXPECT_EQ(dropped[0].names, "/code/a.txt\0/\xC3\xA9/\xF0\x9F\x98\x80\0/mixed/b/c\0\0"s);
}

TEST_F(Window, IgnoresADropWhenOutOfMemory) {
    PlatformWindow *window = create_shown();
    std::vector<uint64_t> sizes;
    HeapHookScope hook([&](uint64_t size) {
        sizes.push_back(size);
        return false;
    });
    drive_drop(window, {1, 1}, {"/a", "/bc"});
    EXPECT_TRUE(pump(EVENT_FILES_DROPPED).empty());
    EXPECT_FALSE(sizes.empty());
}

TEST_F(Window, WithoutACallbackEventsAreDropped) {
    PlatformWindow *window = create_shown();
    os_set_event_callback(nullptr);
    drive_character(window, 'a');
    EXPECT_GE(os_pump_messages(), 1u);
    EXPECT_TRUE(seen.empty());
    os_set_event_callback(note_event);
    EXPECT_TRUE(pump(EVENT_CHAR).empty());
}

TEST_F(Window, ThePumpCountsMessagesThatAreNotEvents) {
    PlatformWindow *window = create(); // the system sends messages of its own to a window on the screen
    os_pump_messages();
    EXPECT_EQ(os_pump_messages(), 0u);
    drive_nothing(window);
    drive_nothing(window);
    EXPECT_EQ(os_pump_messages(), 2u);
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(os_pump_messages(), 0u);
}

TEST_F(Window, ReportsWhenTheFocusIsLostAndGained) {
    PlatformWindow *window = create_shown();
    drive_focus_away(window);
    std::vector<SeenEvent> focus = pump(EVENT_FOCUS);
    ASSERT_EQ(focus.size(), 1u);
    EXPECT_EQ(focus[0].event.focus.is_gained, 0);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_FOCUS);
    seen.clear();
    drive_focus_back(window);
    focus = pump(EVENT_FOCUS);
    ASSERT_EQ(focus.size(), 1u);
    EXPECT_EQ(focus[0].event.focus.is_gained, 1);
    EXPECT_TRUE(window->flags & WINDOW_FLAG_FOCUS);
}

// ---- Closing ----

TEST_F(Window, ClosesOnceAndItsRecordStaysReadable) {
    PlatformWindow *window = create_shown();
    drive_close(window);
    EXPECT_EQ(pump(EVENT_WINDOW_CLOSED).size(), 1u);
    EXPECT_EQ(events(EVENT_WINDOW_CLOSED)[0].event.window, window);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_ALIVE);
    EXPECT_EQ(window->framebuffer.pixels, nullptr);
    EXPECT_EQ(window->framebuffer.width, 0);

    seen.clear();
    os_window_blit(window);
    os_window_show(window, true);
    os_window_move(window, {1, 1});
    os_window_request_raw_mouse(window);
    MonitorInfo monitor = {};
    os_window_center(window, &monitor);
    os_window_destroy(window);
    os_pump_messages();
    EXPECT_TRUE(events(EVENT_WINDOW_CLOSED).empty());
    EXPECT_EQ(window->input_flags & WINDOW_INPUT_RAW_WANTED, 0);
}

TEST_F(Window, DestroyingClosesItAtOnce) {
    PlatformWindow *window = create_shown();
    os_window_destroy(window);
    EXPECT_EQ(events(EVENT_WINDOW_CLOSED).size(), 1u);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_ALIVE);
}

// ---- Presentation ----

TEST_F(Window, ShowsItsFramebufferPixelForPixel) {
    PlatformWindow *window = create_shown({317, 211});
    draw_gradient(&window->framebuffer);
    os_window_blit(window);
    std::vector<uint32_t> shown = shown_pixels(window);
    ASSERT_EQ(shown.size(), 317u * 211u);
    for (size_t i = 0; i < shown.size(); i++) {
        ASSERT_EQ(shown[i], window->framebuffer.pixels[i] & 0xFFFFFF) << i % 317 << " " << i / 317;
    }
}

TEST_F(Window, StretchesAFramebufferThatCouldNotGrow) {
    PlatformWindow *window = create_shown({300, 200});
    {
        HeapHookScope hook([](uint64_t size) { return size != 1048576; });
        os_window_resize(window, {600, 400});
    }
    ASSERT_EQ(window->framebuffer.width, 300);
    for (int i = 0; i < 300 * 200; i++) {
        window->framebuffer.pixels[i] = i % 300 < 150 ? 0xFFFF0000 : 0xFF0000FF;
    }
    os_window_blit(window);
    std::vector<uint32_t> shown = shown_pixels(window);
    ASSERT_EQ(shown.size(), 600u * 400u);
    EXPECT_EQ(shown[0], 0xFF0000u);
    EXPECT_EQ(shown[399 * 600], 0xFF0000u);
    EXPECT_EQ(shown[399 * 600 + 599], 0x0000FFu);
    EXPECT_EQ(shown[200 * 600 + 299], 0xFF0000u);
    EXPECT_EQ(shown[200 * 600 + 300], 0x0000FFu);
}

// ---- Monitors and the mouse's cursor ----

TEST(Monitors, AreFoundOnceThePrimaryOneFirst) {
    uint32_t count = 0;
    const MonitorInfo *monitors = os_get_monitors(&count);
    ASSERT_NE(monitors, nullptr);
    ASSERT_GE(count, 1u);
    EXPECT_EQ(monitors[0].flags, MONITOR_FLAG_PRIMARY);
    EXPECT_POINT(monitors[0].origin, (Point{0, 0}));
    EXPECT_GT(monitors[0].work_area.width, 0);
    EXPECT_GE(monitors[0].resolution.width, monitors[0].work_area.width);
    EXPECT_GE(monitors[0].resolution.height, monitors[0].work_area.height);
    EXPECT_GE(monitors[0].refresh_rate, 2);
    EXPECT_GT(monitors[0].name.count, 0u);
    EXPECT_EQ(monitors[0].name.data[monitors[0].name.count], 0);
    EXPECT_NE(monitors[0].handle, nullptr);
    uint32_t count_again = 0;
    EXPECT_EQ(os_get_monitors(&count_again), monitors);
    EXPECT_EQ(count_again, count);
}

TEST(Monitors, UseTheirSizeAndSixtyHertzForWhatTheModeLeavesOut) {
    const struct {
        Size mode;
        uint32_t rate;
        Size resolution;
        int32_t refresh_rate;
    } rows[] = {
        {{2560, 1440}, 144, {2560, 1440}, 144}, {{2560, 1440}, 2, {2560, 1440}, 2},
        {{2560, 1440}, 1, {2560, 1440}, 60},    {{2560, 1440}, 0, {2560, 1440}, 60},
        {{0, 0}, 24, {800, 600}, 24},           {{0, 1440}, 60, {800, 600}, 60},
        {{2560, 0}, 60, {800, 600}, 60},
    };
    for (const auto &row : rows) {
        MonitorInfo monitor = {};
        monitor_set_mode(&monitor, row.mode, {800, 600}, row.rate);
        EXPECT_EQ(monitor.resolution.width, row.resolution.width);
        EXPECT_EQ(monitor.resolution.height, row.resolution.height);
        EXPECT_EQ(monitor.refresh_rate, row.refresh_rate);
    }
}

TEST(Monitors, ThePrimaryOneIsPutFirst) {
    for (uint32_t primary = 0; primary < 3; primary++) {
        MonitorInfo monitors[3] = {};
        for (uint32_t i = 0; i < 3; i++) {
            monitors[i].origin.x = static_cast<int32_t>(i);
        }
        monitors[primary].flags = MONITOR_FLAG_PRIMARY;
        monitors_put_primary_first(monitors, 3);
        EXPECT_EQ(monitors[0].origin.x, static_cast<int32_t>(primary));
        EXPECT_EQ(monitors[0].flags, MONITOR_FLAG_PRIMARY);
        EXPECT_EQ(monitors[1].flags + monitors[2].flags, 0);
        EXPECT_EQ(monitors[0].origin.x + monitors[1].origin.x + monitors[2].origin.x, 3);
    }
    monitors_put_primary_first(nullptr, 0);
}

// ---- Framebuffer ----

TEST(FramebufferBlock, IsTheNextPowerOfTwo) {
    const struct {
        Size size;
        uint64_t bytes;
    } rows[] = {
        {{0, 0}, 0},
        {{0, 500}, 0},
        {{500, 0}, 0},
        {{1, 1}, 4},
        {{2, 1}, 8},
        {{3, 1}, 16},
        {{4, 4}, 64},
        {{5, 4}, 128},
        {{1000, 810}, 4194304},
        {{1024, 1024}, 4194304},
        {{1025, 1024}, 8388608},
        {{16384, 32768}, 2147483648},
        {{16385, 32768}, 4294967296}, // more than the heap gives
        {{65535, 65535}, 17179869184},
        {{INT32_MAX, 1 << 30}, uint64_t{1} << 63},
        {{INT32_MAX, INT32_MAX}, UINT64_MAX}, // no power of two holds it
    };
    for (const auto &row : rows) {
        EXPECT_EQ(framebuffer_block_size(row.size), row.bytes) << row.size.width << " x " << row.size.height;
    }
}

TEST(FramebufferBlock, OfASizeThatTheHeapCannotGiveFailsAndIsNotTruncated) {
    Framebuffer framebuffer = {};
    framebuffer_resize(&framebuffer, {10, 10});
    uint32_t *block = framebuffer.pixels;
    ASSERT_NE(block, nullptr);
    framebuffer_resize(&framebuffer,
                       {32769, 32769}); // 4 * 2^30 bytes and some: cut to 32 bits it would be small
    EXPECT_EQ(framebuffer.width, 10);
    EXPECT_EQ(framebuffer.height, 10);
    EXPECT_EQ(framebuffer.pixels, block);
    framebuffer_block_free(block);
}
