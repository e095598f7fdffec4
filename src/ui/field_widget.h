// One of the two fields, drawn and acted on in one call: its label, text, carets, completion, save button
// and, on demand, the list of its saved entries below it. Interface thread only.
#pragma once

#include <stdint.h>

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/strings.h"
#include "ui/field.h"
#include "ui/ui_state.h"

inline constexpr uint32_t frame_colour = 0xFF1A1A1A; // what a frame is cleared to

// Draws the field at the layout cursor, does what the mouse asks of it, and moves the cursor below it, and
// below its list when that is shown; the list sets the cursor's stop flag. What a click changes is seen in
// the next frame, which a left click asks for and a right button's release brings; a path that its own save
// button cleaned is shown clean at once.
void field_widget(Framebuffer *framebuffer, Str label, Field *field, LayoutCursor *cursor);

// Draws a button, filled by its state, and returns whether it has been pressed in this frame; that press is
// then nobody else's.
uint8_t toggle_button(Framebuffer *framebuffer, Rect rect, uint8_t state, const LayoutCursor *cursor);
