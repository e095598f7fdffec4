#include "os/process.h"

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <string.h>
#include <unistd.h>

#include "os/files.h"
#include "os/linux/process.h"
#include "os/memory.h"

// ---- Command lines ----

namespace {

bool is_blank(char byte) {
    return byte == ' ' || byte == '\t';
}

// The first word names the program: up to the next double quote when it starts with one, else up to a space
// or tab; backslashes are not special in it. Returns where the arguments start.
const char *split_program(const char *at, const char *end, char **out) {
    bool is_quoted = at < end && *at == '"';
    at += is_quoted;
    while (at < end && (is_quoted ? *at != '"' : !is_blank(*at))) {
        *(*out)++ = *at++;
    }
    return is_quoted && at < end ? at + 1 : at;
}

// An argument, as the C run-time on Windows reads it: spaces and tabs between double quotes belong to it, two
// quotes there become one, and backslashes are special only before a quote, where two become one and a single
// one makes the quote literal. Returns where it ends.
const char *split_argument(const char *at, const char *end, char **out) {
    bool is_quoted = false;
    while (at < end && (is_quoted || !is_blank(*at))) {
        uint64_t backslashes = 0;
        while (at < end && *at == '\\') {
            backslashes++;
            at++;
        }
        bool is_before_quote = at < end && *at == '"';
        uint64_t kept = is_before_quote ? backslashes / 2 : backslashes;
        memset(*out, '\\', kept);
        *out += kept;
        if (!is_before_quote) {
            if (backslashes == 0) {
                *(*out)++ = *at++;
            }
        } else if (backslashes % 2 == 1) {
            *(*out)++ = *at++;
        } else if (is_quoted && end - at > 1 && at[1] == '"') {
            *(*out)++ = '"';
            at += 2;
        } else {
            is_quoted = !is_quoted;
            at++;
        }
    }
    return at;
}

// A command line's words with a null after the last one, in one block with their bytes that the caller owns;
// null without a program or when out of memory.
char **split_command(Str cmd) {
    const char *at = cmd.data;
    const char *end = at + (cmd.count > 0 ? strnlen(cmd.data, cmd.count) : 0);
    while (at < end && is_blank(*at)) {
        at++;
    }
    if (at == end) {
        return nullptr;
    }
    uint64_t length = static_cast<uint64_t>(end - at);
    uint64_t most_words = length / 2 + 2; // one between two, though none is needed after a quoted program
    uint64_t list_size = (most_words + 1) * sizeof(char *);
    char **words = static_cast<char **>(os_alloc(list_size + length + most_words));
    if (!words) {
        return nullptr;
    }
    char *out = reinterpret_cast<char *>(words) + list_size;
    uint64_t count = 0;
    words[count++] = out;
    at = split_program(at, end, &out);
    *out++ = 0;
    for (;;) {
        while (at < end && is_blank(*at)) {
            at++;
        }
        if (at == end) {
            break;
        }
        words[count++] = out;
        at = split_argument(at, end, &out);
        *out++ = 0;
    }
    words[count] = nullptr;
    return words;
}

} // namespace

// ---- Children ----

namespace {

// Starts a program with these standard files; -1 for one leaves this process's own. The child inherits no
// other file. Returns its id, or -1.
pid_t spawn(char *const *words, int input, int output, uint8_t show_console) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&files) != 0) {
        return -1;
    }
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&files);
        return -1;
    }
    int error = 0;
    if (input >= 0) {
        error |= posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
        error |= posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
        error |= posix_spawn_file_actions_adddup2(&files, output, STDERR_FILENO);
    } else if (!show_console) {
        error |= posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        error |= posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        error |= posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    error |= posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    if (!show_console) {
        error |= posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID); // away from the terminal
    }
    pid_t child = -1;
    if (error != 0 || posix_spawnp(&child, words[0], &files, &attributes, words, environ) != 0) {
        child = -1;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return child;
}

} // namespace

pid_t start_command(Str cmd, int input, int output, uint8_t show_console) {
    char **words = split_command(cmd);
    pid_t child = words ? spawn(words, input, output, show_console) : -1;
    os_free(words);
    return child;
}

bool look_at_child(pid_t child, int options, siginfo_t *info) {
    *info = {};
    int result;
    do {
        result = waitid(P_PID, static_cast<id_t>(child), info, WEXITED | WNOWAIT | options);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

uint32_t exit_code_from(const siginfo_t &info) {
    if (info.si_pid == 0) {
        return exit_code_still_running;
    }
    return static_cast<uint32_t>(info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status);
}

// ---- One command ----

uint32_t os_run_process(Str cmd, uint8_t show_console) {
    siginfo_t info;
    pid_t child = start_command(cmd, -1, -1, show_console);
    // The child is intentionally never reaped.
    return child > 0 && look_at_child(child, WNOHANG, &info) ? exit_code_from(info) : 1;
}

// ---- Desktop ----

int32_t os_shell_open(Str path) {
    char *name = os_path_exists(path) ? static_cast<char *>(os_alloc(path.count + 1)) : nullptr;
    if (!name) {
        return 1;
    }
    memcpy(name, path.data, path.count);
    name[path.count] = 0;
    char program[] = "xdg-open";
    char *words[] = {program, name, nullptr};
    pid_t child = spawn(words, -1, -1, 0); // never reaped, as in os_run_process
    os_free(name);
    return child > 0 ? 0 : 1;
}
