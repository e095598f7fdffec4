#include "os/toolkit/console.h"

#include <windows.h>

// ---- Console colours ----

void os_console_attribute(uint16_t attribute) {
    SetConsoleTextAttribute(GetStdHandle(STD_OUTPUT_HANDLE), attribute);
}

// ---- Console window ----

bool os_console_window_move(int32_t x, int32_t y) {
    HWND window = GetConsoleWindow();
    RECT rect;
    return GetWindowRect(window, &rect) &&
           MoveWindow(window, x, y, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}

bool os_console_window_set_height(int32_t height) {
    HWND window = GetConsoleWindow();
    RECT rect;
    return GetWindowRect(window, &rect) &&
           MoveWindow(window, rect.left, rect.top, rect.right - rect.left, height, TRUE);
}

Rect os_console_window_rect() {
    RECT rect;
    if (!GetWindowRect(GetConsoleWindow(), &rect)) {
        return {};
    }
    return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

void os_console_window_flash() {
    FLASHWINFO flash = {};
    flash.cbSize = sizeof(flash);
    flash.hwnd = GetConsoleWindow();
    flash.dwFlags = FLASHW_TIMERNOFG;
    flash.uCount = 1;
    FlashWindowEx(&flash);
}

// ---- Console input and cursor ----

uint32_t os_console_read_key() {
    INPUT_RECORD event = {};
    DWORD count = 0;
    if (!ReadConsoleInputW(GetStdHandle(STD_INPUT_HANDLE), &event, 1, &count) || count == 0 ||
        event.EventType != KEY_EVENT || !event.Event.KeyEvent.bKeyDown) {
        return 0;
    }
    return event.Event.KeyEvent.uChar.UnicodeChar;
}

bool os_console_move_cursor(int32_t dx, int32_t dy) {
    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(console, &info)) {
        return false;
    }
    int64_t column = int64_t{info.dwCursorPosition.X} + dx;
    int64_t row = int64_t{info.dwCursorPosition.Y} + dy;
    if (column > INT16_MAX || row > INT16_MAX || row < INT16_MIN) {
        return false; // no console is that large
    }
    COORD place = {static_cast<SHORT>(column < 0 ? 0 : column), static_cast<SHORT>(row)};
    return SetConsoleCursorPosition(console, place) != 0;
}

int32_t os_console_height() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
        return 0;
    }
    return info.srWindow.Bottom - info.srWindow.Top + 1;
}
