// Comes between replace_file and the disk, to let calls fail or to kill the program midway.
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
    bool is_killed = false;     // then calls do nothing; a write is killed halfway
};

// Runs a part of the program that is killed after so many deletions and writes. Returns whether it was.
bool run_until_kill(int steps, const std::function<void()> &part);
