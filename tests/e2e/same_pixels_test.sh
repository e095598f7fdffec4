#!/bin/bash
# Brings the program's window into three states and compares what the screen shows with pictures of what is drawn into
# the framebuffer in these states, pixel for pixel; the pictures are the same for both systems:
# same_pixels_test.sh RUNNER TARNWICK PICTURES, and for a native program same_pixels_test.sh X11_SETTINGS TARNWICK
# PICTURES. Needs a display with a window manager.
set -euo pipefail
pictures=$(realpath "$3")
beside=$(dirname "$(realpath "$2")")
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"
cd "$work"

# One file in each folder, as each file system has an order of its own. The same texts are in
# tests/unit/app/frame_test.cpp.
mkdir -p code/include code/docs
{
    printf '#include "needle.h"\n\n\n'
    for _ in {1..6}; do
        printf '\treturn needle_find(hay); // größte\n'
    done
    printf '....\n'
} > code/main.c
printf '#pragma once\ntypedef struct Needle needle;\n....\n' > code/include/needle.h
printf '\r\nneedle\r\ntwo words' > "$folder/saved_queries.txt"

# A key without an effect causes a frame, which shows the end of the search.
shows() {
    xdotool key shift
    pixels 420x160+0+0 | cmp -s - "$work/picture"
}

expect_picture() { # NAME
    convert "$pictures/$1.png" -depth 8 rgb:"$work/picture"
    if ! until_true shows; then
        pixels 420x160+0+0 | convert -size 420x160 -depth 8 rgb:- "$beside/$1.screen.png"
        failed "the window does not show $1.png: see $beside/$1.screen.png"
    fi
}

start "$hovered_removed" "$query_y" 'code '
xdotool windowsize "$window" 420 160 type needle
expect_picture window_hits

click 3 300 "$query_y"
expect_picture window_saved

click 3 300 "$query_y" # closes the list
xdotool key Tab
xdotool type code/in
expect_picture window_folders
close
