// What the files of the window on X11 share. Interface thread only.
//
// A PlatformWindow's handle is the X window's number, its device context the NativeWindow. Coordinates of the
// server count from the corner of all monitors together, those of the layer from the primary monitor's.
#pragma once

#include <stdint.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <X11/extensions/sync.h>

#include "os/rect.h"
#include "os/window.h"

// The last frame, in memory that the server reads from.
struct ShownFrame {
    XImage *image; // null before the first frame
    char *block;   // of the image's pixels: the segment's, or the heap's
    uint64_t capacity;
    XShmSegmentInfo segment;
    bool is_shared;
    bool is_being_read;
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

// As window_present; the frame is kept for native_frame_refresh.
void native_frame_show(NativeWindow *native, Size client_size, const Framebuffer &framebuffer, Rect to,
                       Rect from, bool is_layered);

// Shows a part of the last frame again, as far as there is one.
void native_frame_refresh(NativeWindow *native, Rect part);

// Takes note when the server is done with a frame. Returns whether the event tells that.
bool native_frame_handle_event(const XEvent &event);

void native_frame_free(NativeWindow *native);

// ---- monitors.cpp ----

// Where the primary monitor's upper left corner is, in the server's coordinates.
Point primary_monitor_origin();
