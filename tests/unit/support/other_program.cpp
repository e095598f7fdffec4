#include "support/other_program.h"

#include <poll.h>
#include <signal.h>
#include <stdint.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xatom.h>

#include "os/linux/clipboard.h"
#include "os/linux/x11.h"

namespace {

constexpr unsigned int longest_life_s = 120;
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

// ---- In the other process ----

Connection::Connection(int other_end) : display(XOpenDisplay(nullptr)), window(None), pipe_end(other_end) {
    if (!display) {
        tell("(no display)");
        _exit(1);
    }
    XSetErrorHandler(ignore_error);
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XSelectInput(display, window, PropertyChangeMask);
}

Atom Connection::atom(const std::string &name) const {
    return XInternAtom(display, name.c_str(), False);
}

std::string Connection::name(Atom atom) const {
    char *name = atom == None ? nullptr : XGetAtomName(display, atom);
    std::string copy = name ? name : "(none)";
    XFree(name);
    return copy;
}

void Connection::tell(const std::string &message) const {
    uint64_t count = message.size();
    if (!write_all(pipe_end, &count, sizeof(count)) || !write_all(pipe_end, message.data(), count)) {
        _exit(1);
    }
}

XEvent Connection::wait_for(const std::function<bool(const XEvent &)> &fits) const {
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

void Connection::own(const std::string &selection) const {
    Atom now = atom("NOW");
    set_property(now, {"INTEGER"});
    XEvent event = wait_for([now](const XEvent &candidate) {
        return candidate.type == PropertyNotify && candidate.xproperty.atom == now;
    });
    XSetSelectionOwner(display, atom(selection), window, event.xproperty.time);
    XSync(display, False);
}

void Connection::refuse(const XSelectionRequestEvent &request) const {
    XEvent event = {};
    event.xselection.type = SelectionNotify;
    event.xselection.requestor = request.requestor;
    event.xselection.selection = request.selection;
    event.xselection.target = request.target;
    event.xselection.time = request.time;
    XSendEvent(display, request.requestor, False, NoEventMask, &event);
    XFlush(display);
}

void Connection::answer(const XSelectionRequestEvent &request, const Contents &contents) const {
    size_t item = contents.format == 32 ? sizeof(long) : static_cast<size_t>(contents.format) / 8;
    XChangeProperty(display, request.requestor, request.property, atom(contents.type), contents.format,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(contents.bytes.data()),
                    static_cast<int>(contents.bytes.size() / item));
    XEvent event = {};
    event.xselection.type = SelectionNotify;
    event.xselection.requestor = request.requestor;
    event.xselection.selection = request.selection;
    event.xselection.target = request.target;
    event.xselection.property = request.property;
    event.xselection.time = request.time;
    XSendEvent(display, request.requestor, False, NoEventMask, &event);
    XFlush(display);
}

namespace {

// Sends bytes to a requestor piece after piece, each when the one before has been taken.
void send_pieces(const Connection &self, const XSelectionRequestEvent &request, const Contents &contents,
                 size_t piece_size) {
    XSelectInput(self.display, request.requestor, PropertyChangeMask);
    self.answer(request, {"INCR", 32, items({contents.bytes.size()})});
    for (size_t at = 0; at <= contents.bytes.size(); at += piece_size) {
        self.wait_for([&](const XEvent &event) {
            return event.type == PropertyNotify && event.xproperty.window == request.requestor &&
                   event.xproperty.atom == request.property && event.xproperty.state == PropertyDelete;
        });
        std::string piece = contents.bytes.substr(at, piece_size);
        XChangeProperty(self.display, request.requestor, request.property, self.atom(contents.type), 8,
                        PropModeReplace, reinterpret_cast<const unsigned char *>(piece.data()),
                        static_cast<int>(piece.size()));
        if (piece.empty()) {
            break;
        }
        if (at + piece_size > contents.bytes.size()) {
            at = contents.bytes.size() - piece_size; // the next piece is the empty one
        }
    }
    XFlush(self.display);
}

} // namespace

void Connection::serve(const std::vector<Offer> &offers, size_t piece_size) const {
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == SelectionClear) {
            return;
        }
        if (event.type != SelectionRequest) {
            continue;
        }
        const XSelectionRequestEvent &request = event.xselectionrequest;
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
}

void Connection::convert(const std::string &selection, Atom target, Atom property) const {
    XConvertSelection(display, atom(selection), target, property, window, CurrentTime);
    XFlush(display);
}

bool Connection::is_answered() const {
    XEvent event = wait_for([](const XEvent &candidate) { return candidate.type == SelectionNotify; });
    return event.xselection.property != None;
}

void Connection::set_property(Atom property, const Contents &value) const {
    size_t item = value.format == 32 ? sizeof(long) : static_cast<size_t>(value.format) / 8;
    XChangeProperty(display, window, property, atom(value.type), value.format, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(value.bytes.data()),
                    static_cast<int>(value.bytes.size() / item));
}

std::optional<Contents> Connection::property(Atom property) const {
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

std::optional<Contents> Connection::received(Atom property_name) const {
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

std::optional<Contents> Connection::fetch(const std::string &selection, const std::string &target) const {
    Atom property_name = atom("FETCHED");
    convert(selection, atom(target), property_name);
    return is_answered() ? received(property_name) : std::nullopt;
}

std::string items(const std::vector<unsigned long> &values) {
    return {reinterpret_cast<const char *>(values.data()), values.size() * sizeof(unsigned long)};
}

std::vector<unsigned long> values_of(const std::string &items) {
    std::vector<unsigned long> values(items.size() / sizeof(unsigned long));
    memcpy(values.data(), items.data(), values.size() * sizeof(unsigned long));
    return values;
}

// ---- In the test's process ----

std::function<void(const XEvent &)> handle_own_event = clipboard_handle_event;

OtherProgram::OtherProgram(const Run &run) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    id = fork();
    EXPECT_GE(id, 0);
    if (id == 0) {
        close(ends[0]);
        alarm(longest_life_s);
        Connection connection(ends[1]);
        run(connection);
        XCloseDisplay(connection.display);
        _exit(0);
    }
    close(ends[1]);
    pipe_end = ends[0];
}

OtherProgram::~OtherProgram() {
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
    close(pipe_end);
}

std::string OtherProgram::heard() {
    std::string bytes;
    uint64_t wanted = sizeof(uint64_t);
    bool has_count = false;
    for (;;) {
        if (Display *display = x11_display()) {
            while (XPending(display) > 0) {
                XEvent event;
                XNextEvent(display, &event);
                handle_own_event(event);
            }
        }
        if (has_count && bytes.size() == wanted) {
            return bytes;
        }
        pollfd waiting[] = {{pipe_end, POLLIN, 0}, {ConnectionNumber(x11_display()), POLLIN, 0}};
        poll(waiting, 2, -1);
        if (!waiting[0].revents) {
            continue;
        }
        char piece[65536];
        size_t left = wanted - bytes.size();
        ssize_t count = read(pipe_end, piece, left < sizeof(piece) ? left : sizeof(piece));
        if (count <= 0) {
            return "(ended)";
        }
        bytes.append(piece, static_cast<size_t>(count));
        if (!has_count && bytes.size() == sizeof(uint64_t)) {
            memcpy(&wanted, bytes.data(), sizeof(uint64_t));
            bytes.clear();
            has_count = true;
        }
    }
}
