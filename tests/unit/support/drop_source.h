// A drag of files from a second program, as from a file manager.
#pragma once

#include <string>
#include <vector>

#include "support/x11_peer.h"

// How the window under the pointer has answered.
struct DropAnswer {
    bool is_accepted;
    std::string action;
};

// The user drags the peer's files over the window.
class Drag {
public:
    // Takes the drag's selection and enters the window. More than three types are listed in a property.
    Drag(Peer &peer, Window window, const std::vector<std::string> &types = {"text/uri-list"},
         long version = 5);

    void move(int x, int y) const; // on the screen
    DropAnswer status() const;     // waits for the answer to a move
    void leave() const;
    void drop(Time time = CurrentTime) const;
    // Serves the offers until the window has what it wants of them.
    DropAnswer finish(const std::vector<Offer> &offers, size_t piece_size = 200000) const;

private:
    void send(const char *type, const std::vector<long> &data) const;
    DropAnswer answer_in(const XEvent &event, int action) const;

    Peer &peer;
    Window window;
};

// The offer of files by their paths, each byte but '/' percent-encoded.
Offer offer_of_files(const std::vector<std::string> &paths);
