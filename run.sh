#!/bin/bash
# Builds the program and opens it: ./run.sh [--windows] [FOLDER] [QUERY]; with --windows the Windows program, under Wine.
# FOLDER may end in the start of a folder's name. Without a display, runs it on a virtual one and saves a screenshot as
# build/screenshot.png.
set -euo pipefail
system=linux
if [ "${1:-}" = --windows ]; then
    system=windows
    shift
fi
top=$(cd "$(dirname "$0")" && pwd)
folder=${1:-$top/src}
listed=$folder
if [ ! -e "$folder" ] && [[ $folder != */ ]]; then
    listed=$(dirname -- "$folder") # the start of a name lists the folders that begin with it
fi
if [ ! -d "$listed" ]; then
    echo "No such folder: $folder" >&2
    exit 2
fi
# A slash at the end is kept: it lists the sub-folders.
case $folder in
*/) folder=$(realpath -- "$folder") && folder=${folder%/}/ ;;
*) folder=$(realpath -- "$folder") ;;
esac
query=${2:-search}
cd "$top"
# The program gets its arguments as one line, in which those with spaces are in quotes. So the query is passed as words,
# which are joined with spaces.
case $query in
*[$'\t\n']* | *'  '* | *' ')
    echo "A query with tabs, line ends, two spaces together or a space at its end cannot be passed on." >&2
    exit 2
    ;;
*\"*)
    if [ $system = windows ]; then
        echo "A query with quotes cannot be passed on under Wine, which puts a backslash before them." >&2
        exit 2
    fi
    ;;
esac
IFS=' ' read -ra words <<< "-$query"
# The program accepts only a quoted path. A space at the end gets it quoted; the program removes the space.
if [ $system = windows ]; then
    packages=(googletest libstb-dev g++-mingw-w64-x86-64-posix wine wine64)
    program=(tools/run_under_wine build/windows/bin/tarnwick.exe "Z:$folder " "${words[@]}")
else
    packages=(g++ libgtest-dev libbenchmark-dev libstb-dev libx11-dev libxcursor-dev libxext-dev libxfixes-dev libxrandr-dev
        libxtst-dev)
    program=(build/linux/bin/tarnwick "$folder " "${words[@]}")
fi

[ -n "${DISPLAY:-}" ] || packages+=(xvfb openbox xdotool imagemagick)
tools/need_packages cmake ninja-build "${packages[@]}"
tools/need_font
mkdir -p build/$system
{
    [ -f build/$system/build.ninja ] || cmake --preset $system
    cmake --build --preset $system --target tarnwick
} > build/$system/build.log 2>&1 || { cat build/$system/build.log; exit 1; }

if [ -n "${DISPLAY:-}" ]; then
    exec "${program[@]}"
fi

if [ $system = windows ]; then
    tools/end_wine
    trap tools/end_wine EXIT
fi
tools/run_under_screen tools/take_screenshot build/screenshot.png "${program[@]}"
echo "$PWD/build/screenshot.png"
