// The window, the input that reaches it, and the picture it shows.
//
// A window is created (hidden), centred and shown; from then on, once a frame, os_pump_messages hands every
// input to the event callback and os_window_blit puts the framebuffer on the screen. After
// EVENT_WINDOW_CLOSED the record's alive bit is clear. Sizes and positions are in physical pixels; positions
// on the screen count from the primary monitor's upper left corner. Interface thread only.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/strings.h"

// ---- Windows (one version for all systems) ----

enum WindowFlag : uint16_t {
    // the window's state, set by the layer
    WINDOW_FLAG_ALIVE = 0x0001, // until it is closed
    WINDOW_FLAG_FOCUS = 0x0002, // it has the keyboard focus
    // the arguments of os_window_create
    WINDOW_FLAG_BORDERLESS = 0x0008,  // no frame; always 100 x 100 pixels at 0, 0
    WINDOW_FLAG_FRAMEBUFFER = 0x0010, // owns a framebuffer of the client area's size
    WINDOW_FLAG_POPUP = 0x0040,       // no frame
    WINDOW_FLAG_FIXED_SIZE = 0x0080,  // a frame without a sizing border
    WINDOW_FLAG_HIDDEN = 0x0100,      // not visible at creation
    WINDOW_FLAG_LAYERED = 0x0200,     // black is transparent
    WINDOW_FLAG_TOPMOST = 0x0400,     // above all other windows
    WINDOW_FLAG_APPWINDOW = 0x0800,   // always has a taskbar button
    WINDOW_FLAG_CLICK_THROUGH = 0x2000,
    WINDOW_FLAG_TOOLWINDOW = 0x8000,
};

enum WindowInputFlag : uint8_t {
    WINDOW_INPUT_POINTER_INSIDE = 1, // a leave event will follow
    WINDOW_INPUT_RAW_WANTED = 2,     // raw mouse input, whenever the window has the focus
    WINDOW_INPUT_RAW_ACTIVE = 4,
    WINDOW_INPUT_RAW_REGISTERED = 8,
};

struct PlatformWindow {
    uint16_t flags;        // WindowFlag bits
    Point client_position; // of the client area on the screen
    Size client_size;
    Point window_position; // of the whole window on the screen
    Size window_size;
    void *handle;         // the system's
    void *device_context; // the system's; kept for the window's whole life
    uint8_t input_flags;  // WindowInputFlag bits
    Framebuffer framebuffer;
};

// ---- Events (one version for all systems) ----

// Each with its payload in WindowEvent.
enum WindowEventType : uint8_t {
    EVENT_MOUSE_MOVE = 1,     // mouse
    EVENT_MOUSE_ENTER = 2,    // mouse: the first move inside the client area
    EVENT_MOUSE_LEAVE = 3,    // mouse
    EVENT_MOUSE_BUTTON = 4,   // button
    EVENT_MOUSE_WHEEL = 5,    // wheel
    EVENT_KEY = 6,            // key
    EVENT_CHAR = 7,           // character
    EVENT_WINDOW_MOVED = 8,   // moved
    EVENT_WINDOW_RESIZED = 9, // resized
    EVENT_FOCUS = 11,         // focus
    EVENT_FILES_DROPPED = 12, // dropped
    EVENT_WINDOW_CLOSED = 13, // no payload
};

enum MouseButton : uint16_t {
    MOUSE_LEFT = 0x104,
    MOUSE_MIDDLE = 0x105,
    MOUSE_RIGHT = 0x106,
};

enum ButtonState : uint8_t {
    BUTTON_RELEASED = 0,
    BUTTON_PRESSED = 1,
    BUTTON_DOUBLE_PRESSED = 2,
};

// Virtual-key codes; those of letters and digits are their ASCII codes.
enum VirtualKey : uint16_t {
    KEY_BACKSPACE = 0x08,
    KEY_TAB = 0x09,
    KEY_ENTER = 0x0D,
    KEY_SHIFT = 0x10,
    KEY_CTRL = 0x11,
    KEY_ALT = 0x12,
    KEY_ESCAPE = 0x1B,
    KEY_SPACE = 0x20,
    KEY_PAGE_UP = 0x21,
    KEY_PAGE_DOWN = 0x22,
    KEY_END = 0x23,
    KEY_HOME = 0x24,
    KEY_LEFT = 0x25,
    KEY_UP = 0x26,
    KEY_RIGHT = 0x27,
    KEY_DOWN = 0x28,
    KEY_DELETE = 0x2E,
    KEY_A = 'A',
    KEY_C = 'C',
    KEY_V = 'V',
    KEY_X = 'X',
    KEY_NUMPAD_0 = 0x60,
    KEY_F1 = 0x70,
};

enum KeyState : uint8_t {
    KEY_RELEASED = 0,
    KEY_PRESSED = 1,
    KEY_REPEATED = 3, // auto-repeat of a key that is held down
};

struct MousePayload {
    Point position; // on the screen
};

struct ButtonPayload {
    uint16_t button; // a MouseButton
    Point position;  // on the screen
    uint8_t state;   // a ButtonState
};

struct WheelPayload {
    Point position;    // on the screen
    int32_t direction; // +1 away from the user, -1 towards; the distance is not reported
};

struct KeyPayload {
    uint16_t code; // the virtual-key code
    uint8_t state; // a KeyState
};

struct CharPayload {
    uint32_t unit; // one UTF-16 unit; a carriage return arrives as 10, a backspace not at all
};

// The client area's new position, the low 16 bits without sign, as the system's message has it. The whole
// numbers are in client_position.
struct MovedPayload {
    int32_t x;
    int32_t y;
};

struct ResizedPayload {
    int32_t width; // the client area's new size, the low 16 bits only
    int32_t height;
};

struct FocusPayload {
    uint8_t is_gained;
};

struct DroppedPayload {
    Point position;    // in the client area
    const char *names; // UTF-8 paths with '/', each with a zero byte after it; one more ends the list
    int32_t count;     // of names
};

// One record serves the whole process: it is valid only during the callback, and only until the callback
// itself causes another event.
struct WindowEvent {
    uint8_t type; // a WindowEventType
    PlatformWindow *window;
    union { // the one that the type names
        MousePayload mouse;
        ButtonPayload button;
        WheelPayload wheel;
        KeyPayload key;
        CharPayload character;
        MovedPayload moved;
        ResizedPayload resized;
        FocusPayload focus;
        DroppedPayload dropped;
    };
};

typedef void WindowEventCallback(const WindowEvent *event);

// Sets the one function that receives the events; null drops them.
void os_set_event_callback(WindowEventCallback *callback);

// ---- Creation (each system) ----

// Creates a window with a client area of that size, in pixels; flags: WindowFlag bits. The title is UTF-8 on
// Linux; on Windows it is intentionally not converted: each pair of its bytes is one UTF-16 unit. Returns the
// window, or null when out of memory or when the system cannot create it. The layer never frees the record,
// so that its holder can see that the window is closed; the caller may free it with os_free once every
// callback of the closing has returned. When out of memory for a framebuffer the window has none, until a
// resize can allocate one.
PlatformWindow *os_window_create(int32_t width, int32_t height, Str title, uint16_t flags);

// ---- Messages (each system) ----

// Handles every waiting message without blocking, and calls the callback for those that are events. Returns
// how many messages there were, events or not: a request to redraw counts.
uint32_t os_pump_messages();

typedef void WindowFrameCallback(PlatformWindow *window);

// Sets the function that draws while os_pump_messages does not return: the system runs a message loop of its
// own while the user holds the title bar or the frame, or has a menu open. The function is then called every
// period_ms milliseconds and after every change of size, but never from within an event's callback or its
// own. Null: none.
void os_set_frame_callback(WindowFrameCallback *callback, uint32_t period_ms);

// ---- Presentation (one version for all systems) ----

// Shows the whole framebuffer in the whole client area, stretched when their sizes differ. Does nothing when
// the window is closed, has no framebuffer or no area.
void os_window_blit(PlatformWindow *window);

// ---- Place and size (one version for all systems) ----

// Each of these, and os_window_show, does nothing for a window that is closed.

struct MonitorInfo;

// Moves the window to the middle of the monitor's work area, intentionally as if that began at the screen's
// origin.
void os_window_center(PlatformWindow *window, const MonitorInfo *monitor);

// Moves the window's upper left corner to that place on the screen.
void os_window_move(PlatformWindow *window, Point position);

// Closes the window as the user would; EVENT_WINDOW_CLOSED is delivered before this returns.
void os_window_destroy(PlatformWindow *window);

// ---- Appearance (each system) ----

void os_window_show(PlatformWindow *window, bool visible);

// ---- Mouse (each system) ----

enum CursorKind : uint32_t {
    CURSOR_NONE,
    CURSOR_ARROW,
    CURSOR_HAND,
    CURSOR_WAIT,
    CURSOR_TEXT,
    CURSOR_CROSS,
    CURSOR_NO,
    CURSOR_HELP,
    CURSOR_SIZE_ALL,
    CURSOR_SIZE_WEST_EAST,
    CURSOR_SIZE_NORTH_SOUTH,
    CURSOR_SIZE_NORTH_WEST_SOUTH_EAST,
    CURSOR_SIZE_NORTH_EAST_SOUTH_WEST,
    CURSOR_TABLE_SIZE = 32, // indices after the last kind show none
};

// Sets the mouse cursor, as the system sets none over a client area. Needs a window to have been created.
// Ignores an index of CURSOR_TABLE_SIZE or more.
void os_set_cursor(uint32_t index);

// ---- Monitors (each system) ----

struct MonitorInfo {
    uint8_t flags;        // bit 0: the primary monitor
    Rect work_area;       // the monitor without task bars
    Point origin;         // the monitor's upper left corner
    Size resolution;      // pixels of the current display mode
    int32_t refresh_rate; // hertz; 60 when the system reports less than 2
    Str name;             // the system's name of the device, zero-terminated
    void *handle;         // the system's
};

enum MonitorFlag : uint8_t {
    MONITOR_FLAG_PRIMARY = 1,
};

// The monitors, the primary one first. Found by the first call and kept by the layer. Returns null and a
// count of 0 when there is none or when out of memory; a later call tries again.
const MonitorInfo *os_get_monitors(uint32_t *count);

static_assert(sizeof(PlatformWindow) == 88 && offsetof(PlatformWindow, client_position) == 4 &&
              offsetof(PlatformWindow, handle) == 40 && offsetof(PlatformWindow, input_flags) == 56 &&
              offsetof(PlatformWindow, framebuffer) == 64);
static_assert(sizeof(MonitorInfo) == 64 && offsetof(MonitorInfo, work_area) == 4 &&
              offsetof(MonitorInfo, refresh_rate) == 36 && offsetof(MonitorInfo, name) == 40 &&
              offsetof(MonitorInfo, handle) == 56);
