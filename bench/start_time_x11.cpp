// Time from a program's start to its first frame on the screen: start_time ROUNDS PROGRAM... prints a line of
// milliseconds for each program, the median last. The programs take turns. A frame shows when the pixel in
// the middle of the screen, where the windows open, has changed.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

constexpr unsigned int longest_wait_s = 20;

double now_ms() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

unsigned long middle_pixel(Display *display) {
    int screen = DefaultScreen(display);
    XImage *image = XGetImage(display, RootWindow(display, screen), DisplayWidth(display, screen) / 2,
                              DisplayHeight(display, screen) / 2, 1, 1, AllPlanes, ZPixmap);
    unsigned long pixel = XGetPixel(image, 0, 0);
    XDestroyImage(image);
    return pixel;
}

// Milliseconds of one start. A program that shows no frame ends this one, too.
double start(Display *display, const char *program) {
    alarm(longest_wait_s);
    unsigned long before = middle_pixel(display);
    double begin = now_ms();
    pid_t child = fork();
    if (child == 0) {
        if (freopen("/dev/null", "w", stdout)) { // window_demo prints its events
            execl(program, program, static_cast<char *>(nullptr));
        }
        _exit(1);
    }
    while (middle_pixel(display) == before) {
    }
    double end = now_ms();
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
    while (middle_pixel(display) != before) {
        usleep(1000);
    }
    return end - begin;
}

} // namespace

int main(int argc, char **argv) {
    Display *display = XOpenDisplay(nullptr);
    if (argc < 3 || !display) {
        fprintf(stderr, "start_time ROUNDS PROGRAM..., on an X display\n");
        return 2;
    }
    std::vector<std::vector<double>> times(static_cast<size_t>(argc - 2));
    for (int round = 0; round < atoi(argv[1]); round++) {
        for (size_t i = 0; i < times.size(); i++) {
            times[i].push_back(start(display, argv[i + 2]));
        }
    }
    for (size_t i = 0; i < times.size(); i++) {
        printf("%s:", argv[i + 2]);
        for (double ms : times[i]) {
            printf(" %.1f", ms);
        }
        std::sort(times[i].begin(), times[i].end());
        printf("; median %.1f ms\n", times[i].empty() ? 0 : times[i][times[i].size() / 2]);
    }
    return 0;
}
