#include "os/linux/drop.h"

void drop_accept(PlatformWindow *) {}

bool drop_handle_event(const XEvent &, PlatformWindow *) {
    return false;
}
