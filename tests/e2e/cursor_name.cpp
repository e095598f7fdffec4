// Prints the name of the cursor that the X server shows. window_frame_test.sh builds it natively.
#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>
#include <stdio.h>

int main() {
    Display *display = XOpenDisplay(nullptr);
    int first_event, first_error;
    if (!display || !XFixesQueryExtension(display, &first_event, &first_error)) {
        return 1;
    }
    puts(XFixesGetCursorImage(display)->name);
    return 0;
}
