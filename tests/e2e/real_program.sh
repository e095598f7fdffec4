# What the tests share that drive the program itself with real input; they source it with $under_wine and $program set,
# the program as it was built. Copies that, with its font, into a folder of its own, $folder, whose name is not the
# easiest; $program is the copy from then on.

# shellcheck source=tests/e2e/real_input.sh
source "$(dirname "${BASH_SOURCE[0]}")/real_input.sh"

folder="$work/a é"
mkdir "$folder"
cp "$program" "$(dirname "$program")/source_code_pro.otf" "$folder"
program=$folder/$(basename "$program")

# Says what stands on the disk.
failed() {
    echo "FAILED in line ${BASH_LINENO[-2]}: $1"
    local file
    for file in "$folder"/saved_*; do
        [ -e "$file" ] || continue
        echo "$(basename "$file"):"
        od -An -c "$file"
    done
    exit 1
}

# ---- The screen ----

# Pixels of the client area, as bytes red, green, blue: pixels WIDTHxHEIGHT+X+Y.
pixels() {
    timeout 20 import -window "$window" -crop "$1" +repage -depth 8 rgb:- 2> /dev/null
}

is_pixel() { # X Y RRGGBB
    [ "$(pixels "1x1+$1+$2" | od -An -tx1 | tr -d ' \n')" = "$3" ]
}

expect_pixel() {
    until_true is_pixel "$@" || failed "pixel $1 $2 is not $3 but $(pixels "1x1+$1+$2" | od -An -tx1)"
}

# How many of the pixels match a colour, a regular expression: count_pixels WIDTHxHEIGHT+X+Y RRGGBB.
count_pixels() {
    pixels "$1" | od -An -v -tx1 -w3 | tr -d ' ' | grep -cx "$2" || true
}

has_pixels() {
    [ "$(count_pixels "$1" "$2")" -gt 0 ]
}

has_no_pixels() {
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
selected=5a5a5a # the focused field's ground under a selection
# Those of text, as expressions: where a letter covers a pixel well enough.
cyan='0[0-9a-f]\([c-f][0-9a-f]\)\1' grey='\(7[0-9a-f]\)\1\1'

# Places at the default font size: the fields' rows begin at y = 4 and 27, the list at 50. A drop-down's rows are 17
# high, with a button of 13 by 13 at x = 8; the list's texts begin at 10. Letters are 6 wide.
path_y=15 query_y=38 save_x=992
path_text_x=42 query_text_x=36
first_path_row=27 first_query_row=50

# ---- The mouse ----

move_to() {
    xdotool mousemove --window "$window" "$1" "$2"
}

# Presses a button at a place. The pointer is in the window already, so the way there is a move. A click acts after the
# frame that it comes with has been drawn, so whoever sends keys next waits until the screen shows it.
click() { # BUTTON X Y
    move_to "$2" "$3"
    xdotool click "$1"
}

# The pointer's coming is no move, and what the right button did is drawn with whatever comes next. So the pointer goes
# to and fro at a place until a pixel has the colour: nudged_until_pixel PLACE_X PLACE_Y X Y RRGGBB.
nudged_until_pixel() {
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

# Gives a field that has a text the focus, all of it selected.
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

# Opens or closes a drop-down; where the button of its first row is, there is that colour afterwards.
toggle_query_list() {
    click 3 300 "$query_y"
    nudged_until_pixel 300 "$query_y" 8 $((first_query_row + 8)) "$1"
}

toggle_path_list() {
    click 3 300 "$path_y"
    nudged_until_pixel 300 "$path_y" 8 $((first_path_row + 2)) "$1" # above the letters of the query's row
}

# ---- Starting and ending ----

has_window() {
    window=$(xdotool search --onlyvisible --class tarnwick 2> /dev/null)
    [ -n "$window" ]
}

# Starts the program, and waits for its first picture and for the first move of the pointer over it, which gives the
# query's save button that colour.
start() { # HOVERED_COLOUR SAVE_Y ARGUMENT...
    local colour=$1 save_y=$2
    shift 2
    xdotool mousemove 1275 1015
    "$under_wine" "$program" "$@" > "$work/output" 2>&1 < /dev/null &
    tarnwick=$!
    started+=("$tarnwick")
    until_true has_window || failed 'no window'
    expect_pixel 3 2 "$background"
    xdotool windowactivate --sync "$window"
    nudged_until_pixel "$save_x" "$save_y" "$save_x" "$save_y" "$colour"
}

has_no_window() {
    ! has_window
}

forget_started() {
    local pid kept=()
    for pid in "${started[@]}"; do
        [ "$pid" = "$1" ] || kept+=("$pid")
    done
    started=("${kept[@]}")
}

close() {
    xdotool key alt+F4
    local status=0
    wait "$tarnwick" || status=$?
    forget_started "$tarnwick"
    [ "$status" = 0 ] || failed "exit status $status"
    until_true has_no_window || failed 'the window stays'
}

# ---- The files ----

paths=none queries=none # what the files hold; none for no file

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

# A file's bytes: its text and its entries.
bytes_of() {
    local entry bytes=$1
    shift
    for entry in "$@"; do
        bytes+=$'\r\n'$entry
    done
    printf '%s' "$bytes"
}

# Waits until the files are what they should be: expect_query TEXT ENTRY..., the paths' file being as it was.
expect_query() {
    queries=$(bytes_of "$@")
    until_true files_are_as_expected || failed "not the files: paths ${paths@Q}, queries ${queries@Q}"
}

expect_path() {
    paths=$(bytes_of "$@")
    until_true files_are_as_expected || failed "not the files: paths ${paths@Q}, queries ${queries@Q}"
}

expect_same_files() {
    files_are_as_expected || failed "the files changed: paths ${paths@Q}, queries ${queries@Q}"
}

# ---- The clipboard ----

clipboard_is() {
    [ "$(timeout 10 xclip -selection clipboard -o -t UTF8_STRING 2> /dev/null)" = "$1" ]
}

# What was copied reaches other programs.
expect_clipboard() {
    until_true clipboard_is "$1" || failed "the clipboard does not hold $1"
}

# Pastes over the whole text, until what another program put on the clipboard has come.
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
