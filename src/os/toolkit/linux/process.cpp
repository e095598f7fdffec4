#include "os/toolkit/process.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "os/console.h"
#include "os/linux/process.h"

namespace {

int file_of(void *handle) {
    return static_cast<int>(reinterpret_cast<intptr_t>(handle));
}

void *handle_of(int file) {
    return reinterpret_cast<void *>(static_cast<intptr_t>(file));
}

// A pipe whose ends no child inherits, numbered above the standard files so that these can be replaced by
// them in a child. Returns false on failure.
bool make_pipe(void **read_end, void **write_end) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    bool is_made = true;
    for (int &end : ends) {
        if (end <= STDERR_FILENO) {
            int low = end;
            end = fcntl(low, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            close(low);
            is_made &= end >= 0;
        }
    }
    *read_end = handle_of(ends[0]);
    *write_end = handle_of(ends[1]);
    return is_made;
}

pid_t id_of(const Process *process) {
    return static_cast<pid_t>(process->process_info[0]);
}

// Reads how a child ended without reaping it, waiting for its end unless options contain WNOHANG. Returns
// false on failure.
bool look_at_child(pid_t child, int options, siginfo_t *info) {
    *info = {};
    int result;
    do {
        result = waitid(P_PID, static_cast<id_t>(child), info, WEXITED | WNOWAIT | options);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// The exit code that look_at_child found, exit_code_still_running for none yet.
uint32_t exit_code_from(const siginfo_t &info) {
    if (info.si_pid == 0) {
        return exit_code_still_running;
    }
    return static_cast<uint32_t>(info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status);
}

// Reaps an ended child.
void forget_child(pid_t child) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

ssize_t read_some(int file, char *bytes, uint64_t count) {
    ssize_t got;
    do {
        got = read(file, bytes, count);
    } while (got < 0 && errno == EINTR);
    return got;
}

} // namespace

// ---- A command with its output ----

uint32_t os_run_process(Str cmd, ProcessOutput on_output, bool show_console) {
    if (!on_output.callback) {
        return os_run_process(cmd, show_console);
    }
    Process process;
    if (os_process_start(&process, cmd, show_console) != 0) {
        return 1;
    }
    // While this side has the child's ends open, the output does not end.
    close(file_of(process.child_output));
    close(file_of(process.child_input));
    char chunk[4096];
    for (;;) {
        ssize_t count = read_some(file_of(process.output), chunk, sizeof(chunk));
        if (count <= 0) {
            break;
        }
        on_output.callback(on_output.context, {static_cast<uint64_t>(count), chunk});
    }
    siginfo_t info;
    // A child closes its output before the system knows how it ended.
    bool is_read = look_at_child(id_of(&process), 0, &info);
    forget_child(id_of(&process));
    if (!is_read) {
        os_debug_print("%i\n", 2886);
        return 1;
    }
    return exit_code_from(info); // this side's ends of the pipes intentionally stay open
}

// ---- A child to talk with ----

int32_t os_process_start(Process *process, Str cmd, bool show_console) {
    *process = {};
    // A failure intentionally leaves open what has been created by then.
    if (!make_pipe(&process->output, &process->child_output) ||
        !make_pipe(&process->child_input, &process->input)) {
        return 1;
    }
    pid_t child =
        start_command(cmd, file_of(process->child_input), file_of(process->child_output), show_console);
    if (child < 0) {
        return 1;
    }
    process->process_info[0] = static_cast<uint64_t>(child);
    return 0;
}

int64_t os_process_write(Process *process, uint32_t count, const char *data) {
    int64_t done = 0;
    while (done < count) {
        ssize_t put = write(file_of(process->input), data + done, count - static_cast<uint64_t>(done));
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put < 0) {
            return -1;
        }
        done += put;
    }
    return done;
}

int64_t os_process_read(Process *process, uint32_t max, char *buffer) {
    pollfd waiting = {file_of(process->output), POLLIN, 0};
    int count;
    do {
        count = poll(&waiting, 1, 0);
    } while (count < 0 && errno == EINTR);
    if (count < 0 || (count > 0 && !(waiting.revents & POLLIN))) {
        return -1; // no writer is left
    }
    return count == 0 ? 0 : read_some(waiting.fd, buffer, max);
}

bool os_process_is_running(const Process *process) {
    siginfo_t info;
    return look_at_child(id_of(process), WNOHANG, &info) && info.si_pid == 0;
}

bool os_process_wait_idle(const Process *) {
    return false;
}

int32_t os_process_kill(Process *process) {
    if (os_process_is_running(process)) {
        kill(id_of(process), SIGKILL);
    }
    forget_child(id_of(process));
    close(file_of(process->child_output));
    return close(file_of(process->child_input)) == 0;
}
