#!/bin/bash
# The keys of list_keys and its scroll bar in a real window: list_keys_test.sh RUNNER TARNWICK RECORD_COMMAND, and for
# native programs list_keys_test.sh X11_SETTINGS TARNWICK. Needs a display with a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

mkdir "$work/code"
seq -f 'needle %g' 500 > "$work/code/lines.txt"
echo '.......' >> "$work/code/lines.txt"
make_recorder "${3:-}"
printf '%s\n' 'list_keys yes' "left_click_cmd \"$recorder\" left {tarn_row}" \
    "right_click_cmd \"$recorder\" right {tarn_row}" > "$folder/settings.txt"

expected=
commands_are_as_expected() {
    [ "$(cat "$commands")" = "$expected" ]
}

# Waits until this was the last command of all.
expect_command() {
    expected+=${expected:+$'\n'}"\"$recorder\" $1"
    until_true commands_are_as_expected || failed "not $1 but $(tail -n 1 "$commands")"
}

# Presses Enter, and waits for the command of the selected hit, which is that line.
expect_selected() { # LINE
    xdotool key Return
    expect_command "left $1"
}

selected_hit=264058 thumb_outline=a0a0a0 track=323232
start "$hovered_removed" "$query_y" "$drive$work/code " -needle
bottom=$((window_height - 1)) bar_x=995
rows=$(((window_height - 50) / 15))
expect_pixel "$bar_x" 50 "$thumb_outline"
move_to 700 20

# ---- Keys ----

xdotool key Down
expect_pixel 700 70 "$selected_hit"
xdotool key Down Down
expect_pixel 700 100 "$selected_hit"
expect_selected 3
xdotool key ctrl+Return
expect_command 'right 3'
xdotool key ctrl+shift+c
expect_clipboard "$drive$work/code/lines.txt:3: needle 3"
xdotool key ctrl+Next
expect_pixel "$bar_x" "$bottom" "$thumb_outline"
expect_selected 500
xdotool key Up
expect_selected 499
xdotool key ctrl+Prior Next
expect_selected "$rows"
xdotool key ctrl+Prior
expect_pixel "$bar_x" 50 "$thumb_outline"

# ---- The scroll bar ----

click 1 "$bar_x" "$bottom" # a page
click 3 "$bar_x" 60
expect_pixel "$bar_x" 50 "$track"
xdotool key ctrl+Prior
expect_pixel "$bar_x" 50 "$thumb_outline"
move_to "$bar_x" 60
xdotool mousedown 1
# Outside the window. Wine reports that the pointer has left even while the button is held, and the move after that as
# one that enters.
nudge_until_pixel -100 $((window_height + 20)) "$bar_x" "$bottom" "$thumb_outline"
nudge_until_pixel -100 0 "$bar_x" 50 "$thumb_outline"
nudge_until_pixel -100 $((window_height + 20)) "$bar_x" "$bottom" "$thumb_outline"
xdotool mouseup 1
expect_selected 1 # the mouse has run nothing and has not moved the selection
click 1 300 $((50 + 2 * 15 + 5)) # the second hit
expect_command "left $((503 - rows))"
xdotool key Down
expect_selected $((504 - rows))
close
