#include "os/window.h"

#include <windows.h>
#include <windowsx.h>

#include <shellapi.h>

#include "os/memory.h"
#include "os/win32/utf16.h"
#include "os/win32/window.h"
#include "os/window_backend.h"

// ---- Messages ----

namespace {

WindowGeometry geometry_of(HWND handle) {
    RECT outer = {};
    RECT client = {};
    POINT origin = {};
    GetWindowRect(handle, &outer);
    GetClientRect(handle, &client);
    ClientToScreen(handle, &origin);
    return {{outer.left, outer.top, outer.right - outer.left, outer.bottom - outer.top},
            {origin.x, origin.y, client.right, client.bottom}};
}

// Where the mouse was when the message was sent, not where it is now.
Point message_position() {
    DWORD position = GetMessagePos();
    return {GET_X_LPARAM(position), GET_Y_LPARAM(position)};
}

uint32_t message_time_ms() {
    return static_cast<uint32_t>(GetMessageTime());
}

DoublePressLimits double_press_limits() {
    return {GetDoubleClickTime(), GetSystemMetrics(SM_CXDOUBLECLK), GetSystemMetrics(SM_CYDOUBLECLK)};
}

void pointer_moved(PlatformWindow *window) {
    if (window_pointer_moved(window, message_position())) {
        TRACKMOUSEEVENT track = {};
        track.cbSize = sizeof(track);
        track.dwFlags = TME_LEAVE;
        track.hwndTrack = static_cast<HWND>(window->handle);
        TrackMouseEvent(&track);
    }
}

void button_pressed(PlatformWindow *window, uint16_t button, LPARAM lparam) {
    SetCapture(static_cast<HWND>(window->handle));
    window_button_pressed(window, button, message_position(), {GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)},
                          message_time_ms(), double_press_limits());
}

void button_released(PlatformWindow *window, uint16_t button) {
    ReleaseCapture();
    window_button_released(window, button, message_position());
}

constexpr uint32_t drop_name_units = 2048; // for one dropped name and its zero unit

// The drop handle is intentionally not released afterwards.
void files_dropped(PlatformWindow *window, HDROP drop) {
    // Any program may post this message, even with an invalid handle.
    if (!GlobalLock(drop)) {
        return;
    }
    GlobalUnlock(drop);
    constexpr UINT ask_count = 0xFFFFFFFF;
    UINT count = DragQueryFileW(drop, ask_count, nullptr, 0);
    uint64_t units = 0;
    for (UINT i = 0; i < count; i++) {
        units += DragQueryFileW(drop, i, nullptr, 0);
    }
    DropList list;
    if (!drop_list_init(&list, units)) {
        return;
    }
    for (UINT i = 0; i < count; i++) {
        wchar_t wide[drop_name_units];
        DragQueryFileW(drop, i, wide, drop_name_units); // zero-terminated, and truncated there
        char *room = drop_list_room(&list);
        int32_t name_units = lstrlenW(wide);
        drop_list_add(&list, static_cast<uint64_t>(utf8_convert(wide, name_units, room, name_units * 3)));
    }
    POINT client = {};
    DragQueryPoint(drop, &client);
    window_files_dropped(window, {client.x, client.y}, &list);
}

constexpr UINT_PTR frame_timer = 1;

void system_loop_begins(PlatformWindow *window) {
    uint32_t period_ms = window_system_loop_begin(window);
    if (period_ms > 0) {
        SetTimer(static_cast<HWND>(window->handle), frame_timer, period_ms, nullptr);
    }
}

void system_loop_ends(PlatformWindow *window) {
    KillTimer(static_cast<HWND>(window->handle), frame_timer);
    window_system_loop_end();
}

LRESULT CALLBACK window_procedure(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    PlatformWindow *window = window_from_handle(handle);
    if (!window) {
        return DefWindowProcW(handle, message, wparam, lparam);
    }
    switch (message) {
    case WM_MOVE:
        window_moved(window, geometry_of(handle), LOWORD(lparam), HIWORD(lparam));
        break;
    case WM_SIZE:
        window_resized(window, geometry_of(handle), LOWORD(lparam), HIWORD(lparam));
        break;
    case WM_ENTERSIZEMOVE:
    case WM_ENTERMENULOOP:
        system_loop_begins(window);
        break;
    case WM_EXITSIZEMOVE:
    case WM_EXITMENULOOP:
        system_loop_ends(window);
        break;
    case WM_TIMER:
        if (wparam == frame_timer) {
            window_frame_due(window);
        }
        break;
    case WM_SETFOCUS:
        window_focus_gained(window);
        break;
    case WM_KILLFOCUS:
        window_focus_lost(window);
        break;
    case WM_CLOSE: // goes on to the default procedure although the window is gone, which is harmless
    case WM_DESTROY:
    case WM_QUIT:
    case WM_NCDESTROY:
        window_closed(window);
        break;
    case WM_KEYDOWN:
    case WM_SYSKEYDOWN:
    case WM_KEYUP:
    case WM_SYSKEYUP: {
        constexpr LPARAM was_down = LPARAM{1} << 30;
        bool is_down = message == WM_KEYDOWN || message == WM_SYSKEYDOWN;
        uint8_t state = !is_down ? KEY_RELEASED : (lparam & was_down) ? KEY_REPEATED : KEY_PRESSED;
        window_key(window, LOWORD(wparam), state);
        if (wparam == VK_MENU) {
            return 0; // or the key would open the system menu
        }
        break;
    }
    case WM_CHAR:
        window_character(window, static_cast<uint32_t>(wparam));
        break;
    case WM_MOUSEMOVE:
        pointer_moved(window);
        break;
    case WM_MOUSELEAVE:
        window_pointer_left(window, message_position());
        break;
    case WM_LBUTTONDOWN:
        button_pressed(window, MOUSE_LEFT, lparam);
        break;
    case WM_MBUTTONDOWN:
        button_pressed(window, MOUSE_MIDDLE, lparam);
        break;
    case WM_RBUTTONDOWN:
        button_pressed(window, MOUSE_RIGHT, lparam);
        break;
    case WM_LBUTTONUP:
        button_released(window, MOUSE_LEFT);
        break;
    case WM_MBUTTONUP:
        button_released(window, MOUSE_MIDDLE);
        break;
    case WM_RBUTTONUP:
        button_released(window, MOUSE_RIGHT);
        break;
    case WM_MOUSEWHEEL:
        window_wheel_turned(window, message_position(), GET_WHEEL_DELTA_WPARAM(wparam));
        break;
    case WM_DROPFILES:
        files_dropped(window, reinterpret_cast<HDROP>(wparam));
        break;
    }
    return DefWindowProcW(handle, message, wparam, lparam);
}

} // namespace

// ---- Creation ----

DWORD window_frame_style(uint16_t flags) {
    if (flags & (WINDOW_FLAG_BORDERLESS | WINDOW_FLAG_POPUP)) {
        return WS_POPUP;
    }
    if (flags & WINDOW_FLAG_FIXED_SIZE) {
        return WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    }
    return WS_OVERLAPPEDWINDOW;
}

namespace {

HCURSOR cursors[CURSOR_TABLE_SIZE];

void load_cursors() {
    static const LPCWSTR names[] = {
        nullptr,  IDC_ARROW,   IDC_HAND,   IDC_WAIT,   IDC_IBEAM,    IDC_CROSS,    IDC_NO,
        IDC_HELP, IDC_SIZEALL, IDC_SIZEWE, IDC_SIZENS, IDC_SIZENWSE, IDC_SIZENESW,
    };
    for (uint32_t i = CURSOR_ARROW; i < sizeof(names) / sizeof(names[0]); i++) {
        cursors[i] = LoadCursorW(nullptr, names[i]);
    }
}

constexpr const wchar_t *class_name = L"lum_sharedWindowClass";

// Registers the window class, once, without a cursor, icon or background. Returns whether it is registered.
bool register_class() {
    static ATOM window_class;
    if (!window_class) {
        load_cursors();
        WNDCLASSEXW description = {};
        description.cbSize = sizeof(description);
        description.style = CS_VREDRAW | CS_HREDRAW | CS_OWNDC;
        description.lpfnWndProc = window_procedure;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = class_name;
        window_class = RegisterClassExW(&description);
    }
    return window_class != 0;
}

DWORD extended_style(uint16_t flags) {
    DWORD style = 0;
    style |= flags & WINDOW_FLAG_TOPMOST ? WS_EX_TOPMOST : 0;
    style |= flags & WINDOW_FLAG_APPWINDOW ? WS_EX_APPWINDOW : 0;
    style |= flags & WINDOW_FLAG_TOOLWINDOW ? WS_EX_TOOLWINDOW : 0;
    style |= flags & WINDOW_FLAG_LAYERED ? WS_EX_LAYERED : 0;
    style |= flags & WINDOW_FLAG_CLICK_THROUGH ? WS_EX_TRANSPARENT : 0;
    return style;
}

// The outer size for a client area of that size.
Size outer_size(Size client_size, DWORD style, DWORD ex_style) {
    RECT rect = {0, 0, client_size.width, client_size.height};
    AdjustWindowRectEx(&rect, style, FALSE, ex_style);
    return {rect.right - rect.left, rect.bottom - rect.top};
}

// Creates the system's window, or returns null.
HWND create_native(Size client_size, Str title, uint16_t flags) {
    DWORD style = window_frame_style(flags) | (flags & WINDOW_FLAG_HIDDEN ? 0 : WS_VISIBLE);
    DWORD ex_style = extended_style(flags);
    Point position = {CW_USEDEFAULT, CW_USEDEFAULT};
    Size size = outer_size(client_size, style, ex_style);
    if (flags & WINDOW_FLAG_BORDERLESS) {
        position = {0, 0};
        size = {100, 100};
    }
    char *raw_title = window_raw_title(title);
    if (!raw_title) {
        return nullptr;
    }
    HWND handle = CreateWindowExW(ex_style, class_name, reinterpret_cast<const wchar_t *>(raw_title), style,
                                  position.x, position.y, size.width, size.height, nullptr, nullptr,
                                  GetModuleHandleW(nullptr), nullptr);
    os_free(raw_title);
    return handle;
}

// Gives the window the program's icon, if it has one. The class has none.
void set_icon(HWND handle, WPARAM kind, int32_t width_metric, int32_t height_metric) {
    HANDLE icon = LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(1), IMAGE_ICON,
                             GetSystemMetrics(width_metric), GetSystemMetrics(height_metric), LR_SHARED);
    if (icon) {
        SendMessageW(handle, WM_SETICON, kind, reinterpret_cast<LPARAM>(icon));
    }
}

} // namespace

PlatformWindow *os_window_create(int32_t width, int32_t height, Str title, uint16_t flags) {
    if (!register_class()) {
        return nullptr;
    }
    PlatformWindow *window = static_cast<PlatformWindow *>(os_alloc_zero(sizeof(PlatformWindow)));
    if (!window) {
        return nullptr;
    }
    HWND handle = create_native({width, height}, title, flags);
    if (!handle || !window_list_add(window)) {
        if (handle) {
            DestroyWindow(handle);
        }
        os_free(window);
        return nullptr;
    }
    if (flags & WINDOW_FLAG_LAYERED) {
        SetLayeredWindowAttributes(handle, 0, 0, LWA_COLORKEY);
    }
    set_icon(handle, ICON_BIG, SM_CXICON, SM_CYICON);
    set_icon(handle, ICON_SMALL, SM_CXSMICON, SM_CYSMICON);
    DragAcceptFiles(handle, TRUE);
    window->handle = handle;
    window->device_context = GetDC(handle);
    window->flags = flags | WINDOW_FLAG_ALIVE | WINDOW_FLAG_FOCUS;
    window_set_geometry(window, geometry_of(handle));
    if (flags & WINDOW_FLAG_FRAMEBUFFER) {
        framebuffer_resize(&window->framebuffer, window->client_size);
    }
    return window;
}

void window_destroy_native(PlatformWindow *window) {
    HWND handle = static_cast<HWND>(window->handle);
    ReleaseDC(handle, static_cast<HDC>(window->device_context));
    DestroyWindow(handle);
}

// ---- The pump and presentation ----

uint32_t os_pump_messages() {
    uint32_t count = 0;
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
        count++;
    }
    return count;
}

uint32_t *framebuffer_block_alloc(uint64_t size) {
    return static_cast<uint32_t *>(os_alloc_zero(size));
}

void framebuffer_block_free(uint32_t *pixels) {
    os_free(pixels);
}

void window_present(const PlatformWindow *window, Rect to, Rect from) {
    const Framebuffer &framebuffer = window->framebuffer;
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = framebuffer.width;
    info.bmiHeader.biHeight = -framebuffer.height; // the top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    // The call still counts the source's rows from the bottom.
    int32_t from_bottom = framebuffer.height - from.y - from.height;
    StretchDIBits(static_cast<HDC>(window->device_context), to.x, to.y, to.width, to.height, from.x,
                  from_bottom, from.width, from.height, framebuffer.pixels, &info, DIB_RGB_COLORS, SRCCOPY);
}

// ---- Place, size and frame ----

Size window_outer_size(const PlatformWindow *window, Size client_size) {
    HWND handle = static_cast<HWND>(window->handle);
    return outer_size(client_size, static_cast<DWORD>(GetWindowLongPtrW(handle, GWL_STYLE)),
                      static_cast<DWORD>(GetWindowLongPtrW(handle, GWL_EXSTYLE)));
}

void window_place(PlatformWindow *window, Rect outer) {
    SetWindowPos(static_cast<HWND>(window->handle), nullptr, outer.x, outer.y, outer.width, outer.height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void os_window_show(PlatformWindow *window, bool visible) {
    if (window_is_alive(window)) {
        ShowWindow(static_cast<HWND>(window->handle), visible ? SW_SHOW : SW_HIDE);
    }
}

// ---- Mouse ----

void os_set_cursor(uint32_t index) {
    if (index < CURSOR_TABLE_SIZE) {
        SetCursor(cursors[index]);
    }
}

// ---- Monitors ----

namespace {

struct MonitorList {
    MonitorInfo *monitors;
    uint32_t count;
};

// Describes one monitor and appends it to the list. Returns false when out of memory.
bool add_monitor(MonitorList *list, HMONITOR handle, const MONITORINFOEXW &system) {
    uint64_t size = (list->count + 1) * sizeof(MonitorInfo);
    void *grown = list->monitors ? os_realloc(list->monitors, size) : os_alloc(size);
    if (!grown) {
        return false;
    }
    list->monitors = static_cast<MonitorInfo *>(grown);
    Str name = utf8_from_wide(system.szDevice, lstrlenW(system.szDevice));
    if (!name.data) {
        return false;
    }
    DEVMODEW mode = {};
    mode.dmSize = sizeof(mode);
    EnumDisplaySettingsW(system.szDevice, ENUM_CURRENT_SETTINGS, &mode);
    const RECT &work = system.rcWork;
    const RECT &whole = system.rcMonitor;
    MonitorInfo *monitor = &list->monitors[list->count++];
    *monitor = {};
    monitor->flags = (system.dwFlags & MONITORINFOF_PRIMARY) ? MONITOR_FLAG_PRIMARY : 0;
    monitor->work_area = {work.left, work.top, work.right - work.left, work.bottom - work.top};
    monitor->origin = {whole.left, whole.top};
    monitor_set_mode(monitor,
                     {static_cast<int32_t>(mode.dmPelsWidth), static_cast<int32_t>(mode.dmPelsHeight)},
                     {whole.right - whole.left, whole.bottom - whole.top}, mode.dmDisplayFrequency);
    monitor->name = name;
    monitor->handle = handle;
    return true;
}

// An incomplete list might lack the primary monitor.
void forget_monitors(MonitorList *list) {
    for (uint32_t i = 0; i < list->count; i++) {
        os_free(list->monitors[i].name.data);
    }
    os_free(list->monitors);
    *list = {};
}

} // namespace

const MonitorInfo *os_get_monitors(uint32_t *count) {
    static MonitorList list;
    if (list.count == 0) {
        bool has_memory = true;
        each_monitor([&](HMONITOR handle, const MONITORINFOEXW &system) {
            return has_memory = add_monitor(&list, handle, system);
        });
        if (!has_memory) {
            forget_monitors(&list);
        }
        monitors_put_primary_first(list.monitors, list.count);
    }
    *count = list.count;
    return list.count ? list.monitors : nullptr;
}
