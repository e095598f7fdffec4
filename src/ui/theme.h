// The look of the window: its size, and all its colours, margins and offsets. Colours are 0xAARRGGBB; all
// else is in pixels, unless a comment says otherwise.
#pragma once

#include <stdint.h>

namespace theme {

constexpr uint32_t white(uint32_t alpha) {
    return alpha << 24 | 0xFFFFFF;
}

// ---- The window ----

inline constexpr int32_t window_width = 1000;
inline constexpr double window_height = 0.9; // of the monitor's work area

// ---- Text, if settings.txt has no font_size ----

inline constexpr int32_t default_font_size = 14;
inline constexpr int32_t default_line_height = 15;
inline constexpr int32_t default_text_y_offset = 12;

// ---- The frame ----

inline constexpr uint32_t background = 0xFF1A1A1A;
inline constexpr int32_t first_row_x = 6;
inline constexpr int32_t first_row_y = 4;
inline constexpr uint32_t busy_frame = 0xFFFFFF00;
inline constexpr int32_t busy_frame_thickness = 2;

// ---- Fields ----

inline constexpr int32_t field_padding = 8; // height of a field's row beyond the line height
inline constexpr uint32_t focused_field = 0xFF323232;
inline constexpr uint32_t hovered_field_text = white(255);
inline constexpr uint32_t focused_field_text = white(220);
inline constexpr uint32_t field_text = white(140);
inline constexpr uint32_t completion = 0xFF7F7F7F;
inline constexpr uint32_t underline = 0xFF505050;
inline constexpr int32_t underline_thickness = 1;

inline constexpr uint32_t caret = 0xC8FFFFFF;
inline constexpr int32_t caret_width = 2;
inline constexpr uint32_t selection = 0x32FFFFFF;
inline constexpr uint32_t selection_outline = 0xC8FFFFFF;
inline constexpr int32_t selection_outline_thickness = 1;
inline constexpr int32_t smallest_selection = 3; // a narrower or lower one is filled like its outline too

inline constexpr int32_t button_margin = 2; // around the square button of a row
inline constexpr uint32_t button[2][2] = {
    // by whether the mouse is over it, then by its state
    {0xFF505050, 0xFFFFFF00},
    {0xFF969696, 0xFFFF0000},
};

// ---- The drop-down ----

inline constexpr int32_t entry_padding = 2; // height of an entry's row beyond the line height
inline constexpr int32_t entry_text_x = 2;  // after a square at the row's left
inline constexpr int32_t entry_text_y = 1;  // added to text_y_offset
inline constexpr uint32_t hovered_entry_text = white(255);
inline constexpr uint32_t entry_text = white(180);

// ---- Suggestions and results ----

inline constexpr int32_t folder_x = 10;
inline constexpr uint32_t matching_folder = 0xFF00FFFF;
inline constexpr uint32_t other_folder = 0xFF7F7F7F;

inline constexpr int32_t file_x = 10;
inline constexpr uint32_t file_name = 0xFFFFFF00;
inline constexpr uint32_t file_folder = 0xFF7F7F7F;
constexpr int32_t file_folder_gap(int32_t font_size) { // after the name
    return font_size / 2;
}

inline constexpr int32_t hit_x = 30;
inline constexpr uint32_t line_number = 0xFF00FFFF;
inline constexpr uint32_t line_text = 0xFFFFFFFF;
inline constexpr uint32_t hovered_line_text = 0xFF00FF00;
inline constexpr uint32_t selected_hit = 0xFF264058; // background of the row

inline constexpr double wheel_step = 0.2; // of the client height

// ---- The scroll bar ----

inline constexpr int32_t scroll_bar_width = 10; // at the window's right edge
inline constexpr uint32_t scroll_track = 0xFF323232;
inline constexpr uint32_t scroll_border = 0xFF505050; // at the left of the track
inline constexpr int32_t scroll_border_width = 1;
inline constexpr int32_t shortest_thumb = 20;
inline constexpr uint32_t thumb = 0xFF646464;
inline constexpr uint32_t thumb_outline = 0xFFA0A0A0;
inline constexpr int32_t thumb_outline_thickness = 1;
inline constexpr uint32_t grip = 0xFFC8C8C8;
inline constexpr int32_t grip_size = 2;
inline constexpr int32_t grip_x = 6;              // from the window's right edge
inline constexpr int32_t grip_ys[] = {-8, -1, 6}; // from the thumb's middle

// ---- The status line ----

inline constexpr int32_t status_padding = 8; // height of its row beyond the line height
inline constexpr int32_t status_x = 10;
inline constexpr uint32_t status_background = 0xFF283038;
inline constexpr uint32_t status_text = 0xFFC8C8C8;
inline constexpr uint32_t status_problem = 0xFFFFB060;

} // namespace theme
