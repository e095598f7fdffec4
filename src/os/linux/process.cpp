#include "os/process.h"

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "os/errors.h"
#include "os/files.h"
#include "os/linux/process.h"
#include "os/memory.h"

// ---- Command lines ----

namespace {

bool is_space_or_tab(char byte) {
    return byte == ' ' || byte == '\t';
}

// The first word names the program: up to the next double quote when it starts with one, else up to a space
// or tab; backslashes have no special meaning in it. Returns where the arguments start.
const char *split_program(const char *at, const char *end, char **out) {
    bool is_quoted = at < end && *at == '"';
    at += is_quoted;
    while (at < end && (is_quoted ? *at != '"' : !is_space_or_tab(*at))) {
        *(*out)++ = *at++;
    }
    return is_quoted && at < end ? at + 1 : at;
}

// Parses an argument as the C run-time on Windows does: spaces and tabs in double quotes belong to it, two
// quotes there become one, and backslashes are special only before a quote, where two become one and a single
// one makes the quote literal. Returns where it ends.
const char *split_argument(const char *at, const char *end, char **out) {
    bool is_quoted = false;
    while (at < end && (is_quoted || !is_space_or_tab(*at))) {
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

// A command line's words and a terminating null, in one block with their bytes, owned by the caller; null,
// with errno set, if there is no program or when out of memory.
char **split_command(Str cmd) {
    const char *at = cmd.data;
    const char *end = at + (cmd.count > 0 ? strnlen(cmd.data, cmd.count) : 0);
    while (at < end && is_space_or_tab(*at)) {
        at++;
    }
    if (at == end) {
        errno = ENOENT;
        return nullptr;
    }
    uint64_t length = static_cast<uint64_t>(end - at);
    uint64_t most_words = length / 2 + 2; // one separator each, except after a quoted program
    uint64_t list_size = (most_words + 1) * sizeof(char *);
    char **words = static_cast<char **>(os_alloc(list_size + length + most_words));
    if (!words) {
        errno = ENOMEM;
        return nullptr;
    }
    char *out = reinterpret_cast<char *>(words) + list_size;
    uint64_t count = 0;
    words[count++] = out;
    at = split_program(at, end, &out);
    *out++ = 0;
    for (;;) {
        while (at < end && is_space_or_tab(*at)) {
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

// posix_spawnp from an intermediate process that exits at once, so that init reaps the program. Returns 0 or
// an error code.
int spawn_orphan(char *const *words, const posix_spawn_file_actions_t *files,
                 const posix_spawnattr_t *attributes) {
    pid_t starter = fork();
    if (starter == 0) {
        pid_t program;
        _exit(posix_spawnp(&program, words[0], files, attributes, words, environ)); // codes fit a byte
    }
    if (starter < 0) {
        return errno;
    }
    int status = 0;
    while (waitpid(starter, &status, 0) < 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD;
}

// Starts a program with these standard files; -1 keeps this process's own. The program inherits no other
// file. Sets child to its id; if child is null, this process never has to reap it. Returns 0 or an error
// code.
int spawn(char *const *words, int input, int output, bool show_console, pid_t *child) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    int error = posix_spawn_file_actions_init(&files);
    if (error != 0) {
        return error;
    }
    error = posix_spawnattr_init(&attributes);
    if (error != 0) {
        posix_spawn_file_actions_destroy(&files);
        return error;
    }
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
        error |= posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID); // detached from the terminal
    }
    if (error == 0) {
        error = child ? posix_spawnp(child, words[0], &files, &attributes, words, environ)
                      : spawn_orphan(words, &files, &attributes);
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error;
}

} // namespace

pid_t start_command(Str cmd, int input, int output, bool show_console) {
    pid_t child = -1;
    char **words = split_command(cmd);
    if (words && spawn(words, input, output, show_console, &child) != 0) {
        child = -1;
    }
    os_free(words);
    return child;
}

// ---- One command ----

uint32_t os_run_process(Str cmd, bool show_console) {
    char **words = split_command(cmd);
    int error = words ? spawn(words, -1, -1, show_console, nullptr) : errno;
    os_free(words);
    os_start_error = static_cast<uint32_t>(error);
    return error == 0 ? exit_code_still_running : 1;
}

// ---- Desktop ----

int32_t os_shell_open(Str path) {
    char *name = os_path_exists(path) ? str_copy(path).data : nullptr;
    if (!name) {
        return 1;
    }
    char program[] = "xdg-open";
    char *words[] = {program, name, nullptr};
    int error = spawn(words, -1, -1, false, nullptr);
    os_free(name);
    return error == 0 ? 0 : 1;
}
