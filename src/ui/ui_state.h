// What the interface keeps from one event to the next and from one frame to the next: the keys and the mouse,
// the focused field with its carets, and the record that the drawing of a frame passes on. Interface thread
// only.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "os/rect.h"
#include "os/strings.h"
#include "os/window.h"
#include "ui/field.h"

// ---- Keys and mouse ----

// Each key has a slot numbered by its virtual-key code, each mouse button one numbered by its MouseButton,
// and what else the mouse does has a slot too.

// The virtual-key codes that mean something here.
enum KeyCode : uint16_t {
    KEY_BACKSPACE = 8,
    KEY_TAB = 9,
    KEY_ENTER = 13,
    KEY_SHIFT = 16,
    KEY_CTRL = 17,
    KEY_ALT = 18,
    KEY_ESCAPE = 27,
    KEY_END = 35,
    KEY_HOME = 36,
    KEY_LEFT = 37,
    KEY_RIGHT = 39,
    KEY_DELETE = 46,
    KEY_A = 'A',
    KEY_C = 'C',
    KEY_V = 'V',
    KEY_X = 'X',
};

enum MouseSlot : uint16_t {
    SLOT_POINTER = 0x100, // a motion is a press that carries the new position; no motion releases it
    SLOT_WHEEL = 0x101,
};

enum InputBit : uint8_t {
    INPUT_WENT_DOWN = 1,  // in this frame
    INPUT_DOWN_AGAIN = 2, // in this frame, while it was down
    INPUT_WENT_UP = 4,    // in this frame
    INPUT_IS_DOWN = 8,
};

// One key, button or other thing that the mouse does.
struct InputSlot {
    uint8_t state;           // InputBit bits
    uint32_t transitions;    // presses and releases in this frame
    int64_t press_ticks;     // os_ticks at the last press, 0 before the first
    int64_t release_ticks;   // os_ticks at the last release, 0 before the first
    Point press_position;    // on the screen, at the last press
    Point release_position;  // on the screen, at the last release
    Point previous_position; // SLOT_POINTER and SLOT_WHEEL: press_position when the frame began
};

inline constexpr uint64_t input_block_size = 32000; // bytes
inline constexpr uint16_t input_slot_count = input_block_size / sizeof(InputSlot);

// ---- The state ----

// Events that wait for the next frame: those from first to end.
struct WaitingEvents {
    WindowEvent events[1024];
    uint32_t first;
    uint32_t end;
};

struct UiState {
    // the input callback writes, through the functions below; the drawing of a frame reads
    InputSlot *slots;    // input_slot_count, from the first use on; null when memory is out: nothing is down
    int32_t wheel_steps; // turned in this frame, positive away from the user

    // the slots that changed in this frame, each once; the functions below only
    uint16_t changed[32]; // keys and buttons
    uint32_t changed_count;
    uint16_t moved[64]; // pointer and wheel
    uint32_t moved_count;
    uint8_t list_was_full; // the next frame's begin clears every slot

    WaitingEvents waiting; // the input callback only
};
extern UiState ui_state;

// Whoever moves the focus writes; the line editor changes the carets.
struct InputField {
    Field *focused_field;  // that keys go to; null: none
    DynArray caret_list;   // of Caret (line_editor.h), the focused field's; start-up reserves room for 16
    uint8_t dropdown_open; // the saved entries of the focused field are shown below it
};
extern InputField input_field;

// ---- The turn of a frame ----

// Begins a frame: what went down or up in the last one no longer did, what is down stays so.
void ui_begin_frame();

// ---- Changes ----

// slot: a key's code, a MouseButton or a MouseSlot. A key event may carry any 16-bit code: from
// input_slot_count on nothing happens, as without memory for the slots; from 0x100 on it names no key but a
// slot of the mouse. position: of the mouse on the screen.

// A first, a second or a repeated press alike. One of a slot that is down sets INPUT_DOWN_AGAIN.
void ui_press(uint16_t slot, Point position);
void ui_release(uint16_t slot, Point position);

void ui_pointer_moved(Point position);

// steps: positive away from the user.
void ui_wheel_turned(int32_t steps, Point position);

// Releases every slot that is down, as if its release had arrived: without the focus the window hears of
// none.
void ui_release_all();

// ---- Questions ----

uint8_t ui_is_down(uint16_t slot);
uint8_t ui_went_down(uint16_t slot);

// The same as ui_went_down, and nobody else in this frame gets that answer again.
uint8_t ui_consume_press(uint16_t slot);

// Where the last motion left the pointer on the screen; 0, 0 before the first one.
Point ui_pointer_position();

// ---- The layout cursor ----

// Where the drawing of a frame has come to, and what its parts tell each other. Made anew for each frame and
// handed to every part; pixels of the client area.
struct LayoutCursor {
    int32_t x;
    int32_t y;
    int32_t width;          // of a row
    int32_t row_advance;    // height of a field's row: what a field moves y by
    int32_t font_size;      // of glyphs
    int32_t line_height;    // of a row of text
    int32_t text_y_offset;  // from a row's top to its baseline
    uint8_t stop;           // an open drop-down covers the rest of the frame, which is not drawn
    uint8_t click_consumed; // a click of this frame has been acted on; not stop: the drawing goes on after it
    Point mouse;            // the pointer in the client area
};

static_assert(sizeof(InputSlot) == 48);
static_assert(uint16_t{MOUSE_RIGHT} < input_slot_count && uint16_t{SLOT_WHEEL} < uint16_t{MOUSE_LEFT});
