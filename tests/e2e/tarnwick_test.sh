#!/bin/bash
# Drives the program with real keys and clicks, and looks at its screen and at the files that it keeps, byte for byte:
# tarnwick_test.sh UNDER_WINE TARNWICK_EXE. Needs a display with a window manager.
set -euo pipefail
under_wine=$(realpath "$1")
program=$(realpath "$2")
# shellcheck source=tests/e2e/real_input.sh
source "$(dirname "$0")/real_input.sh"

# A program of its own with files of its own, in a folder whose name is not the easiest; and a tree to look at.
folder="$work/a é"
mkdir -p "$folder" "$work/tree/apples" "$work/tree/apricots" "$work/tree/pears/green"
cp "$program" "$(dirname "$program")/source_code_pro.otf" "$folder"
program=$folder/$(basename "$program")
tree=Z:$work/tree

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
        [ ! -e "$folder/saved_paths.txt.new" ] && [ ! -e "$folder/saved_queries.txt.new" ]
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

# ---- The command line ----

# Wine puts double quotes around an argument with a blank, and only a path in quotes is taken; the blank itself goes.
start "$hovered_removed" "$query_y" "$tree/ " -needle text
see_pixels 200x75+0+50 "$cyan"
expect_pixel 500 29 "$focused"
expect_same_files # nothing has been changed, so nothing is written
xdotool key ctrl+c
expect_clipboard 'needle text'
focus_path
xdotool key ctrl+c
expect_clipboard "$tree/"
expect_same_files

# ---- Keys ----

focus_query
xdotool type 'alpha beta' # over the selection
expect_query 'alpha beta'
xdotool key ctrl+Left X
expect_query 'alpha Xbeta'
xdotool key BackSpace Home ctrl+Right 1
expect_query 'alpha1 beta'
xdotool key BackSpace Delete
expect_query 'alphabeta'
xdotool key space
expect_query 'alpha beta'
xdotool key Left shift+Home ctrl+x
expect_query ' beta'
expect_clipboard 'alpha'
xdotool key End ctrl+v
expect_query ' betaalpha'
xdotool key shift+Left shift+Left ctrl+c Home ctrl+v
expect_query 'ha betaalpha'
expect_clipboard 'ha'
xdotool key Right Right shift+End BackSpace
expect_query 'ha b'
xdotool key Home shift+Right shift+Right shift+Right x
expect_query 'xb'
xdotool key ctrl+a ctrl+x
expect_query ''
expect_clipboard 'xb'
xdotool key ctrl+v ctrl+v
expect_query 'xbxb'
xdotool key shift+ctrl+Left shift+Right Delete
expect_query 'x'
xdotool key eacute U4F60 eacute
expect_query 'xé你é'
xdotool key Left BackSpace
expect_query 'xéé'
xdotool key Left shift+Right ctrl+c Home ctrl+v
expect_query 'éxéé'
expect_clipboard 'é'

copy_outside 'from outside: é 你 😀'
queries='from outside: é 你 😀'
until_true pastes || failed 'a text from outside is not pasted'
xdotool key Left BackSpace
expect_query 'from outside: é 你😀'
xdotool key ctrl+a ctrl+c
expect_clipboard 'from outside: é 你😀'
xdotool key Home ctrl+Delete
expect_query ' outside: é 你😀'
xdotool key End ctrl+BackSpace
expect_query ' outside: é '

# ---- Saving, removing and reviving ----

save_query() { # the pointer is over the button afterwards
    click 1 "$save_x" "$query_y"
}

xdotool key ctrl+a o n e
expect_query one
move_to 500 300
expect_pixel "$save_x" "$query_y" "$removed"
save_query
expect_query one one
expect_pixel "$save_x" "$query_y" "$hovered_live"
move_to 500 300
expect_pixel "$save_x" "$query_y" "$live"
xdotool key eacute
expect_query oneé one
expect_pixel "$save_x" "$query_y" "$removed"
save_query
expect_query oneé one oneé
xdotool key ctrl+a t w o
expect_query two one oneé
save_query
expect_query two one oneé two

# The pointer goes over the list: the rows' buttons show what lives.
toggle_query_list "$live"
expect_pixel 8 $((first_query_row + 17 + 8)) "$live"
expect_pixel 8 $((first_query_row + 34 + 8)) "$live"
expect_pixel 8 $((first_query_row + 51 + 8)) "$background"
click 1 12 $((first_query_row + 34 + 8)) # removes "two", which stands in the field
expect_query two one oneé
expect_pixel 8 $((first_query_row + 34 + 8)) "$hovered_removed"
move_to 300 300
expect_pixel "$save_x" "$query_y" "$removed"
click 1 12 $((first_query_row + 34 + 8)) # and revives it
expect_query two one oneé two
expect_pixel 8 $((first_query_row + 34 + 8)) "$hovered_live"
click 1 12 $((first_query_row + 34 + 8)) # the second press of a double press is a press like another
expect_query two one oneé
click 1 12 $((first_query_row + 8))
expect_query two oneé
expect_pixel 8 $((first_query_row + 8)) "$hovered_removed"

# Saving a text whose entry was removed revives the entry. File and button know it with the next change.
toggle_query_list "$background"
expect_query two oneé
save_query
toggle_query_list "$removed"
expect_pixel 8 $((first_query_row + 34 + 8)) "$live"
expect_pixel "$save_x" "$query_y" "$removed"
expect_same_files
toggle_query_list "$background"
xdotool key End BackSpace
expect_query tw oneé two
xdotool key o
expect_query two oneé two
move_to 500 300
expect_pixel "$save_x" "$query_y" "$live"

# A row that is clicked is the text, wholly selected; a removed one too.
toggle_query_list "$removed"
click 1 200 $((first_query_row + 8))
expect_query one oneé two
expect_pixel $((query_text_x + 1)) 29 "$selected"
xdotool key ctrl+c
expect_clipboard one
toggle_query_list "$removed"
click 1 200 $((first_query_row + 17 + 8))
expect_query oneé oneé two
expect_pixel $((query_text_x + 1)) 29 "$selected"
xdotool key n
expect_query n oneé two

# ---- The path ----

focus_path
xdotool type "$tree/"
expect_path "$tree/"
see_pixels 200x15+0+50 "$cyan"
see_pixels 200x15+0+65 "$cyan"
see_pixels 200x15+0+80 "$cyan"
see_no_pixels 200x15+0+95 "$cyan"
# The first of them, in grey behind what is typed.
tail_x=$((path_text_x + 6 * (${#tree} + 1)))
see_pixels "60x15+$tail_x+4" "$grey"
xdotool type ap # two folders go on so; the third comes after them
expect_path "$tree/ap"
see_pixels 200x15+0+80 "$grey"
see_pixels 200x30+0+50 "$cyan"
see_no_pixels 200x15+0+80 "$cyan"
see_pixels "60x15+$((tail_x + 12))+4" "$grey"
xdotool type ples # a folder that is there is searched
expect_path "$tree/apples"
see_no_pixels 200x45+0+50 "$cyan"

click 1 "$save_x" "$path_y"
expect_path "$tree/apples" "$tree/apples"
xdotool type /
expect_path "$tree/apples/" "$tree/apples"
click 1 "$save_x" "$path_y"
expect_path "$tree/apples/" "$tree/apples" "$tree/apples/"
copy_outside " \"$tree\\a b\" "
paths=$(bytes_of "$tree/a b" "$tree/apples" "$tree/apples/")
until_true pastes || failed 'a path from outside is not cleaned'
click 1 "$save_x" "$path_y"
expect_path "$tree/a b" "$tree/apples" "$tree/apples/" "$tree/a b"

toggle_path_list "$live"
expect_pixel 8 $((first_path_row + 17 + 8)) "$live"
expect_pixel 8 $((first_path_row + 34 + 8)) "$live"
click 1 12 $((first_path_row + 17 + 8))
expect_path "$tree/a b" "$tree/apples" "$tree/a b"
expect_pixel 8 $((first_path_row + 17 + 8)) "$hovered_removed"
click 1 200 $((first_path_row + 8))
expect_path "$tree/apples" "$tree/apples" "$tree/a b"
expect_pixel $((path_text_x + 1)) 6 "$selected"
expect_pixel 500 45 "$background" # the query's row is there again
xdotool key End slash
expect_path "$tree/apples/" "$tree/apples" "$tree/a b"
toggle_path_list "$live"
click 1 12 $((first_path_row + 17 + 8)) # revives the one that stands in the field
expect_path "$tree/apples/" "$tree/apples" "$tree/apples/" "$tree/a b"
expect_pixel "$save_x" "$path_y" "$live"

# A list that is open goes with the right click; the other field takes the focus with the left one.
toggle_path_list "$background"
focus_query
expect_pixel 500 6 "$background"
expect_same_files

# ---- The end, and the next start ----

close
expect_same_files
[ "$(cd "$folder" && echo *)" = 'saved_paths.txt saved_queries.txt source_code_pro.otf tarnwick.exe' ] ||
    failed "other files: $(ls "$folder")"

start "$hovered_removed" "$query_y"
xdotool key ctrl+c
expect_clipboard n
focus_path
xdotool key ctrl+c
expect_clipboard "$tree/apples/"
toggle_path_list "$live"
expect_pixel 8 $((first_path_row + 34 + 8)) "$live"
expect_pixel 8 $((first_path_row + 51 + 8)) "$background"
toggle_path_list "$background"
expect_same_files
xdotool key End BackSpace
expect_path "$tree/apples" "$tree/apples" "$tree/apples/" "$tree/a b"
focus_query
toggle_query_list "$live"
expect_pixel 8 $((first_query_row + 17 + 8)) "$live"
expect_pixel 8 $((first_query_row + 34 + 8)) "$background" # what was removed is gone for good
click 1 200 $((first_query_row + 17 + 8))
expect_query two oneé two
close

# ---- Settings ----

printf 'font_size 20\nline_height 1.25\ntext_y_offset 0.8\nremember_last_query no\n' > "$folder/settings.txt"
# The fields' rows are 33 high now, the list begins at 70, and its rows are 25 high.
start "$hovered_removed" 54 "$tree/ "
expect_pixel 500 29 "$line"
expect_pixel 500 19 "$background"
expect_pixel 500 62 "$line"
expect_pixel 500 38 "$focused"
expect_pixel 500 69 "$focused"
expect_pixel 500 70 "$background"
see_pixels 200x25+0+70 "$cyan"
see_pixels 200x25+0+95 "$cyan"
see_pixels 200x25+0+120 "$cyan"
see_no_pixels 200x25+0+145 "$cyan"
expect_same_files
xdotool key q # nothing stands before it
expect_query q oneé two
close
rm "$folder/settings.txt"

# ---- A program that is killed ----

typed=
for ((i = 0; i < 12; i++)); do
    typed+=abcdefghij
done
for length in 1 17 40 80; do
    start "$hovered_removed" "$query_y"
    xdotool key ctrl+a
    xdotool type --delay 2 "$typed" &
    typing=$!
    started+=("$typing")
    is_typed() {
        local first
        first=$(head -n 1 "$folder/saved_queries.txt" 2> /dev/null | tr -d '\r\0') || true
        [ "${#first}" -ge "$length" ] && [ "$first" = "${typed:0:${#first}}" ]
    }
    until_true is_typed || failed "not $length characters were typed"
    kill -9 "$tarnwick"
    wait "$tarnwick" 2> /dev/null || true
    forget_started "$tarnwick"
    wait "$typing" # the rest of the keys finds nobody
    forget_started "$typing"
    until_true has_no_window || failed 'the window of a killed program stays'

    # What was typed up to the kill is there again, and every saved entry.
    start "$hovered_removed" "$query_y"
    xdotool key End exclam
    is_restored() {
        local bytes
        bytes=$(tr -d '\r' < "$folder/saved_queries.txt" 2> /dev/null) || return 1
        text=${bytes%%$'\n'*}
        [ "${bytes#*$'\n'}" = $'oneé\ntwo' ] && [[ $text == *! ]] && [ "${#text}" -gt "$length" ]
    }
    until_true is_restored || failed "after $length characters"
    text=${text%!}
    [ "$text" = "${typed:0:${#text}}" ] || failed "another text than was typed: $text"
    expect_query "$text!" oneé two
    close
done
