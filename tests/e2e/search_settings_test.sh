#!/bin/bash
# Searches with ignore_case and skip_folders set: the rows on the screen, the command of a click, and skipped folders that
# are suggested and searched when they are the path: search_settings_test.sh RUNNER TARNWICK RECORD_COMMAND, and for a
# native program search_settings_test.sh X11_SETTINGS TARNWICK. Needs a display with a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

project=$work/project
mkdir -p "$project/.git" "$project/src/build"
printf 'a Needle\nneEdle, NEEDLE\nneédle\n............\n' > "$project/main.c"
printf 'needle\n............\n' | tee "$project/.git/a" "$project/.git/b" > "$project/src/build/c"

make_recorder "${3:-}"
names='.git build'
if [ "${#runner[@]}" -gt 0 ]; then
    names='.GIT Build' # file names ignore case there
fi
printf '%s\n' "left_click_cmd \"$recorder\" {tarn_file_name}:{tarn_row}:{tarn_column}" 'readers 8' \
    'ignore_case yes' "skip_folders $names" > "$folder/settings.txt"

has_ended() { # whether the yellow frame is gone, which the next event shows
    move_to 301 300
    move_to 300 300
    is_pixel 0 300 "$background"
}

has_hits() { # ROW...
    [ "$(pixels 200x150+0+50 | od -An -v -tx1 -w3 | tr -d ' ' | grep -nx "$cyan" |
        awk -F: '{ print int(($1 - 1) / (200 * 15)) }' | uniq | paste -sd' ')" = "$*" ]
}

# Of the first ten rows, expects hits in these only.
expect_hits() { # ROW...
    until_true has_ended || failed 'the search does not end'
    until_true has_hits "$@" || failed "hits are in other rows than $*"
}

start "$hovered_removed" "$query_y" "$drive$project " -nEEdLe
see_pixels 200x15+0+65 "$cyan"
expect_hits 1 2 # below the file
click 1 300 87
has_recorded() {
    [ "$(cat "$commands")" = "\"$recorder\" main.c:2:1" ]
}
until_true has_recorded || failed "the click ran: $(cat "$commands")"

# The fields change after the list was drawn, so the first row shows that the new one is.
focus_path
xdotool key End slash
see_pixels 200x15+0+50 "$cyan"
expect_hits 0 1 # .git and src, the folders that the path can continue with
xdotool type .git
see_no_pixels 200x15+0+50 "$cyan"
see_pixels 200x15+0+65 "$cyan"
expect_hits 1 3 # two files
close
