// Drags files onto a window as a file manager would: x11_drop_files CLASS X Y NAME... drops them at X, Y in
// the client area of the first window of that class. Exits with 1 when there is none or it does not take
// them.
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <X11/Xutil.h>

#include "support/drop_source.h"

namespace {

constexpr unsigned int longest_life_s = 60;

bool has_class(Display *display, Window window, const std::string &name) {
    XClassHint hint = {};
    bool is_same = XGetClassHint(display, window, &hint) && (name == hint.res_class || name == hint.res_name);
    XFree(hint.res_name);
    XFree(hint.res_class);
    return is_same;
}

// The first window of that class in window or below; None when there is none.
Window find(Display *display, Window window, const std::string &name) {
    if (has_class(display, window, name)) {
        return window;
    }
    Window root = None;
    Window parent = None;
    Window *children = nullptr;
    unsigned int count = 0;
    XQueryTree(display, window, &root, &parent, &children, &count);
    Window found = None;
    for (unsigned int i = 0; i < count && found == None; i++) {
        found = find(display, children[i], name);
    }
    if (children) {
        XFree(children);
    }
    return found;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 5) {
        fprintf(stderr, "x11_drop_files CLASS X Y NAME...\n");
        return 2;
    }
    alarm(longest_life_s); // ends a wait for a window that does not answer
    Peer peer;
    Window root = DefaultRootWindow(peer.display);
    Window window = find(peer.display, root, argv[1]);
    if (window == None) {
        fprintf(stderr, "x11_drop_files: no window of class %s\n", argv[1]);
        return 1;
    }
    int x = 0;
    int y = 0;
    Window child = None;
    XTranslateCoordinates(peer.display, window, root, atoi(argv[2]), atoi(argv[3]), &x, &y, &child);
    Drag drag(peer, window);
    drag.move(x, y);
    if (!drag.status().is_accepted) {
        drag.leave();
        return 1;
    }
    drag.drop();
    bool is_accepted = drag.finish({offer_of_files({argv + 4, argv + argc})}).is_accepted;
    XCloseDisplay(peer.display);
    return is_accepted ? 0 : 1;
}
