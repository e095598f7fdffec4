#include "app/scrolling.h"

#include <algorithm>

#include "app/list_keys.h"
#include "app/settings.h"
#include "render/draw.h"
#include "search/results_store.h"
#include "search/search_state.h"
#include "ui/theme.h"

int32_t list_bottom(int32_t client_height) {
    if (!settings.status_line) {
        return client_height;
    }
    int64_t fields = theme::first_row_y + 2 * (int64_t{settings.line_height} + theme::field_padding);
    int64_t row = int64_t{settings.line_height} + theme::status_padding;
    return static_cast<int32_t>(std::max(client_height - row, std::min<int64_t>(fields, client_height)));
}

void results_scroll_to(int64_t row) {
    search_state.results_scroll = static_cast<int32_t>(std::clamp<int64_t>(row, 0, INT32_MAX));
}

void results_scroll_by(int32_t direction, int32_t client_height) {
    int32_t step = static_cast<int32_t>(list_bottom(client_height) * 0.2 / settings.line_height);
    results_scroll_to(search_state.results_scroll - int64_t{direction} * std::max(step, 1));
}

ScrollThumb scroll_thumb(int32_t area, int32_t first_visible_hit) {
    int64_t hits = static_cast<int64_t>(results_store.hit_table.count);
    int64_t content = hits * settings.line_height;
    if (area <= 0 || area > content) {
        return {};
    }
    int32_t shortest = std::min(area, theme::shortest_thumb);
    int32_t length = std::max(static_cast<int32_t>(int64_t{area} * area / content), shortest);
    if (settings.list_keys) {
        return {list_keys_thumb_offset(area - length, first_visible_hit), length};
    }
    int64_t share_above = int64_t{area} * first_visible_hit / hits;
    int32_t offset = static_cast<int32_t>(std::min<int64_t>(share_above, area - shortest));
    return {offset, std::min(length, area - offset)};
}

void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit) {
    int32_t area = framebuffer->height - list_top;
    auto [offset, length] = scroll_thumb(area, first_visible_hit);
    if (length == 0) {
        return;
    }
    constexpr int32_t width = theme::scroll_bar_width, border = theme::scroll_border_width;
    constexpr int32_t outline = theme::thumb_outline_thickness, grip = theme::grip_size;
    int32_t x = framebuffer->width - width;
    ClipSize clip = whole_of(framebuffer);
    fill_rect(framebuffer, clip, {x - border, list_top, border, area}, theme::scroll_border);
    fill_rect(framebuffer, clip, {x, list_top, width, area}, theme::scroll_track);
    Rect thumb = {x, list_top + offset, width, length};
    fill_rect(framebuffer, clip, thumb, theme::thumb);
    fill_outline(framebuffer, clip, thumb, outline, theme::thumb_outline);
    for (int32_t from_middle : theme::grip_ys) {
        int32_t y = length / 2 + from_middle;
        if (y >= outline && y + grip <= length - outline) { // a short thumb has no room for all
            fill_rect(framebuffer, clip, {framebuffer->width - theme::grip_x, thumb.y + y, grip, grip},
                      theme::grip);
        }
    }
}
