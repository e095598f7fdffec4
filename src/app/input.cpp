#include "app/input.h"

#include "app/saved_lists.h"
#include "search/search_state.h"
#include "ui/line_editor.h"
#include "ui/ui_state.h"

namespace {

// Hands an event to the focused field's editor, and takes the consequences of a changed text.
void edit(const WindowEvent *event) {
    StrBuf *field = ui_state.focused_field;
    uint8_t handled = 0, text_changed = 0;
    field_handle_key(field, event, &handled, &text_changed);
    if (text_changed) {
        saved_lists_update_mark(field); // cleans a path, which may get shorter
        field_clamp_carets(field);
        saved_list_write(field);
        publish_request();
    }
}

void handle_button(const ButtonPayload &button) {
    if (button.state == BUTTON_RELEASED) {
        ui_release(button.button, button.position);
    } else { // the second press of a double press is a press
        ui_press(button.button, button.position);
    }
}

void handle_key(const WindowEvent *event) {
    constexpr uint16_t first_mouse_slot = SLOT_POINTER;
    if (event->key.code < first_mouse_slot) { // any program may send any code
        if (event->key.state == KEY_RELEASED) {
            ui_release(event->key.code, ui_pointer_position());
        } else {
            ui_press(event->key.code, ui_pointer_position());
        }
    }
    if (ui_state.focused_field) {
        edit(event);
    }
}

void handle_character(const WindowEvent *event) {
    // Tab and Enter act as keys only. Escape's character is typed, and that is meant.
    if (ui_state.focused_field && event->character.unit != '\t' && event->character.unit != '\n') {
        edit(event);
    }
}

} // namespace

void input_handle_event(const WindowEvent *event) {
    switch (event->type) {
    case EVENT_MOUSE_MOVE: // entering and leaving are no moves, and that is meant
        ui_pointer_moved(event->mouse.position);
        break;
    case EVENT_MOUSE_BUTTON:
        handle_button(event->button);
        break;
    case EVENT_MOUSE_WHEEL:
        ui_wheel_turned(event->wheel.direction, event->wheel.position);
        break;
    case EVENT_KEY:
        handle_key(event);
        break;
    case EVENT_CHAR:
        handle_character(event);
        break;
    case EVENT_FOCUS:
        if (!event->focus.is_gained) {
            ui_release_all();     // the releases go to another window
            field_merge_carets(); // which Shift's would have done
        }
        break;
    default: // what else happens only redraws
        break;
    }
}
