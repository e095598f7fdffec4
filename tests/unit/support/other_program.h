// Another program on the X server, for tests: a forked process with a connection of its own. It speaks the
// protocols in plain code of its own.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h> // before Xlib, which makes macros of names that it uses

#include <X11/Xlib.h>

// ---- In the other process ----

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

// The connection of the other process, and what it does with it. Waiting never ends by itself; an alarm ends
// a process that waits for too long.
class Connection {
public:
    explicit Connection(int pipe_end);

    Atom atom(const std::string &name) const;
    std::string name(Atom atom) const;

    // To the test, which gets it from OtherProgram::heard.
    void tell(const std::string &message) const;

    // Waits for the next event that fits.
    XEvent wait_for(const std::function<bool(const XEvent &)> &fits) const;

    void own(const std::string &selection) const;
    // Answers requests with the offers, those of more than piece_size bytes in pieces, until another program
    // takes the selection. TARGETS is answered with the offers' targets.
    void serve(const std::vector<Offer> &offers, size_t piece_size = 200000) const;
    void refuse(const XSelectionRequestEvent &request) const;
    void answer(const XSelectionRequestEvent &request, const Contents &contents) const;

    // What the selection's owner makes of the target; nothing when it refuses.
    std::optional<Contents> fetch(const std::string &selection, const std::string &target) const;
    // The parts of it.
    void convert(const std::string &selection, Atom target, Atom property) const;
    bool is_answered() const;                                      // waits for the answer
    std::optional<Contents> property(Atom property) const;         // of the own window; it is deleted
    std::optional<Contents> received(Atom property) const;         // with all pieces
    void set_property(Atom property, const Contents &value) const; // of the own window

    Display *display;
    Window window;

private:
    int pipe_end;
};

// Items of 32 bits as the longs that Xlib takes.
std::string items(const std::vector<unsigned long> &values);
std::vector<unsigned long> values_of(const std::string &items);

// ---- In the test's process ----

// How the test's process handles an event that arrives while it waits for the other program. At first the
// clipboard has them all.
extern std::function<void(const XEvent &)> handle_own_event;

class OtherProgram {
public:
    using Run = std::function<void(Connection &)>;
    explicit OtherProgram(const Run &run);
    ~OtherProgram(); // ends it
    OtherProgram(const OtherProgram &) = delete;
    OtherProgram &operator=(const OtherProgram &) = delete;

    // The next message; "(ended)" when it has told all. This process handles its events meanwhile.
    std::string heard();

private:
    pid_t id;
    int pipe_end;
};
