#!/bin/bash
# Drives a real window with real input, compares the events with the input and the screen with the framebuffer:
# window_demo_test.sh RUNNER WINDOW_DEMO DROP_FILES for Windows, and on Linux
# window_demo_test.sh X11_SETTINGS WINDOW_DEMO X11_DROP_FILES. Needs a display with a window manager.
set -euo pipefail
drop=$(realpath "$3")
# shellcheck source=tests/e2e/real_input.sh
source "$(dirname "$0")/real_input.sh" "$1" "$2"
cd "$work"
if [ "${#runner[@]}" -gt 0 ]; then
    drop_on=lum_sharedWindowClass
    files=('C:\code\a.txt' 'D:\é\你 😀.txt' 'C:/b')
    dropped='C:/code/a.txt D:/é/你 😀.txt C:/b'
else
    drop_on=window_demo
    files=('/code/a.txt' '/é/你 😀.txt' '/b')
    dropped='/code/a.txt /é/你 😀.txt /b'
fi

print_state() {
    echo "The events since the last input:"
    since_act
}

events=$work/events # of the tested window
mark=0              # number of its lines before the last input

since_act() {
    tail -n "+$((mark + 1))" "$events" | tr -d '\r'
}

# Runs a command that sends input to the window.
act() {
    mark=$(wc -l < "$events")
    "$@"
}

# Whether the events of the given kinds since the last input are exactly the given lines. Repeated moves count once,
# since the system may repeat one.
are_events() {
    [ "$(since_act | grep -E "^($1) ?" | awk '!(/^mouse_move/ && $0 == last) { print } { last = $0 }')" = "$2" ]
}

# Waits for exactly these events: expect KINDS LINE..., KINDS being a regular expression.
expect() {
    local kinds=$1 lines
    shift
    lines=$(printf '%s\n' "$@")
    until_true are_events "$kinds" "$lines" || failed "expected only these: $lines"
}

has_line() {
    since_act | grep -qxE "$1"
}

# Waits for a matching line among any others.
see() {
    until_true has_line "$1" || failed "no line $1"
}

windows() {
    xdotool search --onlyvisible --class window_demo 2> /dev/null | sort
}

start_demo() { # EVENTS
    : > "$1"
    "${runner[@]}" "$program" picture.ppm > "$1" 2> /dev/null < /dev/null &
    demo=$!
    started+=("$demo")
    until_true grep -q '^moved' "$1" || failed "no window"
}

# ---- Opening ----

xdotool mousemove 1270 1010
start_demo "$events"
first_demo=$demo
see 'focus 1'
see 'resized 720 300'
see 'moved [0-9]+ [0-9]+'
has_window() {
    window=$(windows)
    [ -n "$window" ]
}
until_true has_window || failed "no window on the screen"
xdotool windowactivate --sync "$window"
x=270 y=360
act xdotool windowmove "$window" "$x" "$y"
see "moved $x $y"

# ---- The picture ----

same_picture() {
    read -r _ width height <<< "$(since_act | grep '^picture')"
    import -window root -crop "${width}x$height+$x+$y" +repage screen.png
    compare -metric AE screen.png picture.ppm null: 2> difference > /dev/null
}
expect_same_picture() {
    act xdotool key F12
    see 'picture [0-9]+ [0-9]+'
    until_true same_picture || failed "$(cat difference) pixels of the screen are not the framebuffer's: $1"
}
expect_same_picture "after opening"
[ "$(identify -format '%w %h %[fx:maxima]' picture.ppm)" = "720 300 1" ] || failed "not the demo's picture"

# ---- Mouse ----

at() { # X Y of the client area; prints the screen coordinates
    echo "$((x + $1)) $((y + $2))"
}

# shellcheck disable=SC2046
move_to() {
    xdotool mousemove $(at "$1" "$2")
}

act move_to 40 60
see "mouse_enter $(at 40 60)"
act move_to 41 62
expect 'mouse_.*' "mouse_move $(at 41 62)"
act move_to 719 299
expect 'mouse_.*' "mouse_move $(at 719 299)"
act xdotool mousemove 1270 1010
see 'mouse_leave [0-9]+ [0-9]+'
act move_to 0 0
expect 'mouse_.*' "mouse_enter $(at 0 0)"

place_x=0
for button in '1 0x104' '2 0x105' '3 0x106'; do
    read -r number code <<< "$button"
    place_x=$((place_x + 50))
    move_to "$place_x" 100
    act xdotool click "$number"
    expect mouse_button "mouse_button $code $(at $place_x 100) 1" "mouse_button $code $(at $place_x 100) 0"
    move_to "$place_x" 200
    act xdotool click --repeat 4 --delay 20 "$number"
    expect mouse_button "mouse_button $code $(at $place_x 200) 1" "mouse_button $code $(at $place_x 200) 0" \
        "mouse_button $code $(at $place_x 200) 2" "mouse_button $code $(at $place_x 200) 0" \
        "mouse_button $code $(at $place_x 200) 1" "mouse_button $code $(at $place_x 200) 0" \
        "mouse_button $code $(at $place_x 200) 2" "mouse_button $code $(at $place_x 200) 0"
done

# A drag that leaves the window is reported to its end.
move_to 300 100
act xdotool mousedown 1 mousemove 1270 1010 mouseup 1
see 'mouse_move 1270 1010'
see 'mouse_button 0x104 1270 1010 0'
see 'mouse_leave 1270 1010'

move_to 300 150
act xdotool click 4 click 5 click 5 click 4
expect mouse_wheel "mouse_wheel $(at 300 150) 1" "mouse_wheel $(at 300 150) -1" "mouse_wheel $(at 300 150) -1" \
    "mouse_wheel $(at 300 150) 1"

# ---- Keyboard ----

act xdotool key a
expect 'key|char' 'key 0x41 1' 'char 0x61' 'key 0x41 0'
act xdotool key shift+a
expect 'key|char' 'key 0x10 1' 'key 0x41 1' 'char 0x41' 'key 0x10 0' 'key 0x41 0'
act xdotool key Return
expect 'key|char' 'key 0xd 1' 'char 0xa' 'key 0xd 0'
act xdotool key BackSpace
expect 'key|char' 'key 0x8 1' 'key 0x8 0'
act xdotool key Tab
expect 'key|char' 'key 0x9 1' 'char 0x9' 'key 0x9 0'
act xdotool key Left
expect 'key|char' 'key 0x25 1' 'key 0x25 0'
act xdotool key ctrl+c
see 'char 0x3'
act xdotool key eacute
see 'char 0xe9'
act xdotool key U4F60
see 'char 0x4f60'
# Alt alone opens no menu, so the next key still arrives.
act xdotool key alt
expect 'key|char' 'key 0x12 1' 'key 0x12 0'
act xdotool key b
expect 'key|char' 'key 0x42 1' 'char 0x62' 'key 0x42 0'

repeats() {
    [ "$(since_act | grep -cx 'key 0x43 3')" -ge 3 ]
}
act xdotool keydown c
until_true repeats || failed "no auto-repeat"
xdotool keyup c
see 'key 0x43 0'
[ "$(since_act | grep -cx 'key 0x43 1')" = 1 ] || failed "a held key was pressed more than once"

# ---- Place and size ----

act xdotool windowmove "$window" 100 150
see 'moved 100 150'
x=100 y=150
expect_same_picture "after moving"
act xdotool windowsize "$window" 803 411
see 'resized 803 411'
expect_same_picture "after growing"
act xdotool windowsize "$window" 333 222
see 'resized 333 222'
expect_same_picture "after shrinking"
act xdotool windowmove -- "$window" -40 120
see 'moved 65496 120' # -40 in 16 bits, without sign
act xdotool windowmove "$window" 300 350
see 'moved 300 350'
x=300 y=350
act xdotool windowminimize "$window"
see 'resized 0 0'
act xdotool windowmap "$window"
see 'resized 333 222'
see 'moved 300 350'
act xdotool windowactivate --sync "$window"
expect_same_picture "after coming back"

# ---- Dropped files, focus and closing ----

act "${runner[@]}" "$drop" "$drop_on" 12 34 "${files[@]}" < /dev/null
expect files_dropped "files_dropped 12 34 3 $dropped"

act start_demo "$work/other_events"
expect focus 'focus 0'
act xdotool windowactivate "$window"
expect focus 'focus 1'
other_lost_focus() {
    tr -d '\r' < "$work/other_events" | grep -qx 'focus 0'
}
until_true other_lost_focus || failed "the other window kept the focus"

act xdotool key alt+F4
see closed
[ "$(since_act | tail -n 1)" = closed ] || failed "an event came after closed"
wait "$first_demo" || failed "exit status $?"
forget_started "$first_demo"

events=$work/other_events
until_true has_window || failed "the other window is gone too"
act xdotool windowactivate --sync "$window" key alt+F4
see closed
wait "$demo" || failed "exit status $?"
forget_started "$demo"
