#include "support/recorded_commands.h"

#include "os/process.h"
#include "support/test_tree.h"

std::vector<RecordedCommand> recorded_commands;
std::vector<std::string> recorded_opened_paths;

uint32_t os_run_process(Str cmd, bool show_console) {
    recorded_commands.push_back({to_string(cmd), cmd.data[cmd.count] == 0, show_console});
    return exit_code_still_running;
}

int32_t os_shell_open(Str path) {
    recorded_opened_paths.push_back(to_string(path));
    return 0;
}
