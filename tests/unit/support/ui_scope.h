// The interface's state for a test.
#pragma once

#include <string>

#include "os/arrays.h"
#include "os/memory.h"
#include "ui/field_state.h"
#include "ui/input_state.h"
#include "ui/line_editor.h"

// Sets input_state and input_field up as start-up does, with no field focused, and restores what was there
// before at the end, so one may live within another.
class UiScope {
public:
    UiScope() : outer(input_state), outer_field(input_field) {
        input_state = {};
        input_field = {};
        dynarray_init(&input_field.caret_list, sizeof(Caret), 16);
    }
    ~UiScope() {
        os_free(input_state.slots);
        os_free(input_field.caret_list.data);
        input_state = outer;
        input_field = outer_field;
    }
    UiScope(const UiScope &) = delete;
    UiScope &operator=(const UiScope &) = delete;

private:
    InputState outer;
    InputField outer_field;
};

// A field of its own over that text, without saved entries.
inline Field field_over(StrBuf *text) {
    Field field = {};
    field.text = text;
    return field;
}

// The carets, {anchor,caret} each.
inline std::string carets() {
    std::string text;
    for (uint64_t i = 0; i < input_field.caret_list.count; i++) {
        text += "{" + std::to_string(field_carets()[i].anchor) + "," +
                std::to_string(field_carets()[i].caret) + "}";
    }
    return text;
}
