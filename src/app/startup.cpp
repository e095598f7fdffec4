#include "app/startup.h"

#include "app/command_line.h"
#include "app/frame.h"
#include "app/input.h"
#include "app/settings.h"
#include "os/arrays.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/field_state.h"
#include "ui/line_editor.h"
#include "ui/saved_entries.h"
#include "ui/saved_files.h"
#include "ui/theme.h"

PlatformWindow *startup_open_window() {
    uint32_t monitor_count = 0;
    const MonitorInfo *monitor = os_get_monitors(&monitor_count);
    if (monitor_count == 0) {
        return nullptr;
    }
    int32_t height = static_cast<int32_t>(monitor->work_area.height * theme::window_height);
    PlatformWindow *window =
        os_window_create(theme::window_width, height, str_from("Tarnwick  |  " TARNWICK_VERSION),
                         WINDOW_FLAG_FRAMEBUFFER | WINDOW_FLAG_HIDDEN);
    if (!window) {
        return nullptr;
    }
    os_window_center(window, monitor);
    os_window_show(window, true);
    os_set_event_callback(input_handle_event);
    frame_clock_start(monitor->refresh_rate);
    int64_t frame_ms = frame_clock.target_us / 1000;
    os_set_frame_callback(frame_in_system_loop, frame_ms > 0 ? static_cast<uint32_t>(frame_ms) : 1);
    return window;
}

namespace {

// Intentionally reserved like the other buffers, though nothing uses them.
StrBuf unused_texts[2];
constexpr uint64_t unused_text_capacity = 128; // bytes

} // namespace

void startup_reserve_buffers() {
    strbuf_init(&search_state.path, reserved_text_size);
    strbuf_init(&search_state.query, reserved_text_size);
    strbuf_init(&unused_texts[0], unused_text_capacity);
    strbuf_init(&unused_texts[1], unused_text_capacity);
    results_store_reserve_files_and_hits();
    saved_lists_reserve();
    results_store_reserve_folders();
    dynarray_init(&input_field.caret_list, sizeof(Caret), reserved_carets);
}

void startup_load(Str folder, Str command_line) {
    settings_load(folder);
    saved_folder = folder;
    saved_list_load(&path_field, settings.remember_last_path);
    saved_list_load(&query_field, settings.remember_last_query);
    command_line_apply(command_line);
}

void startup_focus() {
    input_field.focused_field = &query_field;
    field_set_single_caret(0, field_text_end(&query_field));
    saved_mark_update(&query_field);
}
