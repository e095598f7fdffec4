#!/bin/bash
# Drives the program with real keys and clicks, and checks its screen and its files, byte for byte:
# tarnwick_test.sh RUNNER TARNWICK, and for a native program tarnwick_test.sh X11_SETTINGS TARNWICK. Needs a display with
# a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

# The tree whose folders are suggested.
mkdir -p "$work/tree/apples" "$work/tree/apricots" "$work/tree/pears/green"
tree=$drive$work/tree

# ---- The command line ----

# Wine quotes an argument that contains a space, and only a quoted path is accepted; the program removes the space.
start "$hovered_removed" "$query_y" "$tree/ " -needle text
see_pixels 200x75+0+50 "$cyan"
expect_pixel 500 29 "$focused"
expect_same_files # nothing was edited, so nothing is written
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

# The buttons of the list's rows show which entries are saved.
toggle_query_list "$live"
expect_pixel 8 $((first_query_row + 17 + 8)) "$live"
expect_pixel 8 $((first_query_row + 34 + 8)) "$live"
expect_pixel 8 $((first_query_row + 51 + 8)) "$background"
click 1 12 $((first_query_row + 34 + 8)) # removes "two", the field's text
expect_query two one oneé
expect_pixel 8 $((first_query_row + 34 + 8)) "$hovered_removed"
move_to 300 300
expect_pixel "$save_x" "$query_y" "$removed"
click 1 12 $((first_query_row + 34 + 8)) # and revives it
expect_query two one oneé two
expect_pixel 8 $((first_query_row + 34 + 8)) "$hovered_live"
click 1 12 $((first_query_row + 34 + 8)) # the second press of a double press counts as a press
expect_query two one oneé
click 1 12 $((first_query_row + 8))
expect_query two oneé
expect_pixel 8 $((first_query_row + 8)) "$hovered_removed"

# Saving a text whose entry was removed revives the entry. The file and the button show it with the next edit.
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

# Clicking a row makes its entry the text and selects it, even a removed entry.
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
# The first one completes the typed text in grey.
tail_x=$((path_text_x + 6 * (${#tree} + 1)))
see_pixels "60x15+$tail_x+4" "$grey"
xdotool type ap # two folders match; the third comes after them
expect_path "$tree/ap"
see_pixels 200x15+0+80 "$grey"
see_pixels 200x30+0+50 "$cyan"
see_no_pixels 200x15+0+80 "$cyan"
see_pixels "60x15+$((tail_x + 12))+4" "$grey"
xdotool type ples # an existing folder is searched
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
expect_pixel 500 45 "$background" # the query's row shows again
xdotool key End slash
expect_path "$tree/apples/" "$tree/apples" "$tree/a b"
toggle_path_list "$live"
click 1 12 $((first_path_row + 17 + 8)) # revives the field's entry
expect_path "$tree/apples/" "$tree/apples" "$tree/apples/" "$tree/a b"
expect_pixel "$save_x" "$path_y" "$live"

# A right click closes an open list; a left click focuses the other field.
toggle_path_list "$background"
focus_query
expect_pixel 500 6 "$background"
expect_same_files

# ---- The end, and the next start ----

close
expect_same_files
[ "$(cd "$folder" && echo *)" = 'saved_paths.txt saved_queries.txt source_code_pro.otf '"$(basename "$program")" ] ||
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
expect_pixel 8 $((first_query_row + 34 + 8)) "$background" # removed entries do not come back
click 1 200 $((first_query_row + 17 + 8))
expect_query two oneé two

# ---- Minimised, and resized with the mouse ----

minimized=$window
xdotool windowminimize "$window"
until_true has_no_window || failed 'the window is not minimised'
xdotool windowactivate "$minimized"
until_true has_window || failed 'the minimised window does not come back'
expect_pixel 3 2 "$background"
xdotool key End 1
expect_query two1 oneé two

move_to 1000 300 # the frame's right edge
xdotool mousedown 1
nudge_until_pixel 1060 300 1040 19 "$line" # drawn while the frame is held
xdotool mouseup 1
nudge_until_pixel $((save_x + 60)) "$query_y" $((save_x + 60)) "$query_y" "$hovered_removed"
xdotool key BackSpace
expect_query two oneé two
expect_pixel $((save_x + 60)) "$query_y" "$hovered_live"
close

# ---- Settings ----

printf 'font_size 20\nline_height 1.25\ntext_y_offset 0.8\nremember_last_query no\n' > "$folder/settings.txt"
# The fields' rows are now 33 pixels high, the list begins at y = 70, and its rows are 25 high.
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
xdotool key q # into an empty field
expect_query q oneé two
close
rm "$folder/settings.txt"

# ---- A program that is killed ----

typed=
for ((i = 0; i < 12; i++)); do
    typed+=abcdefghij
done
for length in 1 80; do
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
    wait "$typing" # no window receives the remaining keys
    forget_started "$typing"
    until_true has_no_window || failed 'the window of a killed program stays'

    # The text typed up to the kill is restored, and every saved entry.
    start "$hovered_removed" "$query_y"
    xdotool key End exclam
    is_restored() {
        local bytes
        bytes=$(tr -d '\r' < "$folder/saved_queries.txt" 2> /dev/null) || return 1
        text=${bytes%%$'\n'*}
        [ "${bytes#*$'\n'}" = $'oneé\ntwo' ] && [[ $text == *! ]] && [ "${#text}" -gt "$length" ]
    }
    until_true is_restored || failed "not restored after $length characters"
    text=${text%!}
    [ "$text" = "${typed:0:${#text}}" ] || failed "not what was typed: $text"
    expect_query "$text!" oneé two
    close
done
