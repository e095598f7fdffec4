// Window styles and the list of monitors, for the layer's own files.
#pragma once

#include <stdint.h>
#include <windows.h>

// The part of a window's style that its WindowFlag bits decide.
DWORD window_frame_style(uint16_t flags);

// Calls visit(HMONITOR, const MONITORINFOEXW &) for each monitor, in the system's order, until it returns
// false.
template <typename Visit> void each_monitor(Visit visit) {
    auto visit_next = [](HMONITOR handle, HDC, RECT *, LPARAM opaque) -> BOOL {
        MONITORINFOEXW info = {};
        info.cbSize = sizeof(info);
        return !GetMonitorInfoW(handle, &info) || (*reinterpret_cast<Visit *>(opaque))(handle, info);
    };
    EnumDisplayMonitors(nullptr, nullptr, visit_next, reinterpret_cast<LPARAM>(&visit));
}
