// The toolkit's functions of the window, the same for every system.
#include "os/toolkit/window.h"

#include "support/window_fixture.h"

// ---- Place and size ----

TEST_F(Window, KeepsItsMiddleWhenItIsResizedAroundIt) {
    PlatformWindow *window = create();
    os_window_move(window, {200, 150});
    Size old = window->window_size;
    os_window_resize_centered(window, {340, 160});
    EXPECT_EQ(window->client_size.width, 340);
    EXPECT_EQ(window->client_size.height, 160);
    EXPECT_EQ(window->window_position.x, 200 + (old.width - window->window_size.width) / 2);
    EXPECT_EQ(window->window_position.y, 150 + (old.height - window->window_size.height) / 2);
    EXPECT_EQ(window->window_position.x, 180);
    EXPECT_EQ(window->window_position.y, 170);
}

TEST_F(Window, HasNoAreaWhileItIsMinimisedAndComesBackAsItWas) {
    PlatformWindow *window = create_shown();
    uint32_t *block = window->framebuffer.pixels;
    os_window_minimize(window);
    drive_settle();
    EXPECT_EQ(window->client_size.width, 0);
    EXPECT_EQ(window->client_size.height, 0);
    EXPECT_EQ(window->framebuffer.width, 0);
    EXPECT_EQ(window->framebuffer.height, 0);
    EXPECT_EQ(window->framebuffer.pixels, block);
    ASSERT_FALSE(events(EVENT_WINDOW_RESIZED).empty());
    EXPECT_EQ(events(EVENT_WINDOW_RESIZED).back().event.resized.width, 0);
    os_window_blit(window);

    os_window_restore(window);
    drive_settle();
    EXPECT_EQ(window->client_size.width, 300);
    EXPECT_EQ(window->client_size.height, 200);
    EXPECT_EQ(window->framebuffer.width, 300);
    EXPECT_EQ(window->framebuffer.height, 200);
    EXPECT_EQ(window->framebuffer.pixels, block);
}

// ---- Frame, focus and place in front ----

TEST_F(Window, LosesItsFrameAndGetsItBackInTheSameOuterRectangle) {
    PlatformWindow *window = create();
    os_window_move(window, {200, 150});
    Size outer = window->window_size;
    os_window_toggle_frame(window);
    EXPECT_TRUE(window->flags & WINDOW_FLAG_POPUP);
    EXPECT_EQ(window->client_size.width, outer.width);
    EXPECT_EQ(window->client_size.height, outer.height);
    EXPECT_EQ(window->framebuffer.width, outer.width);
    EXPECT_POINT(window->client_position, (Point{200, 150}));
    os_window_toggle_frame(window);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_POPUP);
    EXPECT_EQ(window->client_size.width, 300);
    EXPECT_EQ(window->client_size.height, 200);
    EXPECT_POINT(window->window_position, (Point{200, 150}));
    EXPECT_FALSE(is_shown(window));
}

TEST_F(Window, StaysVisibleWhenItIsFlashedOrItsFrameOrTopmostFlagChanges) {
    PlatformWindow *window = create();
    os_window_show(window, true);
    os_window_toggle_topmost(window);
    EXPECT_TRUE(window->flags & WINDOW_FLAG_TOPMOST);
    os_window_toggle_topmost(window);
    EXPECT_FALSE(window->flags & WINDOW_FLAG_TOPMOST);
    os_window_toggle_frame(window);
    os_window_flash(window);
    EXPECT_TRUE(is_shown(window));
}

TEST_F(Window, CountsAsHavingTheFocusOnceItIsAskedFor) {
    PlatformWindow *window = create_shown();
    drive_focus_away(window);
    os_pump_messages();
    os_window_focus(window);
    EXPECT_TRUE(window->flags & WINDOW_FLAG_FOCUS);
}

// ---- Presentation ----

TEST_F(Window, ShowsAPartOfItsFramebufferInTheSamePlace) {
    PlatformWindow *window = create_shown({120, 90});
    os_window_blit(window); // black
    draw_gradient(&window->framebuffer);
    os_window_blit_rect(window, {20, 10, 30, 15});
    std::vector<uint32_t> shown = shown_pixels(window);
    for (int32_t y = 0; y < 90; y++) {
        for (int32_t x = 0; x < 120; x++) {
            bool is_part = x >= 20 && x < 50 && y >= 10 && y < 25;
            ASSERT_EQ(shown[static_cast<size_t>(y * 120 + x)],
                      is_part ? window->framebuffer.pixels[y * 120 + x] & 0xFFFFFF : 0)
                << x << " " << y;
        }
    }
}

TEST_F(Window, PresentsNoPartWithoutAFramebuffer) {
    PlatformWindow *window = create({300, 200}, 0);
    drive_settle();
    std::vector<uint32_t> before = shown_pixels(window);
    os_window_blit_rect(window, {0, 0, 10, 10});
    EXPECT_EQ(shown_pixels(window), before);
}

// ---- Closed windows ----

TEST_F(Window, CannotBeChangedOnceItIsClosed) {
    PlatformWindow *window = create_shown();
    drive_close(window);
    os_pump_messages();
    PlatformWindow closed = *window;
    seen.clear();
    os_window_blit_rect(window, {0, 0, 1, 1});
    os_window_move_client(window, {1, 1});
    os_window_resize(window, {10, 10});
    os_window_resize_centered(window, {10, 10});
    os_window_toggle_frame(window);
    os_window_toggle_topmost(window);
    os_window_minimize(window);
    os_window_restore(window);
    os_window_focus(window);
    os_window_flash(window);
    os_pump_messages();
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(window->flags, closed.flags);
    EXPECT_POINT(window->client_position, closed.client_position);
    EXPECT_EQ(window->client_size.width, closed.client_size.width);
}
