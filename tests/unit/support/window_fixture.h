// The fixture of the tests of a window, real or off-screen.
#pragma once

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "os/memory.h"
#include "support/heap_hook.h"
#include "support/window_driver.h"

inline constexpr uint16_t program_flags = WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN;

// An event, kept after its callback.
struct SeenEvent {
    WindowEvent event;
    std::string names; // the bytes of a drop's names, with all zeros
};

inline std::vector<SeenEvent> seen;

inline void note_event(const WindowEvent *event) {
    SeenEvent entry = {*event, ""};
    if (event->type == EVENT_FILES_DROPPED) {
        const char *end = event->dropped.names;
        for (int32_t i = 0; i < event->dropped.count; i++) {
            end += strlen(end) + 1;
        }
        entry.names.assign(event->dropped.names, end + 1);
    }
    seen.push_back(entry);
}

class Window : public ::testing::Test {
protected:
    void SetUp() override {
        os_pump_messages();
        seen.clear();
        os_set_event_callback(note_event);
        drive_begin();
    }

    void TearDown() override {
        drive_end();
        destroy_all();
        os_set_event_callback(nullptr);
        os_pump_messages();
    }

    void destroy_all() {
        for (PlatformWindow *window : windows) {
            os_window_destroy(window);
            os_free(window);
        }
        windows.clear();
    }

    PlatformWindow *create(Size size = {300, 200}, uint16_t flags = program_flags) {
        PlatformWindow *window = os_window_create(size.width, size.height, str_from("Tarnwick"), flags);
        if (window) {
            windows.push_back(window);
        }
        return window;
    }

    // A window on the screen, whose first messages are handled and forgotten.
    PlatformWindow *create_shown(Size size = {300, 200}) {
        drive_pointer_away();
        PlatformWindow *window = create(size);
        os_window_show(window, true);
        drive_settle();
        seen.clear();
        return window;
    }

    // A position in the client area where no test has pressed a button yet.
    static Point fresh_place() {
        static int32_t count = 0;
        count++;
        return {10 + count % 14 * 20, 10 + count / 14 % 9 * 20};
    }

    // Handles the waiting messages and forgets their events.
    void settle() {
        os_pump_messages();
        seen.clear();
    }

    // Handles the waiting messages and returns their events of that type.
    std::vector<SeenEvent> pump(uint8_t type) {
        os_pump_messages();
        return events(type);
    }

    static std::vector<SeenEvent> events(uint8_t type) {
        std::vector<SeenEvent> chosen;
        std::copy_if(seen.begin(), seen.end(), std::back_inserter(chosen),
                     [type](const SeenEvent &entry) { return entry.event.type == type; });
        return chosen;
    }

    std::vector<PlatformWindow *> windows;
};

inline Point on_screen(const PlatformWindow *window, Point client) {
    return {window->client_position.x + client.x, window->client_position.y + client.y};
}

#define EXPECT_POINT(actual, expected)                                                                       \
    EXPECT_EQ((actual).x, (expected).x);                                                                     \
    EXPECT_EQ((actual).y, (expected).y)

inline void draw_gradient(Framebuffer *framebuffer) {
    for (int32_t y = 0; y < framebuffer->height; y++) {
        for (int32_t x = 0; x < framebuffer->width; x++) {
            framebuffer->pixels[y * framebuffer->width + x] =
                0xFF000000 | static_cast<uint32_t>(x % 256) << 16 | static_cast<uint32_t>(y % 256) << 8 |
                static_cast<uint32_t>((x + y) % 256);
        }
    }
}
