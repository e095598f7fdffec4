#include "support/x11_peer.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

namespace {

constexpr long everything = 0x7fffffff; // items of 32 bits

int ignore_error(Display *, XErrorEvent *) {
    return 0;
}

bool write_all(int pipe_end, const void *bytes, size_t count) {
    const char *at = static_cast<const char *>(bytes);
    while (count > 0) {
        ssize_t written = write(pipe_end, at, count);
        if (written <= 0) {
            return false;
        }
        at += written;
        count -= static_cast<size_t>(written);
    }
    return true;
}

} // namespace

Peer::Peer(int other_end) : display(XOpenDisplay(nullptr)), window(None), pipe_end(other_end) {
    if (!display) {
        fputs("no display\n", stderr);
        _exit(1);
    }
    XSetErrorHandler(ignore_error);
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XSelectInput(display, window, PropertyChangeMask);
}

Atom Peer::atom(const std::string &name) const {
    return XInternAtom(display, name.c_str(), False);
}

std::string Peer::name(Atom atom) const {
    char *name = atom == None ? nullptr : XGetAtomName(display, atom);
    std::string copy = name ? name : "(none)";
    XFree(name);
    return copy;
}

void Peer::tell(const std::string &message) const {
    uint64_t count = message.size();
    if (!write_all(pipe_end, &count, sizeof(count)) || !write_all(pipe_end, message.data(), count)) {
        _exit(1);
    }
}

XEvent Peer::wait_for(const std::function<bool(const XEvent &)> &fits) const {
    using Fits = std::function<bool(const XEvent &)>;
    XEvent event;
    XIfEvent(
        display, &event,
        [](Display *, XEvent *candidate, XPointer argument) -> Bool {
            return (*reinterpret_cast<Fits *>(argument))(*candidate);
        },
        reinterpret_cast<XPointer>(const_cast<Fits *>(&fits)));
    return event;
}

void Peer::own(const std::string &selection) const {
    Atom now = atom("NOW");
    set_property(now, {"INTEGER"});
    XEvent event = wait_for([now](const XEvent &candidate) {
        return candidate.type == PropertyNotify && candidate.xproperty.atom == now;
    });
    XSetSelectionOwner(display, atom(selection), window, event.xproperty.time);
    XSync(display, False);
}

void Peer::notify(const XSelectionRequestEvent &request, Atom property) const {
    XEvent event = {};
    event.xselection.type = SelectionNotify;
    event.xselection.requestor = request.requestor;
    event.xselection.selection = request.selection;
    event.xselection.target = request.target;
    event.xselection.property = property;
    event.xselection.time = request.time;
    XSendEvent(display, request.requestor, False, NoEventMask, &event);
    XFlush(display);
}

void Peer::refuse(const XSelectionRequestEvent &request) const {
    notify(request, None);
}

void Peer::answer(const XSelectionRequestEvent &request, const Contents &contents) const {
    size_t item = contents.format == 32 ? sizeof(long) : static_cast<size_t>(contents.format) / 8;
    XChangeProperty(display, request.requestor, request.property, atom(contents.type), contents.format,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(contents.bytes.data()),
                    static_cast<int>(contents.bytes.size() / item));
    notify(request, request.property);
}

namespace {

// Sends bytes to a requestor in pieces, each once the previous one has been taken; the last is empty.
void send_pieces(const Peer &self, const XSelectionRequestEvent &request, const Contents &contents,
                 size_t piece_size) {
    XSelectInput(self.display, request.requestor, PropertyChangeMask);
    self.answer(request, {"INCR", 32, items({contents.bytes.size()})});
    std::string piece;
    size_t at = 0;
    do {
        self.wait_for([&](const XEvent &event) {
            return event.type == PropertyNotify && event.xproperty.window == request.requestor &&
                   event.xproperty.atom == request.property && event.xproperty.state == PropertyDelete;
        });
        piece = contents.bytes.substr(at, piece_size);
        at += piece.size();
        XChangeProperty(self.display, request.requestor, request.property, self.atom(contents.type), 8,
                        PropModeReplace, reinterpret_cast<const unsigned char *>(piece.data()),
                        static_cast<int>(piece.size()));
    } while (!piece.empty());
    XFlush(self.display);
}

} // namespace

void Peer::serve_request(const XSelectionRequestEvent &request, const std::vector<Offer> &offers,
                         size_t piece_size) const {
    std::string target = name(request.target);
    std::vector<unsigned long> targets;
    const Contents *contents = nullptr;
    for (const Offer &offer : offers) {
        targets.push_back(atom(offer.target));
        contents = !contents && offer.target == target ? &offer.contents : contents;
    }
    if (target == "TARGETS" && !contents) {
        answer(request, {"ATOM", 32, items(targets)});
    } else if (!contents) {
        refuse(request);
    } else if (contents->format == 8 && contents->bytes.size() > piece_size) {
        send_pieces(*this, request, *contents, piece_size);
    } else {
        answer(request, *contents);
    }
}

void Peer::serve(const std::vector<Offer> &offers, size_t piece_size) const {
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == SelectionClear) {
            return;
        }
        if (event.type == SelectionRequest) {
            serve_request(event.xselectionrequest, offers, piece_size);
        }
    }
}

void Peer::convert(const std::string &selection, Atom target, Atom property) const {
    XConvertSelection(display, atom(selection), target, property, window, CurrentTime);
    XFlush(display);
}

bool Peer::is_answered(Atom target) const {
    XEvent event = wait_for([target](const XEvent &candidate) {
        return candidate.type == SelectionNotify && (target == None || candidate.xselection.target == target);
    });
    return event.xselection.property != None;
}

void Peer::set_property(Atom property, const Contents &value) const {
    size_t item = value.format == 32 ? sizeof(long) : static_cast<size_t>(value.format) / 8;
    XChangeProperty(display, window, property, atom(value.type), value.format, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(value.bytes.data()),
                    static_cast<int>(value.bytes.size() / item));
}

std::optional<Contents> Peer::property(Atom property) const {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char *bytes = nullptr;
    XGetWindowProperty(display, window, property, 0, everything, True, AnyPropertyType, &type, &format,
                       &count, &left, &bytes);
    std::optional<Contents> contents;
    if (type != None) {
        size_t item = format == 32 ? sizeof(long) : static_cast<size_t>(format) / 8;
        contents = {name(type), format, std::string(reinterpret_cast<char *>(bytes), count * item)};
    }
    if (bytes) {
        XFree(bytes);
    }
    return contents;
}

std::optional<Contents> Peer::received(Atom property_name) const {
    auto is_new = [&](const XEvent &event) {
        return event.type == PropertyNotify && event.xproperty.atom == property_name &&
               event.xproperty.state == PropertyNewValue;
    };
    wait_for(is_new);
    std::optional<Contents> contents = property(property_name);
    if (contents && contents->type == "INCR") {
        contents->bytes.clear();
        for (;;) {
            wait_for(is_new);
            std::optional<Contents> piece = property(property_name);
            contents->type = piece ? piece->type : "(no piece)";
            contents->format = piece ? piece->format : 0;
            if (!piece || piece->bytes.empty()) {
                break;
            }
            contents->bytes += piece->bytes;
        }
    }
    return contents;
}

std::optional<Contents> Peer::fetch(const std::string &selection, const std::string &target) const {
    Atom property_name = atom("FETCHED");
    convert(selection, atom(target), property_name);
    return is_answered(atom(target)) ? received(property_name) : std::nullopt;
}

std::string items(const std::vector<unsigned long> &values) {
    return {reinterpret_cast<const char *>(values.data()), values.size() * sizeof(unsigned long)};
}

std::vector<unsigned long> values_of(const std::string &items) {
    std::vector<unsigned long> values(items.size() / sizeof(unsigned long));
    memcpy(values.data(), items.data(), values.size() * sizeof(unsigned long));
    return values;
}
