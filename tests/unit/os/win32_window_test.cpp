// What the window on Windows does beyond the common behaviour.
#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <string>
#include <vector>

#include "os/memory.h"
#include "os/toolkit/window.h"
#include "support/window_driver.h"

// The linker redirects every call of CreateWindowExW to the first of these; the second is the real one.
extern "C" {
extern decltype(&CreateWindowExW) __wrap___imp_CreateWindowExW;
extern decltype(&CreateWindowExW) __real___imp_CreateWindowExW;
}

namespace {

constexpr uint16_t program_flags = WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN;

HWND handle_of(const PlatformWindow *window) {
    return static_cast<HWND>(window->handle);
}

class SystemWindow : public ::testing::Test {
protected:
    void TearDown() override {
        os_set_event_callback(nullptr);
        for (PlatformWindow *window : windows) {
            os_window_destroy(window);
            os_free(window);
        }
        os_pump_messages();
    }

    PlatformWindow *create(uint16_t flags = program_flags) {
        PlatformWindow *window = os_window_create(300, 200, str_from("Tarnwick"), flags);
        windows.push_back(window);
        return window;
    }

    std::vector<PlatformWindow *> windows;
};

std::vector<std::string> dropped_names;

void note_drop(const WindowEvent *event) {
    if (event->type == EVENT_FILES_DROPPED) {
        const char *name = event->dropped.names;
        for (int32_t i = 0; i < event->dropped.count; i++) {
            dropped_names.push_back(name);
            name += dropped_names.back().size() + 1;
        }
        EXPECT_EQ(*name, 0);
    }
}

Point asked_position;

HWND WINAPI note_position(DWORD extended_style, LPCWSTR class_name, LPCWSTR title, DWORD style, int x, int y,
                          int width, int height, HWND parent, HMENU menu, HINSTANCE program, void *opaque) {
    asked_position = {x, y};
    return __real___imp_CreateWindowExW(extended_style, class_name, title, style, x, y, width, height, parent,
                                        menu, program, opaque);
}

} // namespace

decltype(&CreateWindowExW) __wrap___imp_CreateWindowExW = note_position;

TEST_F(SystemWindow, HasTheClassOfASelfDrawnWindow) {
    PlatformWindow *window = create();
    wchar_t name[64];
    GetClassNameW(handle_of(window), name, 64);
    EXPECT_STREQ(name, L"lum_sharedWindowClass");
    WNDCLASSEXW description = {};
    description.cbSize = sizeof(description);
    ASSERT_TRUE(GetClassInfoExW(GetModuleHandleW(nullptr), name, &description));
    EXPECT_EQ(description.style, static_cast<UINT>(CS_VREDRAW | CS_HREDRAW | CS_OWNDC));
    EXPECT_EQ(description.hCursor, nullptr);
    EXPECT_EQ(description.hIcon, nullptr);
    EXPECT_EQ(description.hbrBackground, nullptr);
    EXPECT_EQ(window->device_context, GetDC(handle_of(window)));
}

TEST_F(SystemWindow, HasTheStylesOfItsFlags) {
    constexpr DWORD frame_bits = WS_POPUP | WS_OVERLAPPEDWINDOW | WS_VISIBLE;
    constexpr DWORD fixed = WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;
    constexpr DWORD extended_bits =
        WS_EX_TOPMOST | WS_EX_APPWINDOW | WS_EX_TOOLWINDOW | WS_EX_LAYERED | WS_EX_TRANSPARENT;
    const struct {
        int flags;
        DWORD style;
        DWORD extended;
    } rows[] = {
        {WINDOW_FLAG_HIDDEN, WS_OVERLAPPEDWINDOW, 0},
        {0, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_FIXED_SIZE, fixed, 0},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_POPUP, WS_POPUP, 0},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_BORDERLESS, WS_POPUP, 0},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_BORDERLESS | WINDOW_FLAG_FIXED_SIZE, WS_POPUP, 0},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_TOPMOST, WS_OVERLAPPEDWINDOW, WS_EX_TOPMOST},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_APPWINDOW, WS_OVERLAPPEDWINDOW, WS_EX_APPWINDOW},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_TOOLWINDOW, WS_OVERLAPPEDWINDOW, WS_EX_TOOLWINDOW},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_LAYERED, WS_OVERLAPPEDWINDOW, WS_EX_LAYERED},
        {WINDOW_FLAG_HIDDEN | WINDOW_FLAG_CLICK_THROUGH, WS_OVERLAPPEDWINDOW, WS_EX_TRANSPARENT},
    };
    for (const auto &row : rows) {
        PlatformWindow *window = create(static_cast<uint16_t>(row.flags));
        ASSERT_NE(window, nullptr);
        auto style = static_cast<DWORD>(GetWindowLongPtrW(handle_of(window), GWL_STYLE));
        auto extended = static_cast<DWORD>(GetWindowLongPtrW(handle_of(window), GWL_EXSTYLE));
        EXPECT_EQ(style & frame_bits, row.style & frame_bits) << row.flags;
        EXPECT_EQ(extended & extended_bits, row.extended) << row.flags;
        EXPECT_TRUE(extended & WS_EX_ACCEPTFILES) << row.flags;
    }
}

TEST_F(SystemWindow, IsPlacedByTheSystemUnlessItIsBorderless) {
    for (int flags : {0, int{WINDOW_FLAG_POPUP}, int{WINDOW_FLAG_FIXED_SIZE}}) {
        create(static_cast<uint16_t>(program_flags | flags));
        EXPECT_EQ(asked_position.x, CW_USEDEFAULT) << flags;
        EXPECT_EQ(asked_position.y, CW_USEDEFAULT) << flags;
    }
    create(program_flags | WINDOW_FLAG_BORDERLESS);
    EXPECT_EQ(asked_position.x, 0);
    EXPECT_EQ(asked_position.y, 0);
}

TEST_F(SystemWindow, LayeredMakesBlackTransparent) {
    PlatformWindow *window = create(WINDOW_FLAG_HIDDEN | WINDOW_FLAG_LAYERED);
    COLORREF key = 1;
    BYTE alpha = 1;
    DWORD flags = 0;
    ASSERT_TRUE(GetLayeredWindowAttributes(handle_of(window), &key, &alpha, &flags));
    EXPECT_EQ(key, 0u);
    EXPECT_EQ(alpha, 0);
    EXPECT_EQ(flags, static_cast<DWORD>(LWA_COLORKEY));
}

TEST_F(SystemWindow, RequestsAMessageWhenThePointerLeaves) {
    PlatformWindow *window = create();
    os_window_show(window, true);
    drive_settle();
    drive_pointer_to(window, {10, 10});
    os_pump_messages();
    TRACKMOUSEEVENT track = {};
    track.cbSize = sizeof(track);
    track.dwFlags = TME_QUERY;
    ASSERT_TRUE(TrackMouseEvent(&track));
    EXPECT_EQ(track.hwndTrack, handle_of(window));
    EXPECT_EQ(track.dwFlags, DWORD{TME_LEAVE});
}

TEST_F(SystemWindow, CapturesTheMouseWhileAButtonIsHeld) {
    PlatformWindow *window = create();
    os_window_show(window, true);
    os_pump_messages();
    for (uint16_t button : {MOUSE_LEFT, MOUSE_MIDDLE, MOUSE_RIGHT}) {
        drive_press(window, button, {10, 10});
        os_pump_messages();
        EXPECT_EQ(GetCapture(), handle_of(window));
        drive_release(window, button, {10, 10});
        os_pump_messages();
        EXPECT_EQ(GetCapture(), nullptr);
    }
}

namespace {

WNDPROC own_procedure;
int menu_commands;

// Called before the window's own procedure; counts the system commands that the default one sends.
LRESULT CALLBACK count_commands(HWND handle, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_SYSCOMMAND) {
        menu_commands++;
        return 0;
    }
    return CallWindowProcW(own_procedure, handle, message, wparam, lparam);
}

} // namespace

TEST_F(SystemWindow, AnswersAltItselfAndLeavesOtherKeysToTheSystem) {
    constexpr LPARAM with_alt = 0x20000001;
    HWND handle = handle_of(create());
    own_procedure = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(count_commands)));
    menu_commands = 0;
    // The default procedure would turn the release of a lone Alt into the menu's command.
    EXPECT_EQ(SendMessageW(handle, WM_SYSKEYDOWN, VK_MENU, with_alt), 0);
    EXPECT_EQ(SendMessageW(handle, WM_SYSKEYUP, VK_MENU, static_cast<LPARAM>(0xC0000001)), 0);
    os_pump_messages();
    EXPECT_EQ(menu_commands, 0);
    // And it closes the window on Alt+F4.
    SendMessageW(handle, WM_SYSKEYDOWN, VK_F4, with_alt);
    os_pump_messages();
    EXPECT_EQ(menu_commands, 1);
    SetWindowLongPtrW(handle, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(own_procedure));
}

namespace {

LRESULT CALLBACK refuse_windows(int code, WPARAM wparam, LPARAM lparam) {
    return code == HCBT_CREATEWND ? 1 : CallNextHookEx(nullptr, code, wparam, lparam);
}

} // namespace

TEST_F(SystemWindow, IsNullWhenTheSystemCannotCreateIt) {
    HHOOK hook = SetWindowsHookExW(WH_CBT, refuse_windows, nullptr, GetCurrentThreadId());
    ASSERT_NE(hook, nullptr);
    EXPECT_EQ(os_window_create(300, 200, str_from("Tarnwick"), program_flags), nullptr);
    UnhookWindowsHookEx(hook);
    EXPECT_NE(create(), nullptr);
}

TEST_F(SystemWindow, CutsADroppedNameAt2047Units) {
    PlatformWindow *window = create();
    os_set_event_callback(note_drop);
    dropped_names.clear();
    std::string longest = "C:\\" + std::string(2044, 'x');
    std::string wide = "C:\\";
    for (int i = 0; i < 2100; i++) {
        wide += "\xE4\xBD\xA0"; // three bytes a unit, as many as there can be
    }
    HGLOBAL block = static_cast<HGLOBAL>(drive_drop(window, {0, 0}, {longest, longest + "y", wide, "C:\\a"}));
    os_pump_messages();
    EXPECT_NE(GlobalSize(block), 0u); // intentionally not released
    GlobalFree(block);
    ASSERT_EQ(dropped_names.size(), 4u);
    EXPECT_EQ(dropped_names[0], "C:/" + std::string(2044, 'x'));
    EXPECT_EQ(dropped_names[1], "C:/" + std::string(2044, 'x'));
    EXPECT_EQ(dropped_names[2].size(), 3u + 2044 * 3);
    EXPECT_EQ(dropped_names[3], "C:/a");
}

TEST_F(SystemWindow, IgnoresADropWithAnInvalidHandle) {
    PlatformWindow *window = create();
    os_set_event_callback(note_drop);
    dropped_names.clear();
    for (WPARAM handle : {WPARAM{0}, WPARAM{0x830008}}) {
        PostMessageW(handle_of(window), WM_DROPFILES, handle, 0);
    }
    EXPECT_EQ(os_pump_messages(), 2u);
    EXPECT_TRUE(dropped_names.empty());
}

TEST_F(SystemWindow, SetsTheCursorsOfTheTable) {
    create();
    const LPCWSTR names[] = {nullptr,  IDC_ARROW,   IDC_HAND,   IDC_WAIT,   IDC_IBEAM,    IDC_CROSS,   IDC_NO,
                             IDC_HELP, IDC_SIZEALL, IDC_SIZEWE, IDC_SIZENS, IDC_SIZENWSE, IDC_SIZENESW};
    for (uint32_t i = 0; i < 13; i++) {
        os_set_cursor(i);
        EXPECT_EQ(GetCursor(), i == 0 ? nullptr : LoadCursorW(nullptr, names[i])) << i;
    }
    for (uint32_t beyond : {32u, 33u, 0xFFFFFFFFu}) {
        os_set_cursor(beyond);
        EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_SIZENESW));
    }
    os_set_cursor(31);
    EXPECT_EQ(GetCursor(), nullptr);
    os_set_cursor(CURSOR_ARROW);
    EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, IDC_ARROW));
}

TEST_F(SystemWindow, RegistersTheMouseForRawInputAndUnregistersIt) {
    auto registered_for = [] {
        RAWINPUTDEVICE devices[8] = {};
        UINT count = 8;
        UINT found = GetRegisteredRawInputDevices(devices, &count, sizeof(RAWINPUTDEVICE));
        if (found == 0 || found == UINT_MAX) {
            return HWND{};
        }
        EXPECT_EQ(devices[0].usUsagePage, 1);
        EXPECT_EQ(devices[0].usUsage, 2);
        EXPECT_TRUE(devices[0].dwFlags & RIDEV_INPUTSINK);
        return devices[0].hwndTarget;
    };
    PlatformWindow *window = create();
    EXPECT_EQ(registered_for(), nullptr);
    os_window_request_raw_mouse(window); // a new window counts as having the focus
    EXPECT_EQ(registered_for(), handle_of(window));
    EXPECT_EQ(window->input_flags,
              WINDOW_INPUT_RAW_WANTED | WINDOW_INPUT_RAW_ACTIVE | WINDOW_INPUT_RAW_REGISTERED);
    SendMessageW(handle_of(window), WM_KILLFOCUS, 0, 0);
    EXPECT_EQ(registered_for(), nullptr);
    EXPECT_EQ(window->input_flags, WINDOW_INPUT_RAW_WANTED);
    SendMessageW(handle_of(window), WM_SETFOCUS, 0, 0);
    EXPECT_EQ(registered_for(), handle_of(window));
    os_window_destroy(window);
    EXPECT_EQ(registered_for(), nullptr);
}

TEST_F(SystemWindow, EveryClosingMessageClosesIt) {
    for (UINT message : {UINT{WM_CLOSE}, UINT{WM_DESTROY}, UINT{WM_QUIT}, UINT{WM_NCDESTROY}}) {
        PlatformWindow *window = create();
        HWND handle = handle_of(window);
        SendMessageW(handle, message, 0, 0);
        EXPECT_FALSE(window->flags & WINDOW_FLAG_ALIVE) << message;
        EXPECT_FALSE(IsWindow(handle)) << message;
    }
}

TEST_F(SystemWindow, IsClosedWhenTheSystemDestroysIt) {
    PlatformWindow *window = create();
    DestroyWindow(handle_of(window));
    EXPECT_FALSE(window->flags & WINDOW_FLAG_ALIVE);
}

TEST_F(SystemWindow, DescribesTheMonitorsAsTheSystemDoes) {
    uint32_t count = 0;
    const MonitorInfo *monitors = os_get_monitors(&count);
    ASSERT_EQ(count, static_cast<uint32_t>(GetSystemMetrics(SM_CMONITORS)));
    RECT work;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    EXPECT_EQ(monitors[0].work_area.x, work.left);
    EXPECT_EQ(monitors[0].work_area.y, work.top);
    EXPECT_EQ(monitors[0].work_area.width, work.right - work.left);
    EXPECT_EQ(monitors[0].work_area.height, work.bottom - work.top);
    EXPECT_EQ(monitors[0].resolution.width, GetSystemMetrics(SM_CXSCREEN));
    EXPECT_EQ(monitors[0].resolution.height, GetSystemMetrics(SM_CYSCREEN));
    EXPECT_EQ(std::string(monitors[0].name.data, monitors[0].name.count).substr(0, 11), "\\\\.\\DISPLAY");
    EXPECT_EQ(monitors[0].handle, MonitorFromPoint({0, 0}, MONITOR_DEFAULTTOPRIMARY));
}

namespace {

int frames_asked;

// Handles the window's messages until at least that many frames have been requested.
void pump_for_frames(int count) {
    for (int waits = 0; frames_asked < count && waits < 1000; waits++) {
        os_pump_messages();
        Sleep(5);
    }
}

} // namespace

TEST_F(SystemWindow, AsksForFramesByATimerWhileTheSystemRunsItsOwnLoop) {
    const UINT loops[][2] = {{WM_ENTERSIZEMOVE, WM_EXITSIZEMOVE}, {WM_ENTERMENULOOP, WM_EXITMENULOOP}};
    os_set_frame_callback([](PlatformWindow *) { frames_asked++; }, 10);
    for (const auto &loop : loops) {
        PlatformWindow *window = create();
        frames_asked = 0;
        SendMessageW(handle_of(window), WM_TIMER, 1, 0);
        EXPECT_EQ(frames_asked, 0);
        SendMessageW(handle_of(window), loop[0], 0, 0);
        pump_for_frames(3);
        EXPECT_GE(frames_asked, 3);
        SendMessageW(handle_of(window), loop[1], 0, 0);
        frames_asked = 0;
        EXPECT_FALSE(KillTimer(handle_of(window), 1)); // it was stopped
        SendMessageW(handle_of(window), WM_TIMER, 1, 0);
        EXPECT_EQ(frames_asked, 0);
    }
    os_set_frame_callback(nullptr, 0);
}

TEST_F(SystemWindow, HasNoIconWhenTheProgramHasNone) {
    PlatformWindow *window = create();
    EXPECT_EQ(SendMessageW(handle_of(window), WM_GETICON, ICON_BIG, 0), 0);
}
