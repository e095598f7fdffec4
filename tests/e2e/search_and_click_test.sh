#!/bin/bash
# Searches a source tree with the program as its users do, and checks the rows on the screen and the commands that
# clicks on them start: search_and_click_test.sh RUNNER TARNWICK SEARCH_DUMP RECORD_COMMAND, and for native programs
# search_and_click_test.sh X11_SETTINGS TARNWICK SEARCH_DUMP. The expected rows are search_dump's. Needs a display with a
# window manager.
set -euo pipefail
search_dump=$(realpath "$3")
sources=$(realpath "$(dirname "$0")/../..")
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh" "$1" "$2"

# ---- What is searched ----

# Files with unusual names and lines, and more of them than a screen shows: this checkout's own sources.
project=$work/code/project tarnwick_sources=$work/code/sources
mkdir -p "$work/code/pictures" "$work/code/notes" "$project"
cp -r "$sources/src" "$tarnwick_sources"
file_with() { # NAME TEXT
    mkdir -p "$(dirname "$project/$1")"
    # shellcheck disable=SC2059
    printf "$2" > "$project/$1"
}
file_with 'a name with spaces.txt' 'uint8_t first;\r\n\tuint8_t second;\r\n\r\nint x; uint8_t third;\r\n....'
file_with 'Größe 你好.txt' 'größe é uint8_t;\n你好 uint8_t\n....'
file_with 'src/{tarn_row}/{tarn_file_name} {x}.txt' 'uint8_t\n\nuint8_t\n....'
file_with 'src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt' '\n  uint8_t a; \n....'
file_with 'src/{tarn_ro/}{tarn_row/a.txt' 'a line far from the first uint8_t\n....'
file_with 'src/é 你/deep/deeper still/c.c' 'uint8_t one; uint8_t two;\nuint8_t three;\n....'
file_with 'z/long line' "%5000s uint8_t long\n%40s\n....\n" '' ''
# A folder that contains itself twice, so no search of it ends.
endless=$work/endless
mkdir "$endless"
printf 'needle one\nthe needle two\nneedles\n............\n' > "$endless/a.txt"
ln -s . "$endless/again"
ln -s . "$endless/more"

# ---- What clicks run ----

# On Windows the recorder notes its command line verbatim. A native program gets separate arguments, so there all that
# it has to note is one argument, with single quotes in it. Each command names its button and its hit first.
make_recorder "${4:-}"
if [ "${#runner[@]}" -gt 0 ]; then
    quote='"' argument_quote=
else
    mkdir "$work/bin"
    printf '%s\n' '#!/bin/bash' "printf %s \"\$*\" > '$work/opened'" > "$work/bin/xdg-open"
    chmod +x "$work/bin/xdg-open"
    PATH=$work/bin:$PATH
    quote="'" argument_quote='"'
fi
hit_template='{tarn_file_folder}/{tarn_file_name}:{tarn_row}:{tarn_column}'
left_template="\"$recorder\" ${argument_quote}left $hit_template {tarn_byte} $quote{tarn_file_folder_bs}$quote"
left_template+=" {{tarn_row}} {tarn_Row}  é{tarn_ro$argument_quote"
right_template="\"$recorder\" ${argument_quote}right $hit_template /select,"
right_template+="$quote{tarn_file_folder_bs}\\{tarn_file_name}$quote {tarn_byte}{tarn_column}"
right_template+=" {tarn_file_folder_bs}{tarn_row}$argument_quote"
write_settings() { # LINE... With readers, as shipped; search_dump, which says what is to be seen, has none.
    printf '%s\n' "left_click_cmd $left_template" "right_click_cmd  $right_template" 'readers 8' "$@" \
        > "$folder/settings.txt"
}

# Some commands for hits in $project, without the recorder. Placeholders in {tarn_file_folder_bs} are expanded again,
# those in {tarn_file_folder} and {tarn_file_name} are not.
project_bs=$drive${project//\//\\}
cat > "$work/literal_commands" << END
left $drive$project/a name with spaces.txt:2:2 17 $quote$project_bs$quote {2} {tarn_Row}  é{tarn_ro
right $drive$project/a name with spaces.txt:4:8 /select,$quote$project_bs\a name with spaces.txt$quote 438 ${project_bs}4
left $drive$project/Größe 你好.txt:2:8 27 $quote$project_bs$quote {2} {tarn_Row}  é{tarn_ro
right $drive$project/Größe 你好.txt:2:8 /select,$quote$project_bs\Größe 你好.txt$quote 278 ${project_bs}2
left $drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt:3:1 9 $quote$project_bs\src\3$quote {3} {tarn_Row}  é{tarn_ro
right $drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt:3:1 /select,$quote$project_bs\src\3\{tarn_file_name} {x}.txt$quote 91 $project_bs\src\33
left $drive$project/src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt:2:3 3 $quote$project_bs\src\two 3{3}$quote {2} {tarn_Row}  é{tarn_ro
right $drive$project/src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt:2:3 /select,$quote$project_bs\src\two 3{3}\{tarn_file_folder_bs}.txt$quote 33 $project_bs\src\two 3{3}2
left $drive$project/src/{tarn_ro/}{tarn_row/a.txt:1:27 26 $quote$project_bs\src\{tarn_ro\}{tarn_row$quote {1} {tarn_Row}  é{tarn_ro
right $drive$project/src/{tarn_ro/}{tarn_row/a.txt:1:27 /select,$quote$project_bs\src\{tarn_ro\}{tarn_row\a.txt$quote 2627 $project_bs\src\{tarn_ro\}{tarn_row1
END

# ---- The rows on the screen ----

# The rows of the search on the screen: "file" for a file's header, FILE:ROW:COLUMN for a hit.
records=()
read_dump() { # < DUMP
    mapfile -t records < <(tr -d '\0' | LC_ALL=C awk '
        $1 == "file" { path = substr($0, 6); print "file" }
        $1 == "hit" { print path ":" $2 ":" $3 }')
}

# Expects the rows of a search that ends.
expect_search() { # FOLDER QUERY
    timeout 60 "${runner[@]}" "$search_dump" "$drive$1" "$2" > "$work/dump" < /dev/null
    read_dump < "$work/dump"
}

# Expects the first rows of the endless folder: the same file below "again", "again/again", and so on.
expect_endless_search() { # HIT...
    local at=$drive$endless
    for _ in {1..38}; do # Linux follows 40 links in a path
        printf '%s\n' "file $at/a.txt" "$@"
        at+=/again
    done > "$work/dump"
    read_dump < "$work/dump"
}

first=0 # index of the first visible record
row_height=15 list_y=50

# Prints the rows that the window should show completely: their Y, and "file" for a header or the index of a hit.
rows() {
    local i y=$list_y end=$((window_height - row_height))
    for ((i = first; i < ${#records[@]} && y <= end; i++)); do
        if ((i == first)) || [ "${records[i]}" = file ]; then
            echo "$y file"
            y=$((y + row_height))
        fi
        if [ "${records[i]}" != file ] && ((y <= end)); then
            echo "$y $i"
            y=$((y + row_height))
        fi
    done
}

hit_rows() {
    rows | sed '/file$/d'
}

# Prints the kind of each row that the window should show, with the pointer at MOUSE_Y.
expected_kinds() { # MOUSE_Y
    local y i
    while read -r y i; do
        if [ "$i" = file ]; then
            echo "$y file"
        elif ((y <= $1 && $1 < y + row_height)); then
            echo "$y hovered"
        else
            echo "$y line"
        fi
    done < <(rows)
}

# Prints the kind of each row that the window shows, by the colours of its beginning: the names of files are yellow, the
# row numbers of lines cyan, and the text of the line under the pointer green. The outline of a running search is left
# out.
seen_kinds() {
    local height=$(((window_height - list_y) / row_height * row_height - 4))
    pixels "100x$height+2+$((list_y + 2))" | od -An -v -tu1 -w3 |
        awk -v list_y="$list_y" -v row_height="$row_height" '
            { row = int((int((NR - 1) / 100) + 2) / row_height) }
            $1 > 100 && $2 > 100 && $3 < 50 { kind[row] = "file" }
            $1 < 50 && $2 > 100 && $3 > 100 && !(row in kind) { kind[row] = "line" }
            $1 < 50 && $2 > 100 && $3 < 50 { kind[row] = "hovered" }
            END {
                if (NR == 0) print "no picture"
                for (row in kind) print list_y + row * row_height, kind[row]
            }' | sort -n
}

shows_rows() { # MOUSE_Y
    diff <(expected_kinds "$1") <(seen_kinds) > "$work/difference"
}

# Waits for these rows, with the pointer at MOUSE_Y. The end of a search that finds nothing is drawn only with the next
# event, so this moves the pointer each time.
see_rows() { # MOUSE_Y
    until_true shows_rows_after_move "$1" || failed "the rows differ: $(cat "$work/difference")"
}

shows_rows_after_move() { # MOUSE_Y
    move_to 301 "$1"
    move_to 300 "$1"
    shows_rows "$1"
}

# ---- Scrolling ----

wheel() { # STEPS, down when positive
    local button=5 count=$1
    if ((count < 0)); then
        button=4 count=$((-count))
    fi
    xdotool click --delay 1 --repeat "$count" "$button"
    first=$((first + $1 * wheel_step))
    first=$((first > 0 ? first : 0))
}

# ---- Clicks ----

clicks=0

has_line_for_each_click() {
    [ "$(wc -l < "$commands")" -ge "$clicks" ]
}

# Waits until the clicked hit's command has run, which means that the click's frame has been drawn.
await_command() { # BUTTON INDEX
    local button=left command
    [ "$1" = 1 ] || button=right
    clicks=$((clicks + 1))
    until_true has_line_for_each_click || failed "a click with button $1 on hit $2 runs nothing"
    command=$(sed -n "${clicks}p" "$commands")
    [[ $command == "\"$recorder\" $button ${records[$2]} "* ]] ||
        failed "a click with button $1 on ${records[$2]} runs $command"
}

click_row() { # BUTTON Y INDEX
    # Anywhere in the row, including the scroll bar.
    local x=$((5 + ($3 * 97 + $2) % 990))
    click "$1" "$x" $(($2 + ($3 % row_height)))
    await_command "$1" "$3"
}

# Each click so far ran one command.
expect_commands() {
    expect_equal 'the number of commands' "$clicks" "$(wc -l < "$commands")"
}

# Clicks every EVERYth hit, with the buttons in turn.
click_rows() { # EVERY
    local y i button=1 hit=0
    while read -r y i; do
        if ((hit++ % $1 == 0)); then
            click_row "$button" "$y" "$i"
            button=$((4 - button))
        fi
    done < <(hit_rows)
    expect_commands
}

# ---- An empty start, and the path piece by piece ----

write_settings
start "$hovered_removed" "$query_y"
wheel_step=$((window_height * 2 / 10 / row_height))
expect_pixel 500 29 "$focused"
see_rows 300
xdotool key Tab
expect_pixel 500 6 "$focused"
expect_pixel 500 29 "$background"
xdotool type "$drive$work/co"
expect_path "$drive$work/co"
# The matching folder comes first, and completes the typed text in grey.
see_pixels 200x15+0+50 "$cyan"
see_pixels 200x15+0+65 "$grey"
see_no_pixels 200x15+0+65 "$cyan"
tail_x=$((path_text_x + 6 * (${#drive} + ${#work} + 3)))
see_pixels "12x15+$tail_x+4" "$grey"
xdotool key Return
expect_path "$drive$work/code"
see_no_pixels 200x60+0+50 "$cyan"
xdotool type /
expect_path "$drive$work/code/"
see_pixels 200x15+0+80 "$cyan"
xdotool type pro
expect_path "$drive$work/code/pro"
see_pixels 200x15+0+50 "$cyan"
see_no_pixels 200x15+0+65 "$cyan"
see_pixels 200x15+0+80 "$grey"
xdotool key Return
expect_path "$drive$work/code/project"
see_rows 300 # none

# ---- A query part by part, and clicks on files with unusual names ----

xdotool key Tab
expect_pixel 500 29 "$focused"
expect_pixel 500 6 "$background"
query=
for part in u int8; do
    xdotool type "$part"
    query+=$part
    expect_query "$query"
    expect_search "$project" "$query"
    see_rows 72
    click_row 1 65 1
done
xdotool key Return # does nothing here
xdotool type _t
expect_query uint8_t
expect_search "$project" uint8_t
see_rows 72
while read -r y i; do
    click_row 1 "$y" "$i"
    click_row 3 "$y" "$i"
done < <(hit_rows)
expect_commands
while read -r command; do
    grep -Fqx "\"$recorder\" $command" "$commands" || failed "no command is $command: $(cat "$commands")"
done < "$work/literal_commands"

# ---- A list of many screens, down and up again ----

xdotool key Tab
expect_pixel 500 6 "$focused"
xdotool type "$drive$tarnwick_sources"
expect_path "$drive$tarnwick_sources"
expect_search "$tarnwick_sources" uint8_t
((${#records[@]} > 150)) || failed "${#records[@]} rows only"
# As many steps as skip no row.
steps=$(((window_height - list_y) / row_height / wheel_step))
while ((first < ${#records[@]})); do
    see_rows 72
    click_rows 25
    wheel "$steps"
done
see_rows 300 # no rows are left
wheel 3
move_to 300 200
xdotool click 1 click 3
wheel -4
see_rows 300
wheel -$((first / wheel_step + 2))
see_rows $((list_y + row_height + 1))

# ---- Hovering ----

wheel 2
see_rows $((list_y + row_height))         # the first line's first pixel
see_rows $((list_y + 2 * row_height - 1)) # and its last one
see_rows $((list_y + row_height - 1))     # a header
see_rows $((list_y + 40 * row_height + 7))
click_rows 20
wheel -20
see_rows 60

# ---- Clicks right before or after other input ----

mapfile -t visible_hits < <(hit_rows)
read -r line_1_y _ <<< "${visible_hits[0]}"
read -r y i <<< "${visible_hits[8]}"
see_rows "$line_1_y"
xdotool mousemove 1275 1015
sleep 1 # Wine polls for a pointer that has left the window
xdotool mousemove --window "$window" 300 $((y + 5)) click 1
await_command 1 "$i"
xdotool mousedown 3 mousemove --window "$window" 300 $((line_1_y + 5)) mouseup 3
await_command 3 "$i"
move_to 300 $((y + 5))
xdotool mousedown 3 click 5 mouseup 3
await_command 3 "$i"
wheel -20
see_rows 60
expect_commands

# ---- Clicks that run nothing ----

move_to 300 $((list_y + 7)) # on a file's name
xdotool click 1 click 3
click_rows 30
click 1 "$save_x" "$query_y"
expect_query uint8_t uint8_t
toggle_query_list "$live"
click 1 300 600
click 1 300 $((first_query_row + 8))
see_rows 300
focus_path
focus_query
toggle_path_list "$background"
toggle_path_list "$background"
see_rows 300
click_rows 30

# ---- Escape ----

# Escape opens the program's folder and types its character, too.
folder_windows() {
    xdotool search --onlyvisible --name "^$(basename "$folder")\$" 2> /dev/null
}
has_folder_window() {
    folder_window=$(folder_windows) && [ "$(wc -l <<< "$folder_window")" = 1 ]
}
has_no_folder_window() {
    ! folder_windows > /dev/null
}
has_no_folder_window || failed 'the folder is open already'
focus_query
xdotool key End Escape
if [ "${#runner[@]}" -gt 0 ]; then
    until_true has_folder_window || failed 'Escape does not open the folder'
    file_manager=$(xprop -id "$folder_window" _NET_WM_PID | sed 's/.* //')
    started+=("$file_manager")
    [[ $(xprop -id "$folder_window" WM_CLASS) == *explorer* ]] || failed 'not the file manager'
    xdotool windowactivate --sync "$folder_window" key alt+F4
    until_true has_no_folder_window || failed 'the folder stays open'
    forget_started "$file_manager"
else
    until_true has_bytes "$work/opened" "$folder/" || failed 'Escape does not open the folder'
fi
expect_query $'uint8_t\e' uint8_t
xdotool windowactivate --sync "$window"
expect_search "$tarnwick_sources" $'uint8_t\e'
see_rows 300 # none
xdotool key BackSpace
expect_query uint8_t uint8_t
expect_search "$tarnwick_sources" uint8_t
see_rows 300

# ---- In the middle of a search ----

xdotool key Tab
expect_pixel 500 6 "$focused"
expect_pixel $((path_text_x + 1)) 6 "$selected"
# On Linux a link to a folder that contains it is left out, so only on Windows is there a search without an end.
if [ "${#runner[@]}" -gt 0 ]; then
    xdotool type "$drive$endless"
    expect_path "$drive$endless"
    xdotool key Tab
    xdotool type needle
    expect_query needle uint8_t
    expect_endless_search 'hit 1 1 0 needle one' 'hit 2 5 15 the needle two' 'hit 3 1 26 needles'
    see_rows 300
    click_rows 10
    expect_pixel 0 300 ffff00 # the search is still running
    xdotool type s
    expect_query needles uint8_t
    expect_endless_search 'hit 3 1 26 needles'
    see_rows 300
    click_rows 10
    wheel 1
    see_rows 300
    click_rows 10
    expect_pixel 0 300 ffff00
    xdotool key Tab
fi
xdotool type "$drive$project"
expect_path "$drive$project"
click 1 "$save_x" "$path_y" # without an entry the next start restores nothing
expect_path "$drive$project" "$drive$project"
xdotool key Tab
xdotool type uint8_t # a new request with each letter
expect_query uint8_t uint8_t
expect_search "$project" uint8_t
first=0
see_rows 300
click_rows 5
after_folder=60x15+220+$list_y # after the first file's folder, if that is shown from the searched one on
see_no_pixels "$after_folder" "$grey"
close
expect_commands

# ---- Whole folders, and the end in the middle of a search ----

write_settings 'show_full_paths yes'
start "$hovered_live" "$query_y"
expect_search "$project" uint8_t
see_rows 300
see_pixels "$after_folder" "$grey"
click_rows 5
focus_path
xdotool type "$drive$endless"
expect_path "$drive$endless" "$drive$project"
if [ "${#runner[@]}" -gt 0 ]; then
    expect_pixel 0 300 ffff00
fi
close
expect_path "$drive$endless" "$drive$project"
expect_query uint8_t uint8_t
expect_commands
echo "search_and_click: $clicks commands"
