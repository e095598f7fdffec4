// The toolkit's functions of the window, checked by asking Windows.
#include <windows.h>

#include "os/toolkit/window.h"
#include "support/window_fixture.h"

namespace {

HWND handle_of(const PlatformWindow *window) {
    return static_cast<HWND>(window->handle);
}

} // namespace

TEST_F(Window, TakesTheKeyboardsFocusWhenItIsAskedTo) {
    PlatformWindow *first = create();
    PlatformWindow *second = create();
    for (PlatformWindow *window : {first, second}) {
        os_window_show(window, true);
    }
    for (PlatformWindow *window : {first, second, first}) {
        os_window_focus(window);
        EXPECT_EQ(GetFocus(), handle_of(window));
    }
}

TEST_F(Window, StaysAboveOthersWhileItIsTopmost) {
    PlatformWindow *window = create();
    auto is_topmost = [window] {
        return (GetWindowLongPtrW(handle_of(window), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
    };
    os_window_move(window, {200, 150});
    RECT before = {};
    GetWindowRect(handle_of(window), &before);
    os_window_toggle_topmost(window);
    EXPECT_TRUE(is_topmost());
    RECT after = {};
    GetWindowRect(handle_of(window), &after);
    EXPECT_TRUE(EqualRect(&before, &after));
    os_window_toggle_topmost(window);
    EXPECT_FALSE(is_topmost());
}

TEST_F(Window, HidesAndShowsTheSystemCursorHoweverOftenItWasAskedBefore) {
    create();
    for (int i = 0; i < 3; i++) {
        ShowCursor(TRUE);
    }
    os_show_system_cursor(false);
    EXPECT_EQ(ShowCursor(TRUE), 0); // it was -1
    for (int i = 0; i < 3; i++) {
        ShowCursor(FALSE);
    }
    os_show_system_cursor(true);
    EXPECT_EQ(ShowCursor(FALSE), -1); // it was 0
    ShowCursor(TRUE);
}
