#include "os/toolkit/desktop.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

#ifdef _WIN32

TEST(Desktop, TheMousePointerGoesWhereItIsSent) {
    Point start = {};
    ASSERT_TRUE(os_mouse_position(&start));
    for (Point place : {Point{100, 120}, Point{101, 119}, Point{0, 0}, Point{333, 7}}) {
        EXPECT_TRUE(os_send_mouse_move(place));
        Point point = {-1, -1};
        EXPECT_TRUE(os_mouse_position(&point));
        EXPECT_EQ(point.x, place.x);
        EXPECT_EQ(point.y, place.y);
    }
    os_send_mouse_move(start);
}

TEST(Desktop, SentKeysAndButtonsAreDownUntilTheyAreSentUp) {
    auto is_down = [](int key) { return (GetAsyncKeyState(key) & 0x8000) != 0; };
    EXPECT_TRUE(os_send_key(VK_F13, true));
    EXPECT_TRUE(is_down(VK_F13));
    EXPECT_TRUE(os_send_key(VK_F13, false));
    EXPECT_FALSE(is_down(VK_F13));
    const struct {
        SentButton button;
        int key;
    } buttons[] = {
        {SENT_BUTTON_LEFT, VK_LBUTTON}, {SENT_BUTTON_RIGHT, VK_RBUTTON}, {SENT_BUTTON_MIDDLE, VK_MBUTTON}};
    for (const auto &pair : buttons) {
        EXPECT_TRUE(os_send_mouse_button(pair.button, true));
        EXPECT_TRUE(is_down(pair.key));
        EXPECT_TRUE(os_send_mouse_button(pair.button, false));
        EXPECT_FALSE(is_down(pair.key));
    }
}

int16_t wheel_delta_seen;

LRESULT CALLBACK note_wheel(int code, WPARAM message, LPARAM data) {
    if (code == HC_ACTION && message == WM_MOUSEWHEEL) {
        wheel_delta_seen = static_cast<int16_t>(reinterpret_cast<MSLLHOOKSTRUCT *>(data)->mouseData >> 16);
    }
    return CallNextHookEx(nullptr, code, message, data);
}

TEST(Desktop, TheWheelTurnsByNotches) {
    HHOOK hook = SetWindowsHookExA(WH_MOUSE_LL, note_wheel, GetModuleHandleA(nullptr), 0);
    ASSERT_NE(hook, nullptr);
    for (int32_t notches : {2, -1}) {
        wheel_delta_seen = 0;
        MSG message;
        // The hooks of a thread that has not looked for messages for five seconds are not called.
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE);
        EXPECT_TRUE(os_send_mouse_wheel(notches));
        PeekMessageA(&message, nullptr, 0, 0, PM_NOREMOVE); // runs the hook
        EXPECT_EQ(wheel_delta_seen, notches * 120);
    }
    UnhookWindowsHookEx(hook);
}

TEST(Desktop, TheMonitorsAreListedUpToTheRoomForThem) {
    Rect monitors[16] = {};
    uint32_t count = os_monitors(monitors, 16);
    EXPECT_EQ(count, static_cast<uint32_t>(GetSystemMetrics(SM_CMONITORS)));
    bool has_primary = false;
    for (uint32_t i = 0; i < count; i++) {
        has_primary = has_primary || (monitors[i].x == 0 && monitors[i].y == 0 &&
                                      monitors[i].width == GetSystemMetrics(SM_CXSCREEN) &&
                                      monitors[i].height == GetSystemMetrics(SM_CYSCREEN));
    }
    EXPECT_TRUE(has_primary);
    EXPECT_EQ(os_monitors(monitors, 1), 1u);
    EXPECT_EQ(os_monitors(nullptr, 0), 0u);
}

LRESULT CALLBACK paint_two_colours(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message != WM_PAINT) {
        return DefWindowProcA(window, message, first, second);
    }
    PAINTSTRUCT paint;
    HDC context = BeginPaint(window, &paint);
    RECT area;
    GetClientRect(window, &area);
    HBRUSH brush = CreateSolidBrush(RGB(200, 100, 50));
    FillRect(context, &area, brush);
    DeleteObject(brush);
    SetPixel(context, 3, 2, RGB(1, 2, 3));
    EndPaint(window, &paint);
    return 0;
}

TEST(Desktop, AWindowsClientAreaIsCopiedToTheClipboardAsABitmap) {
    WNDCLASSA window_class = {};
    window_class.lpfnWndProc = paint_two_colours;
    window_class.hInstance = GetModuleHandleA(nullptr);
    window_class.lpszClassName = "tarnwick_console_test";
    RegisterClassA(&window_class);
    HWND window = CreateWindowExA(WS_EX_TOPMOST, "tarnwick_console_test", "", WS_POPUP | WS_VISIBLE, 40, 40,
                                  64, 48, nullptr, nullptr, window_class.hInstance, nullptr);
    if (!window) {
        GTEST_SKIP() << "no desktop that shows windows";
    }
    UpdateWindow(window);
    GdiFlush();
    ASSERT_TRUE(OpenClipboard(window));
    EmptyClipboard();
    EXPECT_NE(SetClipboardData(CF_TEXT, GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 16)), nullptr);
    CloseClipboard();
    EXPECT_TRUE(os_copy_window_to_clipboard(window));

    ASSERT_TRUE(OpenClipboard(window));
    EXPECT_EQ(GetClipboardData(CF_TEXT), nullptr); // what was there before is gone
    HGDIOBJ bitmap = GetClipboardData(CF_BITMAP);
    ASSERT_NE(bitmap, nullptr);
    BITMAP info = {};
    EXPECT_NE(GetObjectA(bitmap, sizeof(info), &info), 0);
    EXPECT_EQ(info.bmWidth, 64);
    EXPECT_EQ(info.bmHeight, 48);
    HDC context = CreateCompatibleDC(nullptr);
    HGDIOBJ previous = SelectObject(context, bitmap);
    EXPECT_EQ(GetPixel(context, 10, 10), COLORREF{RGB(200, 100, 50)});
    EXPECT_EQ(GetPixel(context, 3, 2), COLORREF{RGB(1, 2, 3)});
    SelectObject(context, previous);
    DeleteDC(context);
    EmptyClipboard();
    CloseClipboard();
    DestroyWindow(window);
}

TEST(Desktop, WithoutAWindowThereIsNoPicture) {
    EXPECT_FALSE(os_copy_window_to_clipboard(nullptr));
}

#else

TEST(Desktop, EveryOperationReportsItsFailure) {
    Point point = {-5, -6};
    EXPECT_FALSE(os_mouse_position(&point));
    EXPECT_EQ(point.x, -5);
    EXPECT_EQ(point.y, -6);
    EXPECT_FALSE(os_send_mouse_move({1, 1}));
    EXPECT_FALSE(os_send_mouse_button(SENT_BUTTON_LEFT, true));
    EXPECT_FALSE(os_send_mouse_wheel(1));
    EXPECT_FALSE(os_send_key(65, true));
    Rect monitor = {1, 2, 3, 4};
    EXPECT_EQ(os_monitors(&monitor, 1), 0u);
    EXPECT_EQ(monitor.width, 3);
    EXPECT_FALSE(os_copy_window_to_clipboard(nullptr));
}

#endif

} // namespace
