#include "support/replace_file_calls.h"

#include "os/files.h"
#include "os/replace_file.h"
#include "support/test_tree.h"

namespace {

ReplaceFileCalls *current;

bool is_killed_now() {
    current->is_killed = current->is_killed || current->steps_before_kill == 0;
    current->steps_before_kill -= current->steps_before_kill > 0;
    return current->is_killed;
}

int32_t write_or_fail(Str path, uint32_t count, const char *bytes) {
    bool was_killed = current->is_killed;
    if (is_killed_now()) {
        return was_killed ? 0 : os_file_write(path, count / 2, bytes);
    }
    if (current->failing_write > 0 && --current->failing_write == 0) {
        return 1;
    }
    return os_file_write(path, count, bytes);
}

int32_t delete_or_fail(Str path) {
    if (is_killed_now()) {
        return 0;
    }
    const std::string &name = current->undeletable;
    if (!name.empty() && to_string(path).ends_with("/" + name) && os_path_exists(path)) {
        return 1;
    }
    return os_file_delete(path);
}

} // namespace

ReplaceFileCalls::ReplaceFileCalls() {
    current = this;
    replace_file_calls = {write_or_fail, delete_or_fail};
}

ReplaceFileCalls::~ReplaceFileCalls() {
    replace_file_calls = {os_file_write, os_file_delete};
    current = nullptr;
}

bool run_until_kill(int steps, const std::function<void()> &part) {
    ReplaceFileCalls calls;
    calls.steps_before_kill = steps;
    part();
    return calls.is_killed;
}
