#include "os/toolkit/desktop.h"

uint8_t os_mouse_position(Point *) {
    return 0;
}

uint8_t os_send_mouse_move(Point) {
    return 0;
}

uint8_t os_send_mouse_button(SentButton, uint8_t) {
    return 0;
}

uint8_t os_send_mouse_wheel(int32_t) {
    return 0;
}

uint8_t os_send_key(uint16_t, uint8_t) {
    return 0;
}

uint32_t os_monitors(Rect *, uint32_t) {
    return 0;
}

uint8_t os_copy_window_to_clipboard(void *) {
    return 0;
}
