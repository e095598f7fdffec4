#include <windows.h>

#include <shlobj.h>

#include "support/window_driver.h"

namespace {

HWND handle_of(const PlatformWindow *window) {
    return static_cast<HWND>(window->handle);
}

void post(PlatformWindow *window, UINT message, WPARAM wparam, LPARAM lparam) {
    PostMessageW(handle_of(window), message, wparam, lparam);
}

LPARAM packed(Point point) {
    return MAKELPARAM(point.x, point.y);
}

// Moves the real pointer as well, as the system uses its position.
void point_at(PlatformWindow *window, Point client) {
    SetCursorPos(window->client_position.x + client.x, window->client_position.y + client.y);
}

struct ButtonMessages {
    UINT down;
    UINT up;
    WPARAM held;
};

ButtonMessages messages_of(uint16_t button) {
    switch (button) {
    case MOUSE_LEFT:
        return {WM_LBUTTONDOWN, WM_LBUTTONUP, MK_LBUTTON};
    case MOUSE_MIDDLE:
        return {WM_MBUTTONDOWN, WM_MBUTTONUP, MK_MBUTTON};
    default:
        return {WM_RBUTTONDOWN, WM_RBUTTONUP, MK_RBUTTON};
    }
}

} // namespace

void drive_pointer_to(PlatformWindow *window, Point client) {
    point_at(window, client);
    post(window, WM_MOUSEMOVE, 0, packed(client));
}

void drive_pointer_away() {
    SetCursorPos(GetSystemMetrics(SM_CXSCREEN) - 1, GetSystemMetrics(SM_CYSCREEN) - 1);
}

void drive_pointer_out(PlatformWindow *window) {
    drive_pointer_away();
    post(window, WM_MOUSELEAVE, 0, 0);
}

void drive_press(PlatformWindow *window, uint16_t button, Point client) {
    point_at(window, client);
    ButtonMessages messages = messages_of(button);
    post(window, messages.down, messages.held, packed(client));
}

void drive_release(PlatformWindow *window, uint16_t button, Point client) {
    point_at(window, client);
    post(window, messages_of(button).up, 0, packed(client));
}

void drive_wheel(PlatformWindow *window, int32_t delta) {
    point_at(window, {1, 1});
    post(window, WM_MOUSEWHEEL, static_cast<WPARAM>(static_cast<uint16_t>(delta)) << 16,
         packed({window->client_position.x + 1, window->client_position.y + 1}));
}

void drive_key_down(PlatformWindow *window, uint16_t code, bool was_down) {
    post(window, code == VK_MENU ? WM_SYSKEYDOWN : WM_KEYDOWN, code, was_down ? 0x40000001 : 1);
}

void drive_key_up(PlatformWindow *window, uint16_t code) {
    post(window, code == VK_MENU ? WM_SYSKEYUP : WM_KEYUP, code, static_cast<LPARAM>(0xC0000001));
}

void drive_character(PlatformWindow *window, uint32_t unit) {
    post(window, WM_CHAR, unit, 1);
}

void *drive_drop(PlatformWindow *window, Point client, const std::vector<std::string> &names) {
    std::wstring list;
    for (const std::string &name : names) {
        std::wstring wide(name.size() + 1, 0); // no text has more UTF-16 units than bytes
        int units = MultiByteToWideChar(CP_UTF8, 0, name.data(), static_cast<int>(name.size()), wide.data(),
                                        static_cast<int>(name.size()));
        list.append(wide, 0, static_cast<size_t>(units));
        list.push_back(0);
    }
    list.push_back(0);
    HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, sizeof(DROPFILES) + list.size() * sizeof(wchar_t));
    DROPFILES *drop = static_cast<DROPFILES *>(GlobalLock(block));
    *drop = {};
    drop->pFiles = sizeof(DROPFILES);
    drop->pt = {client.x, client.y};
    drop->fWide = TRUE;
    memcpy(drop + 1, list.data(), list.size() * sizeof(wchar_t));
    GlobalUnlock(block);
    post(window, WM_DROPFILES, reinterpret_cast<WPARAM>(block), 0);
    return block;
}

void drive_close(PlatformWindow *window) {
    post(window, WM_CLOSE, 0, 0);
}

void drive_nothing(PlatformWindow *window) {
    post(window, WM_NULL, 0, 0);
}

namespace {

UINT double_press_ms;

} // namespace

void drive_begin() {
    double_press_ms = GetDoubleClickTime();
    SetDoubleClickTime(5000); // the maximum
}

void drive_end() {
    SetDoubleClickTime(double_press_ms);
}

void drive_focus_away(PlatformWindow *window) {
    post(window, WM_KILLFOCUS, 0, 0);
}

void drive_focus_back(PlatformWindow *window) {
    post(window, WM_SETFOCUS, 0, 0);
}

// A window manager works asynchronously and does not report when it is done.
void drive_settle() {
    for (int quiet = 0; quiet < 20; quiet++) {
        if (os_pump_messages() > 0) {
            quiet = 0;
        }
        Sleep(5);
    }
}

std::vector<uint32_t> shown_pixels(const PlatformWindow *window) {
    Size size = window->client_size;
    std::vector<uint32_t> pixels(static_cast<size_t>(size.width * size.height));
    HDC from = GetDC(handle_of(window));
    HDC to = CreateCompatibleDC(from);
    HBITMAP bitmap = CreateCompatibleBitmap(from, size.width, size.height);
    HGDIOBJ previous = SelectObject(to, bitmap);
    BitBlt(to, 0, 0, size.width, size.height, from, 0, 0, SRCCOPY);
    SelectObject(to, previous);
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = size.width;
    info.bmiHeader.biHeight = -size.height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    GetDIBits(to, bitmap, 0, static_cast<UINT>(size.height), pixels.data(), &info, DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(to);
    ReleaseDC(handle_of(window), from);
    for (uint32_t &pixel : pixels) {
        pixel &= 0xFFFFFF;
    }
    return pixels;
}

const bool titles_are_text = false;

std::u16string shown_title(const PlatformWindow *window) {
    wchar_t title[256];
    int units = GetWindowTextW(handle_of(window), title, 256);
    return std::u16string(title, title + units);
}

bool is_shown(const PlatformWindow *window) {
    return IsWindowVisible(handle_of(window));
}
