#!/bin/bash
# tools/check_layers rejects every kind of forbidden include: check_layers_test.sh CHECK.
set -euo pipefail
check=$1
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"

# expect good|bad FILE INCLUDE: checks a tree of one file with one include.
expect() {
    rm -rf "$work/src"
    mkdir -p "$work/src/$(dirname "$2")"
    printf '#include %s\n' "$3" > "$work/src/$2"
    local result=good
    "$check" "$work/src" > "$work/out" || result=bad
    [ "$result" = "$1" ] || failed "$2 that includes $3 should be $1"
}

expect good search/matcher.cpp '"os/files.h"'
expect good search/matcher.cpp '"search/scan.h"'
expect good search/matcher.cpp '<string.h>'
expect good app/frame.cpp '"ui/field_widget.h"'
expect good os/win32/files.cpp '<windows.h>'
expect good os/win32/files.cpp '"os/win32/utf16.h"'
expect good os/linux/files.cpp '<sys/stat.h>'
expect good os/toolkit/win32/console.cpp '<windows.h>'
expect good os/toolkit/linux/process.cpp '"os/linux/process.h"'
expect bad os/print.cpp '"os/toolkit/console.h"'
expect bad app/main.cpp '"os/toolkit/crash.h"'
expect bad os/toolkit/console.cpp '"search/scan.h"'
expect bad os/toolkit/console.cpp '<windows.h>'
expect bad os/toolkit/console.cpp '"os/win32/utf16.h"'
expect bad os/toolkit/win32/console.cpp '<unistd.h>'
expect bad os/files.cpp '"search/scan.h"'
expect bad search/matcher.cpp '"render/draw.h"'
expect bad render/text.cpp '"ui/input_state.h"'
expect bad ui/field_widget.cpp '"app/frame.h"'
expect bad app/main.cpp '<windows.h>'
expect bad os/print.cpp '<unistd.h>'
expect bad search/scan_vector.cpp '<windows.h>'
expect bad os/linux/files.cpp '<windows.h>'
expect bad os/win32/files.cpp '<sys/stat.h>'
expect bad search/walk.cpp '"os/win32/utf16.h"'
expect bad search/walk.cpp '"scan.h"'
expect bad other/walk.cpp '"os/files.h"'
