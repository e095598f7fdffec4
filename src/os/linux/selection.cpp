#include "os/linux/selection.h"

#include <algorithm>

#include <string.h>

#include "os/linux/clipboard.h"
#include "os/linux/clock.h"
#include "os/linux/x11.h"
#include "os/memory.h"

namespace {

constexpr int64_t step_ms = 1000;     // the longest wait for progress
constexpr int64_t transfer_ms = 5000; // for a whole incremental transfer

// ---- Waiting ----

struct Request {
    Atom selection;
    Atom target;
    Atom property; // of the helper window
    Time time;
};

bool is_answer(const Request &request, const XEvent &event) {
    const XSelectionEvent &answer = event.xselection;
    return event.type == SelectionNotify && answer.requestor == x11_helper_window() &&
           answer.selection == request.selection && answer.target == request.target &&
           (answer.property == request.property || answer.property == None) &&
           (answer.time == request.time ||
            answer.time == CurrentTime); // excludes late answers to earlier requests
}

bool is_new_piece(Atom property, const XEvent &event) {
    return event.type == PropertyNotify && event.xproperty.window == x11_helper_window() &&
           event.xproperty.atom == property && event.xproperty.state == PropertyNewValue;
}

Bool concerns_selections(Display *, XEvent *event, XPointer property) {
    return (event->type == SelectionNotify && event->xselection.requestor == x11_helper_window()) ||
           is_new_piece(*reinterpret_cast<const Atom *>(property), *event) || clipboard_is_event(*event);
}

// Takes the next event for the property's transfer or the clipboard from the queue. Returns false when none
// arrives before end_ms.
bool next_event(Atom property, int64_t end_ms, XEvent *event) {
    int64_t left = end_ms - monotonic_ms();
    return left > 0 && x11_wait_for_event(event, concerns_selections, &property, static_cast<uint32_t>(left));
}

// ---- Pieces ----

uint64_t size_of(const X11Property &property) {
    uint64_t item = property.format == 32 ? sizeof(long) : static_cast<uint64_t>(property.format) / 8;
    return property.count * item;
}

// Appends the property's bytes to the data, with a zero after them. Returns false and leaves the data
// unchanged when out of memory.
bool add_piece(const X11Property &property, SelectionData *data) {
    uint64_t size = size_of(property);
    uint64_t count = data->bytes.count + size;
    char *bytes = data->bytes.data;
    if (!bytes) {
        bytes = static_cast<char *>(os_alloc(count + 1));
    } else if (count >= os_alloc_size(bytes)) {
        bytes = static_cast<char *>(os_realloc(bytes, count * 2));
    }
    if (!bytes) {
        return false;
    }
    memcpy(bytes + data->bytes.count, property.bytes, size);
    bytes[count] = 0;
    *data = {{count, bytes}, property.type, property.format};
    return true;
}

// Receives an incremental transfer; an empty piece ends it.
SelectionResult read_pieces(Atom property, uint64_t longest, SelectionData *data) {
    int64_t end_ms = monotonic_ms() + transfer_ms;
    XEvent event;
    while (next_event(property, std::min(monotonic_ms() + step_ms, end_ms), &event)) {
        if (!is_new_piece(property, event)) {
            clipboard_handle_event(event);
            continue;
        }
        X11Property piece;
        if (!x11_read_property(x11_helper_window(), property, longest, true, &piece)) {
            return SELECTION_REFUSED;
        }
        bool is_added = data->bytes.count + size_of(piece) <= longest && add_piece(piece, data);
        XFree(piece.bytes);
        if (!is_added) {
            return SELECTION_REFUSED;
        }
        if (piece.count == 0) {
            return SELECTION_READ;
        }
    }
    return SELECTION_SILENT;
}

// Receives an answer, whole or as an incremental transfer.
SelectionResult read_answer(Atom property, uint64_t longest, SelectionData *data) {
    X11Property answer;
    if (!x11_read_property(x11_helper_window(), property, longest, true, &answer)) {
        return SELECTION_REFUSED;
    }
    bool is_whole = answer.type != x11_atom(ATOM_INCR);
    bool is_added = is_whole && add_piece(answer, data);
    XFree(answer.bytes);
    if (is_whole) {
        return is_added ? SELECTION_READ : SELECTION_REFUSED;
    }
    return read_pieces(property, longest, data);
}

} // namespace

Atom selection_next_property() {
    static uint32_t count;
    char name[] = "TARNWICK_SELECTION_0";
    name[sizeof(name) - 2] = static_cast<char>('0' + count++ % 8);
    Atom property = XInternAtom(x11_display(), name, False);
    XDeleteProperty(x11_display(), x11_helper_window(), property); // left by a late answer
    return property;
}

SelectionResult selection_request(Atom selection, Atom target, Atom property, Time time, int64_t wait_ms) {
    Request request = {selection, target, property, time};
    XConvertSelection(x11_display(), selection, target, property, x11_helper_window(), time);
    int64_t end_ms = monotonic_ms() + wait_ms;
    XEvent event;
    while (next_event(property, end_ms, &event)) {
        if (is_answer(request, event)) {
            return event.xselection.property == None ? SELECTION_REFUSED : SELECTION_READ;
        }
        clipboard_handle_event(event);
    }
    return SELECTION_SILENT;
}

SelectionResult selection_read(Atom selection, Atom target, Time time, uint64_t longest,
                               SelectionData *result) {
    *result = {};
    Atom property = selection_next_property();
    SelectionResult outcome = selection_request(selection, target, property, time, step_ms);
    if (outcome == SELECTION_READ) {
        outcome = read_answer(property, longest, result);
    }
    if (outcome != SELECTION_READ) {
        XDeleteProperty(x11_display(), x11_helper_window(), property); // data that were too long
        os_free(result->bytes.data);
        *result = {};
    }
    return outcome;
}
