#include "support/headless_window.h"
#include "support/window_driver.h"

namespace {

void point_at(PlatformWindow *window, Point client) {
    headless_move_pointer({window->client_position.x + client.x, window->client_position.y + client.y});
}

} // namespace

void drive_pointer_to(PlatformWindow *window, Point client) {
    point_at(window, client);
}

void drive_pointer_away() {
    headless_move_pointer({-5000, -5000});
}

void drive_pointer_out(PlatformWindow *) {
    drive_pointer_away();
}

void drive_press(PlatformWindow *window, uint16_t button, Point client) {
    point_at(window, client);
    headless_press(button);
}

void drive_release(PlatformWindow *window, uint16_t button, Point client) {
    point_at(window, client);
    headless_release(button);
}

void drive_wheel(PlatformWindow *window, int32_t delta) {
    point_at(window, {1, 1});
    headless_turn_wheel(delta);
}

void drive_key_down(PlatformWindow *window, uint16_t code, bool was_down) {
    headless_focus(window);
    if (!was_down) {
        headless_release_key(code); // in case another test left it down
        os_pump_messages();
    }
    headless_press_key(code);
}

void drive_key_up(PlatformWindow *window, uint16_t code) {
    headless_focus(window);
    headless_release_key(code);
}

void drive_character(PlatformWindow *window, uint32_t unit) {
    headless_focus(window);
    headless_type(unit);
}

void *drive_drop(PlatformWindow *window, Point client, const std::vector<std::string> &names) {
    std::vector<Str> texts;
    for (const std::string &name : names) {
        texts.push_back({name.size(), const_cast<char *>(name.data())});
    }
    headless_drop(window, client, texts.data(), static_cast<int32_t>(texts.size()));
    return nullptr;
}

void drive_close(PlatformWindow *window) {
    headless_close(window);
}

void drive_nothing(PlatformWindow *window) {
    headless_ask_redraw(window);
}

void drive_begin() {}

void drive_end() {}

void drive_focus_away(PlatformWindow *) {
    headless_focus(nullptr);
}

void drive_focus_back(PlatformWindow *window) {
    headless_focus(window);
}

void drive_settle() {
    os_pump_messages();
}

std::vector<uint32_t> shown_pixels(const PlatformWindow *window) {
    const HeadlessView *view = headless_view(window);
    std::vector<uint32_t> pixels(view->pixels, view->pixels + view->size.width * view->size.height);
    for (uint32_t &pixel : pixels) {
        pixel &= 0xFFFFFF;
    }
    return pixels;
}

const bool titles_are_text = false;

std::u16string shown_title(const PlatformWindow *window) {
    const HeadlessView *view = headless_view(window);
    return std::u16string(reinterpret_cast<const char16_t *>(view->title), view->title_count);
}

bool is_shown(const PlatformWindow *window) {
    return headless_view(window)->is_visible;
}
