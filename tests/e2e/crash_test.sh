#!/bin/bash
# Crashes a real process and checks its last output: crash_test.sh [RUNNER] PROGRAM, where PROGRAM is crash_probe.
set -euo pipefail
probe=("$@")
case ${probe[-1]} in
*.exe) windows=1 ;;
*) windows=0 ;;
esac
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"
ulimit -c 0
print_state() {
    diff "$work/expected" "$work/actual"
    cat "$work/errors"
}

# expect NAME STATUS TEXT ARGUMENT...: checks the exit status and the whole standard output.
expect() {
    local status=0
    timeout 100 "${probe[@]}" "${@:4}" > "$work/actual" 2> "$work/errors" < /dev/null || status=$?
    printf '%s' "$3" > "$work/expected"
    [ "$status" = "$2" ] || failed "$1: exit status $status, not $2"
    cmp -s "$work/expected" "$work/actual" || failed "$1"
}

# ---- Crashes ----

violation='EXCEPTION_ACCESS_VIOLATION -> The thread tried to read from or write to a virtual address for which it does'
violation+=' not have the appropriate access.'
division='EXCEPTION_INT_DIVIDE_BY_ZERO -> The thread tried to divide an integer value by an integer divisor of zero.'
illegal='EXCEPTION_ILLEGAL_INSTRUCTION -> The thread tried to execute an invalid instruction.'
breakpoint='EXCEPTION_BREAKPOINT -> A breakpoint was encountered.'
overflow='EXCEPTION_STACK_OVERFLOW -> The thread used up its stack.'

# A shell sees the low eight bits of the exception code.
expect 'an access violation' $((0x05)) "1 $violation"$'\n' access_violation
expect 'a division by zero' $((0x94)) "1 $division"$'\n' divide_by_zero
expect 'an illegal instruction' $((0x1D)) "1 $illegal"$'\n' illegal_instruction
expect 'a breakpoint' $((0x03)) "1 $breakpoint"$'\n' breakpoint
expect 'a stack overflow' $((0xFD)) "1 $overflow"$'\n' stack_overflow
expect 'without a callback' $((0x05)) '' no_callback
expect 'a second callback' $((0x05)) $'the second callback\n' second_callback

if [ $windows = 1 ]; then
    expect 'the whole status of an access violation' 0 "1 $violation"$'\nstatus C0000005\n' status access_violation
    expect 'the whole status of a breakpoint' 0 "1 $breakpoint"$'\nstatus 80000003\n' status breakpoint
fi

# ---- A fatal error ----

message=$'größe 😀 你好\nand no way out'
if [ $windows = 0 ]; then
    status=0
    "${probe[@]}" fatal > "$work/actual" 2> "$work/errors" < /dev/null || status=$?
    [ "$status" = 134 ] || failed "a fatal error: exit status $status, not that of an abort"
    printf 'YA FUCKED UP: %s\n' "$message" | cmp - "$work/errors" || failed 'the message of a fatal error'
elif [ -z "${DISPLAY:-}" ]; then
    echo 'SKIPPED: no screen for a message box'
else
    has_box() {
        window=$(xdotool search --onlyvisible --name '^YA FUCKED UP$' 2> /dev/null)
    }
    is_closed() {
        xdotool windowfocus "$window" key Return 2> /dev/null || true
        ! kill -0 "$process" 2> /dev/null
    }
    timeout 100 "${probe[@]}" fatal > "$work/actual" 2> "$work/errors" < /dev/null &
    process=$!
    until_true has_box || failed 'no visible box'
    expect 'a box with title, message and one button' 0 "YA FUCKED UP"$'\n'"$message"$'\n1 button\n' box
    until_true is_closed || failed 'the box does not close'
    status=0
    wait "$process" || status=$?
    [ "$status" = 3 ] || failed "a fatal error: exit status $status, not that of an abort"
fi
