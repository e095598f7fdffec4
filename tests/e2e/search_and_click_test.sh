#!/bin/bash
# Searches a source tree with the program as its users do, and looks at the rows that it shows and at the commands that
# clicks on them start: search_and_click_test.sh UNDER_WINE TARNWICK_EXE SEARCH_DUMP_EXE RECORD_COMMAND_EXE. The rows
# are those of search_dump, the places and the commands are worked out here anew. Needs a display with a window manager.
set -euo pipefail

under_wine=$(realpath "$1")
program=$(realpath "$2")
search_dump=$(realpath "$3")
recorder=$(realpath "$4")
sources=$(realpath "$(dirname "$0")/../..")
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/real_program.sh"

# ---- What is searched ----

# This checkout's own sources, and what they have too little of.
project=$work/code/project
mkdir -p "$work/code/pictures" "$work/code/notes" "$project"
cp -r "$sources/src" "$sources/tests" "$project"
file_with() { # NAME TEXT
    mkdir -p "$(dirname "$project/$1")"
    # shellcheck disable=SC2059
    printf "$2" > "$project/$1"
}
file_with 'a name with blanks.txt' 'uint8_t first;\r\n\tuint8_t second;\r\n\r\nint x; uint8_t third;\r\n....'
file_with 'Größe 你好.txt' 'größe é uint8_t;\n你好 uint8_t\n....'
file_with 'src/{tarn_row}/{tarn_file_name} {x}.txt' 'uint8_t\n\nuint8_t\n....'
file_with 'src/two {tarn_byte}{{tarn_column}}/{tarn_file_folder_bs}.txt' '\n  uint8_t a; \n....'
file_with 'src/{tarn_ro/}{tarn_row/a.txt' 'a line far from the first uint8_t\n....'
file_with 'src/é 你/deep/deeper still/c.c' 'uint8_t one; uint8_t two;\nuint8_t three;\n....'
file_with 'z/long line' "%5000s uint8_t long\n%40s\n....\n" '' ''
for i in {1..30}; do
    file_with "z/file $i.h" 'uint8_t a;\nuint8_t b;\nuint8_t c;\n....\n'
done
# A folder that contains itself twice: no search comes to its end.
endless=$work/endless
mkdir "$endless"
printf 'needle one\nthe needle two\nneedles\n............\n' > "$endless/a.txt"
ln -s . "$endless/again"
ln -s . "$endless/more"

# ---- What clicks run ----

mkdir "$work/a recorder"
cp "$recorder" "$work/a recorder"
recorder="Z:$work/a recorder/$(basename "$recorder")"
commands=$work/a\ recorder/commands.txt
: > "$commands"
left_template="\"$recorder\" left \"{tarn_file_folder}/{tarn_file_name}\":{tarn_row}:{tarn_column} {tarn_byte}"
left_template+=" \"{tarn_file_folder_bs}\" {{tarn_row}} {tarn_Row}  é{tarn_ro"
right_template="\"$recorder\" /select,\"{tarn_file_folder_bs}\\{tarn_file_name}\" {tarn_byte}{tarn_column}"
right_template+=" {tarn_file_folder} {tarn_file_folder_bs}{tarn_row}"
write_settings() { # LINE...
    printf '%s\n' "left_click_cmd $left_template" "right_click_cmd  $right_template" "$@" > "$folder/settings.txt"
}

# ---- What is to be seen ----

# The records of the search that is on the screen, by their index: a header's kind is "file", a line's "hit".
kinds=() left_commands=() right_commands=()
# The lengths of a header's name and folder, and of a line's prefix and text: each byte is drawn as a letter.
first_lengths=() second_lengths=()
records=0

# Takes apart what search_dump prints. Folders lose what stands before the searched one's name, or nothing.
read_dump() { # FULL_PATHS < DUMP
    local kind first second left right
    kinds=() left_commands=() right_commands=() first_lengths=() second_lengths=()
    while IFS=$'\t' read -r kind first second left right; do
        kinds+=("$kind")
        first_lengths+=("$first")
        second_lengths+=("$second")
        left_commands+=("$left")
        right_commands+=("$right")
    done < <(tr -d '\0' | LC_ALL=C LEFT=$left_template RIGHT=$right_template SEARCHED=$searched FULL=$1 awk '
        function starts(text, with) {
            return substr(text, 1, length(with)) == with
        }
        # From left to right; what a placeholder leaves to be looked at again stands before the rest.
        function expand(text,    out, at) {
            out = ""
            while ((at = index(text, "{")) > 0) {
                out = out substr(text, 1, at - 1)
                text = substr(text, at)
                if (starts(text, "{tarn_row}")) { out = out row; text = substr(text, 11) }
                else if (starts(text, "{tarn_column}")) { out = out column; text = substr(text, 14) }
                else if (starts(text, "{tarn_byte}")) { out = out byte; text = substr(text, 12) }
                else if (starts(text, "{tarn_file_name}")) { out = out name; text = substr(text, 17) }
                else if (starts(text, "{tarn_file_folder}")) { out = out folder; text = substr(text, 19) }
                else {
                    if (starts(text, "{tarn_file_folder_bs}")) { text = backslashed substr(text, 22) }
                    out = out substr(text, 1, 1)
                    text = substr(text, 2)
                }
            }
            return out text
        }
        BEGIN {
            hidden = ENVIRON["SEARCHED"]
            sub(/[^\/]*$/, "", hidden)
        }
        $1 == "file" {
            name = folder = substr($0, 6)
            sub(/.*\//, "", name)
            folder = substr(folder, 1, length(folder) - length(name) - 1)
            backslashed = folder
            gsub(/\//, "\\", backslashed)
            shown = ENVIRON["FULL"] == "yes" ? folder : substr(folder, length(hidden) + 1)
            print "file\t" length(name) "\t" length(shown) "\t-\t-"
        }
        $1 == "hit" {
            row = $2; column = $3; byte = $4
            text = substr($0, length("hit" row column byte) + 5)
            print "hit\t" length(row) + 2 "\t" length(text) "\t" expand(ENVIRON["LEFT"]) "\t" \
                expand(ENVIRON["RIGHT"])
        }')
    records=${#kinds[@]}
}

searched= # the path
# The rows of a search that ends.
expect_search() { # QUERY [FULL_PATHS]
    searched=Z:$project
    timeout 60 "$under_wine" "$search_dump" "$searched" "$1" > "$work/dump" < /dev/null
    read_dump "${2:-no}" < "$work/dump"
}

# The rows that the endless folder begins with: the same file in each folder that begins with "again".
expect_endless_search() { # HIT...
    searched=Z:$endless
    local at=$searched
    for _ in {1..38}; do # Linux follows 40 links in a path
        printf '%s\n' "file $at/a.txt" "$@"
        at+=/again
    done > "$work/dump"
    read_dump no < "$work/dump"
}

first=0 # the first visible hit
row_height=15 list_y=50

# The rows of the window as they stand now, each as Y KIND INDEX.
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

# Whether the list's left part shows these rows and nothing else, with the pointer at that height. Each text has its
# colour, and begins and ends where its letters of 6 pixels do.
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
        # Sorts the letters of a colour: how far to the left and to the right they go in a row.
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
            # A running search has a frame.
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
            # A row that the edge cuts to less than its letters is left out.
            for (row = 0; list_y + (row + 1) * row_height <= window_height; row++) {
                is_file = kind[row] == "file"
                is_hit = kind[row] == "hit"
                colour = row == mouse_row ? "green" : "white"
                check(row, "yellow", 10, is_file ? first[row] : 0)
                check(row, "cyan", 30, is_hit ? first[row] - 1 : 0) # its blank has no pixels
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

# Waits for that, with the pointer there.
see_rows() { # MOUSE_Y
    move_to 301 "$1"
    move_to 300 "$1"
    until_true shows_rows "$1" || failed "not the rows: $(cat "$work/difference")"
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

# A line is what a click is waited for with: the frame that it came in has been drawn then.
await_command() { # BUTTON INDEX
    clicks=$((clicks + 1))
    if [ "$1" = 1 ]; then
        printf '%s\n' "${left_commands[$2]}"
    else
        printf '%s\n' "${right_commands[$2]}"
    fi >> "$expected_commands"
    local tries
    for ((tries = 0; tries < 6000; tries++)); do # half a minute at least
        if has_line_for_each_click; then
            return
        fi
        sleep 0.005
    done
    failed "a click with button $1 on hit $2 runs nothing"
}

click_row() { # BUTTON Y INDEX
    # Anywhere in the row, the scroll bar's place too.
    local x=$((5 + ($3 * 97 + $2) % 990))
    click "$1" "$x" $(($2 + ($3 % row_height)))
    await_command "$1" "$3"
}

# All of them so far, each once and in their order.
expect_commands() {
    cmp -s "$expected_commands" "$commands" ||
        failed "other commands: $(diff "$expected_commands" "$commands" | head -n 8)"
}

# Clicks rows of the window: whole ones of the records below an index, with the buttons in turn.
click_rows() { # FIRST_BUTTON END [EVERY]
    local y kind i
    while read -r y kind i; do
        if [ "$kind" = hit ] && ((i < $2 && y + row_height <= window_height && i % ${3:-1} == 0)); then
            click_row $((1 + ($1 / 2 + i) % 2 * 2)) "$y" "$i"
        fi
    done < <(rows)
    expect_commands
}

# ---- An empty start, and the path piece by piece ----

write_settings
start "$hovered_removed" "$query_y"
read -r window_height < <(xdotool getwindowgeometry --shell "$window" | sed -n 's/^HEIGHT=//p')
wheel_step=$((window_height * 2 / 10 / row_height))
expect_pixel 500 29 "$focused"
see_rows 300
xdotool key Tab
expect_pixel 500 6 "$focused"
expect_pixel 500 29 "$background"
xdotool type "Z:$work/co"
expect_path "Z:$work/co"
# The one that goes on so comes first, and in grey behind what is typed.
see_pixels 200x15+0+50 "$cyan"
see_pixels 200x15+0+65 "$grey"
see_no_pixels 200x15+0+65 "$cyan"
tail_x=$((path_text_x + 6 * (${#work} + 5)))
see_pixels "12x15+$tail_x+4" "$grey"
xdotool key Return
expect_path "Z:$work/code"
see_no_pixels 200x60+0+50 "$cyan"
xdotool type /
expect_path "Z:$work/code/"
see_pixels 200x15+0+80 "$cyan"
xdotool type pro
expect_path "Z:$work/code/pro"
see_pixels 200x15+0+50 "$cyan"
see_no_pixels 200x15+0+65 "$cyan"
see_pixels 200x15+0+80 "$grey"
xdotool key Return
expect_path "Z:$work/code/project"
see_rows 300 # none

# ---- A query letter by letter ----

xdotool key Tab
expect_pixel 500 29 "$focused"
expect_pixel 500 6 "$background"
query=
for letter in u i n t 8; do
    xdotool type "$letter"
    query+=$letter
    expect_query "$query"
    expect_search "$query"
    see_rows 72
    click_row 1 65 1
done
expect_commands
xdotool key Return # does nothing here
xdotool type _t
expect_query uint8_t
expect_search uint8_t
see_rows 72
((records > 300)) || failed "$records rows only"

# ---- The whole list, down and up again ----

# As many steps as leave no whole row out.
steps=$(((window_height - list_y) / row_height / wheel_step))
every=1 # row of a screen; all of them and a third of them in turn
while ((first < records)); do
    click_rows 1 $((first + steps * wheel_step)) "$every"
    wheel "$steps"
    every=$((4 - every))
done
see_rows 300 # there is none
wheel 3
move_to 300 200
xdotool click 1 click 3
wheel -4
while ((first > 0)); do
    click_rows 3 $((first + (steps - 1) * wheel_step)) 4
    wheel -$((steps - 1))
done
wheel -2
see_rows $((list_y + row_height + 1))

# ---- Hovering ----

for steps in 1 2 5; do
    wheel "$steps"
    see_rows $((list_y + row_height))         # the first line's first pixel
    see_rows $((list_y + 2 * row_height - 1)) # and its last one
    see_rows $((list_y + row_height - 1))     # a header
    see_rows $((list_y + 40 * row_height + 7))
    click_rows 1 records 9
done
wheel -20
see_rows 60

# ---- Clicks that other input precedes or follows at once ----

mapfile -t hit_rows < <(rows | awk '$2 == "hit" { print $1, $3 }')
read -r line_1_y _ <<< "${hit_rows[0]}"
for n in 8 20 14; do
    read -r y i <<< "${hit_rows[n]}"
    see_rows "$line_1_y"
    xdotool mousemove 1275 1015
    sleep 1 # the system looks for a pointer that has left only now and then
    xdotool mousemove --window "$window" 300 $((y + 5)) click 1
    await_command 1 "$i"
    xdotool mousedown 3 mousemove --window "$window" 300 $((line_1_y + 5)) mouseup 3
    await_command 3 "$i"
    move_to 300 $((y + 5))
    xdotool mousedown 3 click 5 mouseup 3
    await_command 3 "$i"
    wheel -20
done
see_rows 60
expect_commands

# ---- Clicks that run nothing ----

while read -r y kind i; do
    if [ "$kind" = file ]; then
        move_to 300 $((y + 7))
        xdotool click 1 click 3
    fi
done < <(rows)
click_rows 3 5
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
click_rows 1 5

# ---- Escape ----

# Its character is typed, too.
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
until_true has_folder_window || failed 'Escape does not open the folder'
file_manager=$(xprop -id "$folder_window" _NET_WM_PID | sed 's/.* //')
started+=("$file_manager")
expect_query $'uint8_t\e' uint8_t
[[ $(xprop -id "$folder_window" WM_CLASS) == *explorer* ]] || failed 'not the file manager'
xdotool windowactivate --sync "$folder_window" key alt+F4
until_true has_no_folder_window || failed 'the folder stays open'
forget_started "$file_manager"
xdotool windowactivate --sync "$window"
expect_search $'uint8_t\e'
see_rows 300 # none
xdotool key BackSpace
expect_query uint8_t uint8_t
expect_search uint8_t
see_rows 300

# ---- In the middle of a search ----

xdotool key Tab
expect_pixel 500 6 "$focused"
expect_pixel $((path_text_x + 1)) 6 "$selected"
xdotool type "Z:$endless"
expect_path "Z:$endless"
xdotool key Tab
xdotool type needle
expect_query needle uint8_t
expect_endless_search 'hit 1 1 0 needle one' 'hit 2 5 15 the needle two' 'hit 3 1 26 needles'
see_rows 300
click_rows 1 records 3
expect_pixel 0 300 ffff00 # it goes on
xdotool type s
expect_query needles uint8_t
expect_endless_search 'hit 3 1 26 needles'
see_rows 300
click_rows 3 records 3
wheel 1
see_rows 300
click_rows 1 records 4
expect_pixel 0 300 ffff00
xdotool key Tab
xdotool type "Z:$project"
expect_path "Z:$project"
click 1 "$save_x" "$path_y" # without an entry the next start restores nothing
expect_path "Z:$project" "Z:$project"
xdotool key Tab
xdotool type uint8_t # a new request with each letter
expect_query uint8_t uint8_t
expect_search uint8_t
first=0
see_rows 300
click_rows 3 records 5
close
expect_commands

# ---- Whole folders, and the end in the middle of a search ----

write_settings 'show_full_paths yes'
start "$hovered_live" "$query_y"
expect_search uint8_t yes
see_rows 300
wheel 4
see_rows 300
click_rows 1 records 7
focus_path
xdotool type "Z:$endless"
expect_path "Z:$endless" "Z:$project"
expect_pixel 0 300 ffff00
close
expect_path "Z:$endless" "Z:$project"
expect_query uint8_t uint8_t
expect_commands
echo "search_and_click: $clicks commands"
