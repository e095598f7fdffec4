#!/bin/bash
# A tree of 1,000,000 small files, searched three times, and then with readers: million_files.sh [SEARCH_DUMP]
#
# Every file must be counted and every hit found with its place and file; a size limit must leave out exactly the larger
# files. The tree needs 4 GB and a million files in $TMPDIR, and is removed at the end. Takes a minute or two, mostly
# for making and removing the tree.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
search_dump=$(realpath "${1:-$here/build/linux/bin/search_dump}")
[ -x "$search_dump" ] || { echo "million_files: no $search_dump; build it with: cmake --build --preset linux" >&2; exit 2; }

# shellcheck source=tests/e2e/checks.sh
source "$here/tests/e2e/checks.sh"
cd "$work"

# 1000 folders of 1000 files: tree/folder-FFF/file-NNN. Each file has two lines, the second with a number of its own.
# The names are so long that the strings of one search fill the first block of the store and part of a second one.
mkdir tree
start=$SECONDS
for f in $(seq -w 0 999); do
    mkdir "tree/folder-$f"
    seq -f "first line
number $f%03.0f, and a few bytes after it" 0 999 | split -l 2 -a 3 -d - "tree/folder-$f/file-"
done
echo "million_files: made in $((SECONDS - start)) s"
printf 'one line more than the others have\n' >> tree/folder-500/file-500

# Expects these hits, a line each with the file's name, line, column, byte offset and text.
expect() { # NAME FILE_COUNT HITS ARGUMENT...
    local name=$1 count=$2 hits=$3 began=$SECONDS
    shift 3
    "$search_dump" "$@" > out < /dev/null
    awk '/^file /{file = substr($0, 6)} /^hit /{print file, substr($0, 5)}' out | sort > found
    [ "$(head -n 1 out)" = "files $count" ] || failed "$name: $(head -n 1 out)"
    printf '%s' "$hits" | sort | cmp - found || failed "$name: $(wc -l < found) hits"
    echo "million_files: passed: $name ($((SECONDS - began)) s, $(wc -l < found) hits)"
}

# The stored text of a file's last line, which lacks as many bytes at its end, counting the line feed, as the query has.
stored() { # LINE QUERY
    printf '%s' "${1:0:$((${#1} + 1 - ${#2}))}"
}
tail=', and a few bytes after it'
query='731042, and '
expect 'one file of them all' 1000000 "tree/folder-731/file-042 2 8 18 $(stored "number 731042$tail" "$query")"$'\n' \
    tree "$query"
query='777, and a few bytes after'
each=$(for f in $(seq -w 0 999); do
    echo "tree/folder-$f/file-777 2 11 21 $(stored "number ${f}777$tail" "$query")"
done)
expect 'one file of each folder' 1000000 "$each"$'\n' --max-file-size 0 tree "$query"
size=$(stat -c %s tree/folder-000/file-000)
expect 'all but the largest' 999999 '' --max-file-size "$size" tree 'one line more than'

# With readers all of it is the same, byte for byte.
for readers in 1 8 64; do
    for text in 731042 'bytes after it'; do
        cmp <("$search_dump" tree "$text") <("$search_dump" --readers "$readers" tree "$text") ||
            failed "$readers readers, $text"
        echo "million_files: passed: $readers readers find the same for $text"
    done
done
