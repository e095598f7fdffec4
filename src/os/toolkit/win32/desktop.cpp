#include "os/toolkit/desktop.h"

#include <windows.h>

#include "os/win32/window.h"

namespace {

bool send_input(INPUT *input) {
    return SendInput(1, input, sizeof(INPUT)) == 1;
}

bool send_mouse(int32_t x, int32_t y, uint32_t data, uint32_t flags) {
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dx = x;
    input.mi.dy = y;
    input.mi.mouseData = data;
    input.mi.dwFlags = flags;
    return send_input(&input);
}

// The middle of a pixel in the system's units of 1/65536 of the desktop's width or height.
int32_t desktop_units(int32_t pixel, int32_t desktop_start, int32_t desktop_size) {
    return static_cast<int32_t>(((pixel - desktop_start) * int64_t{65536} + 32768) / desktop_size);
}

} // namespace

bool os_mouse_position(Point *point) {
    POINT place;
    if (!GetCursorPos(&place)) {
        return false;
    }
    *point = {place.x, place.y};
    return true;
}

bool os_send_mouse_move(Point point) {
    int32_t width = GetSystemMetrics(SM_CXVIRTUALSCREEN);
    int32_t height = GetSystemMetrics(SM_CYVIRTUALSCREEN);
    if (width <= 0 || height <= 0) {
        return false;
    }
    return send_mouse(desktop_units(point.x, GetSystemMetrics(SM_XVIRTUALSCREEN), width),
                      desktop_units(point.y, GetSystemMetrics(SM_YVIRTUALSCREEN), height), 0,
                      MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_VIRTUALDESK);
}

bool os_send_mouse_button(SentButton button, bool is_down) {
    static constexpr uint32_t flags[3][2] = {
        {MOUSEEVENTF_LEFTUP, MOUSEEVENTF_LEFTDOWN},
        {MOUSEEVENTF_RIGHTUP, MOUSEEVENTF_RIGHTDOWN},
        {MOUSEEVENTF_MIDDLEUP, MOUSEEVENTF_MIDDLEDOWN},
    };
    return send_mouse(0, 0, 0, flags[button][is_down != 0]);
}

bool os_send_mouse_wheel(int32_t notches) {
    return send_mouse(0, 0, static_cast<uint32_t>(notches * WHEEL_DELTA), MOUSEEVENTF_WHEEL);
}

bool os_send_key(uint16_t virtual_key, bool is_down) {
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = virtual_key;
    input.ki.dwFlags = is_down ? 0 : KEYEVENTF_KEYUP;
    return send_input(&input);
}

uint32_t os_monitors(Rect *monitors, uint32_t capacity) {
    uint32_t count = 0;
    each_monitor([&](HMONITOR, const MONITORINFOEXW &info) {
        if (count == capacity) {
            return false;
        }
        const RECT &whole = info.rcMonitor;
        monitors[count++] = {whole.left, whole.top, whole.right - whole.left, whole.bottom - whole.top};
        return true;
    });
    return count;
}

bool os_copy_window_to_clipboard(void *window) {
    HWND owner = static_cast<HWND>(window);
    RECT area;
    if (!GetClientRect(owner, &area) || area.right == 0 || area.bottom == 0) {
        return false; // no window, or one without an area
    }
    bool is_copied = false;
    HDC from = GetDC(owner);
    HDC to = CreateCompatibleDC(from);
    HBITMAP bitmap = CreateCompatibleBitmap(from, area.right, area.bottom);
    if (from && to && bitmap) {
        HGDIOBJ previous = SelectObject(to, bitmap);
        BOOL is_drawn = BitBlt(to, 0, 0, area.right, area.bottom, from, 0, 0, SRCCOPY);
        SelectObject(to, previous); // the clipboard takes no bitmap that a device context holds
        if (is_drawn && OpenClipboard(owner)) {
            EmptyClipboard();
            is_copied = SetClipboardData(CF_BITMAP, bitmap) != nullptr;
            CloseClipboard();
        }
    }
    if (bitmap && !is_copied) {
        DeleteObject(bitmap); // otherwise it is the clipboard's
    }
    if (to) {
        DeleteDC(to);
    }
    if (from) {
        ReleaseDC(owner, from);
    }
    return is_copied;
}
