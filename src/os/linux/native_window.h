// What the files of the window on X11 share. Interface thread only.
//
// A PlatformWindow's handle is the X window's number, its device context the NativeWindow. Coordinates of the
// server count from the corner of all monitors together, those of the layer from the primary monitor's.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/sync.h>

#include "os/rect.h"
#include "os/window.h"

// The last frame that was shown.
struct ShownFrame {
    uint32_t *pixels; // the framebuffer's or the copy; null before the first frame
    Size size;
    uint32_t *copy; // of a framebuffer that is not shown as it is
    uint64_t copy_capacity;
};

// The part of a rectangle that is inside of another; of no area when there is none.
inline Rect rect_intersection(const Rect &a, const Rect &b) {
    int32_t left = a.x > b.x ? a.x : b.x;
    int32_t top = a.y > b.y ? a.y : b.y;
    int32_t right = a.x + a.width < b.x + b.width ? a.x + a.width : b.x + b.width;
    int32_t bottom = a.y + a.height < b.y + b.height ? a.y + a.height : b.y + b.height;
    return {left, top, right > left ? right - left : 0, bottom > top ? bottom - top : 0};
}

// How far the window manager's frame reaches beyond the client area.
struct FrameExtents {
    int32_t left;
    int32_t right;
    int32_t top;
    int32_t bottom;
};

// While the user resizes a window, the window manager shows a new size once the frame of that size is there.
struct ResizeSync {
    XSyncCounter counter; // None: the server has none
    XSyncValue value;     // that the counter is to get
    bool is_asked;        // for the next size
    bool is_due;          // with the next frame
};

struct NativeWindow {
    Window id;
    NativeWindow *next; // of all open ones
    Visual *visual;
    int depth;
    GC graphics_context;
    XIC input_context; // null: keys type without an input method
    Rect client;       // in the server's coordinates
    FrameExtents extents;
    bool is_mapped;
    bool is_minimized;
    uint32_t held_buttons; // bit n: button n of the server
    Point pointer;         // as last told, in the server's coordinates
    Cursor cursor;         // None: the server's own
    ShownFrame frame;
    ResizeSync resize;
};

// ---- window.cpp ----

NativeWindow *native_window(const PlatformWindow *window);

// The first of all open windows, or null.
NativeWindow *native_windows();

// ---- presenting.cpp ----

// As window_present; returns when the server has read the frame.
void native_frame_show(const PlatformWindow *window, Rect to, Rect from);

// Shows a part of the last frame again, unless a resize has taken it away: then the next frame follows.
void native_frame_refresh(const PlatformWindow *window, Rect part);

void native_frame_free(NativeWindow *native);

// ---- monitors.cpp ----

// Where the primary monitor's upper left corner is, in the server's coordinates.
Point primary_monitor_origin();
