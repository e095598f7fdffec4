#!/bin/bash
# Builds everything for Windows and Linux and runs every test on both: the Windows programs under Wine, the Linux ones
# plain and under AddressSanitizer and UndefinedBehaviorSanitizer. Stops with a failure's status at the first preset
# that has one.
set -euo pipefail
cd "$(dirname "$0")"

tools/need_packages cmake ninja-build g++ clang-format googletest libbenchmark-dev libstb-dev \
    g++-mingw-w64-x86-64-posix wine wine64

echo "== Format"
git ls-files -co --exclude-standard '*.cpp' '*.h' '*.inl' | xargs clang-format --dry-run --Werror

# A server that is up spares every Windows program two seconds; this one goes by itself.
export WINEPREFIX="$PWD/build/wine" WINEDEBUG=-all
mkdir -p build
[ -d "$WINEPREFIX" ] || tools/under_wine wineboot --init > /dev/null 2>&1
wineserver -p300 2> /dev/null || true

for preset in linux linux-asan windows; do
    echo "== $preset"
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset" > /dev/null
    cmake --build --preset "$preset" > "build/$preset/build.log" || { cat "build/$preset/build.log"; exit 1; }
    ctest --preset "$preset"
done
