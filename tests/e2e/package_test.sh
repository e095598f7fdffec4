#!/bin/bash
# Makes the package twice, in two folders, and uses it like a user: unpacks it, types into the program and clicks a hit:
# package_test.sh RUN_UNDER_WINE SOURCE_FOLDER. Needs a display with a window manager.
set -euo pipefail
# shellcheck source=tests/e2e/two_packages.sh
source "$(dirname "$0")/two_packages.sh" windows "$1" "$2" package/bin/tarnwick.exe win64.zip

# ---- What is in it ----

unzip -tq "$package"
expect_equal 'the files' "$({
    printf "$name/%s\n" LICENSE.txt THIRD_PARTY_NOTICES.txt docs/user_guide.html settings.txt source_code_pro.otf \
        tarnwick.exe
    (cd "$top" && printf "$name/%s\n" docs/pictures/*.png)
} | LC_ALL=C sort)" "$(unzip -Z1 "$package")"

folder="$work/Tärn  wick 你 ß"
mkdir "$folder"
unzip -q "$package" -d "$folder"
folder=$folder/$name
expect_text() { # SOURCE NAME
    sed 's/$/\r/' "$top/$1" | cmp - "$folder/$2" || failed "$2 differs"
}
expect_text LICENSE LICENSE.txt
expect_text THIRD_PARTY_NOTICES.md THIRD_PARTY_NOTICES.txt
cat "$top"/src/app/settings{,_win32}.txt | sed 's/$/\r/' | cmp - "$folder/settings.txt" || failed 'settings.txt differs'

# ---- The guide ----

guide=$top/docs/user_guide.md
page=$folder/docs/user_guide.html
for line in '<!DOCTYPE html>' '<meta charset="utf-8">' '<title>Tarnwick: user guide</title>' '</html>'; do
    grep -qx "$line"$'\r' "$page" || failed "the guide has no $line"
done
[ "$(grep -c $'\r$' "$page")" = "$(wc -l < "$page")" ] || failed 'the guide mixes line ends'
expect_equal 'the headings' "$(sed -n 's/^## //p' "$guide")" \
    "$(sed -n 's/^<h2 id="[^"]*">\(.*\)<\/h2>\r$/\1/p' "$page")"
[ "$(grep -c '^<table>' "$page")" = "$(grep -c '^|--' "$guide")" ] || failed 'the guide lacks a table'
# No Markdown is left unconverted.
! grep -n '`\|](\|^|\|^- ' "$page" || failed 'the guide has Markdown'
# Every picture and link target of the guide exists; there are no other links.
expect_equal 'the number of links' "$(grep -oF '](' "$guide" | wc -l)" "$(grep -oE '(href|src)="' "$page" | wc -l)"
while read -r link; do
    case $link in
        \#*) grep -q "<h[23] id=\"${link#\#}\">" "$page" ;;
        *) [ -s "$folder/docs/$link" ] ;;
    esac || failed "the guide links to $link, which does not exist"
done < <(grep -oP '(href|src)="\K[^"]+' "$page")

# ---- The program as a file ----

program=$folder/tarnwick.exe
objdump=x86_64-w64-mingw32-objdump
expect_equal 'the imports' "$(printf '%s\n' gdi32.dll kernel32.dll msvcrt.dll shell32.dll user32.dll)" \
    "$($objdump -p "$program" | sed -n 's/^\s*DLL Name: //p' | tr '[:upper:]' '[:lower:]' | sort)"
$objdump -t "$program" | grep -qx 'no symbols' || failed 'the program has symbols'
$objdump -h "$program" > "$work/sections"
grep -q ' \.text ' "$work/sections" || failed 'the program has no code'
! grep -q debug "$work/sections" || failed 'the program has debugging information'
! grep -qaF "$top" "$program" || failed 'the program names the folder it was built in'
[ "$(stat -c %s "$program")" -lt 400000 ] || failed "the program has $(stat -c %s "$program") bytes; update the docs"

# The libraries whose code is in the program, by the linker's map; THIRD_PARTY_NOTICES.txt names the third-party ones.
expect_equal 'the libraries' "$(printf '%s\n' libgcc libgdi32 libkernel32 libmingw32 libmingwex libmsvcrt libshell32 \
    libtarnwick_{actions,app,os,render,search,ui,window} libuser32 | LC_ALL=C sort)" \
    "$(sed '/^Discarded input/q; /^Memory Configuration/q' "$top/build/package/tarnwick.map" |
        grep -oE '[A-Za-z0-9_+-]+\.a\(' | tr -d '.(' | sed 's/a$//' | LC_ALL=C sort -u)"

for library in libgcc libmingw32 libmingwex libmsvcrt; do
    grep -q "$library" "$folder/THIRD_PARTY_NOTICES.txt" || failed "THIRD_PARTY_NOTICES.txt does not name $library"
done

x86_64-w64-mingw32-windres -J coff -O rc -i "$program" -o "$work/resources.rc"
four_parts="${version//./, }, 0"
for line in "FILEVERSION $four_parts" "PRODUCTVERSION $four_parts" "VALUE \"FileVersion\", \"$version.0\"" \
    "VALUE \"ProductVersion\", \"$version\"" 'VALUE "ProductName", "Tarnwick"' \
    'VALUE "OriginalFilename", "tarnwick.exe"' '1 14 /\* RT_GROUP_ICON \*/' '1 24 /\* RT_MANIFEST \*/'; do
    grep -qx " *$line" "$work/resources.rc" || failed "no resource $line"
done
[ "$(grep -c ' 3 /\* RT_ICON \*/' "$work/resources.rc")" = 4 ] || failed 'not four sizes of the icon'

# ---- Running the unpacked program ----

cd "$folder" # where commands run

expect_bytes() {
    until_true has_bytes "$@" || failed "$(basename "$1") is not ${2@Q} but $(od -An -c "$1")"
}

# Colours of text, as regular expressions for pixels that a letter mostly covers. The list's rows are 15 pixels high:
# the file's name, then its line.
yellow='\([c-f][0-9a-f]\)\10[0-9a-f]' white='\([c-f][0-9a-f]\)\1\1' green='0[0-9a-f][c-f][0-9a-f]0[0-9a-f]'
file_row=100x15+10+50 line_row=300x15+50+65

mkdir -p "$work/tree"
printf 'first\nsecond\n  here is a needle, and more\n' > "$work/tree/hay.txt"
printf 'nothing at all\n' > "$work/tree/stack.txt"
tree=$drive$work/tree

start "$hovered_removed" "$query_y"
# The title's bytes are taken as UTF-16 units: intentional.
[ "$(xdotool getwindowname "$window" | tr -d '\n' | iconv -t UTF-16LE)" = "Tarnwick  |  $version" ] ||
    failed "the title is $(xdotool getwindowname "$window")"
click 1 500 "$path_y"
expect_pixel 500 6 "$focused"
xdotool type "$tree"
expect_bytes "$folder/saved_paths.txt" "$tree"
xdotool key Tab
expect_pixel 500 29 "$focused"
! has_pixels "$file_row" "$yellow" || failed 'hits without a query'
xdotool type needle
expect_bytes "$folder/saved_queries.txt" needle
see_pixels "$file_row" "$yellow"
see_pixels "$line_row" "$white"
# Without saved entries the next start would not restore the texts: intentional.
click 1 "$save_x" "$query_y"
expect_bytes "$folder/saved_queries.txt" $'needle\r\nneedle'
click 1 "$save_x" "$path_y"
expect_bytes "$folder/saved_paths.txt" "$tree"$'\r\n'"$tree"
close
expect_equal 'the folder' \
    "$(printf '%s\n' LICENSE.txt THIRD_PARTY_NOTICES.txt docs saved_paths.txt saved_queries.txt settings.txt \
        source_code_pro.otf tarnwick.exe)" "$(cd "$folder" && printf '%s\n' *)"

# With a command of the user's, appended to settings.txt.
printf 'left_click_cmd cmd /c echo {tarn_row} {tarn_column} {tarn_file_name}>clicked.txt\r\n' >> "$folder/settings.txt"
start "$hovered_live" "$query_y"
see_pixels "$file_row" "$yellow"
see_pixels "$line_row" "$white"
move_to 300 72
see_pixels "$line_row" "$green"
xdotool click 1
expect_bytes "$folder/clicked.txt" $'3 13 hay.txt\r\n'
close
