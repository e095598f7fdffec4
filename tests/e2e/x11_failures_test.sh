#!/bin/bash
# Runs programs with a window without a display, on one that goes away, on one without shared memory and on one whose
# primary monitor is the right one of two: x11_failures_test.sh TARNWICK WINDOW_DEMO. Starts its own X servers.
set -euo pipefail
tarnwick=$(realpath "$1")
demo=$(realpath "$2")
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"
cp "$tarnwick" "$(dirname "$tarnwick")/source_code_pro.otf" "$work" # it saves its lists in its own folder
cd "$work"
print_state() {
    tail -n 20 out errors 2> /dev/null
}

servers=0
start_server() { # ARGUMENTS... On displays of this process's own, as run_under_screen does.
    export DISPLAY=:$((51000 + $$ % 1000 * 10 + servers))
    servers=$((servers + 1))
    mkfifo ready
    Xvfb "$DISPLAY" -displayfd 3 -noreset -nolisten tcp "$@" 3> ready > server.log 2>&1 &
    server=$!
    started+=("$server")
    read -r < ready
    rm ready
}

end_server() {
    kill "$1" "$server"
    wait "$server" || true
}

has_window() {
    window=$(xdotool search --onlyvisible --class "$1" 2> /dev/null) && [ -n "$window" ]
}

# ---- No display ----

status=0
env -u DISPLAY ./tarnwick > out 2> errors || status=$?
[ "$status" = 1 ] || failed "exit status $status without a display"
[ "$(cat out errors)" = '[main_init:1092] WTF failed to open window!' ] || failed "not that one line without a display"
status=0
DISPLAY=:4242 ./tarnwick > out 2> errors || status=$?
[ "$status" = 1 ] || failed "exit status $status on a display that is not there"
[ "$(cat out errors)" = '[main_init:1092] WTF failed to open window!' ] || failed "not that one line on no display"

# ---- A display that goes away ----

start_server -screen 0 1280x1024x24
./tarnwick > out 2> errors &
program=$!
until_true has_window tarnwick || failed "no window"
xdotool windowfocus --sync "$window" type "lost and found"
is_saved() {
    grep -qx 'lost and found' saved_queries.txt 2> /dev/null
}
until_true is_saved || failed "nothing saved"
cp saved_queries.txt before
kill -KILL "$server"
wait "$server" 2> /dev/null || true
status=0
wait "$program" || status=$?
[ "$status" = 1 ] || failed "exit status $status after the display has gone"
[ "$(cat out errors)" = 'tarnwick: The connection to the X server is lost.' ] || failed "not that one line"
cmp before saved_queries.txt || failed "the saved list has changed"
[ ! -e saved_queries.new ] || failed "the saved list is half written"

# ---- No shared memory ----

start_demo() {
    : > out
    "$demo" picture.ppm > out 2> errors &
    program=$!
    started+=("$program")
    until_true has_window window_demo || failed "no window of the demo"
    until_true grep -q '^moved' out || failed "no events"
    xdotool windowfocus --sync "$window" key F12
    until_true grep -q '^picture' out || failed "no picture"
}
same_picture() { # the screen and the framebuffer; without openbox
    import -window "$window" screen.png 2> /dev/null && compare -metric AE screen.png picture.ppm null: 2> /dev/null > /dev/null
}

for arguments in "-extension MIT-SHM" ""; do
    # shellcheck disable=SC2086
    start_server -screen 0 1280x1024x24 $arguments
    start_demo
    until_true same_picture || failed "the screen is not the framebuffer, $arguments"
    end_server "$program"
done

# ---- The right one of two monitors is the primary one ----

start_server -screen 0 2000x1000x24
xrandr --setmonitor left 800/200x1000/250+0+0 none > server.log
xrandr --setmonitor "*right" 1200/300x1000/250+800+0 screen > server.log
start_demo
# Centred on 1200 by 1000 pixels, with the corner at 0, 0.
grep -qx 'moved 240 350' out || failed "not in the middle of the primary monitor"
eval "$(xdotool getwindowgeometry --shell "$window")"
[ "$X $Y" = "1040 350" ] || failed "at $X $Y of the screen"
xdotool mousemove 1050 360
until_true grep -qx 'mouse_enter 250 360' out || failed "the mouse counts from another corner"
end_server "$program"
