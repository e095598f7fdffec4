// Runs the program in its off-screen window, with the lists' files of a folder, and types:
//
//   typing_probe type FOLDER TEXT    appends TEXT to the query and saves it
//   typing_probe load FOLDER         prints both fields and their saved entries as start-up finds them
//   typing_probe kill COUNT SEED     types at random in a folder of its own and is killed, COUNT times
//
// With kill, one process types letters, Backspace and Tab and clicks the save button, all through the
// window's messages and the frame loop, and reports to its parent how many actions are done. The parent kills
// it after a random time and starts the program in a third process: the fields and saved entries must be
// those after the last reported action or after the next one, which was interrupted. The expected texts come
// from the same rules on plain strings. Exits with 0 when all agree, with 1 when not, with 2 for wrong
// arguments. Linux only: it forks.

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "app/frame.h"
#include "app/input.h"
#include "app/scratch.h"
#include "app/startup.h"
#include "os/arrays.h"
#include "os/clock.h"
#include "os/files.h"
#include "os/process.h"
#include "os/window.h"
#include "search/search_state.h"
#include "support/headless_window.h"
#include "ui/field_state.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"

namespace {

namespace fs = std::filesystem;

constexpr int32_t window_width = 400, window_height = 100;
constexpr int32_t query_row = 23; // pixels from one field to the next, with the default sizes

PlatformWindow *window;

Str str_over(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

std::string string_from(Str text) {
    return text.data ? std::string(text.data, text.count) : std::string();
}

// Like main, but without the worker, which is not needed here.
void start(const std::string &folder) {
    os_init();
    scratch_create();
    window = os_window_create(window_width, window_height, str_from("Tarnwick"),
                              WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
    os_window_show(window, 1);
    os_set_event_callback(input_handle_event);
    frame_clock_start(60);
    frame_clock.target_us = 1; // no waiting between frames
    startup_reserve_buffers();
    startup_load(str_over(folder), {});
    startup_focus();
    headless_focus(window);
    // The first motion only enters the window; those after it count.
    headless_move_pointer({window->client_position.x + 1, window->client_position.y + window_height - 1});
    frame_turn(window);
}

void click_save_button() {
    int32_t y = 4 + (input_field.focused_field == &query_field ? query_row : 0) + query_row / 2;
    headless_move_pointer({window->client_position.x + window_width - 6, window->client_position.y + y});
    headless_press(MOUSE_LEFT);
    frame_turn(window);
    headless_release(MOUSE_LEFT);
    frame_turn(window);
}

void press_key(uint16_t code) {
    headless_press_key(code);
    headless_release_key(code);
    frame_turn(window);
}

// ---- What has been typed ----

enum ActionKind { TYPE, BACKSPACE, TAB, SAVE };

struct Action {
    ActionKind kind;
    char letter;
};

Action random_action(std::mt19937 *random) {
    uint32_t what = static_cast<uint32_t>((*random)() % 100);
    char letter = static_cast<char>('a' + (*random)() % 26);
    return {what < 70 ? TYPE : what < 82 ? BACKSPACE : what < 88 ? TAB : SAVE, letter};
}

void act(const Action &action) {
    switch (action.kind) {
    case TYPE:
        headless_type(static_cast<uint32_t>(action.letter));
        frame_turn(window);
        break;
    case BACKSPACE:
        press_key(KEY_BACKSPACE);
        break;
    case TAB:
        press_key(KEY_TAB);
        break;
    case SAVE:
        click_save_button();
        break;
    }
}

struct PlainField {
    std::string text;
    std::vector<std::string> entries;
    bool operator==(const PlainField &) const = default;
};

struct PlainProgram {
    PlainField fields[2]; // path, query
    int focused = 1;
    bool is_selected = true; // the whole text

    void act(const Action &action) {
        PlainField &field = fields[focused];
        switch (action.kind) {
        case TYPE:
            field.text = (is_selected ? "" : field.text) + action.letter;
            is_selected = false;
            break;
        case BACKSPACE:
            if (is_selected) {
                field.text = "";
            } else if (!field.text.empty()) {
                field.text.pop_back();
            }
            is_selected = false;
            break;
        case TAB:
            focused = 1 - focused;
            is_selected = !fields[focused].text.empty();
            break;
        case SAVE:
            if (!field.text.empty() &&
                std::find(field.entries.begin(), field.entries.end(), field.text) == field.entries.end()) {
                field.entries.push_back(field.text);
            }
            break;
        }
    }
    bool holds_the_same(const PlainProgram &other) const {
        return fields[0] == other.fields[0] && fields[1] == other.fields[1];
    }
};

PlainProgram program_now() {
    PlainProgram now;
    const Field *both[2] = {&path_field, &query_field};
    for (int i = 0; i < 2; i++) {
        now.fields[i].text = string_from(strbuf_text(both[i]->text));
        const DynArray *list = &both[i]->entries;
        for (uint64_t row = 0; row < list->count; row++) {
            now.fields[i].entries.push_back(string_from(saved_entry_text(saved_entry_at(list, row))));
        }
    }
    now.is_selected = !now.fields[1].text.empty();
    return now;
}

void print(const PlainProgram &program) {
    for (const PlainField &field : program.fields) {
        printf("%s\n", field.text.c_str());
        for (const std::string &entry : field.entries) {
            printf("  %s\n", entry.c_str());
        }
    }
}

// ---- Killing ----

// Types until it is killed, and reports the number of actions after each one.
[[noreturn]] void type_until_killed(const std::string &folder, uint32_t seed, int told) {
    start(folder);
    std::mt19937 random(seed);
    for (uint32_t done = 0;; done++) {
        if (write(told, &done, sizeof(done)) != sizeof(done)) {
            _exit(3);
        }
        act(random_action(&random));
    }
}

// In a fresh process: loads the lists and exits with 0 when they are last_told, 1 when under_way, 2
// otherwise.
[[noreturn]] void compare_loaded(const std::string &folder, const PlainProgram &last_told,
                                 const PlainProgram &under_way) {
    start(folder);
    PlainProgram now = program_now();
    bool is_told = now.holds_the_same(last_told), is_next = now.holds_the_same(under_way);
    if (!is_told && !is_next) {
        printf("FOUND\n");
        print(now);
        printf("LAST TOLD\n");
        print(last_told);
        printf("UNDER WAY\n");
        print(under_way);
        fflush(stdout);
    }
    _exit(is_told ? 0 : is_next ? 1 : 2);
}

int exit_status_of(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int kill_while_typing(uint32_t count, uint32_t seed) {
    std::string folder = fs::temp_directory_path() / "tarnwick_typing_XXXXXX"; // in $TMPDIR
    if (!mkdtemp(folder.data())) {
        return 2;
    }
    folder += "/";
    fs::copy_file(string_from(os_exe_folder()) + "source_code_pro.otf", folder + "source_code_pro.otf");
    // With one saved entry from the start: without any, a text comes back as an entry (intentional).
    for (const char *file : {"saved_paths.txt", "saved_queries.txt"}) {
        FILE *out = fopen((folder + file).c_str(), "wb");
        fputs("first\r\nkept", out);
        fclose(out);
    }
    PlainProgram known;
    for (PlainField &field : known.fields) {
        field = {"first", {"kept"}};
    }
    std::mt19937 random(seed);
    uint64_t actions = 0, cut_off = 0, kept_next = 0, least = UINT64_MAX, most = 0;
    int result = 0;
    for (uint32_t i = 0; i < count && result == 0; i++) {
        uint32_t child_seed = static_cast<uint32_t>(random());
        int told[2];
        if (pipe(told) != 0) {
            return 2;
        }
        pid_t typist = fork();
        if (typist == 0) {
            close(told[0]);
            type_until_killed(folder, child_seed, told[1]);
        }
        close(told[1]);
        uint32_t done = 0;
        if (read(told[0], &done, sizeof(done)) != sizeof(done)) { // it has started
            printf("kill %u: the typing program did not start\n", i);
            result = 1;
        }
        timespec pause = {0, static_cast<long>(random() % 20000001)}; // up to 20 ms
        nanosleep(&pause, nullptr);
        kill(typist, SIGKILL);
        int status = 0;
        waitpid(typist, &status, 0);
        if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
            printf("kill %u: the typing program ended by itself\n", i);
            result = 1;
        }
        while (read(told[0], &done, sizeof(done)) == sizeof(done)) {
        }
        close(told[0]);

        // After a start the query is focused and all of it is selected.
        known.focused = 1;
        known.is_selected = !known.fields[1].text.empty();
        std::mt19937 same_random(child_seed);
        for (uint32_t action = 0; action < done; action++) {
            known.act(random_action(&same_random));
        }
        PlainProgram next = known;
        next.act(random_action(&same_random));
        cut_off += fs::exists(folder + "saved_paths.new") || fs::exists(folder + "saved_queries.new");
        pid_t loader = fork();
        if (loader == 0) {
            compare_loaded(folder, known, next);
        }
        int found = exit_status_of(loader);
        if (found == 1) {
            known = next;
            kept_next++;
        } else if (found != 0) {
            printf("kill %u, after %u actions of seed %u: something is lost\n", i, done, child_seed);
            result = 1;
        }
        actions += done;
        least = std::min<uint64_t>(least, done);
        most = std::max<uint64_t>(most, done);
    }
    printf("seed %u: %u kills after %llu actions (%llu to %llu each); %llu found a replacement under way, "
           "%llu kept the action that was\nsaved entries in the end: %zu and %zu\n",
           seed, count, static_cast<unsigned long long>(actions), static_cast<unsigned long long>(least),
           static_cast<unsigned long long>(most), static_cast<unsigned long long>(cut_off),
           static_cast<unsigned long long>(kept_next), known.fields[0].entries.size(),
           known.fields[1].entries.size());
    if (result == 0) {
        fs::remove_all(folder);
    } else {
        printf("the files are left in %s\n", folder.c_str());
    }
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 4 && strcmp(argv[1], "kill") == 0) {
        return kill_while_typing(static_cast<uint32_t>(atoi(argv[2])), static_cast<uint32_t>(atoi(argv[3])));
    }
    if (argc == 4 && strcmp(argv[1], "type") == 0) {
        start(argv[2]);
        press_key(KEY_END);
        for (const char *at = argv[3]; *at; at++) {
            act({TYPE, *at});
        }
        click_save_button();
        return 0;
    }
    if (argc == 3 && strcmp(argv[1], "load") == 0) {
        start(argv[2]);
        print(program_now());
        return 0;
    }
    fputs("usage: typing_probe type FOLDER TEXT | load FOLDER | kill COUNT SEED\n", stderr);
    return 2;
}
