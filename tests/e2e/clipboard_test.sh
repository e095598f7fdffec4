#!/bin/bash
# Copies texts between the program and xclip through the desktop's clipboard, both ways, and compares them byte for
# byte: clipboard_test.sh [RUNNER] PROGRAM, where PROGRAM is clipboard_probe.
set -euo pipefail
export LC_ALL=C.UTF-8
probe=("$@")
is_windows=0
[[ ${probe[-1]} != *.exe ]] || is_windows=1
if [ -z "${DISPLAY:-}" ]; then
    echo 'SKIPPED: no screen, so no clipboard that two programs share'
    exit 0
fi
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"

print_state() {
    diff <(od -c "$work/expected") <(od -c "$work/actual") | head -20
}

run_probe() {
    timeout 60 "${probe[@]}" "$@" 2> "$work/errors"
}

# Keeps the desktop running, as the open program does: it owns the text of a process that has set one and ended.
"${probe[@]}" stay < /dev/null > /dev/null 2>&1 &
started+=($!)

# Other programs see a new text with a delay, so this tries until the command succeeds and prints the file's contents.
expect() { # NAME EXPECTED COMMAND...
    cp "$2" "$work/expected"
    until_true prints_expected "${@:3}" || failed "$1"
}

prints_expected() { # COMMAND...
    "$@" > "$work/actual" && cmp -s "$work/expected" "$work/actual"
}

from_x() {
    timeout 10 xclip -selection clipboard -o -t UTF8_STRING 2> /dev/null
}

# xclip keeps running to serve the text, and would keep this script's output open.
into_x() {
    timeout 10 xclip -selection clipboard -i < "$1" > /dev/null 2>&1
}

# Copies file text to the other program and back. Each time the clipboard holds another text before, so that a text
# which was never copied is noticed.
round_trip() { # NAME
    printf 'before' > "$work/before"
    into_x "$work/before"
    expect "$1: what was there before" "$work/before" run_probe get
    run_probe set < "$work/text" || failed "$1: exit status of set"
    expect "$1: out" "$work/text" from_x
    expect "$1: to another process of the program" "$work/text" run_probe get
    run_probe set < "$work/before" || failed "$1: exit status of set"
    expect "$1: what was there between" "$work/before" from_x
    into_x "$work/text"
    expect "$1: in" "$work/text" run_probe get
}

printf 'plain text' > "$work/text"
round_trip 'ASCII'
printf 'größe 你好 e\u0301' > "$work/text"
round_trip 'two and three bytes'
printf '😀 𠀀𠀁 \U0010FFFD' > "$work/text"
round_trip 'outside the Basic Multilingual Plane'
: > "$work/text"
round_trip 'an empty text'
seq -f '%05.0f größe 你好 😀 ' 24000 | tr -d '\n' > "$work/text"
[ "$(wc -c < "$work/text")" -ge 524288 ] || failed 'the text is shorter than half a megabyte'
round_trip 'half a megabyte'

# ---- Line ends ----

# The program does not convert line ends. Wine does: to LF for X programs, to CR LF for Windows programs.
on_windows() {
    if [ "$is_windows" = 1 ]; then
        printf '%b' "$1"
    else
        printf '%b' "$2"
    fi
}
printf 'a\r\nb\nc\rd' > "$work/text"
run_probe set < "$work/text"
expect 'line ends to another process of the program' "$work/text" run_probe get
on_windows 'a\nb\nc\rd' 'a\r\nb\nc\rd' > "$work/as_x_sees_it"
expect 'line ends out' "$work/as_x_sees_it" from_x
printf 'a\nb\n\nc' > "$work/text"
into_x "$work/text"
on_windows 'a\r\nb\r\n\r\nc' 'a\nb\n\nc' > "$work/as_programs_see_it"
expect 'line ends in' "$work/as_programs_see_it" run_probe get

# ---- A text that is not Unicode ----

if [ "$is_windows" = 1 ]; then
    # The system converts it as soon as the other program has closed the clipboard, here from code page 1252.
    printf 'gr\xf6\xdfe' > "$work/text"
    run_probe offer_bytes < "$work/text" || failed 'not Unicode: exit status of the other program'
    printf 'größe' > "$work/converted"
    expect 'not Unicode' "$work/converted" run_probe get
    run_probe list | tr -d '\r' > "$work/actual"
    printf 'CLIP 1 = CF_TEXT\nCLIP 16 = CF_LOCALE\nCLIP 7 = CF_OEMTEXT\nCLIP 13 = CF_UNICODETEXT\n' |
        diff - "$work/actual" || failed 'not Unicode: the formats'
else
    printf 'gr\xf6\xdfe' > "$work/text"
    timeout 10 xclip -selection clipboard -t STRING -i < "$work/text" > /dev/null 2>&1
    printf 'größe' > "$work/converted"
    expect 'Latin-1 in' "$work/converted" run_probe get
    run_probe set < "$work/converted"
    timeout 10 xclip -selection clipboard -o -t STRING > "$work/actual"
    cmp "$work/text" "$work/actual" || failed 'Latin-1 out'
    printf '%s\n' TARGETS MULTIPLE TIMESTAMP SAVE_TARGETS UTF8_STRING 'text/plain;charset=utf-8' TEXT STRING \
        > "$work/targets"
    run_probe list | sed 's/^CLIP [0-9]* = //' | cmp "$work/targets" - || failed 'the list of targets'
fi

# ---- No text ----

printf '\x89PNG\r\n\x1a\n' > "$work/text"
timeout 10 xclip -selection clipboard -t image/png -i < "$work/text" > /dev/null 2>&1
no_text() {
    ! run_probe get
}
: > "$work/nothing"
expect 'a picture is no text' "$work/nothing" no_text
run_probe set < "$work/before" # this ends the last xclip, too
expect 'a text after a picture' "$work/before" from_x
