#!/bin/bash
# Checks the format, lints, builds everything for Windows and Linux and runs every test on both: the Windows programs
# under Wine, the Linux ones plain and under AddressSanitizer and UndefinedBehaviorSanitizer, those with two threads under
# ThreadSanitizer as well. Stops with a failure's status at the first preset that has one. The fuzzers' corpora are
# replayed among the tests; with --long come the long tests, and each fuzzer looks for new inputs, for 60 seconds.
set -euo pipefail
cd "$(dirname "$0")"

is_long=0
for argument in "$@"; do
    case $argument in
        --long) is_long=1 ;;
        *) echo "usage: ./test.sh [--long]" >&2; exit 2 ;;
    esac
done

tools/need_packages git cmake ninja-build g++ clang-format clang-tidy cppcheck googletest libbenchmark-dev libstb-dev \
    g++-mingw-w64-x86-64-posix wine wine64 xvfb xauth openbox xdotool xclip imagemagick x11-xserver-utils \
    x11-utils x11-xkb-utils libx11-dev libxext-dev libxrandr-dev libxfixes-dev libxcursor-dev libxtst-dev python3-markdown zip unzip
tools/need_font

echo "== Format"
git ls-files -co --exclude-standard '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

echo "== Lint"
tools/lint

# Windows programs get a screen with a window manager, and a Wine server of their own: one that was started without a
# screen keeps none.
export WINEPREFIX="$PWD/build/wine" WINEDEBUG=-all
mkdir -p "$WINEPREFIX"
end_wine() {
    wineserver -k 2> /dev/null || true
    wineserver -w
}

under_screen() {
    end_wine
    trap end_wine EXIT
    # The first program starts Wine's services, which go on and would hold the output of whoever waits for it. A server
    # that is up spares every later program two seconds.
    # shellcheck disable=SC2016
    xvfb-run -a -s '-screen 0 1280x1024x24' bash -euc '
        openbox > build/openbox.log 2>&1 &
        until xdotool get_desktop > /dev/null 2>&1; do
            kill -0 $! || exit 1
            sleep 0.1
        done
        wineserver -p
        tools/under_wine cmd /c exit < /dev/null > build/wine.log 2>&1
        "$@"' _ "$@"
}

for preset in linux linux-asan linux-tsan windows; do
    echo "== $preset"
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" > /dev/null
    cmake --build --preset "$preset" > "build/$preset/build.log" || { cat "build/$preset/build.log"; exit 1; }
    if [ "$preset" = windows ]; then
        under_screen ctest --preset "$preset"
    else
        ctest --preset "$preset"
    fi
done

if [ "$is_long" = 1 ]; then
    echo "== A million files"
    tests/long/million_files.sh build/linux/bin/search_dump
    echo "== Killed while typing"
    tests/long/kill_while_typing.sh build/linux/bin/typing_probe
    echo "== Soak"
    under_screen bash tests/long/soak.sh tools/under_wine build/windows/bin/tarnwick.exe \
        build/windows/bin/process_probe.exe 180
    echo "== Fuzzing"
    tools/fuzz 60
fi
