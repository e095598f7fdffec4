#include <math.h>

#include <X11/Xatom.h>
#include <X11/extensions/Xrandr.h>

#include "os/linux/native_window.h"
#include "os/linux/x11.h"
#include "os/memory.h"
#include "os/window_backend.h"

namespace {

struct MonitorList {
    MonitorInfo *monitors;
    uint32_t count;
    Point origin; // the primary monitor's, in root coordinates
};
MonitorList list;

// The desktop's work area across all monitors; the whole desktop if the window manager publishes none.
Rect desktop_work_area() {
    Display *display = x11_display();
    int screen = DefaultScreen(display);
    Rect whole = {0, 0, DisplayWidth(display, screen), DisplayHeight(display, screen)};
    Window root = RootWindow(display, screen);
    constexpr uint64_t most_desktops = 1024;
    unsigned long areas[4 * most_desktops];
    uint64_t count =
        x11_read_numbers(root, x11_atom(ATOM_NET_WORKAREA), XA_CARDINAL, areas, 4 * most_desktops);
    unsigned long desktop = 0;
    x11_read_numbers(root, x11_atom(ATOM_NET_CURRENT_DESKTOP), XA_CARDINAL, &desktop, 1);
    if (desktop >= count / 4) {
        return whole;
    }
    const unsigned long *area = areas + 4 * desktop;
    Rect work = {static_cast<int16_t>(area[0]), static_cast<int16_t>(area[1]), static_cast<uint16_t>(area[2]),
                 static_cast<uint16_t>(area[3])};
    return rect_intersection(work, whole);
}

// Sets the resolution and the refresh rate from the mode of the monitor's first output.
void set_mode(MonitorInfo *monitor, const XRRMonitorInfo &system, XRRScreenResources *resources) {
    Size resolution = {};
    double rate = 0;
    Display *display = x11_display();
    XRROutputInfo *output =
        resources && system.noutput > 0 ? XRRGetOutputInfo(display, resources, system.outputs[0]) : nullptr;
    XRRCrtcInfo *crtc = output && output->crtc ? XRRGetCrtcInfo(display, resources, output->crtc) : nullptr;
    if (crtc) {
        resolution = {static_cast<int32_t>(crtc->width), static_cast<int32_t>(crtc->height)};
        for (int i = 0; i < resources->nmode; i++) {
            const XRRModeInfo &mode = resources->modes[i];
            double pixels = static_cast<double>(mode.hTotal) * mode.vTotal;
            if (mode.id == crtc->mode && pixels > 0) {
                double scans = (mode.modeFlags & RR_Interlace)    ? 2
                               : (mode.modeFlags & RR_DoubleScan) ? 0.5
                                                                  : 1;
                rate = static_cast<double>(mode.dotClock) / pixels * scans;
            }
        }
        XRRFreeCrtcInfo(crtc);
    }
    if (output) {
        XRRFreeOutputInfo(output);
    }
    uint32_t hertz = rate < 1000 ? static_cast<uint32_t>(lround(rate)) : 0;
    monitor_set_mode(monitor, resolution, {system.width, system.height}, hertz);
}

// Describes the monitors, in root coordinates. Returns how many; fewer than count when out of memory.
uint32_t describe_monitors(const XRRMonitorInfo *systems, uint32_t count) {
    Display *display = x11_display();
    XRRScreenResources *resources = XRRGetScreenResourcesCurrent(display, DefaultRootWindow(display));
    Rect desktop = desktop_work_area();
    uint32_t described = 0;
    for (uint32_t i = 0; i < count; i++) {
        const XRRMonitorInfo &system = systems[i];
        MonitorInfo *monitor = &list.monitors[i];
        Rect whole = {system.x, system.y, system.width, system.height};
        Rect work = rect_intersection(whole, desktop);
        monitor->flags = system.primary ? MONITOR_FLAG_PRIMARY : 0;
        monitor->work_area = work.width > 0 && work.height > 0 ? work : whole;
        monitor->origin = {whole.x, whole.y};
        set_mode(monitor, system, resources);
        char *name = system.name ? XGetAtomName(display, system.name) : nullptr;
        monitor->name = str_copy(str_from(name ? name : "screen"));
        if (name) {
            XFree(name);
        }
        monitor->handle = reinterpret_cast<void *>(uintptr_t{i + 1});
        described += monitor->name.data != nullptr;
    }
    if (resources) {
        XRRFreeScreenResources(resources);
    }
    return described;
}

// The whole screen as one monitor, for servers that report none.
XRRMonitorInfo whole_screen() {
    Display *display = x11_display();
    XRRMonitorInfo screen = {};
    screen.width = DisplayWidth(display, DefaultScreen(display));
    screen.height = DisplayHeight(display, DefaultScreen(display));
    return screen;
}

void forget_monitors(uint32_t count) {
    for (uint32_t i = 0; i < count; i++) {
        os_free(list.monitors[i].name.data);
    }
    os_free(list.monitors);
    list = {};
}

// Lists all monitors, or none when out of memory: a partial list might lack the primary one.
void find_monitors(const XRRMonitorInfo *systems, uint32_t count) {
    list.monitors = static_cast<MonitorInfo *>(os_alloc_zero(count * sizeof(MonitorInfo)));
    if (!list.monitors) {
        return;
    }
    if (describe_monitors(systems, count) < count) {
        forget_monitors(count);
        return;
    }
    list.count = count;
    monitors_put_primary_first(list.monitors, count);
    list.monitors[0].flags = MONITOR_FLAG_PRIMARY; // the first one if the user has chosen none
    list.origin = list.monitors[0].origin;
    for (uint32_t i = 0; i < count; i++) {
        MonitorInfo *monitor = &list.monitors[i];
        monitor->origin.x -= list.origin.x;
        monitor->origin.y -= list.origin.y;
        monitor->work_area.x -= list.origin.x;
        monitor->work_area.y -= list.origin.y;
    }
}

} // namespace

const MonitorInfo *os_get_monitors(uint32_t *count) {
    Display *display = x11_display();
    if (list.count == 0 && display) {
        int event_base = 0;
        int error_base = 0;
        int found = 0;
        int major = 0;
        int minor = 0;
        bool has_monitors = XRRQueryExtension(display, &event_base, &error_base) &&
                            XRRQueryVersion(display, &major, &minor) && (major > 1 || minor >= 5);
        XRRMonitorInfo *systems =
            has_monitors ? XRRGetMonitors(display, DefaultRootWindow(display), True, &found) : nullptr;
        XRRMonitorInfo screen = whole_screen();
        if (found > 0) {
            find_monitors(systems, static_cast<uint32_t>(found));
        } else {
            find_monitors(&screen, 1);
        }
        if (systems) {
            XRRFreeMonitors(systems);
        }
    }
    *count = list.count;
    return list.count ? list.monitors : nullptr;
}

Point primary_monitor_origin() {
    uint32_t count = 0;
    os_get_monitors(&count);
    return list.origin;
}
