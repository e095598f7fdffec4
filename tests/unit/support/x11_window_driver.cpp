#include "support/other_program.h" // before Xlib, as GoogleTest has to be

#include <string.h>
#include <unistd.h>

#include <memory>

#include <X11/Xutil.h>
#include <X11/keysym.h>

#include "os/linux/x11.h"
#include "support/drop_source.h"
#include "support/window_driver.h"
#include "support/x11_user.h"

namespace {

uint32_t number_of(uint16_t button) {
    return button == MOUSE_LEFT ? Button1 : button == MOUSE_MIDDLE ? Button2 : Button3;
}

Point on_screen(const PlatformWindow *window, Point client) {
    return {window->client_position.x + client.x, window->client_position.y + client.y};
}

// The real pointer goes along. The window manager's own bindings do not see the button.
void drive_button(PlatformWindow *window, uint32_t number, Point client, bool is_down) {
    user_move_to(on_screen(window, client));
    send_button(window, number, client, is_down, now_ms());
}

void send_focus(PlatformWindow *window, int type) {
    XEvent event = {};
    event.xfocus.type = type;
    event.xfocus.window = window_id(window);
    event.xfocus.mode = NotifyNormal;
    event.xfocus.detail = NotifyNonlinear;
    XSendEvent(user_display(), window_id(window), False, NoEventMask, &event);
    user_sync();
}

} // namespace

void drive_pointer_to(PlatformWindow *window, Point client) {
    user_move_to(on_screen(window, client));
}

void drive_pointer_away() {
    Screen *screen = DefaultScreenOfDisplay(user_display());
    user_move_to({WidthOfScreen(screen) - 1, HeightOfScreen(screen) - 1});
}

void drive_pointer_out(PlatformWindow *) {
    drive_pointer_away();
}

void drive_press(PlatformWindow *window, uint16_t button, Point client) {
    drive_button(window, number_of(button), client, true);
}

void drive_release(PlatformWindow *window, uint16_t button, Point client) {
    drive_button(window, number_of(button), client, false);
}

// The server reports whole notches only, each as a button press and release.
void drive_wheel(PlatformWindow *window, int32_t delta) {
    uint32_t number = delta >= 0 ? Button4 : Button5;
    drive_button(window, number, {1, 1}, true);
    drive_button(window, number, {1, 1}, false);
}

namespace {

KeyCode key_of_code(uint16_t code) {
    constexpr uint16_t left = 0x25, alt = 0x12;
    return key_of(code == left ? XK_Left : code == alt ? XK_Alt_L : NoSymbol);
}

} // namespace

void drive_key_down(PlatformWindow *window, uint16_t code, bool) {
    send_key(window, key_of_code(code), true);
}

void drive_key_up(PlatformWindow *window, uint16_t code) {
    send_key(window, key_of_code(code), false);
}

// What a key types, or Ctrl with a key.
void drive_character(PlatformWindow *window, uint32_t unit) {
    static uint32_t high_surrogate;
    if (unit >= 0xD800 && unit < 0xDC00) {
        high_surrogate = unit; // no key types it alone
        return;
    }
    KeySym symbol = unit;
    uint32_t state = 0;
    if (unit >= 0xDC00 && unit < 0xE000) {
        symbol = 0x1010000 + ((high_surrogate - 0xD800) << 10) + (unit - 0xDC00);
    } else if (unit == '\b' || unit == '\t' || unit == '\n' || unit == '\r' || unit == 27) {
        symbol = 0xFF00 | unit; // these keys are numbered by their characters
    } else if (unit == 0x7F) {
        symbol = XK_BackSpace;
        state = ControlMask;
    } else if (unit < ' ') {
        symbol = 'a' + unit - 1;
        state = ControlMask;
    } else if (unit >= 0x100) {
        symbol = 0x1000000 | unit;
    }
    KeyCode key = key_for(symbol);
    send_key(window, key, true, state);
    send_key(window, key, false, state);
}

namespace {

std::unique_ptr<OtherProgram> drag_source;

int is_drop(Display *, XEvent *event, XPointer) {
    return event->type == ClientMessage && event->xclient.message_type == x11_atom(ATOM_XDND_DROP);
}

} // namespace

void *drive_drop(PlatformWindow *window, Point client, const std::vector<std::string> &names) {
    Window target = window_id(window);
    Point screen = on_screen(window, client);
    drag_source = std::make_unique<OtherProgram>([=](Peer &peer) {
        Drag drag(peer, target);
        drag.move(screen.x, screen.y);
        drag.drop();
        drag.finish({offer_of_files(names)});
    });
    XEvent event;
    XPeekIfEvent(x11_display(), &event, is_drop, nullptr);
    return nullptr;
}

void drive_close(PlatformWindow *window) {
    send_message(window, XInternAtom(user_display(), "WM_PROTOCOLS", False),
                 {static_cast<long>(XInternAtom(user_display(), "WM_DELETE_WINDOW", False)), CurrentTime});
}

void drive_nothing(PlatformWindow *window) {
    send_message(window, XInternAtom(user_display(), "TARNWICK_NOTHING", False), {});
}

void drive_begin() {
    publish_settings(settings_with({{"Net/DoubleClickTime", 60000}}));
}

void drive_end() {
    take_settings_back();
    drag_source.reset();
}

void drive_focus_away(PlatformWindow *window) {
    send_focus(window, FocusOut);
}

void drive_focus_back(PlatformWindow *window) {
    send_focus(window, FocusIn);
}

// The window manager works asynchronously, and nothing signals that it is done.
void drive_settle() {
    for (int quiet = 0; quiet < 20; quiet++) {
        user_sync();
        if (os_pump_messages() > 0) {
            quiet = 0;
        }
        usleep(5000);
    }
}

std::vector<uint32_t> shown_pixels(const PlatformWindow *window) {
    user_sync();
    Size size = window->client_size;
    std::vector<uint32_t> pixels;
    XImage *image = XGetImage(user_display(), window_id(window), 0, 0, static_cast<uint32_t>(size.width),
                              static_cast<uint32_t>(size.height), AllPlanes, ZPixmap);
    if (image) {
        for (int y = 0; y < size.height; y++) {
            for (int x = 0; x < size.width; x++) {
                pixels.push_back(static_cast<uint32_t>(XGetPixel(image, x, y)) & 0xFFFFFF);
            }
        }
        XDestroyImage(image);
    }
    return pixels;
}

const bool titles_are_text = true;

std::u16string shown_title(const PlatformWindow *window) {
    std::u16string title;
    Atom type = None;
    int format = 0;
    unsigned long count = 0, left = 0;
    uint8_t *bytes = nullptr;
    XGetWindowProperty(user_display(), window_id(window), XInternAtom(user_display(), "_NET_WM_NAME", False),
                       0, 1000, False, XInternAtom(user_display(), "UTF8_STRING", False), &type, &format,
                       &count, &left, &bytes);
    for (unsigned long i = 0; i < count; i++) {
        title.push_back(bytes[i]); // the tests' titles are ASCII
    }
    if (bytes) {
        XFree(bytes);
    }
    return title;
}

bool is_shown(const PlatformWindow *window) {
    drive_settle();
    XWindowAttributes attributes = {};
    XGetWindowAttributes(user_display(), window_id(window), &attributes);
    return attributes.map_state == IsViewable;
}
