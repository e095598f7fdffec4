#!/bin/bash
# The program's redirected standard output, byte for byte, and its command line, input and terminal:
# console_test.sh [RUNNER] PROGRAM, where PROGRAM is console_probe.
set -euo pipefail
export LC_ALL=C.UTF-8
probe=()
for word in "$@"; do
    case $word in */*) word=$(realpath "$word") ;; esac
    probe+=("$word")
done
case ${probe[-1]} in
*.exe) windows=1 line_end=$'\r\n' ;; # the standard library's output is in text mode there
*) windows=0 line_end=$'\n' ;;
esac

# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"
mkdir "$work/empty"
cd "$work/empty"

# run STATUS ARGUMENT...: the probe must exit with STATUS; its output goes to $work/actual.
run() {
    local expected=$1 status=0
    shift
    "${probe[@]}" "$@" >"$work/actual" || status=$?
    [ "$status" = "$expected" ] || failed "$*: exit status $status, not $expected"
}

# expect NAME: compares the last output with standard input.
expect() {
    cat >"$work/expected"
    cmp -s "$work/expected" "$work/actual" ||
        failed "$1: $(diff <(od -c "$work/expected") <(od -c "$work/actual"))"
}

lines() {
    for ((i = 1; i <= $1; i++)); do echo "line $i of the log"; done
}

# ---- Redirected to a file ----

run 1 window_failure
printf '[main_init:1092] WTF failed to open window!\n' | expect "the line of a failed window"

run 0 print 1
lines 1 | expect "a short text"
run 0 print 500
lines 500 | expect "a text longer than the buffer"

run 0 debug
printf "CLIP 49161 = DataObject$line_end""2886$line_end""* TODO * os_abort_all_threads$line_end" |
    expect "debug lines"

# ---- Output that cannot be written ----

# run_unread NAME ARGUMENT...: the caller redirects standard output. The probe must not notice.
run_unread() {
    local status=0
    "${probe[@]}" "${@:2}" 2>"$work/errors" || status=$?
    [ "$status" = 0 ] || failed "$1: exit status $status"
    [ ! -s "$work/errors" ] || failed "$1: wrote an error message"
}

run_unread "standard output closed" print 500 >&-
run_unread "standard output closed, debug lines" debug >&-
run_unread "a full device" print 500 >/dev/full
run_unread "a full device, debug lines" debug >/dev/full
# More than a pipe holds, so the write fails when the reader has gone.
run_unread "a pipe that nobody reads" print 20000 > >(exec true)
[ -z "$(ls -A "$work/empty")" ] || failed "something was written into the working folder"

# ---- Command line ----

run 0 command_line one two
first=$(cat "$work/actual")
case $first in
"["*"console_probe"*"command_line one two]") ;;
*) failed "a plain command line: $first" ;;
esac

if [ $windows = 1 ]; then
    run 0 respawn 'any name  "a b" -c   '
    printf '[any name  "a b" -c]\n' | expect "a command line with trailing spaces"
    run 0 respawn '     '
    printf '[]\n' | expect "a command line of spaces only"
    run 0 respawn $'  x\ty \t'
    printf '[  x\ty]\n' | expect "trailing tabs are cut"
else
    run 0 respawn name plain 'a b' '' '"a quoted"' '-a b' 'in"side' 'end  '
    printf '[name plain "a b" "" "a quoted" -a b in"side "end  "]\n' | expect "arguments joined to a command line"
    run 0 respawn name $'a\tb' $'-x\t'
    printf '[name "a\tb" -x]\n' | expect "arguments with tabs"
    run 0 respawn '   '
    printf '["   "]\n' | expect "a name of spaces only"
    run 0 respawn ''
    printf '[""]\n' | expect "an empty name"
    long=$(printf 'x%.0s' {1..9000})
    run 0 respawn name "$long" "$long"
    printf '[name %s %s]\n' "$long" "$long" | expect "long arguments"
fi
run 0 respawn 'Grüße-€'
printf '[Grüße-€]\n' | expect "a command line is UTF-8"

# ---- Started through a link ----

# As package managers do: a link to a link with another name, in a folder that is itself linked.
mkdir "$work/links" "$work/real é"
cp "${probe[-1]}" "$work/real é/"
ln -s "../real é/$(basename "${probe[-1]}")" "$work/links/first.exe"
ln -s first.exe "$work/links/second.exe"
ln -s links "$work/linked"
first_words=("${probe[@]:0:${#probe[@]}-1}")
system_root=
[ $windows = 0 ] || system_root=Z:
for program in "$work/real é/$(basename "${probe[-1]}")" "$work/links/first.exe" "$work/linked/second.exe"; do
    "${first_words[@]}" "$program" folder >"$work/actual" || failed "$program: exit status $?"
    printf '[%s/]\n' "$system_root$(realpath "$work/real é")" | expect "the folder of $program"
done

# ---- Standard input ----

run 0 read_lines < <(printf 'one\n two \n\n0123456789abcdefghij\nlast')
printf '[one]\n[ two ]\n[]\n[0123456789abcde]\n[fghij]\n[last]\n' | expect "lines of standard input"
run 0 read_lines </dev/null
printf '' | expect "an empty standard input"

# ---- A terminal ----

command=$(printf '%q ' "${probe[@]}" console "$work/report")
[ $windows = 0 ] || command=$(printf '%q ' "${probe[@]}" console "Z:$work/report")
printf 'q' | script -qec "stty rows 33 cols 90; $command" /dev/null >"$work/shown" ||
    failed "in a terminal: exit status $?"
cp "$work/report" "$work/actual"
printf 'height 33\nmoved 1\nkey 113\n' | sed "s/\$/${line_end%$'\n'}/" | expect "the answers of a terminal"
