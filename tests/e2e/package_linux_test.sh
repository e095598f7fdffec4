#!/bin/bash
# Makes the Linux package twice, from two folders, and uses it as a user would: installs it with the user guide's
# commands, starts the program, searches and clicks: package_linux_test.sh X11_SETTINGS SOURCE_FOLDER. Needs a display
# with a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/two_packages.sh
source "$(dirname "$0")/two_packages.sh" linux "$1" "$2" package-linux/bin/tarnwick linux-x86_64.tar.gz

# ---- What is in it ----

icon_sizes=(16 32 48 64 128 256)
expect_equal 'the files' "$({
    printf "$name/%s\n" LICENSE.txt THIRD_PARTY_NOTICES.txt docs/user_guide.html settings.txt source_code_pro.otf \
        tarnwick share/applications/tarnwick.desktop share/metainfo/local.tarnwick.tarnwick.metainfo.xml
    printf "$name/share/icons/hicolor/%s/apps/tarnwick.png\n" "${icon_sizes[@]/%/x}"
    (cd "$top" && printf "$name/%s\n" docs/pictures/*.png)
} | sed 's/\([0-9]*\)x\/apps/\1x\1\/apps/' | LC_ALL=C sort)" "$(tar -tzf "$package" | grep -v '/$' | LC_ALL=C sort)"

# ---- Installed by the guide's commands ----

guide=$top/docs/user_guide.md
HOME="$work/Tärn  wick 你 ß"
mkdir -p "$HOME/Downloads"
cp "$package" "$HOME/Downloads"
sed -n '/^## Installing on Linux/,/^## Searching/p' "$guide" |
    awk '/^```/ { is_code = !is_code; next } is_code && !/^\.\/tarnwick/' > "$work/commands"
[ "$(grep -c . "$work/commands")" -ge 4 ] || failed 'the guide has no commands'
(cd "$HOME/Downloads" && export HOME && bash -eu "$work/commands") || failed "the guide's commands fail"
folder=$HOME/$name
program=$folder/tarnwick

expect_same() { # NAME, with its text on standard input
    cmp - "$folder/$1" || failed "$1 differs"
}
expect_same LICENSE.txt < "$top/LICENSE"
expect_same THIRD_PARTY_NOTICES.txt < "$top/THIRD_PARTY_NOTICES.md"
cat "$top"/src/app/settings{,_linux}.txt | expect_same settings.txt
"$top/tools/make_guide_page" | expect_same docs/user_guide.html

entry=$HOME/.local/share/applications/tarnwick.desktop
desktop-file-validate "$folder/share/applications/tarnwick.desktop" "$entry"
expect_equal 'what the menu starts' "Exec=\"$program\"" "$(grep ^Exec= "$entry")"
appstreamcli validate --no-net "$folder"/share/metainfo/*.xml > "$work/appstream" || failed "$(cat "$work/appstream")"
expect_equal 'the release' "$(sed -n "s/^## \($version\), \(.*\)/version=\"\1\" date=\"\2\"/p" "$top/CHANGELOG.md")" \
    "$(sed -n 's/.*<release \(.*\)\/>/\1/p' "$folder"/share/metainfo/*.xml)"
for size in "${icon_sizes[@]}"; do
    expect_equal 'an icon' "PNG ${size}x$size" \
        "$(identify -format '%m %wx%h' "$HOME/.local/share/icons/hicolor/${size}x$size/apps/tarnwick.png")"
done

# ---- The program as a file ----

expect_equal 'the libraries it needs' \
    "$(printf '%s\n' lib{X11.so.6,Xcursor.so.1,Xext.so.6,Xfixes.so.3,Xrandr.so.2,c.so.6,m.so.6})" \
    "$(readelf -dW "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -v '^ld-linux' | LC_ALL=C sort)"
expect_equal 'the oldest C library it runs on, which the guide has' \
    "$(grep -oP 'glibc \K[0-9.]+[0-9]' "$guide" | sort -u)" \
    "$(objdump -T "$program" | grep -oP 'GLIBC_\K[0-9.]+' | sort -Vu | tail -1)"
expect_equal 'the symbols' "nm: $program: no symbols" "$(nm "$program" 2>&1)"
! readelf -SW "$program" | grep -q debug || failed 'the program has debugging information'
! grep -qaF "$top" "$program" || failed 'the program names the folder it was built in'
[ "$(stat -c %s "$program")" -lt 400000 ] || failed "the program has $(stat -c %s "$program") bytes; say so in the docs"

# The libraries whose code it contains, by the linker's map; THIRD_PARTY_NOTICES.txt names all third-party ones.
expect_equal 'the linked libraries' "$(printf '%s\n' libgcc libtarnwick_{actions,app,os,render,search,ui,window})" \
    "$(sed '/^Discarded input/q; /^Memory Configuration/q' "$top/build/package-linux/tarnwick.map" |
        grep -oE '[A-Za-z0-9_+-]+\.a\(' | tr -d '.(' | sed 's/a$//' | LC_ALL=C sort -u)"

# ---- The program, run where it was unpacked ----

# A stand-in for the desktop records what it is asked to open.
mkdir "$work/bin"
printf '#!/bin/sh\nprintf "%%s" "$*" > "%s"\n' "$work/opened" > "$work/bin/xdg-open"
chmod +x "$work/bin/xdg-open"
PATH=$work/bin:$PATH

opens() { # PATH
    until_true has_bytes "$work/opened" "$1" || failed "not opened: $1"
    rm "$work/opened"
}

mkdir -p "$work/tree/folder"
printf 'first\nsecond\n  here is a needle, and more\n' > "$work/tree/folder/hay.txt"
mkfifo "$work/tree/pipe"
yellow='\([c-f][0-9a-f]\)\10[0-9a-f]' green='0[0-9a-f][c-f][0-9a-f]0[0-9a-f]'
file_row=100x15+10+50 line_row=300x15+50+65

start "$hovered_removed" "$query_y"
expect_equal 'the title' "Tarnwick  |  $version" "$(xdotool getwindowname "$window")"
click 1 500 "$path_y"
expect_pixel 500 6 "$focused"
xdotool type "$work/tree"
expect_path "$work/tree"
xdotool key Tab
expect_pixel 500 29 "$focused"
xdotool type needle
expect_query needle
see_pixels "$file_row" "$yellow"
move_to 300 72
see_pixels "$line_row" "$green"
xdotool click 1
opens "$work/tree/folder/hay.txt"
xdotool click 3
opens "$work/tree/folder"
xdotool key Escape
opens "$folder/"
[ -z "$(ps -o stat= --ppid "$tarnwick")" ] || failed 'a child that has ended stays'
close
expect_equal 'the folder' \
    "$(printf '%s\n' LICENSE.txt THIRD_PARTY_NOTICES.txt docs saved_paths.txt saved_queries.txt settings.txt share \
        source_code_pro.otf tarnwick)" "$(cd "$folder" && printf '%s\n' *)"

# With the user's own command, appended to settings.txt, and the arguments from the guide.
printf 'left_click_cmd touch "%s/{tarn_row} {tarn_column} {tarn_file_name}"\n' "$work" >> "$folder/settings.txt"
start "$hovered_removed" "$query_y" "$work/tree/folder " -needle
see_pixels "$file_row" "$yellow"
click 1 300 72
until_true test -e "$work/3 13 hay.txt" || failed 'no click'
close
