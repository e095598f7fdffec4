// Replaces the launching of programs in a test program that lists recorded_commands.cpp among its sources:
// nothing is started, everything is recorded.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

struct RecordedCommand {
    std::string text;
    bool is_zero_terminated;
    bool show_console;
};

// What os_run_process and os_shell_open were called with, in order, until the test empties them.
extern std::vector<RecordedCommand> recorded_commands;
extern std::vector<std::string> recorded_opened_paths;
