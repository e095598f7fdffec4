// For tests with list_keys: a list of three files, and events.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "actions/command_template.h"
#include "app/frame.h"
#include "app/frame_scope.h"
#include "app/input.h"
#include "app/list_keys.h"
#include "app/scrolling.h"
#include "support/picture.h"
#include "support/recorded_commands.h"
#include "ui/edited_field.h"

inline Field *const path = &path_field;
inline Field *const query = &query_field;

inline constexpr uint32_t selected_background = 0xFF264058;
inline constexpr Point nowhere = {-1000, -1000};
inline constexpr int32_t list_top = 50, width = 400, row_height = 15;

// Rows 0 to 3 are a.c, 4 to 13 b.c, 14 to 30 c.c; rows 0, 4 and 14 are the files' headers.
struct KeysScope : FrameScope {
    Canvas canvas;

    explicit KeysScope(int32_t height = 200) : canvas(width, height, 0xFF000000) { // of ten rows
        settings.list_keys = true;
        list_keys = {};
        scrolling = {};
        recorded_commands.clear();
        settings.left_click_cmd = str_from("L {tarn_file_name}:{tarn_row}");
        settings.right_click_cmd = str_from("R {tarn_file_name}:{tarn_row}");
        set_field(path, "C:/code");
        set_field(query, "needle");
        focus(query, {{0, 6}});
        put_file("C:/code/src", "a.c");
        put_lines(3);
        put_file("C:/code/src", "b.c");
        put_lines(9);
        put_file("C:/code", "c.c");
        put_lines(16);
        draw();
    }
    ~KeysScope() {
        list_keys = {};
        scrolling = {};
    }

    static void put_lines(uint32_t count) {
        for (uint32_t line = 1; line <= count; line++) {
            put_hit(line, "a needle");
        }
    }

    // A frame with the events since the last one, as the loop draws it.
    void draw() {
        draw_at(ui_pointer_position());
    }
    void draw_at(Point mouse) {
        frame_draw(&canvas.framebuffer, mouse);
        scratch_empty();
        input_begin_frame();
    }

    uint32_t pixel(int32_t x, int32_t y) const {
        return canvas.framebuffer.pixels[y * canvas.framebuffer.width + x];
    }
};

inline void key(uint16_t code, uint8_t state = KEY_PRESSED) {
    WindowEvent event = {};
    event.type = EVENT_KEY;
    event.key = {code, state};
    input_handle_event(&event);
}

inline void key_with(const std::vector<uint16_t> &modifiers, uint16_t code, uint8_t state = KEY_PRESSED) {
    for (uint16_t modifier : modifiers) {
        key(modifier);
    }
    key(code, state);
    for (uint16_t modifier : modifiers) {
        key(modifier, KEY_RELEASED);
    }
}

inline void move_to(Point position) {
    WindowEvent event = {};
    event.type = EVENT_MOUSE_MOVE;
    event.mouse.position = position;
    input_handle_event(&event);
}

inline void button(uint16_t which, uint8_t state, Point position) {
    WindowEvent event = {};
    event.type = EVENT_MOUSE_BUTTON;
    event.button = {which, position, state};
    input_handle_event(&event);
}

// A click in frames of its own.
inline void click(KeysScope *scope, Point position, uint16_t which = MOUSE_LEFT) {
    button(which, BUTTON_PRESSED, position);
    scope->draw();
    button(which, BUTTON_RELEASED, position);
    scope->draw();
}

// "row@first visible row", with '-' for no selection.
inline std::string state() {
    std::string row = "-";
    for (uint64_t i = 0; i < results_store.hit_table.count; i++) {
        if (list_keys_is_selected(current_search_number(), i)) {
            EXPECT_EQ(row, "-");
            row = std::to_string(i);
        }
    }
    return row + "@" + std::to_string(search_state.results_scroll);
}

// The state after a key, pressed with these modifiers.
inline std::string after(uint16_t code, const std::vector<uint16_t> &modifiers = {}) {
    key_with(modifiers, code);
    return state();
}

// The commands run since the last call, with '|' after each.
inline std::string commands() {
    std::string texts;
    for (const RecordedCommand &command : recorded_commands) {
        texts += command.text + "|";
    }
    recorded_commands.clear();
    return texts;
}

// Selects a row and scrolls, whether or not the row is then visible.
inline void select(uint64_t row, int32_t first) {
    list_keys_select(current_search_number(), row);
    search_state.results_scroll = first;
}

// Takes a request without running it, so the rows stay to be seen.
inline void begin_another_search() {
    search_state.requests_taken = search_state.requests_taken + 1;
}
