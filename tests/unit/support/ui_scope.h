// The interface's state for a test.
#pragma once

#include <string>

#include "os/memory.h"
#include "ui/line_editor.h"
#include "ui/ui_state.h"

// Sets ui_state up as start-up does, with no field focused, and gives all of it back at the end. What there
// was before comes back then, so one may live within another.
class UiScope {
public:
    UiScope() : outer(ui_state) {
        ui_state = {};
        dynarray_init(&ui_state.caret_list, sizeof(Caret), 16);
    }
    ~UiScope() {
        os_free(ui_state.slots);
        os_free(ui_state.caret_list.data);
        ui_state = outer;
    }
    UiScope(const UiScope &) = delete;
    UiScope &operator=(const UiScope &) = delete;

private:
    UiState outer;
};

// The carets, {anchor,caret} each.
inline std::string carets() {
    std::string text;
    for (uint64_t i = 0; i < ui_state.caret_list.count; i++) {
        text += "{" + std::to_string(field_carets()[i].anchor) + "," +
                std::to_string(field_carets()[i].caret) + "}";
    }
    return text;
}
