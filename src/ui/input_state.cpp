#include "ui/input_state.h"

#include <iterator>

#include "os/clock.h"
#include "os/memory.h"

InputState input_state;

namespace {

bool reserve_slots() {
    if (!input_state.slots) {
        input_state.slots = static_cast<InputSlot *>(os_alloc_zero(input_block_size));
    }
    return input_state.slots != nullptr;
}

bool is_moving(uint16_t slot) {
    return slot == SLOT_POINTER || slot == SLOT_WHEEL;
}

// Appends a slot to one of the lists of changed slots.
void note_change(uint16_t *list, uint32_t *count, uint64_t room, uint16_t slot) {
    if (*count < room) {
        list[(*count)++] = slot;
    } else {
        input_state.list_was_full = true;
    }
}

// Counts a change of the slot and returns it; null when there is no such slot.
InputSlot *change_slot(uint16_t slot) {
    if (slot >= input_slot_count || !reserve_slots()) {
        return nullptr;
    }
    InputSlot *changed = &input_state.slots[slot];
    if (changed->transitions == 0) {
        if (is_moving(slot)) {
            note_change(input_state.moved, &input_state.moved_count, std::size(input_state.moved), slot);
        } else {
            note_change(input_state.changed, &input_state.changed_count, std::size(input_state.changed),
                        slot);
        }
    }
    changed->transitions++;
    return changed;
}

void begin_slot(uint16_t slot) {
    InputSlot *begun = &input_state.slots[slot];
    begun->state &= INPUT_IS_DOWN;
    begun->transitions = 0;
    if (is_moving(slot)) {
        begun->previous_position = begun->press_position;
    }
}

bool has_bit(uint16_t slot, InputBit bit) {
    return slot < input_slot_count && input_state.slots && (input_state.slots[slot].state & bit) != 0;
}

} // namespace

// ---- Frames ----

void ui_begin_frame() {
    input_state.wheel_steps = 0;
    if (!reserve_slots()) {
        return;
    }
    for (uint16_t slot = 0; input_state.list_was_full && slot < input_slot_count; slot++) {
        begin_slot(slot);
    }
    for (uint32_t i = 0; i < input_state.changed_count; i++) {
        begin_slot(input_state.changed[i]);
    }
    for (uint32_t i = 0; i < input_state.moved_count; i++) {
        begin_slot(input_state.moved[i]);
    }
    input_state.changed_count = 0;
    input_state.moved_count = 0;
    input_state.list_was_full = false;
}

// ---- Changes ----

void ui_press(uint16_t slot, Point position) {
    InputSlot *pressed = change_slot(slot);
    if (!pressed) {
        return;
    }
    uint8_t how = pressed->state & INPUT_IS_DOWN ? INPUT_DOWN_AGAIN : INPUT_WENT_DOWN;
    pressed->state = static_cast<uint8_t>(pressed->state | how | INPUT_IS_DOWN);
    pressed->press_position = position;
    pressed->press_ticks = os_ticks();
}

void ui_release(uint16_t slot, Point position) {
    InputSlot *released = change_slot(slot);
    if (!released) {
        return;
    }
    released->state = static_cast<uint8_t>((released->state & ~INPUT_IS_DOWN) | INPUT_WENT_UP);
    released->release_position = position;
    released->release_ticks = os_ticks();
}

void ui_pointer_moved(Point position) {
    ui_press(SLOT_POINTER, position);
}

void ui_wheel_turned(int32_t steps, Point position) {
    ui_press(SLOT_WHEEL, position);
    input_state.wheel_steps += steps;
}

void ui_release_all() {
    for (uint16_t slot = 0; slot < input_slot_count; slot++) {
        if (ui_is_down(slot)) {
            ui_release(slot, ui_pointer_position());
        }
    }
}

// ---- Questions ----

bool ui_is_down(uint16_t slot) {
    return has_bit(slot, INPUT_IS_DOWN);
}

bool ui_went_down(uint16_t slot) {
    return has_bit(slot, INPUT_WENT_DOWN);
}

bool ui_consume_press(uint16_t slot) {
    if (!ui_went_down(slot)) {
        return false;
    }
    input_state.slots[slot].state &= static_cast<uint8_t>(~INPUT_WENT_DOWN);
    return true;
}

Point ui_pointer_position() {
    return input_state.slots ? input_state.slots[SLOT_POINTER].press_position : Point{};
}
