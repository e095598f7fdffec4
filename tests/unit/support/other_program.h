// A second program on the X server that a test forks.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

#include "support/x11_peer.h"

// Handles what has arrived for the test's process; called while that waits for the other program. At first
// the clipboard gets all events.
extern std::function<void()> handle_own_events;

class OtherProgram {
public:
    using Run = std::function<void(Peer &)>;
    explicit OtherProgram(const Run &run);
    ~OtherProgram(); // ends it
    OtherProgram(const OtherProgram &) = delete;
    OtherProgram &operator=(const OtherProgram &) = delete;

    // The next message; "(ended)" after the last one. This process handles its events meanwhile.
    std::string heard();

private:
    pid_t id;
    int pipe_end;
};
