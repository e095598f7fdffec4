// A second program on the X server, for tests, which speaks the protocols in plain code of its own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <X11/Xlib.h>

// A property's contents; format 32 as the longs that Xlib takes.
struct Contents {
    std::string type;
    int format = 8;
    std::string bytes = {};
};

struct Offer {
    std::string target;
    Contents contents;
};

// The second program's connection, and what it does with it. No wait ends by itself: its process has an
// alarm.
class Peer {
public:
    explicit Peer(int pipe_end = -1); // ends the process when there is no display

    Atom atom(const std::string &name) const;
    std::string name(Atom atom) const;

    // Sends a message to the test that forked this program.
    void tell(const std::string &message) const;

    // Waits for the next event that fits.
    XEvent wait_for(const std::function<bool(const XEvent &)> &fits) const;

    void own(const std::string &selection) const;
    // Answers requests with the offers, those of more than piece_size bytes in pieces, until another program
    // takes the selection. TARGETS is answered with the offers' targets.
    void serve(const std::vector<Offer> &offers, size_t piece_size = 200000) const;
    void serve_request(const XSelectionRequestEvent &request, const std::vector<Offer> &offers,
                       size_t piece_size = 200000) const;
    void refuse(const XSelectionRequestEvent &request) const;
    void notify(const XSelectionRequestEvent &request, Atom property) const; // that it has its answer there
    void answer(const XSelectionRequestEvent &request, const Contents &contents) const;

    // The selection, converted to the target by its owner; nothing if that fails.
    std::optional<Contents> fetch(const std::string &selection, const std::string &target) const;
    // The parts of it.
    void convert(const std::string &selection, Atom target, Atom property) const;
    // Waits for the answer, to that target only if one is given: it may be one to an earlier program whose
    // window had the same number.
    bool is_answered(Atom target = None) const;
    std::optional<Contents> property(Atom property) const;         // of the own window; it is deleted
    std::optional<Contents> received(Atom property) const;         // with all pieces
    void set_property(Atom property, const Contents &value) const; // of the own window

    Display *display;
    Window window;

private:
    int pipe_end;
};

// 32-bit items as the longs that Xlib takes.
std::string items(const std::vector<unsigned long> &values);
std::vector<unsigned long> values_of(const std::string &items);
