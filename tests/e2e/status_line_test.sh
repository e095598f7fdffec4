#!/bin/bash
# The status line of the program's real window: status_line_test.sh RUNNER TARNWICK, and for the native program
# status_line_test.sh X11_SETTINGS TARNWICK. Needs a display with a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

right_click=true
[ "${#runner[@]}" = 0 ] || right_click='cmd /c exit 0'
mkdir -p "$work/tree/more"
printf 'needle\nneedle needle\n........' > "$work/tree/a"
printf 'needle\n........' > "$work/tree/more/b"
printf 'hay\n' > "$work/tree/more/c"
head -c 2000 /dev/zero > "$work/tree/large"
printf '%s\n' 'status_line yes' 'readers 8' 'max_file_size 1K' \
    "left_click_cmd \"$drive$work/no such program\" {tarn_row}" "right_click_cmd $right_click" > "$folder/settings.txt"

row_height=23 status=283038
text='\([89a-c]\)[0-9a-f]\1[0-9a-f]\1[0-9a-f]' problem='[c-f][0-9a-f][7-9ab][0-9a-f][4-6][0-9a-f]'

# Whether the row's text ends where this many letters do, and has pixels of the colour. No event causes a frame here: the
# pointer rests.
shows_letters() { # COUNT COLOUR
    local row=800x$row_height+0+$((window_height - row_height)) end
    end=$(pixels "$row" | od -An -v -tx1 -w3 | tr -d ' ' |
        awk -v background="$status" '$0 != background { x = (NR - 1) % 800; if (x > end) end = x } END { print end + 0 }')
    ((end <= 10 + 6 * $1 && end > 10 + 6 * ($1 - 1) - 3)) && has_pixels "$row" "$2"
}
see_status() { # TEXT COLOUR
    until_true shows_letters "${#1}" "$2" || failed "not in the status line: $1"
}
see_problem() {
    until_true has_pixels "800x$row_height+0+$((window_height - row_height))" "$problem" || failed 'no problem is shown'
}

start "$hovered_removed" "$query_y"
expect_pixel 500 $((window_height - row_height)) "$status"
expect_pixel 500 $((window_height - row_height - 1)) "$background"
move_to 300 300
xdotool type needl # so that there is a query
xdotool key Tab
xdotool type "$drive$work/tre"
see_status 'No such folder' "$problem"
xdotool type e
see_status '3 hits in 2 of 3 files, 0.00 s; skipped: 1 too large' "$text"
expect_pixel 0 300 "$background" # the frame of a running search is gone
xdotool key Tab ctrl+a
xdotool type missing
see_status 'No hits in 3 files, 0.00 s; skipped: 1 too large' "$text"
expect_pixel 0 300 "$background"
xdotool key ctrl+a
xdotool type needle
see_status '3 hits in 2 of 3 files, 0.00 s; skipped: 1 too large' "$text"

# ---- Clicks ----

click 1 300 72 # on the first hit
see_problem
click 3 300 72
see_status '3 hits in 2 of 3 files, 0.00 s; skipped: 1 too large' "$text"
click 1 305 72
see_problem
click 1 300 $((window_height - 10))
see_status '3 hits in 2 of 3 files, 0.00 s; skipped: 1 too large' "$text"
close
