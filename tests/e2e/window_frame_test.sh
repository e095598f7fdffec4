#!/bin/bash
# What the program draws while its title bar or frame is held, the cursors over them, and the icon:
# window_frame_test.sh RUN_UNDER_WINE TARNWICK. Wine draws the frame itself here and runs its message loop, as Windows
# does. Needs a display.
set -euo pipefail
here=$(realpath "$(dirname "$0")")
# shellcheck source=tests/e2e/real_input.sh
source "$here/real_input.sh" "$1" "$2"

driver='HKCU\Software\Wine\X11 Driver'
"${runner[@]}" reg add "$driver" /v Managed /t REG_SZ /d N /f > /dev/null < /dev/null
undo_driver() {
    xdotool mouseup 1 # a failed test may still hold it
    "${runner[@]}" reg delete "$driver" /v Managed /f > /dev/null < /dev/null
}
at_end+=(undo_driver)

g++ -o "$work/cursor_name" "$here/cursor_name.cpp" -lX11 -lXfixes

# A folder that contains itself twice, for a search that does not end, with a hit in every 500th file.
mkdir "$work/tree"
(cd "$work/tree" && seq 499 | split -a 3 -l 1 - file && printf 'needle\n\n\n' > file && ln -s . again && ln -s . more)

has_window() {
    window=$(xdotool search --onlyvisible --class tarnwick 2> /dev/null)
    [ -n "$window" ]
}

find_window() { # sets X, Y, WIDTH and HEIGHT, those of the whole window on the screen
    eval "$(xdotool getwindowgeometry --shell "$window")"
}

# A part of the screen as bytes, red, green, blue: picture WIDTHxHEIGHT+X+Y.
picture() {
    timeout 20 import -window root -crop "$1" +repage -depth 8 rgb:-
}

# The same as text, one RRGGBB per line.
pixels() {
    picture "$1" | od -An -v -tx1 -w3 | tr -d ' '
}

shows_text() { # in the list area
    [ "$(pixels "300x200+$((X + 10))+$((Y + 80))" | sort -u | wc -l)" -gt 10 ]
}

"${runner[@]}" "$program" "$drive$work/tree " -needle > "$work/output" 2>&1 < /dev/null &
started+=("$!")
until_true has_window || failed 'no window'
find_window
until_true shows_text || failed 'no hits'

# ---- The icon ----

# A large and a small one, each as width, height and pixels; some pixels have the program's yellow.
icons=$(xprop -id "$window" -notype 32c _NET_WM_ICON)
[[ $icons == *'= 32, 32, '*', 16, 16, '* ]] || failed 'there are not two icons'
[[ $icons == *4294967040*', 16, 16, '*4294967040* ]] || failed "the icons are not the program's"

# ---- While the title bar is held ----

list_picture() { # prints a checksum
    picture "${WIDTH}x$((HEIGHT - 80))+$X+$((Y + 80))" | md5sum
}

list_changes() {
    [ "$(list_picture)" != "$seen" ]
}

xdotool mousemove $((X + 400)) $((Y + 12)) mousedown 1
sleep 0.5 # the loop starts when the button stays down or the pointer moves
xdotool mousemove $((X + 402)) $((Y + 12))
sleep 0.5
find_window
for _ in 1 2 3; do
    seen=$(list_picture)
    until_true list_changes || failed 'no new hits while the title bar is held'
done
xdotool mouseup 1

# ---- While the frame is dragged ----

cursor_is() {
    [ "$("$work/cursor_name")" = "$1" ]
}

# Moves the pointer until it shows the cursor: Wine notices only now and then that it has left the client area.
move_until_cursor() { # X Y CURSOR
    for step in {1..50}; do
        xdotool mousemove "$1" $(($2 + step))
        sleep 0.1
        if cursor_is "$3"; then
            return 0
        fi
    done
    failed "the cursor at $1 $2 is $("$work/cursor_name"), not $3"
}

move_until_cursor $((X + 300)) $((Y + 300)) left_ptr
move_until_cursor $((X + WIDTH - 2)) $((Y + 300)) h_double_arrow
for _ in {1..10}; do # and stays
    cursor_is h_double_arrow || failed 'the cursor does not stay'
    sleep 0.05
done
move_until_cursor $((X + 300)) $((Y + 300)) left_ptr

is_background() { # X Y
    [ "$(pixels "1x1+$1+$2")" = 1a1a1a ]
}

xdotool mousemove $((X + WIDTH - 2)) $((Y + 300)) mousedown 1
sleep 0.5
for wider in 20 40 60; do
    xdotool mousemove $((X + WIDTH - 2 + wider)) $((Y + 300))
    # Just left of the moved frame, in the space above the fields.
    until_true is_background $((X + WIDTH + wider - 10)) $((Y + 26)) ||
        failed "the new pixels of the held frame are $(pixels "1x1+$((X + WIDTH + wider - 10))+$((Y + 26))")"
done
xdotool mouseup 1
echo 'title bar, frame, cursor and icon: passed'
