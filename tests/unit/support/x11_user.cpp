#include "support/x11_user.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include "os/linux/x11.h"

Display *user_display() {
    static Display *display = XOpenDisplay(nullptr);
    return display;
}

Window window_id(const PlatformWindow *window) {
    return reinterpret_cast<Window>(window->handle);
}

void user_sync() {
    XSync(user_display(), False);
    XSync(x11_display(), False);
}

// ---- The real keyboard and mouse ----

void user_move_to(Point screen) {
    XTestFakeMotionEvent(user_display(), -1, screen.x, screen.y, CurrentTime);
    user_sync();
}

void user_button(uint32_t button, bool is_down) {
    XTestFakeButtonEvent(user_display(), button, is_down, CurrentTime);
    user_sync();
}

void user_key(KeyCode key, bool is_down) {
    XTestFakeKeyEvent(user_display(), key, is_down, CurrentTime);
    user_sync();
}

void user_tap(KeyCode key) {
    user_key(key, true);
    user_key(key, false);
}

KeyCode key_of(KeySym symbol) {
    for (int key = 8; key < 256; key++) {
        if (XkbKeycodeToKeysym(user_display(), static_cast<KeyCode>(key), 0, 0) == symbol) {
            return static_cast<KeyCode>(key);
        }
    }
    return 0;
}

KeyCode key_for(KeySym symbol) {
    KeyCode key = key_of(symbol);
    if (key == 0) {
        key = key_of(NoSymbol);
        KeySym symbols[] = {symbol, symbol};
        XChangeKeyboardMapping(user_display(), key, 2, symbols, 1);
        XSync(user_display(), False);
        XEvent event;
        while (XCheckTypedEvent(user_display(), MappingNotify, &event)) {
            XRefreshKeyboardMapping(&event.xmapping);
        }
        user_sync();
    }
    return key;
}

bool set_layout(const std::string &arguments) {
    if (system(("setxkbmap " + arguments).c_str()) != 0) {
        return false;
    }
    user_sync();
    XEvent event;
    while (XCheckTypedEvent(user_display(), MappingNotify, &event)) {
        XRefreshKeyboardMapping(&event.xmapping);
    }
    user_sync();
    return true;
}

// ---- Events sent to a window ----

uint32_t now_ms() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

void send_button(const PlatformWindow *window, uint32_t number, Point client, bool is_down,
                 uint32_t time_ms) {
    XEvent event = {};
    event.xbutton.type = is_down ? ButtonPress : ButtonRelease;
    event.xbutton.window = window_id(window);
    event.xbutton.root = DefaultRootWindow(user_display());
    event.xbutton.time = time_ms;
    event.xbutton.x = client.x;
    event.xbutton.y = client.y;
    event.xbutton.x_root = window->client_position.x + client.x;
    event.xbutton.y_root = window->client_position.y + client.y;
    event.xbutton.button = number;
    event.xbutton.same_screen = True;
    XSendEvent(user_display(), window_id(window), False, NoEventMask, &event);
    user_sync();
}

void send_key(const PlatformWindow *window, KeyCode key, bool is_down, uint32_t state) {
    XEvent event = {};
    event.xkey.type = is_down ? KeyPress : KeyRelease;
    event.xkey.window = window_id(window);
    event.xkey.root = DefaultRootWindow(user_display());
    event.xkey.time = now_ms();
    event.xkey.same_screen = True;
    event.xkey.keycode = key;
    event.xkey.state = state;
    XSendEvent(user_display(), window_id(window), False, NoEventMask, &event);
    user_sync();
}

void send_message(const PlatformWindow *window, Atom type, const std::vector<long> &data) {
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window_id(window);
    event.xclient.message_type = type;
    event.xclient.format = 32;
    for (size_t i = 0; i < data.size(); i++) {
        event.xclient.data.l[i] = data[i];
    }
    XSendEvent(user_display(), window_id(window), False, NoEventMask, &event);
    user_sync();
}

// ---- The desktop's settings ----

namespace {

Window settings_manager;

void append(std::string *bytes, uint32_t number, size_t size) {
    for (size_t i = 0; i < size; i++) {
        bytes->push_back(static_cast<char>(number >> 8 * i));
    }
}

} // namespace

void publish_settings(const std::string &bytes) {
    Display *display = user_display();
    if (!settings_manager) {
        settings_manager = XCreateSimpleWindow(display, DefaultRootWindow(display), -1, -1, 1, 1, 0, 0, 0);
    }
    Atom property = XInternAtom(display, "_XSETTINGS_SETTINGS", False);
    XChangeProperty(display, settings_manager, property, property, 8, PropModeReplace,
                    reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<int>(bytes.size()));
    XSetSelectionOwner(display, XInternAtom(display, "_XSETTINGS_S0", False), settings_manager, CurrentTime);
    user_sync();
}

void take_settings_back() {
    XSetSelectionOwner(user_display(), XInternAtom(user_display(), "_XSETTINGS_S0", False), None,
                       CurrentTime);
    user_sync();
}

std::string settings_with(const std::vector<std::pair<std::string, int32_t>> &numbers) {
    std::string bytes(8, 0); // of the least byte first; a serial number
    append(&bytes, static_cast<uint32_t>(numbers.size()), 4);
    for (const auto &[name, number] : numbers) {
        append(&bytes, 0, 2); // a number
        append(&bytes, static_cast<uint32_t>(name.size()), 2);
        bytes += name;
        bytes.resize((bytes.size() + 3) & ~size_t{3});
        append(&bytes, 0, 4); // a serial number
        append(&bytes, static_cast<uint32_t>(number), 4);
    }
    return bytes;
}
