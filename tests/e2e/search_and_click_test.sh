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
# it has to note is one argument, with single quotes in it.
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
windows_project=$drive${project//\//\\}
left_template="\"$recorder\" ${argument_quote}left $quote{tarn_file_folder}/{tarn_file_name}$quote:{tarn_row}:{tarn_column}"
left_template+=" {tarn_byte} $quote{tarn_file_folder_bs}$quote {{tarn_row}} {tarn_Row}  é{tarn_ro$argument_quote"
right_template="\"$recorder\" $argument_quote/select,$quote{tarn_file_folder_bs}\\{tarn_file_name}$quote"
right_template+=" {tarn_byte}{tarn_column} {tarn_file_folder} {tarn_file_folder_bs}{tarn_row}$argument_quote"
write_settings() { # LINE... With readers, as shipped; search_dump, which says what is to be seen, has none.
    printf '%s\n' "left_click_cmd $left_template" "right_click_cmd  $right_template" 'readers 8' "$@" \
        > "$folder/settings.txt"
}

# Hits in folders whose names contain placeholders: FILE:ROW, and the commands of a left and a right click. Placeholders
# in {tarn_file_folder_bs} are expanded again, those in {tarn_file_folder} and {tarn_file_name} are not.
declare -A literal_left=() literal_right=()
while IFS= read -r hit && IFS= read -r left && IFS= read -r right; do
    literal_left[$hit]=$left
    literal_right[$hit]=$right
done << END
$drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt:1
"$recorder" left $quote$drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt$quote:1:1 0 $quote$windows_project\src\1$quote {1} {tarn_Row}  é{tarn_ro
"$recorder" /select,$quote$windows_project\src\1\{tarn_file_name} {x}.txt$quote 01 $drive$project/src/{tarn_row} $windows_project\src\11
$drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt:3
"$recorder" left $quote$drive$project/src/{tarn_row}/{tarn_file_name} {x}.txt$quote:3:1 9 $quote$windows_project\src\3$quote {3} {tarn_Row}  é{tarn_ro
"$recorder" /select,$quote$windows_project\src\3\{tarn_file_name} {x}.txt$quote 91 $drive$project/src/{tarn_row} $windows_project\src\33
$drive$project/src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt:2
"$recorder" left $quote$drive$project/src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt$quote:2:3 3 $quote$windows_project\src\two 3{3}$quote {2} {tarn_Row}  é{tarn_ro
"$recorder" /select,$quote$windows_project\src\two 3{3}\{tarn_file_folder_bs}.txt$quote 33 $drive$project/src/two {tarn_byte}{{tarn_column}} $windows_project\src\two 3{3}2
$drive$project/src/{tarn_ro/}{tarn_row/a.txt:1
"$recorder" left $quote$drive$project/src/{tarn_ro/}{tarn_row/a.txt$quote:1:27 26 $quote$windows_project\src\{tarn_ro\}{tarn_row$quote {1} {tarn_Row}  é{tarn_ro
"$recorder" /select,$quote$windows_project\src\{tarn_ro\}{tarn_row\a.txt$quote 2627 $drive$project/src/{tarn_ro/}{tarn_row $windows_project\src\{tarn_ro\}{tarn_row1
END

# ---- The rows on the screen ----

# The records of the search on the screen, by index: a header's kind is "file", a line's "hit".
kinds=() left_commands=() right_commands=()
# The lengths of a header's name and folder, and of a line's prefix and text: each byte is drawn as a letter.
first_lengths=() second_lengths=()
records=0

# Parses search_dump's output. Headers show each folder from the searched one's name on, or with FULL_PATHS all of it.
read_dump() { # FULL_PATHS < DUMP
    local kind first second left right hit
    kinds=() left_commands=() right_commands=() first_lengths=() second_lengths=()
    while IFS=$'\t' read -r kind first second left right hit; do
        kinds+=("$kind")
        first_lengths+=("$first")
        second_lengths+=("$second")
        left_commands+=("${literal_left[$hit]:-$left}")
        right_commands+=("${literal_right[$hit]:-$right}")
    done < <(tr -d '\0' | LC_ALL=C RECORDER=$recorder QUOTE=$quote SEARCHED=$searched FULL=$1 awk '
        BEGIN {
            recorder = "\"" ENVIRON["RECORDER"] "\""
            quote = ENVIRON["QUOTE"]
            hidden = ENVIRON["SEARCHED"]
            sub(/[^\/]*$/, "", hidden)
        }
        $1 == "file" {
            path = name = folder = substr($0, 6)
            sub(/.*\//, "", name)
            folder = substr(folder, 1, length(folder) - length(name) - 1)
            backslashed = folder
            gsub(/\//, "\\", backslashed)
            shown = ENVIRON["FULL"] == "yes" ? folder : substr(folder, length(hidden) + 1)
            print "file\t" length(name) "\t" length(shown) "\t-\t-\t-"
        }
        $1 == "hit" {
            row = $2; column = $3; byte = $4
            text = substr($0, length("hit" row column byte) + 5)
            left = recorder " left " quote path quote ":" row ":" column " " byte " " quote backslashed quote \
                " {" row "} {tarn_Row}  é{tarn_ro"
            right = recorder " /select," quote backslashed "\\" name quote " " byte column " " folder " " \
                backslashed row
            print "hit\t" length(row) + 2 "\t" length(text) "\t" left "\t" right "\t" path ":" row
        }')
    records=${#kinds[@]}
}

searched= # the path
# Expects the rows of a search that ends.
expect_search() { # FOLDER QUERY [FULL_PATHS]
    searched=$drive$1
    timeout 60 "${runner[@]}" "$search_dump" "$searched" "$2" > "$work/dump" < /dev/null
    read_dump "${3:-no}" < "$work/dump"
}

# Expects the first rows of the endless folder: the same file below "again", "again/again", and so on.
expect_endless_search() { # HIT...
    searched=$drive$endless
    local at=$searched
    for _ in {1..38}; do # Linux follows 40 links in a path
        printf '%s\n' "file $at/a.txt" "$@"
        at+=/again
    done > "$work/dump"
    read_dump no < "$work/dump"
}

first=0 # index of the first visible record
row_height=15 list_y=50

# Prints the rows that the window should show: Y KIND INDEX each.
rows() {
    local i y=$list_y
    for ((i = first; i < records && y < window_height; i++)); do
        if ((i == first)) || [ "${kinds[i]}" = file ]; then
            local header=$i
            while [ "${kinds[header]}" != file ]; do
                header=$((header - 1))
            done
            echo "$y file $header"
            y=$((y + row_height))
        fi
        if [ "${kinds[i]}" = hit ] && ((y < window_height)); then
            echo "$y hit $i"
            y=$((y + row_height))
        fi
    done
}

# Whether the left part of the list shows these rows and nothing else, with the pointer at MOUSE_Y. Each text must have
# its colour and its place: letters are 6 pixels wide.
seen_width=600
shows_rows() { # MOUSE_Y
    {
        local y kind i
        while read -r y kind i; do
            echo "row $y $kind ${first_lengths[i]} ${second_lengths[i]}"
        done < <(rows)
        pixels "${seen_width}x$((window_height - list_y))+0+$list_y" | od -An -v -tu1 -w3
    } | awk -v width="$seen_width" -v list_y="$list_y" -v row_height="$row_height" -v mouse_y="$1" \
        -v window_height="$window_height" '
        function fail(what) {
            if (!failed) {
                print what
            }
            failed = 1
        }
        # Notes the leftmost and the rightmost pixel of each colour in each row.
        function note(colour) {
            key = row colour
            if (!(key in left) || x < left[key]) left[key] = x
            if (!(key in right) || x > right[key]) right[key] = x
        }
        function check(row, colour, x, letters,    key, end) {
            key = row colour
            end = x + 6 * letters
            if (letters == 0) {
                if (key in left) fail("row " row " has " colour)
            } else if (!(key in left)) {
                fail("row " row " has no " colour)
            } else if (left[key] < x - 1 || left[key] > x + 5) {
                fail("row " row ": " colour " begins at " left[key] ", not at " x)
            } else if (end <= width && (right[key] > end || right[key] < end - 6)) {
                fail("row " row ": " colour " ends at " right[key] ", not at " end)
            }
        }
        $1 == "row" {
            row = int(($2 - list_y) / row_height)
            kind[row] = $3; first[row] = $4; second[row] = $5
            next
        }
        {
            x = pixel % width
            y = int(pixel / width)
            row = int(y / row_height)
            pixel++
            # A running search has an outline.
            if (x < 2 || y < 2 || y >= window_height - list_y - 2 || $1 == 26 && $2 == 26 && $3 == 26) next
            if ($3 < 50 && $1 > 100 && $2 > 100) note("yellow")
            else if ($1 < 50 && $2 > 100 && $3 > 100) note("cyan")
            else if ($1 < 50 && $2 > 100 && $3 < 50) note("green")
            else if ($1 == $2 && $2 == $3 && $1 > 160) note("white")
            else if ($1 == $2 && $2 == $3 && $1 > 90 && $1 < 128) note("grey")
        }
        END {
            if (pixel != width * (window_height - list_y)) fail("no picture")
            mouse_row = mouse_y < list_y ? -1 : int((mouse_y - list_y) / row_height)
            # A row that the lower edge cuts off is not checked.
            for (row = 0; list_y + (row + 1) * row_height <= window_height; row++) {
                is_file = kind[row] == "file"
                is_hit = kind[row] == "hit"
                colour = row == mouse_row ? "green" : "white"
                check(row, "yellow", 10, is_file ? first[row] : 0)
                check(row, "cyan", 30, is_hit ? first[row] - 1 : 0) # its space has no pixels
                if (is_file) check(row, "grey", 10 + 6 * first[row] + 7, second[row])
                if (is_hit) check(row, colour, 30 + 6 * first[row], second[row])
                if (!is_hit) check(row, "white", 0, 0)
                if (!is_hit || colour != "green") check(row, "green", 0, 0)
                if (is_hit && colour == "green") check(row, "white", 0, 0)
                if (!is_file && !is_hit) check(row, "grey", 0, 0)
            }
            exit failed
        }' > "$work/difference"
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

expected_commands=$work/expected_commands
: > "$expected_commands"
clicks=0

has_line_for_each_click() {
    [ "$(wc -l < "$commands")" -ge "$clicks" ]
}

# Waits until the clicked hit's command has run, which means that the click's frame has been drawn.
await_command() { # BUTTON INDEX
    clicks=$((clicks + 1))
    if [ "$1" = 1 ]; then
        printf '%s\n' "${left_commands[$2]}"
    else
        printf '%s\n' "${right_commands[$2]}"
    fi >> "$expected_commands"
    until_true has_line_for_each_click || failed "a click with button $1 on hit $2 runs nothing"
}

click_row() { # BUTTON Y INDEX
    # Anywhere in the row, including the scroll bar.
    local x=$((5 + ($3 * 97 + $2) % 990))
    click "$1" "$x" $(($2 + ($3 % row_height)))
    await_command "$1" "$3"
}

# Every command so far ran once, in order.
expect_commands() {
    cmp -s "$expected_commands" "$commands" ||
        failed "other commands: $(diff "$expected_commands" "$commands" | head -n 8)"
}

# Clicks every EVERYth hit whose row is wholly visible, with the buttons in turn.
click_rows() { # EVERY
    local y kind i button=1 hit=0
    while read -r y kind i; do
        if [ "$kind" = hit ] && ((y + row_height <= window_height && hit++ % $1 == 0)); then
            click_row "$button" "$y" "$i"
            button=$((4 - button))
        fi
    done < <(rows)
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
while read -r y kind i; do
    if [ "$kind" = hit ]; then
        click_row 1 "$y" "$i"
        click_row 3 "$y" "$i"
    fi
done < <(rows)
expect_commands

# ---- A list of many screens, down and up again ----

xdotool key Tab
expect_pixel 500 6 "$focused"
xdotool type "$drive$tarnwick_sources"
expect_path "$drive$tarnwick_sources"
expect_search "$tarnwick_sources" uint8_t
((records > 150)) || failed "$records rows only"
# As many steps as skip no row.
steps=$(((window_height - list_y) / row_height / wheel_step))
while ((first < records)); do
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

mapfile -t hit_rows < <(rows | awk '$2 == "hit" { print $1, $3 }')
read -r line_1_y _ <<< "${hit_rows[0]}"
read -r y i <<< "${hit_rows[8]}"
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
close
expect_commands

# ---- Whole folders, and the end in the middle of a search ----

write_settings 'show_full_paths yes'
start "$hovered_live" "$query_y"
expect_search "$project" uint8_t yes
see_rows 300
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
