// Time from a program's start to its first frame on the screen: start_time ROUNDS PROGRAM... prints a line of
// milliseconds for each program, the median last. The programs take turns. A frame shows when the middle of
// the window's lower edge has the background colour.
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr COLORREF background = RGB(0x1A, 0x1A, 0x1A);
constexpr DWORD longest_wait_ms = 20000;

double now_ms() {
    LARGE_INTEGER ticks, frequency;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(ticks.QuadPart) / static_cast<double>(frequency.QuadPart);
}

bool shows_a_frame(HWND window) {
    RECT area;
    if (!window || !IsWindowVisible(window) || !GetClientRect(window, &area)) {
        return false;
    }
    POINT place = {area.right / 2, area.bottom - 10};
    ClientToScreen(window, &place);
    HDC screen = GetDC(nullptr);
    COLORREF colour = GetPixel(screen, place.x, place.y);
    ReleaseDC(nullptr, screen);
    return colour == background;
}

// Milliseconds of one start; exits when no frame shows.
double start(const char *program) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    double begin = now_ms();
    if (!CreateProcessA(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        fprintf(stderr, "cannot start %s\n", program);
        exit(1);
    }
    HWND window = nullptr;
    while (!shows_a_frame(window)) {
        window = FindWindowA("lum_sharedWindowClass", nullptr);
        if (now_ms() - begin > longest_wait_ms) {
            fprintf(stderr, "no frame of %s\n", program);
            exit(1);
        }
    }
    double end = now_ms();
    PostMessageA(window, WM_CLOSE, 0, 0);
    WaitForSingleObject(process.hProcess, longest_wait_ms);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return end - begin;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        fprintf(stderr, "start_time ROUNDS PROGRAM...\n");
        return 2;
    }
    std::vector<std::vector<double>> times(static_cast<size_t>(argc - 2));
    for (int round = 0; round < atoi(argv[1]); round++) {
        for (size_t i = 0; i < times.size(); i++) {
            times[i].push_back(start(argv[i + 2]));
        }
    }
    for (size_t i = 0; i < times.size(); i++) {
        printf("%s:", argv[i + 2]);
        for (double ms : times[i]) {
            printf(" %.0f", ms);
        }
        std::sort(times[i].begin(), times[i].end());
        printf("; median %.0f ms\n", times[i].empty() ? 0 : times[i][times[i].size() / 2]);
    }
    return 0;
}
