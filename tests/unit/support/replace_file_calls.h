// Comes between replace_file and the disk: calls that fail, and a program that is killed in the middle.
#pragma once

#include <functional>
#include <string>

// While it lives, calls fail as its members say. One at a time.
class ReplaceFileCalls {
public:
    ReplaceFileCalls();
    ~ReplaceFileCalls();
    ReplaceFileCalls(const ReplaceFileCalls &) = delete;
    ReplaceFileCalls &operator=(const ReplaceFileCalls &) = delete;

    int failing_write = 0;      // 1: the next one fails without a trace, as of a file that cannot be created
    std::string undeletable;    // a file's name: it cannot be deleted
    int steps_before_kill = -1; // deletions and writes until the program is killed; -1: it is not
    bool is_killed = false;     // then nothing is done; the write that it is killed in is half done
};

// Runs a part of the program that is killed after so many deletions and writes. Returns whether it was.
bool run_until_kill(int steps, const std::function<void()> &part);
