#include "os/linux/clipboard.h"

#include <algorithm>

#include <string.h>

#include <X11/Xatom.h>

#include "os/clipboard.h"
#include "os/linux/selection.h"
#include "os/linux/utf8.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/utf16.h"
#include "os/utf8.h"

namespace {

constexpr uint64_t piece_size = 131072; // bytes, which every server accepts; longer texts are sent in pieces
constexpr uint64_t longest_read = uint64_t{longest_wide_text} * 3; // bytes; UTF-8 takes up to three per unit
constexpr uint64_t most_targets = 1024;                            // that an owner offers
constexpr uint64_t most_pairs = 64;                                // of a request for several targets
constexpr uint32_t most_transfers = 16;                            // at the same time
constexpr int64_t hand_over_ms = 2000;

// This program's text while it owns the clipboard.
struct OwnText {
    Str repaired; // valid UTF-8; null data: this program does not own the clipboard
    Str bytes;    // as the program set them
    Time since;
};
OwnText own;

void forget_own_text() {
    os_free(own.repaired.data);
    os_free(own.bytes.data);
    own = {};
}

uint64_t length_to_zero(Str text) {
    return strnlen(text.data, text.count);
}

// ---- Latin-1 ----

// Converts valid UTF-8 to Latin-1, with a '?' for each character that Latin-1 lacks. The caller frees it with
// os_free; the empty Str when out of memory.
Str latin1_from_utf8(Str text) {
    Str latin1 = str_copy(text);
    if (!latin1.data) {
        return {};
    }
    uint64_t count = 0;
    for (uint64_t at = 0; at < text.count;) {
        Utf8Character character = utf8_at(text, at);
        latin1.data[count++] = character.code <= 0xFF ? static_cast<char>(character.code) : '?';
        at += character.length;
    }
    latin1.data[count] = 0;
    latin1.count = count;
    return latin1;
}

// Converts Latin-1 to UTF-8, with a zero after it. The caller frees it with os_free; the empty Str when out
// of memory.
Str utf8_from_latin1(Str latin1) {
    char *utf8 = static_cast<char *>(os_alloc(latin1.count * 2 + 1));
    if (!utf8) {
        return {};
    }
    uint64_t count = 0;
    for (uint64_t i = 0; i < latin1.count; i++) {
        count += utf8_encode(static_cast<uint8_t>(latin1.data[i]), utf8 + count);
    }
    utf8[count] = 0;
    return {count, utf8};
}

// ---- Incremental transfers to other programs ----

// Each piece is sent once the requestor has deleted the previous one.
struct Transfer {
    Window requestor;
    Atom property;
    Atom type;
    Str bytes;     // from the heap
    uint64_t sent; // bytes
    long old_mask; // this program's event mask for the requestor's window, before the transfer
};

// Oldest first. A stalled transfer keeps its slot until the requestor's window is gone or the slot is needed.
struct Transfers {
    Transfer list[most_transfers];
    uint32_t count;
};
Transfers transfers;

Transfer *transfer_to(Window requestor, const Atom *property) {
    for (uint32_t i = 0; i < transfers.count; i++) {
        Transfer *transfer = &transfers.list[i];
        if (transfer->requestor == requestor && (!property || transfer->property == *property)) {
            return transfer;
        }
    }
    return nullptr;
}

void end_transfer(Transfer *transfer) {
    Window requestor = transfer->requestor;
    long old_mask = transfer->old_mask;
    os_free(transfer->bytes.data);
    transfers.count--;
    const Transfer *end = &transfers.list[transfers.count];
    memmove(transfer, transfer + 1, static_cast<size_t>(end - transfer) * sizeof(Transfer));
    if (!transfer_to(requestor, nullptr)) {
        XSelectInput(x11_display(), requestor, old_mask);
    }
}

// Takes ownership of bytes. Returns false when the window is gone.
bool begin_transfer(Window requestor, Atom property, Atom type, Str bytes) {
    Display *display = x11_display();
    if (Transfer *former = transfer_to(requestor, &property)) {
        end_transfer(former);
    }
    if (transfers.count == most_transfers) {
        end_transfer(&transfers.list[0]);
    }
    XWindowAttributes attributes;
    if (!XGetWindowAttributes(display, requestor, &attributes)) {
        os_free(bytes.data);
        return false;
    }
    const Transfer *other = transfer_to(requestor, nullptr);
    long old_mask = other ? other->old_mask : attributes.your_event_mask;
    XSelectInput(display, requestor, old_mask | PropertyChangeMask | StructureNotifyMask);
    unsigned long size = bytes.count;
    x11_write_numbers(requestor, property, x11_atom(ATOM_INCR), &size, 1);
    transfers.list[transfers.count++] = {requestor, property, type, bytes, 0, old_mask};
    return true;
}

void put_bytes(Window requestor, Atom property, Atom type, Str bytes) {
    XChangeProperty(x11_display(), requestor, property, type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(bytes.data), static_cast<int>(bytes.count));
}

void send_piece(Transfer *transfer) {
    uint64_t left = transfer->bytes.count - transfer->sent;
    bool is_end = left == 0; // signalled by an empty piece
    uint64_t size = std::min(left, piece_size);
    put_bytes(transfer->requestor, transfer->property, transfer->type,
              {size, transfer->bytes.data + transfer->sent});
    transfer->sent += size;
    if (is_end) {
        end_transfer(transfer);
    }
}

// ---- Requests from other programs ----

// The targets that the text is offered as.
constexpr X11Atom own_targets[] = {
    ATOM_TARGETS,     ATOM_MULTIPLE,        ATOM_TIMESTAMP, ATOM_SAVE_TARGETS,
    ATOM_UTF8_STRING, ATOM_TEXT_PLAIN_UTF8, ATOM_TEXT,      ATOM_STRING,
};

// The text converted to a target, and its type. The caller frees it with os_free; null data for any other
// target or when out of memory.
Str text_for(Atom target, Atom *type) {
    *type = target;
    if (target == x11_atom(ATOM_UTF8_STRING) || target == x11_atom(ATOM_TEXT_PLAIN_UTF8)) {
        return str_copy(own.repaired);
    }
    if (target == x11_atom(ATOM_STRING)) {
        return latin1_from_utf8(own.repaired);
    }
    if (target == x11_atom(ATOM_TEXT)) { // the owner chooses the encoding
        *type = x11_atom(str_equal(own.repaired, own.bytes) ? ATOM_UTF8_STRING : ATOM_C_STRING);
        return str_copy(own.bytes);
    }
    return {};
}

// Stores the target in the requestor's property, or begins an incremental transfer. Returns false when that
// is not possible.
bool answer(Atom target, Window requestor, Atom property) {
    if (target == x11_atom(ATOM_TARGETS)) {
        constexpr uint64_t count = sizeof(own_targets) / sizeof(own_targets[0]);
        Atom atoms[count];
        for (uint64_t i = 0; i < count; i++) {
            atoms[i] = x11_atom(own_targets[i]);
        }
        x11_write_numbers(requestor, property, XA_ATOM, atoms, count);
        return true;
    }
    if (target == x11_atom(ATOM_TIMESTAMP)) {
        x11_write_numbers(requestor, property, XA_INTEGER, &own.since, 1);
        return true;
    }
    if (target == x11_atom(ATOM_SAVE_TARGETS)) { // an empty answer: the target is supported
        x11_write_numbers(requestor, property, x11_atom(ATOM_NULL), nullptr, 0);
        return true;
    }
    Atom type = None;
    Str text = text_for(target, &type);
    if (!text.data) {
        return false;
    }
    if (text.count > piece_size) {
        return begin_transfer(requestor, property, type, text);
    }
    put_bytes(requestor, property, type, text);
    os_free(text.data);
    return true;
}

// Answers each pair of a target and a property; sets the property to None when that fails.
void answer_pairs(Window requestor, Atom property, const X11Property &pairs) {
    Atom *atoms = reinterpret_cast<Atom *>(pairs.bytes);
    for (uint64_t i = 0; i + 1 < pairs.count; i += 2) {
        Atom to = atoms[i + 1];
        if (to == None || !answer(atoms[i], requestor, to)) {
            atoms[i + 1] = None;
        }
    }
    x11_write_numbers(requestor, property, x11_atom(ATOM_ATOM_PAIR), atoms, pairs.count);
}

// Whether this program owned the clipboard at the request's time; the server's time wraps around.
bool is_for_own_text(const XSelectionRequestEvent &request) {
    return request.selection == x11_atom(ATOM_CLIPBOARD) && own.repaired.data &&
           (request.time == CurrentTime || static_cast<int32_t>(static_cast<uint32_t>(request.time) -
                                                                static_cast<uint32_t>(own.since)) >= 0);
}

void answer_request(const XSelectionRequestEvent &request) {
    bool is_own = is_for_own_text(request);
    bool is_multiple = is_own && request.target == x11_atom(ATOM_MULTIPLE);
    Atom property = request.property != None ? request.property : request.target; // for obsolete clients
    X11Property pairs = {};
    if (is_multiple) {
        is_own = x11_read_property(request.requestor, request.property, most_pairs * 8, false, &pairs) &&
                 pairs.format == 32 && pairs.type == x11_atom(ATOM_ATOM_PAIR);
    }
    if (is_own && is_multiple) {
        answer_pairs(request.requestor, property, pairs);
    } else if (is_own) {
        is_own = answer(request.target, request.requestor, property);
    }
    XEvent event = {};
    event.xselection.type = SelectionNotify;
    event.xselection.requestor = request.requestor;
    event.xselection.selection = request.selection;
    event.xselection.target = request.target;
    event.xselection.property = is_own ? property : None;
    event.xselection.time = request.time;
    XSendEvent(x11_display(), request.requestor, False, NoEventMask, &event);
    if (pairs.bytes) {
        XFree(pairs.bytes);
    }
}

void lose_ownership(const XSelectionClearEvent &event) {
    // This program may have taken the clipboard again since the event.
    if (event.selection == x11_atom(ATOM_CLIPBOARD) &&
        XGetSelectionOwner(x11_display(), event.selection) != x11_helper_window()) {
        forget_own_text();
    }
}

void forget_requestor(Window window) {
    while (Transfer *transfer = transfer_to(window, nullptr)) {
        end_transfer(transfer);
    }
}

} // namespace

bool clipboard_is_event(const XEvent &event) {
    switch (event.type) {
    case SelectionRequest:
        return event.xselectionrequest.owner == x11_helper_window();
    case SelectionClear:
        return event.xselectionclear.window == x11_helper_window();
    case PropertyNotify:
        return event.xproperty.state == PropertyDelete &&
               transfer_to(event.xproperty.window, &event.xproperty.atom);
    case DestroyNotify:
        return transfer_to(event.xdestroywindow.window, nullptr);
    default:
        return false;
    }
}

bool clipboard_handle_event(const XEvent &event) {
    if (!clipboard_is_event(event)) {
        return false;
    }
    if (event.type == SelectionRequest) {
        answer_request(event.xselectionrequest);
    } else if (event.type == SelectionClear) {
        lose_ownership(event.xselectionclear);
    } else if (event.type == PropertyNotify) {
        send_piece(transfer_to(event.xproperty.window, &event.xproperty.atom));
    } else {
        forget_requestor(event.xdestroywindow.window);
    }
    return true;
}

namespace {

Bool is_clipboard_event(Display *, XEvent *event, XPointer) {
    return clipboard_is_event(*event);
}

// Handles the clipboard events in the queue, so that a loss of ownership is noticed.
void handle_arrived_events(Display *display) {
    XEvent event;
    while (XCheckIfEvent(display, &event, is_clipboard_event, nullptr)) {
        clipboard_handle_event(event);
    }
}

} // namespace

void clipboard_hand_over() {
    Display *display = x11_display();
    if (!display) {
        return;
    }
    handle_arrived_events(display);
    if (!own.repaired.data || XGetSelectionOwner(display, x11_atom(ATOM_CLIPBOARD_MANAGER)) == None) {
        return;
    }
    Atom targets[] = {x11_atom(ATOM_UTF8_STRING), x11_atom(ATOM_STRING)};
    Atom property = selection_next_property();
    x11_write_numbers(x11_helper_window(), property, XA_ATOM, targets, 2);
    selection_request(x11_atom(ATOM_CLIPBOARD_MANAGER), x11_atom(ATOM_SAVE_TARGETS), property,
                      x11_server_time(), hand_over_ms);
}

// ---- Text ----

namespace {

// The targets to request text as, in order of preference.
constexpr X11Atom text_targets[] = {ATOM_UTF8_STRING, ATOM_TEXT_PLAIN_UTF8, ATOM_TEXT, ATOM_STRING};

// Whether the target is in the owner's list.
bool is_offered(const SelectionData &targets, Atom target) {
    return x11_contains_atom(reinterpret_cast<const Atom *>(targets.bytes.data),
                             targets.bytes.count / sizeof(Atom), target);
}

// The text of the received data; takes ownership of the data's bytes. The caller frees the text with os_free;
// null data when the type is not a text type or when out of memory.
Str text_from(const SelectionData &data) {
    if (data.format == 8 && data.type == x11_atom(ATOM_STRING)) {
        Str text = utf8_from_latin1({length_to_zero(data.bytes), data.bytes.data});
        os_free(data.bytes.data);
        return text;
    }
    if (data.format == 8 &&
        (data.type == x11_atom(ATOM_UTF8_STRING) || data.type == x11_atom(ATOM_TEXT_PLAIN_UTF8) ||
         data.type == x11_atom(ATOM_C_STRING))) {
        return {length_to_zero(data.bytes), data.bytes.data};
    }
    os_free(data.bytes.data);
    return {};
}

} // namespace

Str os_clipboard_get_text() {
    Display *display = x11_display();
    if (!display) {
        return {};
    }
    handle_arrived_events(display);
    if (own.repaired.data) {
        return str_copy({length_to_zero(own.repaired), own.repaired.data});
    }
    Atom clipboard = x11_atom(ATOM_CLIPBOARD);
    Time time = x11_server_time();
    SelectionData targets;
    SelectionResult outcome =
        selection_read(clipboard, x11_atom(ATOM_TARGETS), time, most_targets * 4, &targets);
    bool has_list = outcome == SELECTION_READ && targets.format == 32; // some owners have none
    Str text = {};
    for (X11Atom target : text_targets) {
        if (outcome == SELECTION_SILENT || text.data) {
            break;
        }
        SelectionData data;
        if (!has_list || is_offered(targets, x11_atom(target))) {
            outcome = selection_read(clipboard, x11_atom(target), time, longest_read, &data);
            text = text_from(data);
        }
    }
    os_free(targets.bytes.data);
    return text;
}

int32_t os_clipboard_set_text(Str text) {
    Utf8Size size = utf8_repair(text, nullptr);
    Str repaired = {size.bytes, nullptr};
    if (size.units <= uint64_t{longest_wide_text}) {
        repaired.data = static_cast<char *>(os_alloc(size.bytes + 1));
    }
    if (!repaired.data) {
        return 1;
    }
    Str bytes = str_copy(text);
    if (!bytes.data) {
        os_free(repaired.data);
        return 2;
    }
    utf8_repair(text, repaired.data);
    repaired.data[repaired.count] = 0;
    forget_own_text();
    own = {repaired, bytes, CurrentTime};
    Display *display = x11_display();
    if (display) {
        own.since = x11_server_time();
        XSetSelectionOwner(display, x11_atom(ATOM_CLIPBOARD), x11_helper_window(), own.since);
    }
    if (!display || XGetSelectionOwner(display, x11_atom(ATOM_CLIPBOARD)) != x11_helper_window()) {
        forget_own_text();
    }
    return 0;
}
