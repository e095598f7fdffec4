// Publishes how fast a second press must follow to be a double press, as a desktop does, until it is ended:
// x11_settings MILLISECONDS.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include <X11/Xlib.h>

namespace {

void append(std::string *bytes, uint32_t number, int size) {
    for (int i = 0; i < size; i++) {
        bytes->push_back(static_cast<char>(number >> 8 * i));
    }
}

} // namespace

int main(int argc, char **argv) {
    Display *display = XOpenDisplay(nullptr);
    if (argc != 2 || !display) {
        return 1;
    }
    const std::string name = "Net/DoubleClickTime"; // and a byte to make its length a multiple of 4
    std::string bytes(8, 0);
    append(&bytes, 1, 4); // one setting
    append(&bytes, 0, 2); // a number
    append(&bytes, static_cast<uint32_t>(name.size()), 2);
    bytes += name;
    bytes.append(1 + 4, 0);
    append(&bytes, static_cast<uint32_t>(strtoul(argv[1], nullptr, 10)), 4);
    Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), -1, -1, 1, 1, 0, 0, 0);
    Atom property = XInternAtom(display, "_XSETTINGS_SETTINGS", False);
    XChangeProperty(display, window, property, property, 8, PropModeReplace,
                    reinterpret_cast<const uint8_t *>(bytes.data()), static_cast<int>(bytes.size()));
    XSetSelectionOwner(display, XInternAtom(display, "_XSETTINGS_S0", False), window, CurrentTime);
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
    }
}
