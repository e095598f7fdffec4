#!/bin/bash
# Types and searches letters beyond ASCII with utf8_text and a fallback font, in a real window:
# utf8_text_test.sh RUNNER TARNWICK WRITE_FONT, and for a native program utf8_text_test.sh X11_SETTINGS TARNWICK
# WRITE_FONT. Needs a display with a window manager.
set -euo pipefail
write_font=$(realpath "$3")
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

# A third key for an emoji.
old_key=$(xmodmap -pke | grep -E '^keycode +51 =')
undo_key() { xmodmap -e "$old_key"; }
at_end+=(undo_key)
xmodmap -e 'keycode 51 = U1F600'

# In the font é is 6 pixels wide; 你 and 😀 are only in the other one, 11 wide.
"${runner[@]}" "$write_font" "$drive$work/font.ttf" < /dev/null
mv "$work/font.ttf" "$folder/second font.ttf"
printf 'utf8_text yes\nfallback_font second font.ttf\n' > "$folder/settings.txt"
mkdir "$work/tree"
printf '你你你你\nend\n' > "$work/tree/a.txt"

# The caret of the query is that many pixels after the text's start; looks above the letters.
caret=d2d2d2
expect_caret() {
    expect_pixel $((query_text_x + $1)) 28 "$caret"
    expect_pixel $((query_text_x + $1 + 1)) 28 "$caret"
    expect_pixel $((query_text_x + $1 + 2)) 28 "$focused"
}

start "$hovered_removed" "$query_y" "$drive$work/tree " # Wine quotes an argument with a space
xdotool key eacute U4F60 U1F600
expect_query 'é你😀'
expect_caret $((6 + 11 + 11))
xdotool key Left
expect_caret $((6 + 11))
xdotool key BackSpace
expect_query 'é😀'
expect_caret 6
xdotool key Home Delete
expect_query '😀'
expect_caret 0
xdotool key shift+Right ctrl+c
expect_clipboard '😀'
move_to 300 "$query_y"
xdotool click --repeat 2 --delay 50 1 # selects all, as one click does
expect_pixel $((query_text_x + 5)) 28 "$selected"
expect_pixel $((query_text_x + 12)) 28 "$focused"
xdotool key U4F60
expect_query 你

# The line's four ideographs begin after ":1 ", at x = 48, and end at 92.
white='\([c-f][0-9a-f]\)\1\1'
see_pixels 11x15+81+65 "$white"
see_no_pixels 40x15+93+65 "$white"
close

# Without the setting each byte is a box.
rm "$folder/settings.txt"
start "$hovered_removed" "$query_y" "$drive$work/tree "
xdotool key U4F60 # the last text came back as an entry of the list
expect_caret $((3 * 6))
see_pixels 27x15+93+65 "$white"
close
