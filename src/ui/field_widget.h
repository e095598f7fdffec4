// Draws one of the two fields and handles the mouse on it, in one call: label, text, carets, completion, save
// button and, on demand, the drop-down of its saved entries. Interface thread only.
#pragma once

#include "os/framebuffer.h"
#include "os/rect.h"
#include "os/strings.h"
#include "ui/field_state.h"
#include "ui/layout.h"

// Draws the field at the layout's place, handles the mouse on it, and moves the layout below it, and below
// its list when that is shown; the list sets the layout's stop flag. A click shows its effect in the next
// frame, which a left click requests and the right button's release causes; only a path that its own save
// button cleans changes at once.
void field_widget(Framebuffer *framebuffer, Str label, Field *field, Layout *layout);

// Whether the focused field's saved entries are shown below it.
bool dropdown_is_shown();

// Draws a button in the colour of its state. Returns whether it has been pressed in this frame, and consumes
// that press.
bool toggle_button(Framebuffer *framebuffer, Rect rect, bool is_on, const Layout *layout);
