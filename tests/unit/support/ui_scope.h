// The interface's state for a test.
#pragma once

#include <string>

#include "os/memory.h"
#include "ui/line_editor.h"
#include "ui/ui_state.h"

// Sets ui_state and ui_focus up as start-up does, with no field focused, and restores what was there
// before at the end, so one may live within another.
class UiScope {
public:
    UiScope() : outer(ui_state), outer_field(ui_focus) {
        ui_state = {};
        ui_focus = {};
        dynarray_init(&ui_focus.caret_list, sizeof(Caret), 16);
    }
    ~UiScope() {
        os_free(ui_state.slots);
        os_free(ui_focus.caret_list.data);
        ui_state = outer;
        ui_focus = outer_field;
    }
    UiScope(const UiScope &) = delete;
    UiScope &operator=(const UiScope &) = delete;

private:
    UiState outer;
    UiFocus outer_field;
};

// The carets, {anchor,caret} each.
inline std::string carets() {
    std::string text;
    for (uint64_t i = 0; i < ui_focus.caret_list.count; i++) {
        text += "{" + std::to_string(editor_carets()[i].anchor) + "," +
                std::to_string(editor_carets()[i].caret) + "}";
    }
    return text;
}
