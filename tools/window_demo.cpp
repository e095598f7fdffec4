// Opens a window, draws a few lines of text and prints one line for each event: window_demo [PICTURE]. F12
// writes the framebuffer to the file PICTURE, as a binary PPM.
#include <stdio.h>
#include <string.h>

#include "os/clock.h"
#include "os/console.h"
#include "os/files.h"
#include "os/memory.h"
#include "os/window.h"
#include "render/draw.h"
#include "render/font.h"
#include "render/text.h"

namespace {

constexpr uint16_t key_f12 = 0x7B;

Str picture_path;
PlatformWindow *window;

// Writes the framebuffer, and prints its size when the file is complete.
void write_picture() {
    const Framebuffer &framebuffer = window->framebuffer;
    uint64_t pixels = static_cast<uint64_t>(framebuffer.width) * static_cast<uint64_t>(framebuffer.height);
    char header[64];
    int32_t header_size =
        snprintf(header, sizeof(header), "P6\n%d %d\n255\n", framebuffer.width, framebuffer.height);
    uint64_t size = static_cast<uint64_t>(header_size) + pixels * 3;
    char *bytes = static_cast<char *>(os_alloc(size));
    if (!bytes) {
        return;
    }
    memcpy(bytes, header, static_cast<size_t>(header_size));
    char *to = bytes + header_size;
    for (uint64_t i = 0; i < pixels; i++) {
        uint32_t pixel = framebuffer.pixels[i];
        *to++ = static_cast<char>(pixel >> 16);
        *to++ = static_cast<char>(pixel >> 8);
        *to++ = static_cast<char>(pixel);
    }
    os_file_delete(picture_path);
    if (os_file_write(picture_path, static_cast<uint32_t>(size), bytes) == 0) {
        os_print("picture %d %d\n", framebuffer.width, framebuffer.height);
    }
    os_free(bytes);
}

void print_event(const WindowEvent *event) {
    switch (event->type) {
    case EVENT_MOUSE_MOVE:
        os_print("mouse_move %d %d\n", event->mouse.position.x, event->mouse.position.y);
        break;
    case EVENT_MOUSE_ENTER:
        os_print("mouse_enter %d %d\n", event->mouse.position.x, event->mouse.position.y);
        break;
    case EVENT_MOUSE_LEAVE:
        os_print("mouse_leave %d %d\n", event->mouse.position.x, event->mouse.position.y);
        break;
    case EVENT_MOUSE_BUTTON:
        os_print("mouse_button 0x%x %d %d %d\n", event->button.button, event->button.position.x,
                 event->button.position.y, event->button.state);
        break;
    case EVENT_MOUSE_WHEEL:
        os_print("mouse_wheel %d %d %d\n", event->wheel.position.x, event->wheel.position.y,
                 event->wheel.direction);
        break;
    case EVENT_KEY:
        os_print("key 0x%x %d\n", event->key.code, event->key.state);
        if (event->key.code == key_f12 && event->key.state == KEY_PRESSED && picture_path.count > 0) {
            write_picture();
        }
        break;
    case EVENT_CHAR:
        os_print("char 0x%x\n", event->character.unit);
        break;
    case EVENT_WINDOW_MOVED:
        os_print("moved %d %d\n", event->moved.x, event->moved.y);
        break;
    case EVENT_WINDOW_RESIZED:
        os_print("resized %d %d\n", event->resized.width, event->resized.height);
        break;
    case EVENT_FOCUS:
        os_print("focus %d\n", event->focus.is_gained);
        break;
    case EVENT_FILES_DROPPED: {
        os_print("files_dropped %d %d %d", event->dropped.position.x, event->dropped.position.y,
                 event->dropped.count);
        const char *name = event->dropped.names;
        for (int32_t i = 0; i < event->dropped.count; i++) {
            os_print(" %s", name);
            name += strlen(name) + 1;
        }
        os_print("\n");
        break;
    }
    case EVENT_WINDOW_CLOSED:
        os_print("closed\n");
        break;
    }
}

void draw(Framebuffer *framebuffer) {
    Rect whole = whole_of(framebuffer);
    fill_rect(framebuffer, whole, whole, 0xFF1A1A1A);
    draw_text(framebuffer, {10, 30}, 20, 20, 0xFFFFFF00,
              str_from("Tarnwick shows what happens to this window."));
    draw_text(
        framebuffer, {10, 60}, 14, 17, 0xFFFFFFFF,
        str_from("Move the mouse, press its buttons, turn the wheel, type, drop files.\n"
                 "Every event is printed as a line: \"mouse_button 0x104 120 80 2\" is a double press.\n"
                 "\ttabs, AVATAR Typography 0123456789 {}[]()<>;:,. !?#$%&*+-/=@\\^_`|~"));
    draw_text(framebuffer, {10, 120}, 14, 17, 0x8000FFFF, str_from("Half transparent, over what is there."));
    for (int32_t i = 0; i < 16; i++) {
        uint32_t alpha = static_cast<uint32_t>(i * 17);
        blend_rect(framebuffer, whole, {10 + i * 24, 140, 20, 40}, alpha << 24 | 0x00FF0000);
        blend_rect(framebuffer, whole, {10 + i * 24, 165, 20, 40}, alpha << 24 | 0x0000FF00);
    }
    // A line along the window's edges, so that a shift by one pixel shows.
    fill_rect(framebuffer, whole, {0, 0, framebuffer->width, 1}, 0xFFFF0000);
    fill_rect(framebuffer, whole, {0, framebuffer->height - 1, framebuffer->width, 1}, 0xFF00FF00);
    fill_rect(framebuffer, whole, {0, 0, 1, framebuffer->height}, 0xFF0000FF);
    fill_rect(framebuffer, whole, {framebuffer->width - 1, 0, 1, framebuffer->height}, 0xFFFF00FF);
}

// The default font beside the program, or null when there is none.
uint8_t load_font() {
    StrBuf path;
    strbuf_init(&path, 1024);
    Str folder = os_exe_folder();
    Str name = str_from("source_code_pro.otf");
    strbuf_append(&path, folder.count, folder.data);
    strbuf_append(&path, name.count, name.data);
    font = font_load(strbuf_text(&path));
    os_free(path.data);
    return font.sizes.capacity > 0;
}

} // namespace

int main(int argc, char **argv) {
    os_init();
    picture_path = argc > 1 ? str_from(argv[1]) : Str{};
    if (!load_font()) {
        os_print("no font beside the program\n");
        return 1;
    }
    uint32_t monitor_count = 0;
    const MonitorInfo *monitors = os_get_monitors(&monitor_count);
    window = os_window_create(720, 300, str_from("Tarnwick window demo"),
                              WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
    if (!window || monitor_count == 0) {
        os_print("no window\n");
        return 1;
    }
    os_window_center(window, monitors);
    os_set_event_callback(print_event);
    os_window_show(window, 1);
    for (;;) {
        uint32_t count = os_pump_messages();
        if (!(window->flags & WINDOW_FLAG_ALIVE)) {
            return 0;
        }
        if (count > 0) {
            draw(&window->framebuffer);
            os_window_blit(window);
            os_set_cursor(CURSOR_ARROW);
        }
        os_sleep_ms(5);
    }
}
