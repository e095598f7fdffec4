#include "os/toolkit/desktop.h"

bool os_mouse_position(Point *) {
    return false;
}

bool os_send_mouse_move(Point) {
    return false;
}

bool os_send_mouse_button(SentButton, bool) {
    return false;
}

bool os_send_mouse_wheel(int32_t) {
    return false;
}

bool os_send_key(uint16_t, bool) {
    return false;
}

uint32_t os_monitors(Rect *, uint32_t) {
    return 0;
}

bool os_copy_window_to_clipboard(void *) {
    return false;
}
