// Draws real frames while the worker restarts its search as fast as it can. A row may be out of date, but
// drawing and clicks read only live memory, no command mixes two searches, and the picture after the last
// search is that of an undisturbed run.

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>
#include <random>
#include <string>

#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "app/list_keys.h"
#include "os/arrays.h"
#include "search/counted.h"
#include "search/self_checking_tree.h"
#include "search/sleepless_worker.h"
#include "support/looping_thread.h"
#include "support/picture.h"
#include "support/recorded_commands.h"

namespace {

Field *const path = &path_field;
Field *const query = &query_field;

constexpr Size client_size = {900, 400};
constexpr Point nowhere = {-1000, -1000};
constexpr uint32_t unpainted = 0xFF123456;

struct User {
    std::mt19937 random = std::mt19937(13);
    std::string root;
    PlatformWindow window = {};
    Point mouse = {};

    uint32_t below(uint32_t end) {
        return static_cast<uint32_t>(random() % end);
    }

    void send(WindowEvent *event) {
        event->window = &window;
        input_handle_event(event);
    }
    void key(uint16_t code, uint8_t state = KEY_PRESSED) {
        WindowEvent event = {};
        event.type = EVENT_KEY;
        event.key = {code, state};
        send(&event);
    }
    void type(char character) {
        WindowEvent event = {};
        event.type = EVENT_CHAR;
        event.character.unit = static_cast<uint8_t>(character);
        send(&event);
    }
    void wheel(int32_t direction) {
        WindowEvent event = {};
        event.type = EVENT_MOUSE_WHEEL;
        event.wheel = {mouse, direction};
        send(&event);
    }
    void move(Point to) {
        mouse = to;
        WindowEvent event = {};
        event.type = EVENT_MOUSE_MOVE;
        event.mouse.position = to;
        send(&event);
    }
    void button(uint16_t which, uint8_t state) {
        WindowEvent event = {};
        event.type = EVENT_MOUSE_BUTTON;
        event.button = {which, mouse, state};
        send(&event);
    }

    // Focuses the field, by Tab from the other one, with the caret at the text's end.
    void go_to(Field *field) {
        if (!input_field.focused_field) {
            input_field.focused_field = field;
        } else if (input_field.focused_field != field) {
            key(KEY_TAB);
        }
        key(KEY_END);
    }

    // The path always starts with the tree's, so that nothing else is searched.
    void edit_path() {
        go_to(path);
        if (path->text->count < root.size() || path->text->count > root.size() + 600) {
            set_field(path, root);
            FrameScope::focus(path, {{0, 0}});
            key(KEY_END);
            publish_request();
        }
        uint32_t what = below(8);
        if (path->text->count == root.size()) {
            type('/');
        } else if (what < 3) {
            key(KEY_ENTER);
        } else if (what < 5) {
            if (path->text->count > root.size() + 1) {
                key(KEY_BACKSPACE, below(2) ? KEY_PRESSED : KEY_REPEATED);
            }
        } else {
            type("/fd"[what - 5]);
        }
        if (what == 7 && below(2)) { // a search of the whole tree
            set_field(path, root);
            publish_request();
        }
    }

    void edit_query() {
        go_to(query);
        switch (below(6)) {
        case 0:
        case 1:
            key(KEY_BACKSPACE);
            break;
        case 2:
            type("nedlha+"[below(7)]);
            break;
        case 3:
            set_field(query, "\t"); // which cannot be typed
            publish_request();
            break;
        default: {
            const char *whole[] = {"needle", "hay", "e", "in"};
            set_field(query, whole[below(4)]);
            publish_request();
            break;
        }
        }
    }

    // Any key of the list with list_keys, or the mouse on its scroll bar.
    void use_list_keys() {
        go_to(query);
        switch (below(4)) {
        case 0: { // moves, and then runs a command
            const uint16_t moves[] = {KEY_DOWN, KEY_UP, KEY_PAGE_DOWN, KEY_PAGE_UP};
            key(moves[below(4)]);
            key(KEY_DOWN, KEY_REPEATED);
            key(KEY_ENTER);
            break;
        }
        case 1:
            key(KEY_CTRL);
            key(below(2) ? KEY_PAGE_DOWN : KEY_PAGE_UP);
            key(KEY_CTRL, KEY_RELEASED);
            key(KEY_DOWN);
            key(KEY_ENTER);
            break;
        default: // drags, or scrolls by pages
            move({895, 60 + static_cast<int32_t>(below(330))});
            button(MOUSE_LEFT, BUTTON_PRESSED);
            move({895, 60 + static_cast<int32_t>(below(330))});
            button(MOUSE_LEFT, BUTTON_RELEASED);
            break;
        }
    }
};

// Draws the next frame, as the program's loop does.
void draw_frame(Framebuffer *framebuffer, Point mouse) {
    search_state.results_dirty = 0;
    frame_draw(framebuffer, mouse);
}

void begin_frame() {
    scratch_empty();
    search_state.interface_pass = search_state.interface_pass + 1;
    release_retired(&search_state.retired_text);
    input_begin_frame();
}

// "line column byte_offset name": the numbers of a row, and its file's name.
bool command_fits(const std::string &command) {
    unsigned line = 0, column = 0, byte_offset = 0;
    int name_start = 0;
    if (sscanf(command.c_str(), "%u %u %u |%n", &line, &column, &byte_offset, &name_start) != 3) {
        return false;
    }
    std::string name = command.substr(static_cast<size_t>(name_start));
    return self_checking::numbers_fit(line, column, byte_offset, name.size()) &&
           self_checking::text_fits(str_over(name));
}

// A left click's command, which names one row.
bool is_of_a_row(const RecordedCommand &command) {
    return command.text.find(" |") != std::string::npos;
}

int64_t commands_of_rows() {
    return std::count_if(recorded_commands.begin(), recorded_commands.end(), is_of_a_row);
}

struct Pictures {
    Canvas top{client_size.width, client_size.height, unpainted};
    Canvas scrolled{client_size.width, client_size.height, unpainted};
    Canvas hovered{client_size.width, client_size.height, unpainted};
};

void draw_pictures(Pictures *pictures) {
    begin_frame();
    search_state.results_scroll = 0;
    frame_draw(&pictures->top.framebuffer, nowhere);
    frame_draw(&pictures->hovered.framebuffer, {300, 200});
    search_state.results_scroll = 701;
    frame_draw(&pictures->scrolled.framebuffer, nowhere);
}

bool is_same(const Canvas &a, const Canvas &b) {
    return memcmp(a.framebuffer.pixels, b.framebuffer.pixels, a.framebuffer.capacity) == 0;
}

#if defined(__SANITIZE_THREAD__)
constexpr uint32_t requests_to_take = 40, commands_to_run = 2; // each intentional race is slow there
#elif defined(_WIN32)
constexpr uint32_t requests_to_take = 100, commands_to_run = 5; // slow under Wine; Linux runs more
#else
constexpr uint32_t requests_to_take = 500, commands_to_run = 25;
#endif

} // namespace

namespace {

void restart_searches_under_frames(bool with_list_keys) {
    TestTree tree;
    self_checking::fill(tree);
    FrameScope scope;
    settings.list_keys = with_list_keys;
    list_keys = {};
    for (DynArray *table : {&results_store.file_table, &results_store.hit_table,
                            &results_store.matching_folders, &results_store.other_folders}) {
        table->capacity = 1; // so that they grow while they are read
    }
    std::string left = "{tarn_row} {tarn_column} {tarn_byte} |{tarn_file_name}", right = "{tarn_file_folder}";
    settings.left_click_cmd = str_over(left);
    settings.right_click_cmd = str_over(right);
    recorded_commands.clear();
    User user;
    user.root = tree.path();
    user.window.client_size = client_size;
    set_field(path, user.root);
    set_field(query, "needle");
    set_entries(path, {tree.path(), tree.path(self_checking::folder_name(1))});
    publish_request();

    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    LoopingThread worker(turn_without_sleep);

    Canvas canvas(client_size.width, client_size.height, unpainted);
    uint32_t first = search_state.requests_taken;
    while (search_state.requests_taken - first < requests_to_take || commands_of_rows() < commands_to_run) {
        begin_frame();
        switch (user.below(with_list_keys ? 12 : 8)) {
        case 0:
        case 1:
            user.edit_path();
            break;
        case 2:
        case 3:
            user.edit_query();
            break;
        case 4:
            user.wheel(user.below(3) ? -1 : 1);
            break;
        case 5: { // below the fields
            user.move({static_cast<int32_t>(user.below(880)), 60 + static_cast<int32_t>(user.below(330))});
            uint16_t which = user.below(2) ? MOUSE_LEFT : MOUSE_RIGHT;
            user.button(which, BUTTON_PRESSED);
            user.button(which, BUTTON_RELEASED);
            break;
        }
        case 6: // a right click on the path opens its drop-down, and a click picks an entry
            if (user.below(8) == 0) {
                user.move({300, 10});
                user.button(MOUSE_RIGHT, BUTTON_PRESSED);
                user.button(MOUSE_RIGHT, BUTTON_RELEASED);
                draw_frame(&canvas.framebuffer, user.mouse);
                begin_frame();
                user.move({300, 40});
                user.button(MOUSE_LEFT, BUTTON_PRESSED);
                user.button(MOUSE_LEFT, BUTTON_RELEASED);
            }
            break;
        case 8:
        case 9:
        case 10:
        case 11:
            user.use_list_keys();
            break;
        default:
            user.move({static_cast<int32_t>(user.below(900)), static_cast<int32_t>(user.below(400))});
            break;
        }
        draw_frame(&canvas.framebuffer, user.mouse);
        if (user.below(16) == 0) { // lets the worker make progress
            os_sleep_ms(user.below(3));
        }
    }

    input_field.focused_field = nullptr;
    input_field.dropdown_open = false;
    begin_frame();
    set_field(path, user.root);
    set_field(query, "needle");
    publish_request();
    wait_for_the_last_request();
    worker.stop();
    EXPECT_EQ(sort_file_groups(stored_rows(tree.path())), self_checking::needle_rows());
    EXPECT_GT(results_store.hit_table.capacity, 2u);
    Pictures after_the_storm;
    draw_pictures(&after_the_storm);

    for (const RecordedCommand &command : recorded_commands) {
        EXPECT_TRUE(!is_of_a_row(command) || command_fits(command.text)) << command.text;
    }
    recorded_commands.clear();

    publish_request();
    ASSERT_TRUE(search_worker_turn());
    Pictures quiet;
    draw_pictures(&quiet);
    EXPECT_TRUE(is_same(after_the_storm.top, quiet.top));
    EXPECT_TRUE(is_same(after_the_storm.scrolled, quiet.scrolled));
    EXPECT_TRUE(is_same(after_the_storm.hovered, quiet.hovered));
    EXPECT_FALSE(is_same(quiet.top, quiet.scrolled));
    EXPECT_FALSE(is_same(quiet.top, quiet.hovered));

    search_state.worker_pass = search_state.worker_pass + 2;
    search_state.interface_pass = search_state.interface_pass + 2;
    release_retired(&search_state.retired_text);
    release_retired(&results_store.retired);
    EXPECT_EQ(search_state.retired_text.first, nullptr);
    EXPECT_EQ(results_store.retired.first, nullptr);
    search_state.worker_pass = 0;
}

TEST(FramesWhileSearching, CountsAreOfOneSearch) {
    TestTree tree;
    self_checking::fill(tree);
    FrameScope scope;
    CountsScope counts_scope;
    settings.status_line = true;
    set_field(path, tree.path());
    const char *const queries[] = {"needle", "no such text"};
    SearchCounts expected[2];
    for (int i = 0; i < 2; i++) {
        set_field(query, queries[i]);
        publish_request();
        ASSERT_TRUE(search_worker_turn());
        expected[i] = search_counts_now();
        EXPECT_EQ(expected[i].outcome, SEARCH_FINISHED);
    }
    EXPECT_NE(expected[0].hits, expected[1].hits);
    const auto is_of = [](const SearchCounts &counts, const SearchCounts &search) {
        return counts.files == search.files && counts.files_with_hits == search.files_with_hits &&
               counts.hits == search.hits;
    };

    search_state.interface_pass = 1;
    search_state.worker_pass = 1;
    LoopingThread worker(turn_without_sleep);
    Canvas canvas(client_size.width, client_size.height, unpainted);
    std::mt19937 random(15);
    size_t which = 0;
    for (uint32_t finished = 0; finished < requests_to_take / 8;) {
        begin_frame();
        which = random() % 2;
        set_field(query, queries[which]);
        publish_request();
        for (uint64_t copies = random() % 8 ? UINT64_MAX : random() % 1000; copies > 0; copies--) {
            SearchCounts counts = search_counts_now();
            if (counts.outcome == SEARCH_FINISHED) {
                EXPECT_TRUE(is_of(counts, expected[0]) || is_of(counts, expected[1])) << counted();
                finished++;
                break;
            }
            EXPECT_LE(counts.hits, expected[0].hits);
        }
        draw_frame(&canvas.framebuffer, nowhere);
    }
    wait_for_the_last_request();
    worker.stop();
    EXPECT_TRUE(is_of(search_counts_now(), expected[which])) << counted();
    search_state.worker_pass = search_state.worker_pass + 2;
    search_state.interface_pass = search_state.interface_pass + 2;
    release_retired(&search_state.retired_text);
    release_retired(&results_store.retired);
    search_state.worker_pass = 0;
}
} // namespace

TEST(FramesWhileSearching, StayInLiveMemoryAndEndWithTheLastRequestsPicture) {
    restart_searches_under_frames(false);
}

TEST(FramesWhileSearching, WithListKeysNoKeyMixesTwoSearches) {
    restart_searches_under_frames(true);
}
