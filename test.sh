#!/bin/bash
# Checks the format, lints, builds everything for Windows and Linux and runs every test on both: the Windows programs
# under Wine, the Linux ones plain and under AddressSanitizer and UndefinedBehaviorSanitizer, those with two threads also
# under ThreadSanitizer. The tests replay the fuzzers' corpora. With --long, runs the long tests as well, and each fuzzer
# for 60 seconds. Stops at the first failure.
set -euo pipefail
cd "$(dirname "$0")"

is_long=0
for argument in "$@"; do
    case $argument in
        --long) is_long=1 ;;
        *) echo "usage: ./test.sh [--long]" >&2; exit 2 ;;
    esac
done

tools/need_packages git cmake ninja-build g++ clang-format clang-tidy cppcheck libgtest-dev libbenchmark-dev libstb-dev \
    g++-mingw-w64-x86-64-posix lld wine wine64 xvfb openbox xdotool xclip imagemagick x11-xserver-utils \
    x11-utils x11-xkb-utils libx11-dev libxext-dev libxrandr-dev libxfixes-dev libxcursor-dev libxtst-dev python3-markdown \
    zip unzip appstream desktop-file-utils procps
tools/need_font

# Windows programs get a screen and a Wine server of their own: a server that was started without a screen never gets
# one.
export WINEPREFIX="$PWD/build/wine" WINEDEBUG=-all
run_under_screen_with_wine() { # COMMAND...
    tools/end_wine
    trap tools/end_wine EXIT
    # The first program starts Wine's services, which would keep the caller's output open. A server that is already
    # running saves every later program two seconds.
    # shellcheck disable=SC2016
    tools/run_under_screen bash -euc '
        wineserver -p
        tools/run_under_wine cmd /c exit < /dev/null > build/wine.log 2>&1
        "$@"' _ "$@"
}

build() { # PRESET
    echo "== $1"
    cmake --build --preset "$1" > "build/$1/build.log" || { cat "build/$1/build.log"; exit 1; }
}

test_windows() {
    build windows
    run_under_screen_with_wine ctest --preset windows
}

test_linux() {
    echo "== Format"
    git ls-files -co --exclude-standard '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
    build linux
    TMPDIR=$tests_tmpdir ctest --preset linux
}

test_sanitizers() {
    for preset in linux-asan linux-tsan; do
        build "$preset"
        TMPDIR=$tests_tmpdir ctest --preset "$preset"
    done
}

for preset in linux linux-asan linux-tsan windows; do
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" > /dev/null
done

# Tests make tens of thousands of small files, which takes most disks several times as long as memory. So the native
# tests' folder is there, if it has room for them and programs may run in it. For the Windows ones it stays on the disk:
# Wine's file manager opens no folder in /dev.
tests_tmpdir=${TMPDIR:-/tmp}
memory=
room=$(df --output=avail /dev/shm 2> /dev/null | sed 1d) || true # KB
if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ] && [ "${room:-0}" -ge 4000000 ]; then
    memory=$(mktemp -d /dev/shm/tarnwick.XXXXXX)
    chmod 755 "$memory" # a test becomes another user
    cp /bin/true "$memory"
    ! "$memory/true" 2> /dev/null || tests_tmpdir=$memory
fi

# All at once, as many of the tests wait for a screen more than they compute. The Windows ones take longest, so the
# others leave the processor to them.
declare -A name_of=()
start() { # NAME NICENESS FUNCTION
    (
        renice -n "$2" "$BASHPID" > /dev/null
        "$3"
    ) > "build/$1.log" 2>&1 < /dev/null &
    name_of[$!]=$1
}
set -m # gives each a process group of its own, which can be ended as a whole
start windows 0 test_windows
start linux 5 test_linux
start sanitizers 0 test_sanitizers
start lint 10 tools/lint_sources
set +m
end_all() {
    for group in "${!name_of[@]}"; do
        kill -- "-$group" 2> /dev/null || true
        wait "$group" 2> /dev/null || true
    done
    [ -z "$memory" ] || rm -rf "$memory"
}
trap end_all EXIT
while [ ${#name_of[@]} -gt 0 ]; do
    status=0
    wait -n -p ended "${!name_of[@]}" || status=$?
    echo "=== ${name_of[$ended]}"
    cat "build/${name_of[$ended]}.log"
    unset "name_of[$ended]"
    [ "$status" = 0 ] || exit "$status"
done
trap - EXIT
end_all

if [ "$is_long" = 1 ]; then
    echo "== A million files"
    tests/long/million_files.sh build/linux/bin/search_dump
    echo "== Readers"
    tests/long/readers.sh build/linux/bin
    echo "== Killed while typing"
    tests/long/kill_while_typing.sh build/linux/bin/typing_probe
    echo "== Soak"
    tools/run_under_screen bash tests/long/soak.sh build/linux/bin/x11_settings build/linux/bin/tarnwick - 180
    run_under_screen_with_wine bash tests/long/soak.sh tools/run_under_wine build/windows/bin/tarnwick.exe \
        build/windows/bin/process_probe.exe 180
    echo "== Fuzzing"
    tools/run_fuzzers 60
fi
