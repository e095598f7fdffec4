#!/bin/bash
# Builds the program and opens it: ./run.sh [FOLDER] [QUERY]. FOLDER may end in the start of a folder's name. Without a
# display, runs it on a virtual one and saves a screenshot as build/screenshot.png.
set -euo pipefail
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
# Wine joins the arguments to one line, in which it quotes arguments with spaces and escapes quotes. So the query is
# passed as words, which Wine joins with spaces.
case $query in
*[\"$'\t\n']* | *'  '* | *' ')
    echo "A query with quotes, tabs, two spaces together or a space at its end cannot be passed on under Wine." >&2
    exit 2
    ;;
esac
IFS=' ' read -ra words <<< "-$query"

packages=(cmake ninja-build googletest libstb-dev g++-mingw-w64-x86-64-posix wine wine64)
[ -n "${DISPLAY:-}" ] || packages+=(xvfb xauth openbox xdotool imagemagick)
tools/need_packages "${packages[@]}"
tools/need_font
mkdir -p build/windows
{
    [ -f build/windows/build.ninja ] || cmake --preset windows
    cmake --build --preset windows --target tarnwick
} > build/windows/build.log 2>&1 || { cat build/windows/build.log; exit 1; }

# The program accepts only a quoted path. A space at the end makes Wine quote it; the program removes the space.
program=(build/windows/bin/tarnwick.exe "Z:$folder " "${words[@]}")
if [ -n "${DISPLAY:-}" ]; then
    exec tools/run_under_wine "${program[@]}"
fi

# End Wine's server, which would otherwise keep using this display after it is gone.
export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all
mkdir -p "$WINEPREFIX"
end_wine() {
    wineserver -k 2> /dev/null || true
    wineserver -w
}
end_wine
trap end_wine EXIT
xvfb-run -a -s '-screen 0 1280x1024x24' tools/take_screenshot build/screenshot.png "${program[@]}"
echo "$PWD/build/screenshot.png"
