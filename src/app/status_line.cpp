#include "app/status_line.h"

#include <algorithm>

#include <string.h>

#include "actions/command_template.h"
#include "app/results_view.h"
#include "app/settings.h"
#include "os/errors.h"
#include "render/draw.h"
#include "search/search_state.h"
#include "ui/input_state.h"
#include "ui/theme.h"

// ---- The text ----

namespace {

void put(StatusText *text, Str added) {
    uint64_t room = sizeof(text->bytes) - text->count;
    for (uint64_t i = 0; i < std::min(added.count, room); i++) {
        char byte = added.data[i];
        bool is_control = static_cast<uint8_t>(byte) < ' ';
        text->bytes[text->count++] = is_control ? ' ' : byte;
    }
}

void put(StatusText *text, const char *added) {
    put(text, str_from(added));
}

// With thousands separators.
void put_number(StatusText *text, uint64_t number) {
    char digits[26];
    uint64_t start = sizeof(digits);
    for (uint64_t count = 0; count == 0 || number > 0; count++) {
        if (count > 0 && count % 3 == 0) {
            digits[--start] = ',';
        }
        digits[--start] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    put(text, {sizeof(digits) - start, digits + start});
}

void put_count(StatusText *text, uint64_t count, const char *noun) {
    put_number(text, count);
    put(text, noun);
    put(text, count == 1 ? "" : "s");
}

void put_seconds(StatusText *text, int64_t us) {
    uint64_t hundredths = static_cast<uint64_t>(std::max<int64_t>(us, 0) + 5000) / 10000;
    put_number(text, hundredths / 100);
    char fraction[] = {'.', static_cast<char>('0' + hundredths / 10 % 10),
                       static_cast<char>('0' + hundredths % 10)};
    put(text, {sizeof(fraction), fraction});
    put(text, " s");
}

void put_finished(StatusText *text, const SearchCounts &counts) {
    if (counts.hits > 0) {
        put_count(text, counts.hits, " hit");
        put(text, " in ");
        put_number(text, counts.files_with_hits);
        put(text, " of ");
    } else {
        put(text, "No hits in ");
    }
    put_count(text, counts.files, " file");
    put(text, ", ");
    put_seconds(text, counts.us);
    if (counts.too_large + counts.unreadable > 0) {
        put(text, "; skipped: ");
    }
    if (counts.too_large > 0) {
        put_number(text, counts.too_large);
        put(text, counts.unreadable > 0 ? " too large, " : " too large");
    }
    if (counts.unreadable > 0) {
        put_number(text, counts.unreadable);
        put(text, " unreadable");
    }
}

} // namespace

void status_of_search(const SearchCounts &counts, StatusText *text) {
    text->count = 0;
    text->is_problem = false;
    switch (counts.outcome) {
    case SEARCH_NONE:
        return;
    case SEARCH_RUNS:
        put(text, "Searching: ");
        put_count(text, counts.files, " file");
        put(text, ", ");
        put_count(text, counts.hits, " hit");
        return;
    case SEARCH_FINISHED:
        put_finished(text, counts);
        return;
    case SEARCH_NO_SUCH_FOLDER:
        put(text, "No such folder");
        break;
    case SEARCH_NOT_A_FOLDER:
        put(text, "Not a folder");
        break;
    case SEARCH_UNREADABLE_FOLDER:
        put(text, "Folder not readable");
        break;
    case SEARCH_PATH_ENDS_IN_SLASH:
        put(text, "Not searched: the path ends in /");
        break;
    }
    text->is_problem = true;
}

void status_of_failed_start(Str cmd, uint32_t error, StatusText *text) {
    char message[512];
    text->count = 0;
    text->is_problem = true;
    put(text, "Not started (");
    put(text, os_error_text(error, message));
    put(text, "): ");
    put(text, cmd);
}

// ---- The row ----

namespace {

SearchCounts shown;              // in the last frame
StatusText failed_start;         // of the last click's command; empty: none
uint32_t failure_request_number; // requests_published at that click

} // namespace

void status_line_command_run(uint32_t error) {
    failed_start.count = 0;
    if (settings.status_line && error != 0) {
        status_of_failed_start(strbuf_text(&row_text), error, &failed_start);
        failure_request_number = search_state.requests_published;
    }
}

void status_line_begin_frame() {
    shown = search_counts_now(); // before search_busy is read, so the end of a search is not missed
    if (ui_went_down(MOUSE_LEFT) || ui_went_down(MOUSE_RIGHT)) {
        failed_start.count = 0;
    }
}

bool status_line_is_outdated() {
    return settings.status_line && search_counts_now() != shown;
}

void draw_status_line(Framebuffer *framebuffer, int32_t top, const Layout &layout) {
    Rect row = {0, top, framebuffer->width, framebuffer->height - top};
    fill_rect(framebuffer, whole_of(framebuffer), row, theme::status_background);
    StatusText text = failed_start;
    if (text.count == 0 || failure_request_number != search_state.requests_published) {
        status_of_search(shown, &text);
    }
    Layout line = layout;
    line.y = top + theme::status_padding / 2;
    draw_row_text(framebuffer, &line, theme::status_x,
                  text.is_problem ? theme::status_problem : theme::status_text, {text.count, text.bytes});
}
