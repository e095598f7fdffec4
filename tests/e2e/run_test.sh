#!/bin/bash
# Checks which folders and queries run.sh accepts, and what it installs, builds and starts for each system:
# run_test.sh RUN_SH. Nothing is installed or built: stand-ins for the tools and programs record their calls.
set -euo pipefail
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"

top=$work/top
mkdir -p "$top/tools" "$top/src/search" "$top"/build/{linux,windows}/bin "$work/bin"
cp "$1" "$top/run.sh"
touch "$top/file"
cat > "$work/stand_in" << 'END'
#!/bin/bash
printf '%s' "$(basename "$0")" >> "$CALLS"
[ $# = 0 ] || printf ' [%s]' "$@" >> "$CALLS"
echo >> "$CALLS"
END
chmod +x "$work/stand_in"
for program in "$top"/tools/{need_packages,need_font,run_under_{screen,wine},end_wine} \
    "$top"/build/linux/bin/tarnwick "$work/bin/cmake"; do
    cp "$work/stand_in" "$program"
done
export CALLS=$work/calls PATH=$work/bin:$PATH
cd "$top"

run() { # ARGUMENT...
    : > "$CALLS"
    status=0
    message=$(./run.sh "$@" 2>&1) || status=$?
}

print_state() {
    echo "status $status: $message"
    cat "$CALLS"
}

expect_refused() { # MESSAGE ARGUMENT...
    run "${@:2}"
    if [ "$status" != 2 ] || [ "$message" != "$1" ] || [ -s "$CALLS" ]; then
        failed "./run.sh ${*:2}"
    fi
}

expect_call() { # CALL ARGUMENT...
    run "${@:2}"
    if [ "$status" != 0 ] || ! grep -qxF -- "$1" "$CALLS"; then
        failed "no call: $1"
    fi
}

no_call() { # PATTERN
    ! grep -q -- "$1" "$CALLS" || failed "a call of $1"
}

for windows in '' --windows; do
    option=(${windows:+"$windows"})
    start="tarnwick ["
    [ -z "$windows" ] || start="run_under_wine [build/windows/bin/tarnwick.exe] [Z:"
    export DISPLAY=:1

    # ---- Folders, and prefixes of folder names ----

    expect_call "$start$top/src ] [-search]" "${option[@]}"
    for path in src src/ src/search/ src/sea srch "$top/src/sea"; do
        expect_call "$start$top/${path#"$top/"} ] [-search]" "${option[@]}" "$path"
    done
    expect_call "$start$top ] [-search]" "${option[@]}" .
    expect_call "$start/ ] [-search]" "${option[@]}" /
    for path in nowhere/ nowhere/sea nowhere/else/ /nowhere/sea file file/ file/sea; do
        expect_refused "No such folder: $path" "${option[@]}" "$path"
    done

    # ---- Queries ----

    expect_call "$start$top/src ] [-two] [words]" "${option[@]}" src 'two words'
    expect_call "$start$top/src ] [-] [first]" "${option[@]}" src ' first'
    for query in 'two  spaces' 'end ' $'a\ttab' $'a\nline'; do
        expect_refused \
            'A query with tabs, line ends, two spaces together or a space at its end cannot be passed on.' \
            "${option[@]}" src "$query"
    done
    if [ "$windows" ]; then
        expect_refused 'A query with quotes cannot be passed on under Wine, which puts a backslash before them.' \
            "${option[@]}" src '"quoted"'
    else
        expect_call "$start$top/src ] [-\"quoted\"]" src '"quoted"'
    fi

    # ---- What is installed and built ----

    run "${option[@]}"
    system=${windows:+windows}
    grep -qx "cmake \[--build\] \[--preset\] \[${system:-linux}\] \[--target\] \[tarnwick\]" "$CALLS" ||
        failed 'not built'
    no_call run_under_screen
    if [ "$windows" ]; then
        grep -q 'need_packages .*\[wine64\]' "$CALLS" || failed 'no Wine'
        no_call libx11
    else
        grep -q 'need_packages .*\[libx11-dev\]' "$CALLS" || failed 'no X11'
        no_call wine
        no_call mingw
    fi

    # ---- Without a display ----

    unset DISPLAY
    command="[build/linux/bin/tarnwick] ${start#tarnwick }"
    [ -z "$windows" ] || command="[tools/run_under_wine] ${start#run_under_wine }"
    expect_call "run_under_screen [tools/take_screenshot] [build/screenshot.png] $command$top/src ] [-search]" \
        "${option[@]}"
    [ "$message" = "$top/build/screenshot.png" ] || failed "the picture's path is not printed"
    grep -q 'need_packages .*\[xvfb\].*\[xdotool\].*\[imagemagick\]' "$CALLS" || failed 'no virtual display'
done
