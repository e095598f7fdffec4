// A text for the line editor's tests, and the clipboard as another program sees it.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "os/arrays.h"
#include "os/clipboard.h"
#include "support/system_clipboard.h"
#include "support/test_tree.h"
#include "support/ui_scope.h"
#include "ui/line_editor.h"

// What field_handle_key reports: handled, and 2 for a changed text.
inline constexpr int NOTHING = 0;
inline constexpr int REDRAW = 1;
inline constexpr int SEARCH = 3;

// A focused field. Its state is written as the text, then each caret as {anchor,caret}.
struct Editor {
    UiScope scope;
    StrBuf text = {};
    Field field = field_over(&text);

    Editor(const std::string &content, std::initializer_list<Caret> carets, uint64_t capacity = 16) {
        ui_begin_frame();
        strbuf_init(&text, capacity);
        strbuf_append(&text, content.size(), content.data());
        for (const Caret &caret : carets) {
            dynarray_push(&input_field.caret_list, sizeof(caret), &caret);
        }
    }
    ~Editor() {
        os_free(text.data);
    }
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    std::string state() const {
        std::string state = to_string(strbuf_text(&text));
        EXPECT_TRUE(!text.data || text.data[text.count] == 0) << "no terminator";
        EXPECT_LE(text.count, text.capacity);
        for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
            const Caret &caret = field_carets()[i];
            state += " {" + std::to_string(caret.anchor) + "," + std::to_string(caret.caret) + "}";
            for (int32_t offset : {caret.anchor, caret.caret}) {
                EXPECT_TRUE(offset >= 0 && static_cast<uint64_t>(offset) <= text.count);
            }
        }
        return state;
    }

    void hold(uint16_t key) {
        ui_press(key, {0, 0});
    }
    void let_go(uint16_t key) {
        ui_release(key, {0, 0});
    }

    int handle(const WindowEvent &event) {
        bool handled = true, text_changed = true;
        field_handle_key(&field, &event, &handled, &text_changed);
        return handled + 2 * text_changed;
    }

    int key(uint16_t code, uint8_t key_state = KEY_PRESSED) {
        WindowEvent event = {};
        event.type = EVENT_KEY;
        event.key = {code, key_state};
        return handle(event);
    }

    int key_with(const std::vector<uint16_t> &modifiers, uint16_t code) {
        for (uint16_t modifier : modifiers) {
            hold(modifier);
        }
        int report = key(code);
        for (uint16_t modifier : modifiers) {
            let_go(modifier);
        }
        return report;
    }

    int type(uint32_t code) {
        WindowEvent event = {};
        event.type = EVENT_CHAR;
        event.character = {code};
        return handle(event);
    }
};

inline void copy_from_elsewhere(const std::string &text) {
    hold_clipboard();
    EXPECT_EQ(os_clipboard_set_text(str_over(text)), 0);
}

inline std::string clipboard_text() {
    hold_clipboard();
    Str text = os_clipboard_get_text();
    std::string copy = text.data ? to_string(text) : "(none)";
    os_free(text.data);
    return copy;
}
