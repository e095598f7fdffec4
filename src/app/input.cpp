#include "app/input.h"

#include <iterator>

#include "app/scratch.h"
#include "app/scrolling.h"
#include "os/files.h"
#include "os/process.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/field.h"
#include "ui/line_editor.h"
#include "ui/ui_state.h"

namespace {

// Hands an event to the focused field's editor.
void edit(Field *field, const WindowEvent *event) {
    uint8_t handled = 0, text_changed = 0;
    field_handle_key(field->text, event, &handled, &text_changed);
    if (text_changed) {
        field_changed(field);
    }
}

// Makes the first folder that goes on as the path does the path's last part.
void complete_path(Field *field) {
    Str name;
    if (!field->is_path ||
        results_folder_at(&results_store.matching_folders, 0, scratch_room(), &name) != ROW_COPIED ||
        !set_request_text_end(field->text, str_name_start(strbuf_text(field->text)), name)) {
        return;
    }
    int32_t end = field_text_end(field->text);
    field_set_single_caret(end, end);
    field_changed(field);
}

// The text that gets the focus is wholly selected. An open drop-down is the other field's from then on.
void focus_other_field(const Field *field) {
    input_field.focused_field = field == &path_field ? &query_field : &path_field;
    field_set_single_caret(0, field_text_end(input_field.focused_field->text));
}

// A button may go down where no motion led, so it takes the pointer along.
void handle_button(const ButtonPayload &button) {
    ui_pointer_moved(button.position);
    if (button.state == BUTTON_RELEASED) {
        ui_release(button.button, button.position);
    } else { // the second press of a double press is a press
        ui_press(button.button, button.position);
    }
}

void handle_key(const WindowEvent *event) {
    if (event->key.code < uint16_t{SLOT_POINTER}) { // any program may send any code; from there on: the mouse
        if (event->key.state == KEY_RELEASED) {
            ui_release(event->key.code, ui_pointer_position());
        } else {
            ui_press(event->key.code, ui_pointer_position());
        }
    }
    Field *field = input_field.focused_field;
    if (!field) {
        return;
    }
    // Fresh presses only: what is held is the editor's, which knows neither key.
    uint16_t pressed = event->key.state == KEY_PRESSED ? event->key.code : 0;
    if (pressed == KEY_ENTER) {
        complete_path(field);
    } else if (pressed == KEY_TAB) {
        focus_other_field(field);
    } else {
        edit(field, event);
    }
    if (pressed == KEY_ESCAPE) {
        os_shell_open(os_exe_folder()); // where settings.txt and the saved lists are
    }
}

void handle_character(const WindowEvent *event) {
    // Tab and Enter act as keys only. Escape's character is typed, and that is meant.
    if (input_field.focused_field && event->character.unit != '\t' && event->character.unit != '\n') {
        edit(input_field.focused_field, event);
    }
}

void handle(const WindowEvent *event) {
    switch (event->type) {
    case EVENT_MOUSE_MOVE: // entering and leaving are intentionally not moves
        ui_pointer_moved(event->mouse.position);
        break;
    case EVENT_MOUSE_BUTTON:
        handle_button(event->button);
        break;
    case EVENT_MOUSE_WHEEL:
        ui_pointer_moved(event->wheel.position);
        ui_wheel_turned(event->wheel.direction, event->wheel.position);
        results_scroll_by(event->wheel.direction, event->window->client_size.height);
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
    }
}

// ---- Events that wait for the next frame ----

// A click acts on what is there when the button goes down. It is handled while the frame is drawn, so events
// after the press wait for the next frame.

WindowEvent take_waiting() {
    WaitingEvents *waiting = &ui_state.waiting;
    WindowEvent event = waiting->events[waiting->first++];
    if (waiting->first == waiting->end) {
        waiting->first = waiting->end = 0;
    }
    return event;
}

uint8_t is_waiting() {
    return ui_state.waiting.first < ui_state.waiting.end;
}

void handle_all_waiting() {
    while (is_waiting()) {
        WindowEvent event = take_waiting();
        handle(&event);
    }
}

// Whether a button has gone down in this frame and the event must wait for the next one. Another button that
// goes down at the same place need not: the two go down together.
uint8_t follows_press(const WindowEvent *event) {
    if (!ui_went_down(MOUSE_LEFT) && !ui_went_down(MOUSE_MIDDLE) && !ui_went_down(MOUSE_RIGHT)) {
        return 0;
    }
    Point pointer = ui_pointer_position();
    const ButtonPayload &button = event->button;
    return event->type != EVENT_MOUSE_BUTTON || button.state == BUTTON_RELEASED ||
           ui_went_down(button.button) || button.position.x != pointer.x || button.position.y != pointer.y;
}

} // namespace

void input_handle_event(const WindowEvent *event) {
    uint8_t is_input = event->type <= EVENT_CHAR || event->type == EVENT_FOCUS;
    if (event->type == EVENT_WINDOW_CLOSED) {
        handle_all_waiting(); // there is no next frame, and what was typed is to be saved
    } else if (!is_input) {
        return; // only redraws
    } else if (!is_waiting() && !follows_press(event)) {
        handle(event);
    } else if (ui_state.waiting.end < std::size(ui_state.waiting.events)) {
        ui_state.waiting.events[ui_state.waiting.end++] = *event;
    } else { // too many to keep: their order matters more than what the press finds
        handle_all_waiting();
        handle(event);
    }
}

uint32_t input_begin_frame() {
    ui_begin_frame();
    uint32_t count = 0;
    while (is_waiting() && !follows_press(&ui_state.waiting.events[ui_state.waiting.first])) {
        WindowEvent event = take_waiting();
        handle(&event);
        count++;
    }
    return count;
}
