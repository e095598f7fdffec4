#include "app/scrolling.h"

#include <algorithm>

#include "app/settings.h"
#include "render/draw.h"
#include "search/results_store.h"
#include "search/search_state.h"

void results_scroll_by(int32_t direction, int32_t client_height) {
    // A request that is taken in between is scrolled like the list before it.
    int32_t step = static_cast<int32_t>(client_height * 0.2 / settings.line_height);
    int64_t scroll = search_state.results_scroll - int64_t{direction} * std::max(step, 1);
    search_state.results_scroll = static_cast<int32_t>(std::clamp<int64_t>(scroll, 0, INT32_MAX));
}

void draw_scroll_bar(Framebuffer *framebuffer, int32_t list_top, int32_t first_visible_hit) {
    int32_t area = framebuffer->height - list_top;
    int64_t hits = static_cast<int64_t>(results_store.hit_table.count);
    int64_t content = hits * settings.line_height;
    if (area <= 0 || area > content) {
        return; // an area of no height shows nothing
    }
    int32_t shortest = std::min(area, 20);
    int32_t length = std::max(static_cast<int32_t>(int64_t{area} * area / content), shortest);
    int64_t share_above = int64_t{area} * first_visible_hit / hits;
    int32_t offset = static_cast<int32_t>(std::min<int64_t>(share_above, area - shortest));
    length = std::min(length, area - offset);
    int32_t x = framebuffer->width - 10;
    ClipSize clip = whole_of(framebuffer);
    fill_rect(framebuffer, clip, {x - 1, list_top, 1, area}, 0xFF505050);
    fill_rect(framebuffer, clip, {x, list_top, 10, area}, 0xFF323232);
    Rect thumb = {x, list_top + offset, 10, length};
    fill_rect(framebuffer, clip, thumb, 0xFF646464);
    fill_outline(framebuffer, clip, thumb, 1, 0xFFA0A0A0);
    constexpr int32_t grip_offsets[] = {-8, -1, 6};
    for (int32_t from_middle : grip_offsets) {
        int32_t grip = length / 2 + from_middle;
        if (grip >= 1 && grip + 2 < length) { // a short list has no room for all of them
            fill_rect(framebuffer, clip, {framebuffer->width - 6, thumb.y + grip, 2, 2}, 0xFFC8C8C8);
        }
    }
}
