#include <string.h>

#include <sys/ipc.h>
#include <sys/shm.h>

#include "os/linux/native_window.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window_backend.h"

// ---- Memory ----

namespace {

// The type of the event that the server is done with a frame; 0 when it shares no memory.
int completion_type() {
    static int type = -1;
    if (type < 0) {
        Display *display = x11_display();
        type = XShmQueryExtension(display) ? XShmGetEventBase(display) + ShmCompletion : 0;
    }
    return type;
}

// Makes a block that the server reads, too. Returns whether that worked; it does not over a network.
bool share_block(ShownFrame *frame, uint64_t capacity) {
    int id = completion_type() ? shmget(IPC_PRIVATE, capacity, IPC_CREAT | 0600) : -1;
    if (id < 0) {
        return false;
    }
    frame->segment = {};
    frame->segment.shmid = id;
    frame->segment.shmaddr = static_cast<char *>(shmat(id, nullptr, 0));
    frame->segment.readOnly = True;
    bool is_attached = frame->segment.shmaddr != reinterpret_cast<char *>(-1);
    if (is_attached) {
        x11_trap_errors();
        XShmAttach(x11_display(), &frame->segment);
        frame->is_shared = !x11_untrap_errors();
        if (!frame->is_shared) {
            shmdt(frame->segment.shmaddr);
        }
    }
    shmctl(id, IPC_RMID, nullptr); // the memory stays until both have let it go
    return frame->is_shared;
}

void destroy_image(ShownFrame *frame) {
    if (frame->image) {
        frame->image->data = nullptr; // the block is not the image's
        XDestroyImage(frame->image);
        frame->image = nullptr;
    }
}

// Gives the frame's image that size; its block only ever grows. Returns whether there is an image.
bool make_image(NativeWindow *native, Size size) {
    ShownFrame *frame = &native->frame;
    if (frame->image && frame->image->width == size.width && frame->image->height == size.height) {
        return true;
    }
    uint64_t capacity = framebuffer_block_size(size);
    if (capacity <= frame->capacity) {
        destroy_image(frame);
    } else {
        native_frame_free(native);
        frame->block =
            share_block(frame, capacity) ? frame->segment.shmaddr : static_cast<char *>(os_alloc(capacity));
        if (!frame->block) {
            return false;
        }
        frame->capacity = capacity;
    }
    Display *display = x11_display();
    uint32_t depth = static_cast<uint32_t>(native->depth);
    uint32_t width = static_cast<uint32_t>(size.width);
    uint32_t height = static_cast<uint32_t>(size.height);
    frame->image = frame->is_shared ? XShmCreateImage(display, native->visual, depth, ZPixmap, frame->block,
                                                      &frame->segment, width, height)
                                    : XCreateImage(display, native->visual, depth, ZPixmap, 0, frame->block,
                                                   width, height, 32, size.width * 4);
    if (frame->image) {
        frame->image->byte_order = LSBFirst; // Xlib converts where the server has the other order
    }
    return frame->image != nullptr;
}

} // namespace

void native_frame_free(NativeWindow *native) {
    ShownFrame *frame = &native->frame;
    destroy_image(frame);
    if (frame->is_shared) {
        XShmDetach(x11_display(), &frame->segment);
        shmdt(frame->block);
    } else {
        os_free(frame->block);
    }
    *frame = {};
}

// ---- Frames ----

namespace {

int is_completion(Display *, XEvent *event, XPointer argument) {
    return event->type == completion_type() &&
           event->xany.window == reinterpret_cast<const NativeWindow *>(argument)->id;
}

// A frame of a window that has just gone is never read.
void wait_for_server(NativeWindow *native) {
    constexpr uint32_t longest_wait_ms = 1000;
    if (native->frame.is_being_read) {
        XEvent event;
        x11_wait_for_event(&event, is_completion, native, longest_wait_ms);
        native->frame.is_being_read = false;
    }
}

// Copies a row; where the lengths differ the nearest pixel is taken.
void copy_row(uint32_t *to, int32_t to_count, const uint32_t *from, int32_t from_count) {
    if (to_count == from_count) {
        memcpy(to, from, static_cast<uint64_t>(to_count) * 4);
        return;
    }
    for (int32_t x = 0; x < to_count; x++) {
        int64_t from_x = int64_t{x} * from_count / to_count;
        to[x] = from[from_x];
    }
}

// Black becomes transparent, all else opaque.
void key_out_black(uint32_t *row, int32_t count) {
    for (int32_t x = 0; x < count; x++) {
        row[x] = (row[x] & 0xFFFFFF) ? row[x] | 0xFF000000 : 0;
    }
}

void put_image(NativeWindow *native, Rect part, bool is_told) {
    ShownFrame *frame = &native->frame;
    uint32_t width = static_cast<uint32_t>(part.width);
    uint32_t height = static_cast<uint32_t>(part.height);
    if (frame->is_shared) {
        XShmPutImage(x11_display(), native->id, native->graphics_context, frame->image, part.x, part.y,
                     part.x, part.y, width, height, is_told);
        frame->is_being_read = frame->is_being_read || is_told;
    } else {
        XPutImage(x11_display(), native->id, native->graphics_context, frame->image, part.x, part.y, part.x,
                  part.y, width, height);
    }
    XFlush(x11_display());
}

} // namespace

void native_frame_show(NativeWindow *native, Size client_size, const Framebuffer &framebuffer, Rect to,
                       Rect from, bool is_layered) {
    wait_for_server(native);
    if (!make_image(native, client_size)) {
        return;
    }
    for (int32_t y = 0; y < to.height; y++) {
        int64_t from_y = int64_t{y} * from.height / to.height; // below from's top
        uint32_t *row =
            reinterpret_cast<uint32_t *>(native->frame.block) + int64_t{to.y + y} * client_size.width + to.x;
        copy_row(row, to.width, framebuffer.pixels + (from.y + from_y) * framebuffer.width + from.x,
                 from.width);
        if (is_layered) {
            key_out_black(row, to.width);
        }
    }
    put_image(native, to, true);
    if (native->resize.is_due) {
        native->resize.is_due = false;
        XSyncSetCounter(x11_display(), native->resize.counter, native->resize.value);
        XFlush(x11_display());
    }
}

void native_frame_refresh(NativeWindow *native, Rect part) {
    if (native->frame.image) {
        Rect whole = {0, 0, native->frame.image->width, native->frame.image->height};
        Rect seen = rect_intersection(part, whole);
        if (seen.width > 0 && seen.height > 0) {
            put_image(native, seen, false);
        }
    }
}

bool native_frame_handle_event(const XEvent &event) {
    if (completion_type() == 0 || event.type != completion_type()) {
        return false;
    }
    for (NativeWindow *native = native_windows(); native; native = native->next) {
        if (native->id == event.xany.window) {
            native->frame.is_being_read = false;
        }
    }
    return true;
}
