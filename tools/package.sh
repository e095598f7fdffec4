#!/bin/bash
# Makes dist/tarnwick-VERSION-win64.zip, the program as it is given away, from this folder's sources, built anew in
# build/package. One commit gives the same bytes, wherever and whenever: see docs/building.md.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C TZ=UTC
umask 022

tools/need_packages cmake ninja-build libstb-dev g++-mingw-w64-x86-64-posix zip
tools/need_font
build=build/package
rm -rf "$build"
mkdir -p "$build" dist
{
    cmake --preset package
    cmake --build --preset package
} > "$build/build.log" 2>&1 || { cat "$build/build.log"; exit 1; }

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
folder=tarnwick-$version
package=$PWD/dist/$folder-win64.zip

# Text gets the line ends of Windows, where old editors know no others.
add_text() { # NAME, the text being on standard input
    sed 's/$/\r/' > "$build/$folder/$1"
}

mkdir -p "$build/$folder/docs/pictures"
cp "$build/bin/tarnwick.exe" "$build/bin/source_code_pro.otf" "$build/$folder"
add_text settings.txt < src/app/settings.txt
add_text LICENSE.txt < LICENSE
add_text THIRD_PARTY_NOTICES.txt < THIRD_PARTY_NOTICES.md
tools/guide_page | add_text docs/user_guide.html
cp docs/pictures/*.png "$build/$folder/docs/pictures"

# Every file has the commit's time; without a commit, the first one that a zip can tell.
time=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2> /dev/null || echo 315532800)}
find "$build/$folder" -type d -exec chmod 755 {} + -o -exec chmod 644 {} +
find "$build/$folder" -depth -exec touch -d "@$time" {} +

rm -f "$package"
(cd "$build" && find "$folder" -type f | sort | zip -q -9 -X -D "$package" -@)
sha256sum "$package"
