#include "app/input.h"

#include <iterator>

#include "app/list_keys.h"
#include "app/scratch.h"
#include "app/scrolling.h"
#include "app/settings.h"
#include "os/files.h"
#include "os/paths.h"
#include "os/process.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/field_state.h"
#include "ui/input_state.h"
#include "ui/line_editor.h"

namespace {

// Hands an event to the focused field's line editor.
void edit(Field *field, const WindowEvent *event) {
    bool handled = false, text_changed = false;
    field_handle_key(field, event, &handled, &text_changed);
    if (text_changed) {
        field_changed(field);
    }
}

// Replaces the last part of the path by the first matching folder.
void complete_path(Field *field) {
    if (!field->is_path) {
        return;
    }
    FolderRow folder = results_completion(scratch_room());
    uint64_t name_start = str_name_start(strbuf_text(field->text));
    if (folder.copy != ROW_COPIED || !set_request_text_end(field->text, name_start, folder.name)) {
        return;
    }
    int32_t end = field_text_end(field);
    field_set_single_caret(end, end);
    field_changed(field);
}

// Selects the other field's whole text. An open drop-down stays open and becomes the other field's.
void focus_other_field(const Field *field) {
    input_field.focused_field = field->is_path ? &query_field : &path_field;
    field_set_single_caret(0, field_text_end(input_field.focused_field));
}

// A press may come without a motion to its position, so it moves the pointer too.
void handle_button(const ButtonPayload &button) {
    ui_pointer_moved(button.position);
    if (button.state == BUTTON_RELEASED) {
        ui_release(button.button, button.position);
    } else { // a double press is a press too
        ui_press(button.button, button.position);
    }
}

void handle_key(const WindowEvent *event) {
    // Any program may send any code, and the slots from SLOT_POINTER up are the mouse's.
    if (event->key.code < uint16_t{SLOT_POINTER}) {
        if (event->key.state == KEY_RELEASED) {
            ui_release(event->key.code, ui_pointer_position());
        } else {
            ui_press(event->key.code, ui_pointer_position());
        }
    }
    if (settings.list_keys && list_keys_handle(event->key)) {
        return;
    }
    Field *field = input_field.focused_field;
    if (!field) {
        return;
    }
    // Fresh presses only: a repeated Enter or Tab goes to the editor, which ignores it.
    uint16_t pressed = event->key.state == KEY_PRESSED ? event->key.code : 0;
    if (pressed == KEY_ENTER) {
        complete_path(field);
    } else if (pressed == KEY_TAB) {
        focus_other_field(field);
    } else {
        edit(field, event);
    }
    if (pressed == KEY_ESCAPE) {
        os_shell_open(os_exe_folder()); // it holds settings.txt and the saved lists
    }
}

void handle_character(const WindowEvent *event) {
    // Tab and Enter act as keys only. Escape's character is intentionally typed.
    if (input_field.focused_field && event->character.unit != '\t' && event->character.unit != '\n') {
        edit(input_field.focused_field, event);
    }
}

void handle(const WindowEvent *event) {
    switch (event->type) {
    case EVENT_MOUSE_MOVE: // intentionally not on entering or leaving
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
            field_merge_carets(); // as Shift's release does
        }
        break;
    }
}

// ---- Events that wait for the next frame ----

// A click acts on what is under the pointer when the button goes down, and is handled while the frame is
// drawn. So events after the press wait for the next frame.

WindowEvent take_waiting() {
    WaitingEvents *waiting = &input_state.waiting;
    WindowEvent event = waiting->events[waiting->first++];
    if (waiting->first == waiting->end) {
        waiting->first = waiting->end = 0;
    }
    return event;
}

bool is_waiting() {
    return input_state.waiting.first < input_state.waiting.end;
}

void handle_all_waiting() {
    while (is_waiting()) {
        WindowEvent event = take_waiting();
        handle(&event);
    }
}

// Whether a button has gone down in this frame, so that the event has to wait for the next one. Another
// button pressed at the same place does not: the two go down together.
bool follows_press(const WindowEvent *event) {
    if (!ui_went_down(MOUSE_LEFT) && !ui_went_down(MOUSE_MIDDLE) && !ui_went_down(MOUSE_RIGHT)) {
        return false;
    }
    Point pointer = ui_pointer_position();
    const ButtonPayload &button = event->button;
    return event->type != EVENT_MOUSE_BUTTON || button.state == BUTTON_RELEASED ||
           ui_went_down(button.button) || button.position.x != pointer.x || button.position.y != pointer.y;
}

} // namespace

void input_handle_event(const WindowEvent *event) {
    bool is_input = event->type <= EVENT_CHAR || event->type == EVENT_FOCUS;
    if (event->type == EVENT_WINDOW_CLOSED) {
        handle_all_waiting(); // there is no next frame, and typed text has to be saved
    } else if (!is_input) {
        return; // the frame is redrawn, nothing else
    } else if (!is_waiting() && !follows_press(event)) {
        handle(event);
    } else if (input_state.waiting.end < std::size(input_state.waiting.events)) {
        input_state.waiting.events[input_state.waiting.end++] = *event;
    } else { // no room to keep it: the order of events matters more than what the press acts on
        handle_all_waiting();
        handle(event);
    }
}

uint32_t input_begin_frame() {
    ui_begin_frame();
    uint32_t count = 0;
    while (is_waiting() && !follows_press(&input_state.waiting.events[input_state.waiting.first])) {
        WindowEvent event = take_waiting();
        handle(&event);
        count++;
    }
    return count;
}
