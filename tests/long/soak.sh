#!/bin/bash
# Sends random real input to the program's window for some time: keys, clicks, drags, the wheel, new window sizes, and
# focus lost and regained. The program must not crash or hang, must not use more memory than its largest result set, and
# must leave no handle open, on Windows except the two of each command that a click runs.
#
#     soak.sh UNDER_WINE TARNWICK_EXE PROBE_EXE SECONDS [SEED]
#     soak.sh X11_SETTINGS TARNWICK - SECONDS [SEED]
#
# PROBE_EXE is process_probe; record_command has to be beside it. Needs a display with a window manager; by hand:
#
#     cmake --build --preset linux --target tarnwick x11_settings
#     tools/run_under_screen bash tests/long/soak.sh build/linux/bin/{x11_settings,tarnwick} - 180
#
#     cmake --build --preset windows --target tarnwick process_probe record_command
#     tools/end_wine
#     tools/run_under_screen bash tests/long/soak.sh tools/run_under_wine \
#         build/windows/bin/{tarnwick,process_probe}.exe 180
#     tools/end_wine
#
# A seed gives the same sequence of inputs, but the program's state when one arrives differs from run to run, and so
# does the number of inputs in SECONDS. Nothing is judged by how long it takes.
#
# Escape is left out because it opens windows of the file manager, which would have to be closed.
set -euo pipefail

# Clicks start hundreds of programs, and with random addresses Wine fails to start about one in a thousand.
if [ -z "${has_fixed_places:-}" ] && setarch -R true 2> /dev/null; then
    has_fixed_places=1 exec setarch -R bash "$0" "$@"
fi

if [ $# -lt 4 ]; then
    echo 'usage: soak.sh UNDER_WINE TARNWICK_EXE PROBE_EXE SECONDS [SEED], or X11_SETTINGS TARNWICK - SECONDS [SEED]' >&2
    exit 2
fi
seconds=$4
seed=${5:-1}
sources=$(realpath "$(dirname "$0")/../..")
# shellcheck source=tests/e2e/real_program.sh
source "$(dirname "$0")/../e2e/real_program.sh" "$1" "$2"
is_native=$((${#runner[@]} == 0))
probe=$3
((is_native)) || probe=$(realpath "$probe")

# ---- Memory and handles ----

# How much more may be in use at the end than at the beginning.
memory_allowance=4096 # KiB: the heap grows in pieces, and fragments differently in each run
memory_per_entry=2    # KiB: for each saved path or query
largest_file=9800     # KiB: a search holds one file at a time, so the peak may be this much higher
handles_per_command=2
handle_allowance=8    # what Wine opens on first use, and commands that ended before they wrote their line
if ((is_native)); then
    handles_per_command=0 handle_allowance=0
fi

memory=0 handles=0
read_memory() {
    memory=$(awk '$1 == "VmData:" { print $2 }' "/proc/$tarnwick/status" 2> /dev/null || true)
    [ -n "$memory" ] || failed 'the program has ended'
}

read_handles() {
    if ((is_native)); then
        handles=$(find "/proc/$tarnwick/fd" -mindepth 1 | wc -l)
        return
    fi
    read -r _ handles _ drive_letter < <(timeout 120 "${runner[@]}" "$probe" lum_sharedWindowClass \
        < /dev/null 2> /dev/null | tr -d '\r') || failed 'the probe prints nothing'
}

count_lines() {
    wc -l < "$commands"
}

# A saved file has the text in its first line and an entry in each other one.
count_entries() {
    cat "$folder"/saved_paths.txt "$folder"/saved_queries.txt | tr -cd '\n' | wc -c
}

# ---- The tree ----

# No typed path may lead to another tree with more hits. On Windows the tree is a drive of its own; the letters of other
# drives are neither typed nor part of a folder's name. A native program runs in the tree's folder, and no '/' is typed.
if ((is_native)); then
    root=
else
    root=S:/
    drives=$(dirname "${runner[0]}")/../build/wine/dosdevices
    for other in "$drives"/[abd-rt-y]:; do
        if [ -e "$other" ]; then
            failed "there is another drive: $other"
        fi
    done
    ln -sfn "$work/drive" "$drives/s:"
    remove_drive() { rm -f "$drives/s:"; }
    at_end+=(remove_drive)
fi

all=$work/drive/all
mkdir -p "$all/large"
cp -r "$sources/src" "$all/sources"
cp -r "$sources/tests" "$all/tests"
find "$all" -depth -type d -name '*[cxzCXZ]*' | while IFS= read -r old; do
    mv "$old" "$(dirname "$old")/$(basename "$old" | sed 's/[cxzCXZ]/k/g')"
done
# An e in each line, and one other letter ninety times. In all more than one block of strings (50,000,000 bytes).
for i in {1..7}; do
    awk -v first="$i" 'BEGIN {
        letters = "taoinsrldu"
        for (i = 1; i <= length(letters); i++) {
            word[i % 10] = sprintf("%90s", "")
            gsub(/ /, substr(letters, i, 1), word[i % 10])
        }
        for (i = first; i < first + 95000; i++) {
            print "e" i word[i % 10]
        }
    }' > "$all/large/$i.txt"
done
typed='taoinsrldu _/é你'
letters=(e t a o i n s r l d u space underscore eacute U4F60)
folders=("${root}all" "${root}all")
if ((is_native)); then
    ln -s all/* "$work/drive"
    folders+=(large tests sources)
else
    letters+=(slash)
    folders+=(S:/all/large S:/all/tests S:/all/sources)
fi
words=('i n t' 't h e' 'r e t u r n' 'l i n e' 'u i n t' 'n e e d l e' 't e s t s' 's t d' 'e space t' 'e e' e)

# A query finds at most the lines of its rarest character. So if e is in more lines than any other character that can be
# typed or pasted, no search finds more than the one for e.
most=$(LC_ALL=C grep -rahF e "$all" | wc -l)
while IFS= read -r character; do
    if [ "$character" != e ] && [ "$(LC_ALL=C grep -rahF -- "$character" "$all" | wc -l)" -ge "$most" ]; then
        failed "not the largest result set: $character"
    fi
done < <({ echo "$typed:S"; cd "$all" && find . -type d; } | grep -o . | sort -u)

# ---- What clicks run ----

make_recorder "$(dirname "$probe")/record_command.exe"
printf '%s\n' "left_click_cmd \"$recorder\" left {tarn_file_folder}/{tarn_file_name}:{tarn_row}" \
    "right_click_cmd \"$recorder\" right {tarn_file_folder_bs}" > "$folder/settings.txt"

no_command_runs() {
    ! grep -qs "$(basename "$work")/[a] recorder/" /proc/[0-9]*/cmdline # not itself
}

# ---- The window ----

standard_width=1000 standard_height=900
most_width=1240 most_height=960

read_size() {
    local shell
    shell=$(xdotool getwindowgeometry --shell "$window" 2> /dev/null) || failed 'the window is gone'
    width=$(sed -n 's/^WIDTH=//p' <<< "$shell")
    height=$(sed -n 's/^HEIGHT=//p' <<< "$shell")
}

has_size() {
    read_size
    [ "$width" = "$1" ] && [ "$height" = "$2" ]
}

resize() {
    xdotool windowsize "$window" "$1" "$2"
    until_true has_size "$1" "$2" || failed "the window does not become $1 by $2"
}

# Waits for a frame that was drawn after all input so far: one that shows the pointer over a field's save button.
wait_for_frame() {
    local colour
    move_to 500 600
    until_true sees_pointer_away || failed 'no answer to the pointer'
    for _ in {1..600}; do
        move_to "$((save_x - 1))" "$1"
        move_to "$save_x" "$1"
        colour=$(pixels "1x1+$save_x+$1" | od -An -tx1 | tr -d ' \n')
        if [ "$colour" = "$hovered_removed" ] || [ "$colour" = "$hovered_live" ]; then
            return
        fi
        sleep 0.05
    done
    failed "no frame: $colour"
}

sees_pointer_away() {
    local colour
    move_to 501 600
    move_to 500 600
    colour=$(pixels "1x1+$save_x+$path_y" | od -An -tx1 | tr -d ' \n')
    [ "$colour" = "$removed" ] || [ "$colour" = "$live" ]
}

first_line_is() { # FILE TEXT
    [ "$(head -n 1 "$folder/$1" 2> /dev/null | tr -d '\r\0')" = "$2" ]
}

# From any state: gives the window its standard size, closes any list and types the path and the query. The files show
# that the program still answers.
set_texts() { # PATH KEY...
    local path=$1 query
    shift
    xdotool windowactivate --sync "$window"
    xdotool keyup shift keyup ctrl mouseup 1 mouseup 2 mouseup 3
    resize "$standard_width" "$standard_height"
    wait_for_frame "$path_y" # after a new size the first move may only enter the window
    click 1 500 "$path_y"    # closes an open list of either field
    wait_for_frame "$path_y"
    expect_pixel 500 6 "$focused"
    xdotool key ctrl+a BackSpace
    xdotool type --delay 3 "$path"
    until_true first_line_is saved_paths.txt "$path" || failed "the path does not become $path"
    xdotool key Tab
    xdotool key --delay 3 ctrl+a BackSpace "$@"
    query=$(tr -d ' ' <<< "$*")
    query=${query//space/ }
    until_true first_line_is saved_queries.txt "$query" || failed "the query does not become $query"
}

# ---- The largest result set ----

sees_rows() {
    wait_for_frame "$query_y"
    has_pixels 60x300+0+50 "$cyan"
}

# Called once rows of the search show: a later frame without the yellow outline means that it has ended.
is_idle() {
    wait_for_frame "$query_y"
    is_pixel 0 600 "$background"
}

search_largest() {
    set_texts "${root}all"
    wait_for_frame "$query_y"
    see_no_pixels 60x300+0+50 "$cyan"
    xdotool key e
    until_true sees_rows || failed 'the largest search finds nothing'
    until_true is_idle || until_true is_idle || failed 'the largest search does not end'
}

# ---- Random input ----

inputs=0 clicks=0 sizes=0 batch=()

# Appends the parts of an xdotool command to the batch.
add() { # INPUTS PART...
    inputs=$((inputs + $1))
    shift
    batch+=("$@")
}

random_place() { # sets x and y: anywhere in the window, now and then on an edge
    x=$((RANDOM % width)) y=$((RANDOM % height))
    case $((RANDOM % 16)) in
        0) x=$((width - 1)) ;;
        1) y=$((height - 1)) ;;
        2) x=0 ;;
        3) y=0 ;;
    esac
}

add_click() { # BUTTON X Y [TIMES]
    local times=${4:-1}
    clicks=$((clicks + times))
    add "$((times + 1))" mousemove --window "$window" "$2" "$3" click --delay 5 --repeat "$times" "$1" sleep 0.02
}

edit_keys=(Left Right Home End BackSpace Delete ctrl+Left ctrl+Right ctrl+BackSpace ctrl+Delete shift+Left shift+Right
    shift+Home shift+End shift+ctrl+Left shift+ctrl+Right ctrl+a Up Down Prior Next F5 Insert)

add_action() { # LEAST_KIND; kinds below it, of 100, are left out
    local what=$(($1 + RANDOM % (100 - $1))) x y i count keys=()
    random_place
    if ((what < 16)); then
        count=$((1 + RANDOM % 5))
        for ((i = 0; i < count; i++)); do
            keys+=("${letters[RANDOM % ${#letters[@]}]}")
        done
        add "$count" key --delay 3 "${keys[@]}"
    elif ((what < 24)); then
        # shellcheck disable=SC2206
        keys=(${words[RANDOM % ${#words[@]}]})
        add $((1 + ${#keys[@]})) key --delay 3 ctrl+a "${keys[@]}"
    elif ((what < 40)); then
        count=$((1 + RANDOM % 4))
        for ((i = 0; i < count; i++)); do
            keys+=("${edit_keys[RANDOM % ${#edit_keys[@]}]}")
        done
        add "$count" key --delay 3 "${keys[@]}"
    elif ((what < 45)); then
        add 1 key Tab
    elif ((what < 48)); then
        add 1 key Return
    elif ((what < 51)); then
        add 1 key ctrl+c
    elif ((what < 53)); then
        add 1 key ctrl+x
    elif ((what < 55)); then
        if ((pastes_left > 0)); then # limits a text's growth between two resets to sixteen times
            pastes_left=$((pastes_left - 1))
            add 1 key ctrl+v
        fi
    elif ((what < 66)); then
        count=$((1 + RANDOM % 25))
        add "$count" mousemove --window "$window" "$x" "$y" click --delay 1 --repeat "$count" \
            $((RANDOM % 3 ? 5 : 4))
    elif ((what < 72)); then
        add_click $((1 + RANDOM % 2 * 2)) "$x" "$y"
    elif ((what < 74)); then
        add_click 2 "$x" "$y"
    elif ((what < 76)); then
        add_click 1 "$x" "$y" 2
    elif ((what < 82)); then # the fields and their drop-downs
        add_click $((1 + RANDOM % 2 * 2)) "$x" $((RANDOM % (height < 110 ? height : 110)))
    elif ((what < 85)); then # the buttons at the ends of the rows
        if ((width > 20 && height > 50)); then
            add_click 1 $((RANDOM % 3 == 0 ? 12 : width - 8)) $((15 + RANDOM % 4 * 17))
        fi
    elif ((what < 90)); then
        count=$((1 + RANDOM % 2 * 2))
        add 4 mousemove --window "$window" "$x" "$y" mousedown "$count" sleep 0.02
        random_place
        add 0 mousemove --window "$window" "$x" "$y"
        random_place
        add 0 mousemove --window "$window" "$x" "$y" mouseup "$count"
        clicks=$((clicks + 1))
    elif ((what < 96)); then
        for _ in {1..4}; do
            add 1 mousemove --window "$window" "$x" "$y"
            random_place
        done
    elif ((what < 98)); then
        keys=(shift ctrl)
        i=${keys[RANDOM % 2]}
        add 2 keydown "$i"
        add_click 1 "$x" "$y"
        add 0 key "${edit_keys[RANDOM % 6]}" keyup "$i"
    else # focus lost while a key and a button are held
        add 5 keydown shift mousemove --window "$window" "$x" "$y" mousedown 1 \
            windowactivate --sync "$other_window" keyup shift mouseup 1 sleep 0.05 windowactivate --sync "$window"
    fi
}

# Random sizes: tiny, flat, narrow, ordinary and largest.
random_resize() {
    local new_width new_height
    case $((RANDOM % 5)) in
        0) new_width=$((1 + RANDOM % 60)) new_height=$((1 + RANDOM % 60)) ;;
        1) new_width=$most_width new_height=$((1 + RANDOM % 120)) ;;
        2) new_width=$((1 + RANDOM % 120)) new_height=$most_height ;;
        3) new_width=$((600 + RANDOM % (most_width - 599))) new_height=$((500 + RANDOM % (most_height - 499))) ;;
        4) new_width=$most_width new_height=$most_height ;;
    esac
    sizes=$((sizes + 1))
    resize "$new_width" "$new_height"
}

# Sends some forty inputs at once. With texts_stay the search is not restarted, so clicks hit its rows.
texts_change=0 texts_stay=55
run_batch() { # LEAST_KIND
    local i
    batch=()
    if ((RANDOM % 4 == 0)); then
        random_resize
    fi
    read_size
    for ((i = 0; i < 15; i++)); do
        add_action "$1"
    done
    timeout 60 xdotool windowactivate --sync "$window" "${batch[@]}" > "$work/xdotool" 2>&1 ||
        failed "xdotool fails: $(cat "$work/xdotool")"
}

report() {
    echo "$1: after $SECONDS s memory $memory KiB, handles $handles; $inputs inputs, $clicks clicks," \
        "$sizes sizes, $(count_lines) commands, $(count_entries) saved entries"
}

# ---- The run ----

display -size 200x100 -geometry +1000+850 -title other xc:gray > /dev/null 2>&1 &
started+=("$!")
has_other_window() {
    other_window=$(xdotool search --onlyvisible --name '^other$' 2> /dev/null) && [ -n "$other_window" ]
}
until_true has_other_window || failed 'no other window'

cd "$work/drive"
start "$hovered_removed" "$query_y"
xdotool windowmove "$window" 20 40
read_handles
((is_native)) || [ "$drive_letter" = S ] || failed "the program is on drive $drive_letter"

# Brings everything to its largest size once: the framebuffer, the tables, both blocks of strings, a file's contents.
# And clicks, since Wine keeps what it loads for the first command.
xdotool key eacute U4F60
for _ in 1 2; do
    resize "$most_width" "$most_height"
    search_largest
done
click 1 300 100
click 3 300 100
has_two_commands() {
    [ "$(count_lines)" = 2 ] && no_command_runs
}
until_true has_two_commands || failed 'two clicks do not run two commands'
search_largest
read_memory
read_handles
first_memory=$memory first_handles=$handles first_commands=$(count_lines)
largest_memory=$memory
report 'largest result set'

RANDOM=$seed
SECONDS=0
for ((round = 1; SECONDS < seconds; round++)); do
    pastes_left=4
    for kind in "$texts_stay" "$texts_change" "$texts_change" "$texts_change"; do
        run_batch "$kind"
        read_memory
        largest_memory=$((memory > largest_memory ? memory : largest_memory))
    done
    # shellcheck disable=SC2086
    set_texts "${folders[RANDOM % ${#folders[@]}]}" ${words[RANDOM % ${#words[@]}]}
    # The clipboard's text becomes short again.
    xdotool key ctrl+c
    if ((round % 25 == 0)); then
        read_handles
        report "round $round"
    fi
done

until_true no_command_runs || failed 'commands do not end'
resize "$most_width" "$most_height"
search_largest
read_memory
read_handles
report 'the same again'
entries=$(count_entries)
ran=$(($(count_lines) - first_commands))
echo "memory: $first_memory KiB at first, $largest_memory at most, $memory at the end"
echo "handles: $first_handles at first, $handles at the end, after $ran commands"

allowed=$((first_memory + memory_allowance + memory_per_entry * entries))
[ "$memory" -le "$allowed" ] || failed "more memory than $allowed KiB"
allowed=$((allowed + largest_file))
[ "$largest_memory" -le "$allowed" ] || failed "meanwhile more memory than $allowed KiB"
allowed=$((first_handles + handles_per_command * ran + handle_allowance))
[ "$handles" -le "$allowed" ] || failed "more handles than $allowed"
[ "$ran" -gt 0 ] || failed 'no click ran a command'

# ---- The end ----

set_texts "${root}all" t h e space e n d
close
# A text and entries, each after a line end: no entry twice, no empty one, no half characters.
for file in saved_paths.txt saved_queries.txt; do
    [ ! -e "$folder/$file.new" ] || failed "$file.new is left"
    iconv -f UTF-8 -t UTF-8 "$folder/$file" > /dev/null || failed "half a character in $file"
    [ "$(tr -cd '\0' < "$folder/$file" | wc -c)" = 0 ] || failed "a zero byte in $file"
    line_ends=$(wc -l < "$folder/$file")
    if [ "$(grep -ac $'\r$' "$folder/$file" || true)" != "$line_ends" ] ||
        [ "$(tr -cd '\r' < "$folder/$file" | wc -c)" != "$line_ends" ]; then
        failed "other line ends in $file"
    fi
    tail -n +2 "$folder/$file" | tr -d '\r' | sort > "$work/entries"
    [ -z "$(uniq -d "$work/entries")" ] || failed "an entry twice in $file"
    ! grep -qx '' "$work/entries" || failed "an empty entry in $file"
done
[ "$(head -n 1 "$folder/saved_paths.txt" | tr -d '\r')" = "${root}all" ] || failed 'another path'
[ "$(head -n 1 "$folder/saved_queries.txt" | tr -d '\r')" = 'the end' ] || failed 'another query'
echo "soak: seed $seed, $inputs inputs, $clicks clicks, $sizes sizes, $ran commands"
