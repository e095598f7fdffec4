#!/bin/bash
# Builds the program and opens it: ./run.sh [FOLDER] [QUERY]. FOLDER may end in the start of a folder's name. Without a
# display the program runs on a virtual one, and a picture of it is saved as build/screenshot.png.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
folder=${1:-$top/src}
listed=$folder
if [ ! -e "$folder" ] && [[ $folder != */ ]]; then
    listed=$(dirname -- "$folder") # the start of a name asks for the folders beside it
fi
if [ ! -d "$listed" ]; then
    echo "No such folder: $folder" >&2
    exit 2
fi
# A slash at the end asks for the sub-folders, so it stays.
case $folder in
*/) folder=$(realpath -- "$folder") && folder=${folder%/}/ ;;
*) folder=$(realpath -- "$folder") ;;
esac
query=${2:-search}
cd "$top"
# Wine hands arguments on as one line. It writes a quote in them as a backslash and a quote, and puts quotes around
# arguments with spaces, so the query goes as words with a space between them.
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

# A path is taken in quotes only, so it gets a space at its end, which the program removes.
program=(build/windows/bin/tarnwick.exe "Z:$folder " "${words[@]}")
if [ -n "${DISPLAY:-}" ]; then
    exec tools/run_under_wine "${program[@]}"
fi

# A Wine server that is left behind would keep the display that ends here.
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
