#include "os/console.h"

#include <string.h>
#include <windows.h>

#include "os/memory.h"
#include "os/win32/files.h"
#include "os/win32/utf16.h"

// ---- Output ----

void os_console_write(Str text) {
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data, static_cast<DWORD>(text.count), &written, nullptr);
}

// ---- Command line ----

Str os_command_line() {
    static Str command_line;
    if (!command_line.data) {
        Str text = str_cut_trailing_whitespace(str_from(GetCommandLineA()));
        char *copy = static_cast<char *>(os_alloc(text.count + 1));
        if (!copy) {
            return {};
        }
        memcpy(copy, text.data, text.count);
        copy[text.count] = 0;
        command_line = {text.count, copy};
    }
    return command_line;
}

// ---- Console colours ----

void os_console_attribute(uint16_t attribute) {
    SetConsoleTextAttribute(GetStdHandle(STD_OUTPUT_HANDLE), attribute);
}

// ---- Console window ----

uint8_t os_console_window_move(int32_t x, int32_t y) {
    HWND window = GetConsoleWindow();
    RECT rect;
    return GetWindowRect(window, &rect) &&
           MoveWindow(window, x, y, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}

uint8_t os_console_window_set_height(int32_t height) {
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

uint8_t os_console_move_cursor(int32_t dx, int32_t dy) {
    HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(console, &info)) {
        return 0;
    }
    int64_t column = int64_t{info.dwCursorPosition.X} + dx;
    int64_t row = int64_t{info.dwCursorPosition.Y} + dy;
    if (column > INT16_MAX || row > INT16_MAX || row < INT16_MIN) {
        return 0; // no console is that large
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

// ---- Process and machine ----

uint32_t os_processor_count() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

uint64_t os_installed_memory() {
    ULONGLONG kilobytes = 0;
    return GetPhysicallyInstalledSystemMemory(&kilobytes) ? kilobytes * 1024 : 0;
}

Str os_exe_name() {
    static Str path;
    if (!path.data) {
        wchar_t wide[longest_exe_path];
        path = utf8_from_wide(wide, static_cast<int32_t>(exe_path(wide)));
    }
    return str_file_name(path);
}

// ---- Desktop ----

namespace {

uint8_t send_input(INPUT *input) {
    return SendInput(1, input, sizeof(INPUT)) == 1;
}

uint8_t send_mouse(int32_t x, int32_t y, uint32_t data, uint32_t flags) {
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

struct MonitorList {
    Rect *monitors;
    uint32_t capacity;
    uint32_t count;
};

BOOL CALLBACK add_monitor(HMONITOR, HDC, RECT *rect, LPARAM opaque) {
    MonitorList *list = reinterpret_cast<MonitorList *>(opaque);
    if (list->count == list->capacity) {
        return FALSE;
    }
    list->monitors[list->count++] = {rect->left, rect->top, rect->right - rect->left,
                                     rect->bottom - rect->top};
    return TRUE;
}

} // namespace

uint8_t os_mouse_position(Point *point) {
    POINT place;
    if (!GetCursorPos(&place)) {
        return 0;
    }
    *point = {place.x, place.y};
    return 1;
}

uint8_t os_send_mouse_move(Point point) {
    int32_t width = GetSystemMetrics(SM_CXVIRTUALSCREEN);
    int32_t height = GetSystemMetrics(SM_CYVIRTUALSCREEN);
    if (width <= 0 || height <= 0) {
        return 0;
    }
    return send_mouse(desktop_units(point.x, GetSystemMetrics(SM_XVIRTUALSCREEN), width),
                      desktop_units(point.y, GetSystemMetrics(SM_YVIRTUALSCREEN), height), 0,
                      MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_VIRTUALDESK);
}

uint8_t os_send_mouse_button(SentButton button, uint8_t is_down) {
    static constexpr uint32_t flags[3][2] = {
        {MOUSEEVENTF_LEFTUP, MOUSEEVENTF_LEFTDOWN},
        {MOUSEEVENTF_RIGHTUP, MOUSEEVENTF_RIGHTDOWN},
        {MOUSEEVENTF_MIDDLEUP, MOUSEEVENTF_MIDDLEDOWN},
    };
    return send_mouse(0, 0, 0, flags[button][is_down != 0]);
}

uint8_t os_send_mouse_wheel(int32_t notches) {
    return send_mouse(0, 0, static_cast<uint32_t>(notches * WHEEL_DELTA), MOUSEEVENTF_WHEEL);
}

uint8_t os_send_key(uint16_t virtual_key, uint8_t is_down) {
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = virtual_key;
    input.ki.dwFlags = is_down ? 0 : KEYEVENTF_KEYUP;
    return send_input(&input);
}

uint32_t os_monitors(Rect *monitors, uint32_t capacity) {
    MonitorList list = {monitors, capacity, 0};
    EnumDisplayMonitors(nullptr, nullptr, add_monitor, reinterpret_cast<LPARAM>(&list));
    return list.count;
}

uint8_t os_copy_window_to_clipboard(void *window) {
    HWND owner = static_cast<HWND>(window);
    RECT area;
    if (!GetClientRect(owner, &area) || area.right == 0 || area.bottom == 0) {
        return 0; // no window, or one that shows nothing
    }
    uint8_t is_copied = 0;
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
