#include "os/linux/drop.h"

#include <string.h>

#include <X11/Xatom.h>

#include "os/linux/selection.h"
#include "os/linux/uri_list.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window_backend.h"

namespace {

constexpr long oldest_version = 3; // of the protocol; later ones only add to it
constexpr long own_version = 5;
constexpr uint64_t most_types = 1024;       // that a source offers
constexpr uint64_t longest_list = 16 << 20; // bytes of URIs
constexpr long has_type_list = 1;           // in XdndEnter
constexpr long is_accepted = 1;             // in XdndStatus and XdndFinished
constexpr long wants_every_position = 2;    // in XdndStatus

// The drag over one of this program's windows. A new drag replaces it, even if it never ended.
struct Drag {
    Window source; // None: there is no drag
    Window window;
    bool has_files;
    bool has_position;
    Point position; // in root coordinates
};
Drag drag;

Window id_of(const PlatformWindow *window) {
    return reinterpret_cast<uintptr_t>(window->handle);
}

bool has_uri_list(const Atom *types, uint64_t count) {
    return x11_contains_atom(types, count, x11_atom(ATOM_TEXT_URI_LIST));
}

// Whether the source's type list, the property for more than three types, includes files.
bool lists_files(Window source) {
    Atom types[most_types];
    return has_uri_list(types,
                        x11_read_numbers(source, x11_atom(ATOM_XDND_TYPE_LIST), XA_ATOM, types, most_types));
}

// Sends the source an XdndStatus or XdndFinished message: the window, the flags and, if they accept, the
// action.
void answer(const Drag &to, X11Atom type, long flags, uint32_t action_index) {
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = to.source;
    event.xclient.message_type = x11_atom(type);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(to.window);
    event.xclient.data.l[1] = flags;
    if (flags & is_accepted) {
        event.xclient.data.l[action_index] = static_cast<long>(x11_atom(ATOM_XDND_ACTION_COPY));
    }
    XSendEvent(x11_display(), to.source, False, NoEventMask, &event);
    XFlush(x11_display());
}

void enter(const long *data, const PlatformWindow *window) {
    long version = data[1] >> 24 & 0xff;
    drag = {};
    if (version >= oldest_version) {
        drag.source = static_cast<Window>(data[0]);
        drag.window = id_of(window);
        bool has_list = data[1] & has_type_list;
        drag.has_files =
            has_list ? lists_files(drag.source) : has_uri_list(reinterpret_cast<const Atom *>(data + 2), 3);
    }
}

void move(const long *data) {
    drag.position = {static_cast<int16_t>(data[2] >> 16), static_cast<int16_t>(data[2])};
    drag.has_position = true;
    answer(drag, ATOM_XDND_STATUS, wants_every_position | (drag.has_files ? is_accepted : 0), 4);
}

// Delivers the files of a URI list. Returns false when it has none or when out of memory.
bool deliver(PlatformWindow *window, Point client, Str uris) {
    DropList list;
    if (!drop_list_init(&list, uris.count)) {
        return false;
    }
    Str rest = uris;
    Str path;
    while (uri_list_next(&rest, &path)) {
        memcpy(drop_list_room(&list), path.data, path.count);
        drop_list_add(&list, path.count);
    }
    if (list.count == 0) {
        os_free(list.bytes);
        return false;
    }
    window_files_dropped(window, client, &list);
    return true;
}

// Reads the dropped data and delivers its files. Returns whether there were any.
bool drop(const Drag &dropped, Time time, PlatformWindow *window) {
    SelectionData data;
    if (!dropped.has_files || !dropped.has_position ||
        selection_read(x11_atom(ATOM_XDND_SELECTION), x11_atom(ATOM_TEXT_URI_LIST), time, longest_list,
                       &data) != SELECTION_READ) {
        return false;
    }
    Point client = {};
    Window child = None;
    XTranslateCoordinates(x11_display(), DefaultRootWindow(x11_display()), dropped.window, dropped.position.x,
                          dropped.position.y, &client.x, &client.y, &child);
    bool has_files =
        data.format == 8 && data.type == x11_atom(ATOM_TEXT_URI_LIST) && deliver(window, client, data.bytes);
    os_free(data.bytes.data);
    return has_files;
}

} // namespace

void drop_accept(PlatformWindow *window) {
    unsigned long version = own_version;
    x11_write_numbers(id_of(window), x11_atom(ATOM_XDND_AWARE), XA_ATOM, &version, 1);
}

bool drop_handle_event(const XEvent &event, PlatformWindow *window) {
    if (event.type != ClientMessage) {
        return false;
    }
    Atom type = event.xclient.message_type;
    bool is_enter = type == x11_atom(ATOM_XDND_ENTER);
    bool is_drop = type == x11_atom(ATOM_XDND_DROP);
    bool is_leave = type == x11_atom(ATOM_XDND_LEAVE);
    if (!is_enter && !is_drop && !is_leave && type != x11_atom(ATOM_XDND_POSITION)) {
        return false;
    }
    const long *data = event.xclient.data.l;
    if (!window || event.xclient.format != 32) {
        return true;
    }
    if (is_enter) {
        enter(data, window);
    } else if (drag.source == None || drag.source != static_cast<Window>(data[0]) ||
               drag.window != id_of(window)) {
        return true; // not part of the current drag
    } else if (is_leave) {
        drag = {};
    } else if (is_drop) {
        Drag dropped = drag;
        drag = {};
        bool has_files = drop(dropped, static_cast<uint32_t>(data[2]), window);
        answer(dropped, ATOM_XDND_FINISHED, has_files ? is_accepted : 0, 2);
    } else {
        move(data);
    }
    return true;
}
