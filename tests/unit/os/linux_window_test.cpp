// What is specific to the window on X11.
#include <gtest/gtest.h> // before Xlib, whose macros clash with its names
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/Xfixes.h>
#include <X11/extensions/Xrandr.h>
#include <X11/keysym.h>

#include "os/linux/native_window.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/toolkit/window.h"
#include "support/window_driver.h"
#include "support/x11_user.h"

namespace {

constexpr uint16_t program_flags = WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN;

// An event as a short text; those for the window's position and size are omitted.
std::vector<std::string> seen;

void note_event(const WindowEvent *event) {
    char text[64] = "";
    switch (event->type) {
    case EVENT_MOUSE_MOVE:
        snprintf(text, sizeof(text), "move %d %d", event->mouse.position.x, event->mouse.position.y);
        break;
    case EVENT_MOUSE_ENTER:
        snprintf(text, sizeof(text), "enter");
        break;
    case EVENT_MOUSE_LEAVE:
        snprintf(text, sizeof(text), "leave");
        break;
    case EVENT_MOUSE_BUTTON:
        snprintf(text, sizeof(text), "button %x %d", event->button.button, event->button.state);
        break;
    case EVENT_MOUSE_WHEEL:
        snprintf(text, sizeof(text), "wheel %d", event->wheel.direction);
        break;
    case EVENT_KEY:
        snprintf(text, sizeof(text), "key %02x %d", event->key.code, event->key.state);
        break;
    case EVENT_CHAR:
        snprintf(text, sizeof(text), "char %x", event->character.unit);
        break;
    case EVENT_FOCUS:
        snprintf(text, sizeof(text), "focus %d", event->focus.is_gained);
        break;
    case EVENT_WINDOW_CLOSED:
        snprintf(text, sizeof(text), "closed");
        break;
    }
    if (text[0] != 0) {
        seen.push_back(text);
    }
}

using Events = std::vector<std::string>;

class X11Window : public ::testing::Test {
protected:
    void SetUp() override {
        drive_pointer_away();
        os_set_event_callback(note_event);
    }

    void TearDown() override {
        os_set_event_callback(nullptr);
        for (PlatformWindow *window : windows) {
            os_window_destroy(window);
            os_free(window);
        }
        os_pump_messages();
        EXPECT_TRUE(set_layout("us -option ''"));
    }

    PlatformWindow *create(int flags = program_flags) {
        PlatformWindow *window =
            os_window_create(300, 200, str_from("Tarnwick"), static_cast<uint16_t>(flags));
        windows.push_back(window);
        return window;
    }

    // A mapped window that has the keyboard focus.
    PlatformWindow *create_shown(int flags = program_flags) {
        PlatformWindow *window = create(flags);
        os_window_show(window, 1);
        Window focused = None;
        int revert = 0;
        while (focused != window_id(window)) { // the window manager takes its time
            XGetInputFocus(user_display(), &focused, &revert);
            usleep(1000);
        }
        drive_settle();
        seen.clear();
        return window;
    }

    // The events that have arrived since the last call.
    static Events events() {
        user_sync();
        os_pump_messages();
        Events taken = seen;
        seen.clear();
        return taken;
    }

    // Presses and releases a key by its keycode.
    static Events tapped(const PlatformWindow *window, int key, uint32_t state = 0) {
        send_key(window, static_cast<KeyCode>(key), true, state);
        send_key(window, static_cast<KeyCode>(key), false, state);
        return events();
    }

    std::vector<PlatformWindow *> windows;
};

uint32_t in_group(uint32_t group) {
    return static_cast<uint32_t>(XkbBuildCoreState(0, group));
}

constexpr uint32_t level3 = Mod5Mask; // AltGr

// A window's property of 32-bit items.
std::vector<unsigned long> numbers_of(Window window, const char *name) {
    user_sync();
    Atom type = None;
    int format = 0;
    unsigned long count = 0, left = 0;
    uint8_t *bytes = nullptr;
    XSync(x11_display(), False); // sends the window's requests
    XGetWindowProperty(user_display(), window, XInternAtom(user_display(), name, False), 0, 10000, False,
                       AnyPropertyType, &type, &format, &count, &left, &bytes);
    std::vector<unsigned long> numbers;
    if (format == 32) {
        const unsigned long *items = reinterpret_cast<const unsigned long *>(bytes);
        numbers.assign(items, items + count);
    }
    if (bytes) {
        XFree(bytes);
    }
    return numbers;
}

bool has_atom(Window window, const char *property, const char *name) {
    Atom wanted = XInternAtom(user_display(), name, False);
    for (unsigned long atom : numbers_of(window, property)) {
        if (atom == wanted) {
            return true;
        }
    }
    return false;
}

} // namespace

// ---- Keys ----

TEST_F(X11Window, AKeyHasTheCodeOfItsLetterInTheActiveLayout) {
    constexpr int key_1 = 10, key_q = 24, key_y = 29, key_a = 38, key_c = 54; // as on a US keyboard
    const struct {
        const char *layout;
        uint32_t group;
        int key;
        const char *pressed;
    } rows[] = {
        {"us", 0, key_a, "key 41 1"},
        {"fr", 0, key_a, "key 51 1"}, // Q
        {"fr", 0, key_q, "key 41 1"},
        {"fr", 0, key_c, "key 43 1"},
        {"fr", 0, key_1, "key 31 1"}, // & without Shift
        {"de", 0, key_y, "key 5a 1"}, // Z
        {"us,ru", 1, key_c, "key 43 1"},
        {"fr,ru", 1, key_a, "key 51 1"}, // the Latin letter of the user's other layout
        {"ru", 0, key_a, "key 41 1"},    // no other layout: by position
        {"us", 0, 111, "key 26 1"},      // Up
        {"us", 0, 119, "key 2e 1"},      // Delete
        {"us", 0, 67, "key 70 1"},       // F1
        {"us", 0, 48, "key de 1"},       // '
    };
    PlatformWindow *window = create_shown();
    for (const auto &row : rows) {
        ASSERT_TRUE(set_layout(row.layout));
        EXPECT_EQ(tapped(window, row.key, in_group(row.group))[0], row.pressed)
            << row.layout << " " << row.key;
    }
}

TEST_F(X11Window, AKeyTypesWhatTheLayoutHas) {
    const struct {
        const char *layout;
        uint32_t state;
        int key;
        Events typed;
    } rows[] = {
        {"us", 0, 38, {"char 61"}},
        {"us", ShiftMask, 38, {"char 41"}},
        {"us", LockMask, 38, {"char 41"}},
        {"fr", 0, 10, {"char 26"}},        // &
        {"de", 0, 47, {"char f6"}},        // ö
        {"de", level3, 24, {"char 40"}},   // @
        {"de", level3, 26, {"char 20ac"}}, // the euro sign
        {"ru", 0, 38, {"char 444"}},       // ф
        {"us,ru", in_group(1), 38, {"char 444"}},
        {"us", 0, 9, {"char 1b"}}, // Escape
        {"us", 0, 36, {"char a"}}, // Enter
        {"us", 0, 22, {}},         // Backspace
        {"us", 0, 119, {}},        // Delete
        {"us", Mod1Mask, 53, {}},  // Alt+X
        {"us", Mod4Mask, 53, {}},  // the Windows key with X
        {"us", ControlMask, 54, {"char 3"}},
        {"us,ru", ControlMask | in_group(1), 54, {"char 3"}},
        {"us", ControlMask, 65, {"char 20"}}, // Ctrl+Space
        {"us", ControlMask, 22, {"char 7f"}}, // Ctrl+Backspace
        {"us", ControlMask, 11, {}},          // Ctrl+2
        {"us", Mod2Mask, 79, {"char 37"}},    // 7 of the keypad, with Num Lock
        {"us", 0, 79, {}},                    // Home
    };
    PlatformWindow *window = create_shown();
    for (const auto &row : rows) {
        ASSERT_TRUE(set_layout(row.layout));
        Events typed;
        for (const std::string &event : tapped(window, row.key, row.state)) {
            if (event.rfind("char", 0) == 0) {
                typed.push_back(event);
            }
        }
        EXPECT_EQ(typed, row.typed) << row.layout << " " << row.key;
    }
}

TEST_F(X11Window, ACharacterBeyondSixteenBitsComesAsTwoUnits) {
    PlatformWindow *window = create_shown();
    Events typed = tapped(window, key_for(0x1000000 + 0x1F600));
    EXPECT_EQ(typed, (Events{"char d83d", "char de00"}));
}

TEST_F(X11Window, DeadKeysAndComposeMakeOneCharacter) {
    PlatformWindow *window = create_shown();
    const struct {
        const char *layout;
        std::vector<int> keys;
        const char *typed;
    } rows[] = {
        {"fr", {34, 26}, "char ea"},                             // ^ e
        {"de", {21, 26}, "char e9"},                             // ´ e
        {"us -option compose:ralt", {108, 48, 26}, "char e9"},   // Compose ' e
        {"us -option compose:ralt", {108, 26, 21}, "char 20ac"}, // Compose e =
    };
    for (const auto &row : rows) {
        ASSERT_TRUE(set_layout(row.layout));
        Events all;
        for (int key : row.keys) {
            for (const std::string &event : tapped(window, key)) {
                if (event.rfind("char", 0) == 0) {
                    all.push_back(event);
                }
            }
        }
        EXPECT_EQ(all, Events{row.typed}) << row.layout;
        EXPECT_TRUE(set_layout("us -option ''"));
    }
}

TEST_F(X11Window, AltGrIsAlt) {
    PlatformWindow *window = create_shown();
    ASSERT_TRUE(set_layout("de"));
    EXPECT_EQ(tapped(window, 108), (Events{"key 12 1", "key 12 0"}));
}

TEST_F(X11Window, AHeldKeyRepeatsWithoutReleases) {
    create_shown();
    KeyCode key = key_of(XK_c);
    user_key(key, true);
    Events all;
    while (all.size() < 8) {
        for (const std::string &event : events()) {
            all.push_back(event);
        }
        usleep(5000);
    }
    user_key(key, false);
    Events end = events();
    EXPECT_EQ(Events(all.begin(), all.begin() + 6),
              (Events{"key 43 1", "char 63", "key 43 3", "char 63", "key 43 3", "char 63"}));
    ASSERT_FALSE(end.empty());
    EXPECT_EQ(end.back(), "key 43 0");
}

TEST_F(X11Window, AModifierIsDownAsLongAsOneOfItsKeysIs) {
    PlatformWindow *window = create_shown();
    const KeySym pairs[][2] = {{XK_Shift_L, XK_Shift_R}, {XK_Control_L, XK_Control_R}, {XK_Alt_L, XK_Alt_R}};
    const char *codes[] = {"10", "11", "12"};
    for (int i = 0; i < 3; i++) {
        KeyCode left = key_of(pairs[i][0]), right = key_of(pairs[i][1]);
        std::string key = std::string("key ") + codes[i];
        send_key(window, left, true);
        send_key(window, right, true);
        send_key(window, left, false);
        EXPECT_EQ(events(), (Events{key + " 1", key + " 3"}));
        send_key(window, right, false);
        EXPECT_EQ(events(), Events{key + " 0"});
    }
}

TEST_F(X11Window, AKeyIsReleasedWithTheCodeThatItWasPressedWith) {
    PlatformWindow *window = create_shown();
    send_key(window, 38, true);
    EXPECT_EQ(events(), (Events{"key 41 1", "char 61"}));
    ASSERT_TRUE(set_layout("fr"));
    send_key(window, 38, false);
    EXPECT_EQ(events(), Events{"key 41 0"});
}

TEST_F(X11Window, AKeyHeldSinceBeforeTheFocusCameIsRepeatedNotPressed) {
    PlatformWindow *window = create_shown();
    // Without any focused window the window manager would give this one the focus back.
    XSetWindowAttributes attributes = {};
    attributes.override_redirect = True;
    Window other = XCreateWindow(user_display(), DefaultRootWindow(user_display()), 0, 0, 1, 1, 0,
                                 CopyFromParent, InputOutput, nullptr, CWOverrideRedirect, &attributes);
    XMapWindow(user_display(), other);
    XSetInputFocus(user_display(), other, RevertToNone, CurrentTime);
    EXPECT_EQ(events(), Events{"focus 0"});
    KeyCode key = key_of(XK_x);
    user_key(key, true);
    char keys[32] = {};
    while (!(keys[key / 8] & 1 << key % 8)) { // the server handles keys after requests
        XQueryKeymap(user_display(), keys);
    }
    XSetInputFocus(user_display(), window_id(window), RevertToNone, CurrentTime);
    Events all;
    while (all.size() < 3) {
        for (const std::string &event : events()) {
            all.push_back(event);
        }
        usleep(5000);
    }
    user_key(key, false);
    XDestroyWindow(user_display(), other);
    EXPECT_EQ(Events(all.begin(), all.begin() + 3), (Events{"focus 1", "key 58 3", "char 78"}));
}

TEST_F(X11Window, AReleaseDuringAnotherProgramsGrabIsReported) {
    create_shown();
    KeyCode key = key_of(XK_Control_L);
    user_key(key, true);
    EXPECT_EQ(events(), Events{"key 11 1"});
    XGrabKeyboard(user_display(), DefaultRootWindow(user_display()), False, GrabModeAsync, GrabModeAsync,
                  CurrentTime);
    user_key(key, false);
    EXPECT_EQ(events(), Events{});
    XUngrabKeyboard(user_display(), CurrentTime);
    EXPECT_EQ(events(), Events{"key 11 0"});
}

// ---- Mouse ----

TEST_F(X11Window, ANotchOfTheWheelIsOneEventAndSidewaysIsNone) {
    create_shown();
    PlatformWindow *window = windows[0];
    drive_pointer_to(window, {50, 50});
    events();
    for (uint32_t number : {4u, 5u, 6u, 7u, 8u, 9u, 5u}) {
        user_button(number, true);
        user_button(number, false);
    }
    EXPECT_EQ(events(), (Events{"wheel 1", "wheel -1", "wheel -1"}));
}

TEST_F(X11Window, AHeldButtonKeepsTheMouseAndTheLeavingIsReportedAfterIt) {
    PlatformWindow *window = create_shown();
    drive_pointer_to(window, {50, 50});
    events();
    user_button(1, true);
    drive_settle(); // the window manager looks at the button first
    EXPECT_EQ(seen.back(), "button 104 1");
    seen.clear();
    user_move_to({1279, 1023});
    EXPECT_EQ(events(), Events{"move 1279 1023"});
    user_button(1, false);
    EXPECT_EQ(events(), (Events{"button 104 0", "leave"}));
}

TEST_F(X11Window, APointerThatStaysMakesNoMove) {
    PlatformWindow *window = create_shown();
    drive_pointer_to(window, {50, 50});
    EXPECT_EQ(events(), Events{"enter"});
    drive_pointer_to(window, {50, 50});
    EXPECT_EQ(events(), Events{});
}

namespace {

// Whether a second press that much later and that far away is a double press.
bool is_double(const PlatformWindow *window, uint32_t time_ms, int32_t distance) {
    static uint32_t start = 1000000;
    start += 1000000;
    const uint32_t times[] = {start, start + time_ms};
    const int32_t places[] = {10, 10 + distance};
    seen.clear();
    for (int i = 0; i < 2; i++) {
        send_button(window, 1, {places[i], 10}, true, times[i]);
        send_button(window, 1, {places[i], 10}, false, times[i]);
    }
    os_pump_messages();
    return seen.size() == 4 && seen[2] == "button 104 2";
}

} // namespace

TEST_F(X11Window, ADoublePressIsWithinTheDesktopsTimeAndDistance) {
    PlatformWindow *window = create_shown();
    EXPECT_TRUE(is_double(window, 499, 3)); // no desktop: 500 ms and 4 pixels
    EXPECT_FALSE(is_double(window, 500, 3));
    EXPECT_FALSE(is_double(window, 499, 4));
    publish_settings(
        settings_with({{"Net/Other", 7}, {"Net/DoubleClickTime", 250}, {"Net/DoubleClickDistance", 9}}));
    EXPECT_TRUE(is_double(window, 249, 8));
    EXPECT_FALSE(is_double(window, 250, 8));
    EXPECT_FALSE(is_double(window, 249, 9));
    take_settings_back();
    EXPECT_TRUE(is_double(window, 499, 3));
}

TEST_F(X11Window, SettingsThatEndTooEarlyOrLieAreIgnored) {
    PlatformWindow *window = create_shown();
    std::string whole = settings_with({{"Net/Other", 7}, {"Net/DoubleClickTime", 250}});
    for (size_t size = 0; size < whole.size(); size++) {
        publish_settings(whole.substr(0, size));
        EXPECT_TRUE(is_double(window, 499, 3)) << size;
    }
    for (size_t at = 8; at < whole.size(); at++) { // no byte makes it read past the end
        std::string broken = whole;
        broken[at] = static_cast<char>(0xFF);
        publish_settings(broken);
        is_double(window, 499, 3);
    }
    publish_settings(std::string(1 << 20, 'x'));
    EXPECT_TRUE(is_double(window, 499, 3));
    take_settings_back();
}

// ---- The window manager ----

TEST_F(X11Window, ReportsWhatItIsToTheWindowManagerAndTheDesktop) {
    Window id = window_id(create());
    XClassHint hint = {};
    ASSERT_TRUE(XGetClassHint(user_display(), id, &hint));
    EXPECT_STREQ(hint.res_name, "window_tests"); // the program's name
    EXPECT_STREQ(hint.res_class, "window_tests");
    XFree(hint.res_name);
    XFree(hint.res_class);
    EXPECT_EQ(numbers_of(id, "_NET_WM_PID"),
              std::vector<unsigned long>{static_cast<unsigned long>(getpid())});
    char *name = nullptr;
    ASSERT_TRUE(XFetchName(user_display(), id, &name));
    EXPECT_STREQ(name, "Tarnwick");
    XFree(name);
    EXPECT_TRUE(has_atom(id, "WM_PROTOCOLS", "WM_DELETE_WINDOW"));
    EXPECT_TRUE(has_atom(id, "WM_PROTOCOLS", "_NET_WM_PING"));
}

TEST_F(X11Window, AsksForTheStatesOfItsFlags) {
    const struct {
        int flags;
        bool has_frame, is_fixed, is_above, is_tool, is_off_taskbar;
    } rows[] = {
        {0, true, false, false, false, false},
        {WINDOW_FLAG_POPUP, false, false, false, false, false},
        {WINDOW_FLAG_BORDERLESS, false, false, false, false, false},
        {WINDOW_FLAG_FIXED_SIZE, true, true, false, false, false},
        {WINDOW_FLAG_TOPMOST, true, false, true, false, false},
        {WINDOW_FLAG_TOOLWINDOW, true, false, false, true, true},
        {WINDOW_FLAG_TOOLWINDOW | WINDOW_FLAG_APPWINDOW, true, false, false, true, false},
    };
    for (const auto &row : rows) {
        Window id = window_id(create(WINDOW_FLAG_HIDDEN | row.flags));
        EXPECT_EQ(numbers_of(id, "_MOTIF_WM_HINTS").at(2), row.has_frame) << row.flags;
        XSizeHints hints = {};
        long supplied = 0;
        ASSERT_TRUE(XGetWMNormalHints(user_display(), id, &hints, &supplied));
        EXPECT_EQ((hints.flags & PMaxSize) != 0, row.is_fixed) << row.flags;
        EXPECT_EQ(hints.win_gravity, StaticGravity);
        EXPECT_EQ(has_atom(id, "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"), row.is_above) << row.flags;
        EXPECT_EQ(has_atom(id, "_NET_WM_STATE", "_NET_WM_STATE_SKIP_TASKBAR"), row.is_off_taskbar);
        EXPECT_EQ(has_atom(id, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_UTILITY"), row.is_tool);
    }
}

TEST_F(X11Window, GoesAboveOthersAndBack) {
    PlatformWindow *window = create_shown();
    for (bool is_above : {true, false}) {
        os_window_toggle_topmost(window);
        drive_settle();
        EXPECT_EQ(has_atom(window_id(window), "_NET_WM_STATE", "_NET_WM_STATE_ABOVE"), is_above);
    }
}

TEST_F(X11Window, ClickThroughLetsTheMousePass) {
    PlatformWindow *window = create_shown(program_flags | WINDOW_FLAG_CLICK_THROUGH);
    drive_pointer_to(window, {50, 50});
    EXPECT_EQ(events(), Events{});
}

TEST_F(X11Window, AnswersTheWindowManagersPing) {
    PlatformWindow *window = create_shown();
    Display *display = user_display();
    Window root = DefaultRootWindow(display);
    XSelectInput(display, root, SubstructureNotifyMask);
    Atom protocols = XInternAtom(display, "WM_PROTOCOLS", False);
    Atom ping = XInternAtom(display, "_NET_WM_PING", False);
    send_message(window, protocols, {static_cast<long>(ping), 4711, static_cast<long>(window_id(window))});
    os_pump_messages();
    user_sync();
    XEvent event = {};
    ASSERT_TRUE(XCheckTypedWindowEvent(display, root, ClientMessage, &event));
    EXPECT_EQ(event.xclient.message_type, protocols);
    EXPECT_EQ(event.xclient.data.l[0], static_cast<long>(ping));
    EXPECT_EQ(event.xclient.data.l[1], 4711);
    EXPECT_EQ(event.xclient.data.l[2], static_cast<long>(window_id(window)));
    XSelectInput(display, root, NoEventMask);
}

TEST_F(X11Window, IsClosedWhenAnotherProgramDestroysIt) {
    PlatformWindow *window = create_shown();
    os_window_blit(window);
    XDestroyWindow(user_display(), window_id(window));
    os_window_blit(window); // before the event has arrived
    EXPECT_EQ(events(), (Events{"focus 0", "closed"}));
    EXPECT_FALSE(window->flags & WINDOW_FLAG_ALIVE);
}

TEST_F(X11Window, PropertiesThatOtherProgramsHaveBrokenAreIgnored) {
    PlatformWindow *window = create_shown();
    Size outer = window->window_size;
    Display *display = user_display();
    std::vector<unsigned long> numbers(100000, 0x7FFFFFFF);
    const struct {
        Atom type;
        int format;
        int count;
    } contents[] = {{XA_CARDINAL, 32, 4}, {XA_CARDINAL, 32, 100000}, {XA_CARDINAL, 32, 3},
                    {XA_CARDINAL, 8, 16}, {XA_STRING, 8, 70000},     {XA_ATOM, 32, 4},
                    {XA_CARDINAL, 32, 0}};
    for (const char *name : {"_NET_FRAME_EXTENTS", "WM_STATE", "_NET_WM_STATE", "WM_PROTOCOLS"}) {
        for (const auto &content : contents) {
            XChangeProperty(display, window_id(window), XInternAtom(display, name, False), content.type,
                            content.format, PropModeReplace, reinterpret_cast<uint8_t *>(numbers.data()),
                            content.count);
            EXPECT_EQ(events(), Events{});
        }
    }
    EXPECT_EQ(window->window_size.width, outer.width);
    EXPECT_EQ(window->window_size.height, outer.height);
    EXPECT_EQ(window->client_size.width, 300);
}

// ---- Presenting ----

namespace {

void fill(PlatformWindow *window, uint32_t colour) {
    for (int32_t i = 0; i < window->framebuffer.width * window->framebuffer.height; i++) {
        window->framebuffer.pixels[i] = colour;
    }
    os_window_blit(window);
}

std::vector<uint32_t> all_of(uint32_t colour, Size size) {
    return std::vector<uint32_t>(static_cast<size_t>(size.width * size.height), colour);
}

} // namespace

namespace {

// Whether the memory at the address is a segment that processes share.
bool is_shared(const void *address) {
    unsigned long place = reinterpret_cast<unsigned long>(address);
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        unsigned long from = 0, to = 0;
        if (sscanf(line.c_str(), "%lx-%lx", &from, &to) == 2 && place >= from && place < to) {
            return line.find("/SYSV") != std::string::npos;
        }
    }
    return false;
}

} // namespace

TEST_F(X11Window, SharesItsFramesWithAServerThatCan) {
    PlatformWindow *window = create_shown();
    fill(window, 0xFF123456);
    EXPECT_EQ(is_shared(window->framebuffer.pixels), XShmQueryExtension(user_display()) != 0);
    EXPECT_EQ(shown_pixels(window), all_of(0x123456, {300, 200}));
}

TEST_F(X11Window, TheEndOfPresentingIsNotAMessage) {
    PlatformWindow *window = create_shown();
    for (int i = 0; i < 20; i++) {
        fill(window, 0xFF000000 | static_cast<uint32_t>(i));
        user_sync();
        EXPECT_EQ(os_pump_messages(), 0u);
    }
    EXPECT_EQ(shown_pixels(window)[0], 19u);
}

TEST_F(X11Window, AnExposedPartIsShownAgainFromTheLastFrame) {
    PlatformWindow *window = create_shown();
    fill(window, 0xFF00AA00);
    Display *display = user_display();
    XSetWindowAttributes attributes = {};
    attributes.override_redirect = True;
    attributes.background_pixel = 0xFF0000;
    Point corner = window->client_position;
    Window cover =
        XCreateWindow(display, DefaultRootWindow(display), corner.x + 20, corner.y + 30, 100, 50, 0,
                      CopyFromParent, InputOutput, nullptr, CWOverrideRedirect | CWBackPixel, &attributes);
    XMapRaised(display, cover);
    user_sync();
    XDestroyWindow(display, cover);
    events();
    EXPECT_EQ(shown_pixels(window), all_of(0x00AA00, {300, 200}));
}

TEST_F(X11Window, WhatIsShownStaysWhileItIsResized) {
    PlatformWindow *window = create_shown();
    XWindowAttributes attributes = {};
    XGetWindowAttributes(user_display(), window_id(window), &attributes);
    EXPECT_EQ(attributes.bit_gravity, NorthWestGravity);
    fill(window, 0xFF00AA00);
    XResizeWindow(user_display(), window_id(window), 500, 400);
    XWindowAttributes now = {};
    while (now.width != 500) { // the window manager has to agree
        XGetWindowAttributes(user_display(), window_id(window), &now);
        usleep(1000);
    }
    std::vector<uint32_t> shown = shown_pixels(window); // in the size that the window knows
    EXPECT_EQ(shown, all_of(0x00AA00, {300, 200}));
    drive_settle();
    fill(window, 0xFF0000AA);
    EXPECT_EQ(shown_pixels(window), all_of(0x0000AA, {500, 400}));
}

TEST_F(X11Window, ANewSizeIsAnnouncedWithTheFirstFrameOfIt) {
    PlatformWindow *window = create_shown();
    Display *display = user_display();
    int first_event = 0, first_error = 0, major = 0, minor = 0;
    ASSERT_TRUE(XSyncQueryExtension(display, &first_event, &first_error));
    ASSERT_TRUE(XSyncInitialize(display, &major, &minor));
    XSyncCounter counter = numbers_of(window_id(window), "_NET_WM_SYNC_REQUEST_COUNTER").at(0);
    auto announced = [&] {
        user_sync();
        XSyncValue value;
        EXPECT_TRUE(XSyncQueryCounter(display, counter, &value));
        return XSyncValueLow32(value);
    };
    send_message(window, XInternAtom(display, "WM_PROTOCOLS", False),
                 {static_cast<long>(XInternAtom(display, "_NET_WM_SYNC_REQUEST", False)), 0, 77, 0});
    events();
    fill(window, 0xFF0000AA); // a frame of the old size
    EXPECT_EQ(announced(), 0u);
    XResizeWindow(display, window_id(window), 350, 250);
    drive_settle();
    EXPECT_EQ(window->client_size.width, 350);
    EXPECT_EQ(announced(), 0u);
    fill(window, 0xFF0000AA);
    EXPECT_EQ(announced(), 77u);
}

TEST_F(X11Window, LayeredMakesBlackTransparent) {
    PlatformWindow *window = create_shown(program_flags | WINDOW_FLAG_LAYERED);
    window->framebuffer.pixels[0] = 0xFF000000;
    window->framebuffer.pixels[1] = 0x00123456;
    os_window_blit(window);
    user_sync();
    XImage *image = XGetImage(user_display(), window_id(window), 0, 0, 2, 1, AllPlanes, ZPixmap);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(XGetPixel(image, 0, 0), 0u);
    EXPECT_EQ(XGetPixel(image, 1, 0), 0xFF123456u);
    XDestroyImage(image);
}

// ---- Cursors and monitors ----

namespace {

// The picture of the cursor that is on the screen, with its hot spot. An animated one has none at first.
std::vector<unsigned long> shown_cursor(bool has_picture = true) {
    user_sync();
    XFixesCursorImage *image = XFixesGetCursorImage(user_display());
    while (has_picture && image->width == 1) {
        XFree(image);
        usleep(5000);
        image = XFixesGetCursorImage(user_display());
    }
    std::vector<unsigned long> picture(image->pixels, image->pixels + image->width * image->height);
    picture.push_back(image->xhot);
    picture.push_back(image->yhot);
    XFree(image);
    return picture;
}

} // namespace

TEST_F(X11Window, SetsTheCursorsOfTheTable) {
    PlatformWindow *window = create_shown();
    drive_pointer_to(window, {50, 50});
    std::vector<std::vector<unsigned long>> pictures;
    for (uint32_t index = 0; index <= CURSOR_SIZE_NORTH_EAST_SOUTH_WEST; index++) {
        os_set_cursor(index);
        pictures.push_back(shown_cursor(index != CURSOR_NONE));
        for (uint32_t other = 0; other < index; other++) {
            EXPECT_NE(pictures[index], pictures[other]) << index << " " << other;
        }
    }
    for (size_t i = 0; i + 2 < pictures[CURSOR_NONE].size(); i++) {
        EXPECT_EQ(pictures[CURSOR_NONE][i], 0u);
    }
    os_set_cursor(CURSOR_TABLE_SIZE);
    EXPECT_EQ(shown_cursor(), pictures.back());
    os_set_cursor(CURSOR_TABLE_SIZE - 1);
    EXPECT_EQ(shown_cursor(false), pictures[CURSOR_NONE]);
    PlatformWindow *second = create_shown(); // a new window gets it, too
    os_set_cursor(CURSOR_HAND);
    drive_pointer_to(second, {50, 50});
    EXPECT_EQ(shown_cursor(), pictures[CURSOR_HAND]);
}

TEST_F(X11Window, DescribesTheMonitorAsTheServerDoes) {
    uint32_t count = 0;
    const MonitorInfo *monitors = os_get_monitors(&count);
    ASSERT_EQ(count, 1u);
    Screen *screen = DefaultScreenOfDisplay(user_display());
    EXPECT_EQ(monitors[0].resolution.width, WidthOfScreen(screen));
    EXPECT_EQ(monitors[0].resolution.height, HeightOfScreen(screen));
    std::vector<unsigned long> area = numbers_of(RootWindowOfScreen(screen), "_NET_WORKAREA");
    EXPECT_EQ(monitors[0].work_area.width, static_cast<int32_t>(area[2]));
    EXPECT_EQ(monitors[0].work_area.height, static_cast<int32_t>(area[3]));
    EXPECT_STREQ(monitors[0].name.data, "screen");
    XRRScreenConfiguration *mode = XRRGetScreenInfo(user_display(), RootWindowOfScreen(screen));
    int32_t rate = XRRConfigCurrentRate(mode);
    XRRFreeScreenConfigInfo(mode);
    EXPECT_EQ(monitors[0].refresh_rate, rate > 0 ? rate : 60); // Xvfb's own mode has none
}
