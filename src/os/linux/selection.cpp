#include "os/linux/selection.h"

#include <string.h>
#include <time.h>

#include "os/linux/clipboard.h"
#include "os/linux/x11.h"
#include "os/memory.h"

namespace {

constexpr int64_t step_ms = 1000;     // between two signs of life of an owner
constexpr int64_t transfer_ms = 5000; // for a whole transfer in pieces

int64_t now_ms() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

int64_t smaller(int64_t a, int64_t b) {
    return a < b ? a : b;
}

// ---- Waiting ----

struct Request {
    Atom selection;
    Atom target;
    Time time;
};

bool is_answer(const Request &request, const XEvent &event) {
    const XSelectionEvent &answer = event.xselection;
    return event.type == SelectionNotify && answer.requestor == x11_helper_window() &&
           answer.selection == request.selection && answer.target == request.target &&
           (answer.time == request.time || answer.time == CurrentTime); // not the late answer to another one
}

bool is_new_piece(const XEvent &event) {
    return event.type == PropertyNotify && event.xproperty.window == x11_helper_window() &&
           event.xproperty.atom == x11_atom(ATOM_OWN_SELECTION) && event.xproperty.state == PropertyNewValue;
}

Bool concerns_selections(Display *, XEvent *event, XPointer) {
    return (event->type == SelectionNotify && event->xselection.requestor == x11_helper_window()) ||
           is_new_piece(*event) || clipboard_is_event(*event);
}

// Takes the next event of a selection out of the queue. Returns false when there is none before end_ms.
bool next_event(int64_t end_ms, XEvent *event) {
    int64_t left = end_ms - now_ms();
    return left > 0 && x11_wait_for_event(event, concerns_selections, nullptr, static_cast<uint32_t>(left));
}

// ---- Pieces ----

uint64_t size_of(const X11Property &property) {
    uint64_t item = property.format == 32 ? sizeof(long) : static_cast<uint64_t>(property.format) / 8;
    return property.count * item;
}

struct Pieces {
    Str bytes;         // from the heap
    uint64_t capacity; // bytes, the zero after the last one not among them
};

// Adds a piece and the zero after it. Returns false when out of memory; what there was stays.
bool add_piece(Pieces *pieces, const void *bytes, uint64_t size) {
    uint64_t count = pieces->bytes.count + size;
    if (!pieces->bytes.data || count > pieces->capacity) {
        uint64_t capacity = pieces->bytes.data ? count * 2 : count;
        void *grown =
            pieces->bytes.data ? os_realloc(pieces->bytes.data, capacity + 1) : os_alloc(capacity + 1);
        if (!grown) {
            return false;
        }
        pieces->bytes.data = static_cast<char *>(grown);
        pieces->capacity = capacity;
    }
    memcpy(pieces->bytes.data + pieces->bytes.count, bytes, size);
    pieces->bytes.count = count;
    pieces->bytes.data[count] = 0;
    return true;
}

// Receives what the owner sends in pieces; an empty one is the end. The pieces read stay the caller's
// whatever comes back.
SelectionResult read_pieces(uint64_t longest, Pieces *pieces, SelectionData *result) {
    int64_t end_ms = now_ms() + transfer_ms;
    XEvent event;
    while (next_event(smaller(now_ms() + step_ms, end_ms), &event)) {
        if (!is_new_piece(event)) {
            clipboard_handle_event(event);
            continue;
        }
        X11Property property;
        if (!x11_read_property(x11_helper_window(), x11_atom(ATOM_OWN_SELECTION), longest, true, &property)) {
            return SELECTION_REFUSED;
        }
        uint64_t size = size_of(property);
        bool is_added = pieces->bytes.count + size <= longest && add_piece(pieces, property.bytes, size);
        result->type = property.type;
        result->format = property.format;
        XFree(property.bytes);
        if (!is_added) {
            return SELECTION_REFUSED;
        }
        if (size == 0) {
            return SELECTION_READ;
        }
    }
    return SELECTION_SILENT;
}

} // namespace

SelectionResult selection_request(Atom selection, Atom target, Time time, int64_t wait_ms) {
    Request request = {selection, target, time};
    XConvertSelection(x11_display(), selection, target, x11_atom(ATOM_OWN_SELECTION), x11_helper_window(),
                      time);
    int64_t end_ms = now_ms() + wait_ms;
    XEvent event;
    while (next_event(end_ms, &event)) {
        if (is_answer(request, event)) {
            return event.xselection.property == None ? SELECTION_REFUSED : SELECTION_READ;
        }
        clipboard_handle_event(event);
    }
    return SELECTION_SILENT;
}

SelectionResult selection_read(Atom selection, Atom target, Time time, uint64_t longest,
                               SelectionData *result) {
    Window window = x11_helper_window();
    Atom name = x11_atom(ATOM_OWN_SELECTION);
    *result = {};
    XDeleteProperty(x11_display(), window, name); // what a late answer has left
    SelectionResult outcome = selection_request(selection, target, time, step_ms);
    Pieces pieces = {};
    X11Property property = {};
    if (outcome == SELECTION_READ) {
        if (!x11_read_property(window, name, longest, true, &property)) {
            outcome = SELECTION_REFUSED;
        } else if (property.type == x11_atom(ATOM_INCR)) {
            outcome = read_pieces(longest, &pieces, result);
        } else if (add_piece(&pieces, property.bytes, size_of(property))) {
            result->type = property.type;
            result->format = property.format;
        } else {
            outcome = SELECTION_REFUSED;
        }
    }
    if (property.bytes) {
        XFree(property.bytes);
    }
    XDeleteProperty(x11_display(), window, name); // what was too long to be read
    if (outcome != SELECTION_READ) {
        os_free(pieces.bytes.data);
        *result = {};
        return outcome;
    }
    result->bytes = pieces.bytes;
    return outcome;
}
