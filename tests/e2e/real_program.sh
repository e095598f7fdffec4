# Sourced like real_input.sh by the scripts that drive the program itself. Copies the program and its font to a new
# folder, $folder, whose name has a space and an é; $program is then the copy.

# shellcheck source=tests/e2e/real_input.sh
source "$(dirname "${BASH_SOURCE[0]}")/real_input.sh"
folder="$work/a é"
mkdir "$folder"
cp "$program" "$(dirname "$program")/source_code_pro.otf" "$folder"
program=$folder/$(basename "$program")

print_state() {
    local file
    for file in "$folder"/saved_*; do
        [ -e "$file" ] || continue
        echo "$(basename "$file"):"
        od -An -c "$file"
    done
}

# ---- The screen ----

# Pixels of the client area as bytes, red, green, blue: pixels WIDTHxHEIGHT+X+Y.
pixels() {
    timeout 20 import -window "$window" -crop "$1" +repage -depth 8 rgb:- 2> /dev/null
}

is_pixel() { # X Y RRGGBB
    [ "$(pixels "1x1+$1+$2" | od -An -tx1 | tr -d ' \n')" = "$3" ]
}

expect_pixel() {
    until_true is_pixel "$@" || failed "pixel $1 $2 is not $3 but $(pixels "1x1+$1+$2" | od -An -tx1)"
}

# The number of pixels that match a colour, a regular expression: count_pixels WIDTHxHEIGHT+X+Y RRGGBB.
count_pixels() {
    pixels "$1" | od -An -v -tx1 -w3 | tr -d ' ' | grep -cx "$2" || true
}

has_pixels() {
    [ "$(count_pixels "$1" "$2")" -gt 0 ]
}

# No frame is drawn when a search that finds nothing ends. So this moves the pointer back and forth to cause one.
has_no_pixels() {
    xdotool mousemove_relative 1 0 mousemove_relative -- -1 0
    [ "$(pixels "$1" | wc -c)" -gt 0 ] && ! has_pixels "$1" "$2"
}

see_pixels() {
    until_true has_pixels "$@" || failed "no pixel of $1 is $2"
}

see_no_pixels() {
    until_true has_no_pixels "$@" || failed "pixels of $1 are $2"
}

# Colours
background=1a1a1a focused=323232 line=505050 live=ffff00 removed=505050
hovered_removed=969696 hovered_live=ff0000
selected=5a5a5a # background of a selection in the focused field
# Colours of text, as regular expressions for pixels that a letter mostly covers.
cyan='0[0-9a-f]\([c-f][0-9a-f]\)\1' grey='\(7[0-9a-f]\)\1\1'

# Positions at the default font size, in pixels: the fields begin at y = 4 and 27, the list at 50. The rows of a
# drop-down are 17 high, with a button of 13 by 13 at x = 8; the list's texts begin at x = 10. Letters are 6 wide.
path_y=15 query_y=38 save_x=992
path_text_x=42 query_text_x=36
first_path_row=27 first_query_row=50

# ---- The mouse ----

move_to() {
    xdotool mousemove --window "$window" -- "$1" "$2"
}

# The pointer must be in the window, so that getting there is a move. A click acts once its frame is drawn, so wait
# until the screen shows its effect before sending keys.
click() { # BUTTON X Y
    move_to "$2" "$3"
    xdotool click "$1"
}

# Entering the window does not count as a move, and the effect of a right click is drawn only with the next event. So
# this moves the pointer back and forth at a place until a pixel has the colour:
# nudge_until_pixel PLACE_X PLACE_Y X Y RRGGBB.
nudge_until_pixel() {
    for _ in {1..300}; do
        move_to "$(($1 + 1))" "$2"
        move_to "$1" "$2"
        if is_pixel "$3" "$4" "$5"; then
            return
        fi
        sleep 0.05
    done
    failed "pixel $3 $4 is not $5 but $(pixels "1x1+$3+$4" | od -An -tx1)"
}

# Focuses a field that has a text, which selects all of it.
focus_path() {
    click 1 500 "$path_y"
    expect_pixel 500 6 "$focused"
    expect_pixel $((path_text_x + 1)) 6 "$selected"
}

focus_query() {
    click 1 500 "$query_y"
    expect_pixel 500 29 "$focused"
    expect_pixel $((query_text_x + 1)) 29 "$selected"
}

# Opens or closes a drop-down, and waits until the place of its first row's button has the colour.
toggle_query_list() {
    click 3 300 "$query_y"
    nudge_until_pixel 300 "$query_y" 8 $((first_query_row + 8)) "$1"
}

toggle_path_list() {
    click 3 300 "$path_y"
    nudge_until_pixel 300 "$path_y" 8 $((first_path_row + 2)) "$1" # above the letters of the query's row
}

# ---- Starting and ending ----

has_window() {
    window=$(xdotool search --onlyvisible --class tarnwick 2> /dev/null)
    [ -n "$window" ]
}

# Starts the program and waits until it has drawn a frame and reacts to the pointer: hovering gives the query's save
# button the colour. Sets window and window_height, in pixels.
start() { # HOVERED_COLOUR SAVE_Y ARGUMENT...
    local colour=$1 save_y=$2
    shift 2
    xdotool mousemove 1275 1015
    "${runner[@]}" "$program" "$@" > "$work/output" 2>&1 < /dev/null &
    tarnwick=$!
    started+=("$tarnwick")
    until_true has_window || failed 'no window'
    expect_pixel 3 2 "$background"
    window_height=$(xdotool getwindowgeometry --shell "$window" | sed -n 's/^HEIGHT=//p')
    xdotool windowactivate --sync "$window"
    nudge_until_pixel "$save_x" "$save_y" "$save_x" "$save_y" "$colour"
}

has_no_window() {
    ! has_window
}

close() {
    xdotool key alt+F4
    wait "$tarnwick" || failed "exit status $?"
    forget_started "$tarnwick"
    until_true has_no_window || failed 'the window stays'
}

# ---- What clicks run ----

# Makes a program, $recorder, that appends its command line to the file $commands, its own path in double quotes.
make_recorder() { # RECORD_COMMAND, for Windows
    mkdir "$work/a recorder"
    commands="$work/a recorder/commands.txt"
    : > "$commands"
    if [ "${#runner[@]}" -gt 0 ]; then
        cp "$1" "$work/a recorder"
        recorder="$drive$work/a recorder/$(basename "$1")"
    else
        recorder="$work/a recorder/record_command"
        # shellcheck disable=SC2016
        printf '%s\n' '#!/bin/bash' 'printf "\"%s\" %s\n" "$0" "$*" >> "$(dirname "$0")/commands.txt"' > "$recorder"
        chmod +x "$recorder"
    fi
}

# ---- The files ----

paths=none queries=none # expected contents of the files; none: no file

has_bytes() { # FILE BYTES
    if [ "$2" = none ]; then
        [ ! -e "$1" ]
    else
        printf '%s' "$2" | cmp -s - "$1"
    fi
}

files_are_as_expected() {
    has_bytes "$folder/saved_paths.txt" "$paths" && has_bytes "$folder/saved_queries.txt" "$queries" &&
        [ ! -e "$folder/saved_paths.new" ] && [ ! -e "$folder/saved_queries.new" ]
}

# The bytes of a saved file: bytes_of TEXT ENTRY...
bytes_of() {
    local entry bytes=$1
    shift
    for entry in "$@"; do
        bytes+=$'\r\n'$entry
    done
    printf '%s' "$bytes"
}

# Waits until one file has this text and these entries, and the other is unchanged: expect_query TEXT ENTRY...
expect_query() {
    queries=$(bytes_of "$@")
    until_true files_are_as_expected || failed "the files differ: paths ${paths@Q}, queries ${queries@Q}"
}

expect_path() {
    paths=$(bytes_of "$@")
    until_true files_are_as_expected || failed "the files differ: paths ${paths@Q}, queries ${queries@Q}"
}

expect_same_files() {
    files_are_as_expected || failed "the files changed: paths ${paths@Q}, queries ${queries@Q}"
}

# ---- The clipboard ----

clipboard_is() {
    [ "$(timeout 10 xclip -selection clipboard -o -t UTF8_STRING 2> /dev/null)" = "$1" ]
}

# Waits until other programs see the copied text.
expect_clipboard() {
    until_true clipboard_is "$1" || failed "the clipboard does not hold $1"
}

# Pastes over the whole text, and returns whether the files show it: another program's text arrives with a delay.
pastes() {
    xdotool key ctrl+a ctrl+v
    for _ in {1..10}; do
        if files_are_as_expected; then
            return 0
        fi
        sleep 0.05
    done
    return 1
}

copy_outside() {
    printf '%s' "$1" | xclip -selection clipboard -i > /dev/null 2>&1
}
