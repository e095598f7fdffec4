// Shared by the source files of the window on X11. Interface thread only.
//
// A PlatformWindow's handle is the X window's ID, its device context the NativeWindow. Root coordinates count
// from the upper left corner of the root window, which spans all monitors; the layer's coordinates count from
// that of the primary monitor.
#pragma once

#include <algorithm>

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
    uint32_t *copy; // for frames that are scaled or layered
    uint64_t copy_capacity;
};

// The intersection of two rectangles; without an area when they do not overlap.
inline Rect rect_intersection(const Rect &a, const Rect &b) {
    int32_t left = std::max(a.x, b.x);
    int32_t top = std::max(a.y, b.y);
    int32_t right = std::min(a.x + a.width, b.x + b.width);
    int32_t bottom = std::min(a.y + a.height, b.y + b.height);
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

// How far the window manager's frame extends beyond the client area.
struct FrameExtents {
    int32_t left;
    int32_t right;
    int32_t top;
    int32_t bottom;
};

// While the user resizes a window, the window manager waits for a frame of each new size.
struct ResizeSync {
    XSyncCounter counter; // None: not supported by the server
    XSyncValue value;     // the counter's next value
    bool needs_answer;    // the next size is to be answered with a frame
    bool is_due;          // the next frame is that answer
};

struct NativeWindow {
    Window id;
    NativeWindow *next; // in the list of open windows
    Visual *visual;
    int depth;
    GC graphics_context;
    XIC input_context; // null: no input method
    Rect client;       // in root coordinates
    FrameExtents extents;
    bool is_mapped;
    bool is_minimized;
    uint32_t held_buttons; // bit n: X button n
    Point pointer;         // as last reported, in root coordinates
    Cursor cursor;         // None: the parent window's
    ShownFrame frame;
    ResizeSync resize;
};

// ---- window.cpp ----

NativeWindow *native_window(const PlatformWindow *window);

// The first in the list of open windows, or null.
NativeWindow *native_windows();

// ---- presenting.cpp ----

// As window_present; returns once the server has read the frame.
void native_frame_show(const PlatformWindow *window, Rect to, Rect from);

// Redraws a part of the last frame. Does nothing if a resize has discarded that frame: a new one follows.
void native_frame_refresh(const PlatformWindow *window, Rect part);

void native_frame_free(NativeWindow *native);

// ---- monitors.cpp ----

// The primary monitor's upper left corner, in root coordinates.
Point primary_monitor_origin();
