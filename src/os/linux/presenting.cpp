#include <string.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include <X11/Xlib.h>
#include <X11/extensions/XShm.h>

#include "os/linux/native_window.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window_backend.h"

// ---- Memory ----

namespace {

// Describes a block shared with the server; placed at the block's end.
struct SharedBlock {
    XShmSegmentInfo segment;
    SharedBlock *next; // in the list of shared blocks
};
SharedBlock *shared_blocks;

// The type of the event that reports that the server has read a frame; 0 without support for shared memory.
int completion_type() {
    static int type = -1;
    Display *display = x11_display();
    if (type < 0 && display) {
        type = XShmQueryExtension(display) ? XShmGetEventBase(display) + ShmCompletion : 0;
    }
    return type > 0 ? type : 0;
}

// Returns null on failure, as always over a network.
uint32_t *alloc_shared(uint64_t size) {
    int id = shmget(IPC_PRIVATE, size + sizeof(SharedBlock), IPC_CREAT | 0600);
    if (id < 0) {
        return nullptr;
    }
    XShmSegmentInfo segment = {};
    segment.shmid = id;
    segment.shmaddr = static_cast<char *>(shmat(id, nullptr, 0));
    segment.readOnly = True;
    bool is_attached = segment.shmaddr != reinterpret_cast<char *>(-1);
    if (is_attached) {
        x11_trap_errors();
        XShmAttach(x11_display(), &segment);
        if (x11_untrap_errors()) {
            shmdt(segment.shmaddr);
            is_attached = false;
        }
    }
    shmctl(id, IPC_RMID, nullptr); // frees the memory once both have detached
    if (!is_attached) {
        return nullptr;
    }
    SharedBlock *block = reinterpret_cast<SharedBlock *>(segment.shmaddr + size);
    *block = {segment, shared_blocks};
    shared_blocks = block;
    return reinterpret_cast<uint32_t *>(segment.shmaddr);
}

// The link to the block in the list; the list's end when the block is not shared.
SharedBlock **link_to(const uint32_t *pixels) {
    SharedBlock **link = &shared_blocks;
    while (*link && (*link)->segment.shmaddr != reinterpret_cast<const char *>(pixels)) {
        link = &(*link)->next;
    }
    return link;
}

} // namespace

uint32_t *framebuffer_block_alloc(uint64_t size) {
    if (completion_type() == 0) {
        return static_cast<uint32_t *>(os_alloc_zero(size));
    }
    if (!os_heap_allows(size)) {
        return nullptr;
    }
    uint32_t *pixels = alloc_shared(size);
    return pixels ? pixels : static_cast<uint32_t *>(os_alloc_zero(size));
}

void framebuffer_block_free(uint32_t *pixels) {
    SharedBlock **link = link_to(pixels);
    if (!*link) {
        os_free(pixels);
        return;
    }
    XShmSegmentInfo segment = (*link)->segment;
    *link = (*link)->next;
    XShmDetach(x11_display(), &segment);
    shmdt(segment.shmaddr);
}

// ---- Frames ----

namespace {

int is_completion(Display *, XEvent *event, XPointer argument) {
    return event->type == completion_type() &&
           event->xany.window == reinterpret_cast<const NativeWindow *>(argument)->id;
}

// Shows a part of a picture at the same position in the window. The picture may change once this returns.
void put(const NativeWindow *native, uint32_t *pixels, Size size, Rect part) {
    constexpr uint32_t longest_reading_ms = 1000; // a frame for a destroyed window is never read
    Display *display = x11_display();
    uint32_t depth = static_cast<uint32_t>(native->depth);
    uint32_t part_width = static_cast<uint32_t>(part.width);
    uint32_t part_height = static_cast<uint32_t>(part.height);
    XImage *image = XCreateImage(display, native->visual, depth, ZPixmap, 0, reinterpret_cast<char *>(pixels),
                                 static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height), 32,
                                 size.width * 4);
    if (!image) {
        return;
    }
    image->byte_order = LSBFirst; // Xlib converts for servers with the other order
    if (SharedBlock *shared = *link_to(pixels)) {
        image->obdata = reinterpret_cast<char *>(&shared->segment);
        XShmPutImage(display, native->id, native->graphics_context, image, part.x, part.y, part.x, part.y,
                     part_width, part_height, True);
        XEvent event;
        x11_wait_for_event(&event, is_completion, native, longest_reading_ms);
    } else {
        XPutImage(display, native->id, native->graphics_context, image, part.x, part.y, part.x, part.y,
                  part_width, part_height);
        XFlush(display);
    }
    image->data = nullptr; // XDestroyImage must free neither
    image->obdata = nullptr;
    XDestroyImage(image);
}

// Copies a row, scaled without interpolation if the lengths differ.
void copy_row(uint32_t *to, int32_t to_count, const uint32_t *from, int32_t from_count) {
    for (int32_t x = 0; x < to_count; x++) {
        int64_t from_x = int64_t{x} * from_count / to_count;
        to[x] = from[from_x];
    }
}

// Makes black transparent and everything else opaque.
void key_out_black(uint32_t *row, int32_t count) {
    for (int32_t x = 0; x < count; x++) {
        row[x] = (row[x] & 0xFFFFFF) ? row[x] | 0xFF000000 : 0;
    }
}

// Makes the copy large enough for a picture of that size. Returns false when out of memory.
bool make_copy(ShownFrame *frame, Size size) {
    uint64_t capacity = framebuffer_block_size(size);
    if (capacity > frame->copy_capacity) {
        os_free(frame->copy);
        frame->copy = static_cast<uint32_t *>(os_alloc_zero(capacity));
        frame->copy_capacity = frame->copy ? capacity : 0;
    }
    return frame->copy != nullptr;
}

} // namespace

void native_frame_show(const PlatformWindow *window, Rect to, Rect from) {
    NativeWindow *native = native_window(window);
    ShownFrame *frame = &native->frame;
    const Framebuffer &framebuffer = window->framebuffer;
    bool is_layered = window->flags & WINDOW_FLAG_LAYERED;
    if (to.width == from.width && to.height == from.height && !is_layered) {
        frame->pixels = framebuffer.pixels;
        frame->size = {framebuffer.width, framebuffer.height};
    } else if (make_copy(frame, window->client_size)) {
        frame->pixels = frame->copy;
        frame->size = window->client_size;
        for (int32_t y = 0; y < to.height; y++) {
            int64_t from_y = int64_t{y} * from.height / to.height; // relative to from's top
            uint32_t *row = frame->copy + int64_t{to.y + y} * frame->size.width + to.x;
            copy_row(row, to.width, framebuffer.pixels + (from.y + from_y) * framebuffer.width + from.x,
                     from.width);
            if (is_layered) {
                key_out_black(row, to.width);
            }
        }
    } else {
        return;
    }
    put(native, frame->pixels, frame->size, to);
    if (native->resize.is_due) {
        native->resize.is_due = false;
        XSyncSetCounter(x11_display(), native->resize.counter, native->resize.value);
        XFlush(x11_display());
    }
}

void native_frame_refresh(const PlatformWindow *window, Rect part) {
    const ShownFrame &frame = native_window(window)->frame;
    const Framebuffer &framebuffer = window->framebuffer;
    bool is_there = frame.pixels && (frame.pixels == frame.copy || (frame.pixels == framebuffer.pixels &&
                                                                    frame.size.width == framebuffer.width &&
                                                                    frame.size.height == framebuffer.height));
    Rect seen = rect_intersection(part, {0, 0, frame.size.width, frame.size.height});
    if (is_there && seen.width > 0 && seen.height > 0) {
        put(native_window(window), frame.pixels, frame.size, seen);
    }
}

void native_frame_free(NativeWindow *native) {
    os_free(native->frame.copy);
    native->frame = {};
}
