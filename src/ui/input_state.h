// The keys and the mouse: what is down, and what has changed in this frame. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/rect.h"
#include "os/window.h"

// ---- Slots ----

// There is a slot for each key, numbered by its virtual-key code, for each mouse button, numbered by its
// MouseButton, and for each MouseSlot.

enum MouseSlot : uint16_t {
    SLOT_POINTER = 0x100, // a motion is a press at the new position; only losing the focus releases it
    SLOT_WHEEL = 0x101,
};

enum InputBit : uint8_t {
    INPUT_WENT_DOWN = 1,  // in this frame
    INPUT_DOWN_AGAIN = 2, // in this frame, while it was down
    INPUT_WENT_UP = 4,    // in this frame
    INPUT_IS_DOWN = 8,
};

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

struct InputState {
    // the input callback writes, through the functions below; the drawing of a frame reads
    InputSlot *slots;    // input_slot_count, made on first use; null when out of memory: nothing is down
    int32_t wheel_steps; // turned in this frame, positive away from the user

    // the slots that changed in this frame, each once; used by the functions below only
    uint16_t changed[32]; // keys and buttons
    uint32_t changed_count;
    uint16_t moved[64]; // pointer and wheel
    uint32_t moved_count;
    bool list_was_full; // ui_begin_frame then clears every slot

    WaitingEvents waiting; // used by the input callback only
};
extern InputState input_state;

// ---- Frames ----

// Begins a frame: clears each slot's transitions and all its bits but INPUT_IS_DOWN.
void ui_begin_frame();

// ---- Changes ----

// slot: a key's code below 0x100, a MouseButton or a MouseSlot; nothing happens from input_slot_count on, or
// without memory for the slots. position: of the mouse on the screen.

// A press, double press or repeat. When the slot is down already, it sets INPUT_DOWN_AGAIN.
void ui_press(uint16_t slot, Point position);
void ui_release(uint16_t slot, Point position);

void ui_pointer_moved(Point position);

// steps: positive away from the user.
void ui_wheel_turned(int32_t steps, Point position);

// Releases every slot that is down: a window without the focus receives no releases.
void ui_release_all();

// ---- Questions ----

bool ui_is_down(uint16_t slot);
bool ui_went_down(uint16_t slot);

// The same as ui_went_down, and clears INPUT_WENT_DOWN: nothing else in this frame acts on that press.
bool ui_consume_press(uint16_t slot);

// Where the last motion left the pointer on the screen; 0, 0 before the first one.
Point ui_pointer_position();

static_assert(sizeof(InputSlot) == 48);
static_assert(uint16_t{MOUSE_RIGHT} < input_slot_count && uint16_t{SLOT_WHEEL} < uint16_t{MOUSE_LEFT});
