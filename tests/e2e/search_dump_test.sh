#!/bin/bash
# Runs search_dump and compares its whole output, byte for byte: search_dump_test.sh [RUNNER] PROGRAM.
set -euo pipefail
run=("$@")
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"

# expect NAME STATUS TEXT ARGUMENT...: checks the exit status and standard output.
expect() {
    local name=$1 status=$2 text=$3 actual=0
    shift 3
    "${run[@]}" "$@" > "$work/out" 2> "$work/err" < /dev/null || actual=$?
    printf '%s' "$text" > "$work/expected"
    [ "$actual" = "$status" ] || failed "$name: exit status $actual"
    cmp -s "$work/expected" "$work/out" || failed "$name: $(diff "$work/expected" "$work/out")"
}

mkdir -p "$work/tree/süb dir" "$work/names/Projects" "$work/names/src"
printf 'x\r\n\tfoo\tbar  \r\nend\n' > "$work/tree/a.txt"
printf 'größe foo\nfoo * "quoted"\n....' > "$work/tree/süb dir/ä.txt"
printf 'a%70000sfoo ....\n' ' ' > "$work/tree/süb dir/long line"
printf 'foo' > "$work/names/Projects/ends with it"
cd "$work" # a path without a drive means the same to both systems

expect 'hits of one file, LF-ended' 0 $'files 1\nfile names/../tree/süb dir/ä.txt\nhit 1 7 6 größe foo\n' \
    --max-file-size 40 'names/../tree/süb dir' 'e foo'
expect 'a folder before its sub-folders' 0 \
    $'files 3\nfile tree/a.txt\nhit 2 2 4 foo bar\n' tree $'foo\tb'
expect 'a line longer than is stored' 0 \
    $'files 2\nfile tree/süb dir/long line\nhit 1 70002 70001 a\n' 'tree/süb dir' 'foo .'
expect 'a file that ends with the query' 0 $'files 1\n' names foo
expect 'a query that looks like a pattern' 0 \
    $'files 2\nfile tree/süb dir/ä.txt\nhit 2 5 16 foo * "quoted"\n' 'tree/süb dir' '*'
expect 'a query with quotes' 0 \
    $'files 2\nfile tree/süb dir/ä.txt\nhit 2 7 18 foo * "quot\n' 'tree/süb dir' '"quoted"'
expect 'suggestions' 0 $'files 0\nmatch Projects\nother src\n' names/pro ''
expect 'a missing folder' 0 $'files 0\n' missing foo
expect 'no limit' 0 $'files 3\nfile tree/a.txt\nhit 3 1 15 e\n' --max-file-size 0 tree $'end'
for readers in 0 1 8 64; do
    expect "$readers readers" 0 $'files 3\nfile tree/a.txt\nhit 2 2 4 foo bar\n' --readers "$readers" tree $'foo\tb'
    expect "$readers readers and a limit" 0 $'files 1\nfile names/../tree/süb dir/ä.txt\nhit 1 7 6 größe foo\n' \
        --max-file-size 40 --readers "$readers" 'names/../tree/süb dir' 'e foo'
done
for readers in 0 8; do
    expect "$readers readers, ignoring case" 0 $'files 3\nfile tree/a.txt\nhit 2 2 4 foo bar\n' \
        --readers "$readers" --ignore-case tree $'FOO\tb'
    expect "$readers readers, a folder skipped" 0 $'files 0\n' \
        --skip-folders $' src\tProjects ' --readers "$readers" names foo
    expect "$readers readers, no folder skipped" 0 $'files 1\n' --readers "$readers" --skip-folders 'Pro ects' names foo
done
expect 'readers and suggestions' 0 $'files 0\nmatch Projects\nother src\n' --readers 8 names/pro ''
expect 'a limit below every file' 0 $'files 0\n' --max-file-size 2 names foo

# Names that are not valid UTF-8: however they are converted, the walk goes on.
mkdir -p odd/$'\xff\xfe'
printf 'nothing' > odd/$'\xfd'
printf 'foo ....' > odd/z
printf 'foo ....' > odd/$'\xff\xfe/z'
"${run[@]}" odd foo > out 2> err < /dev/null
grep -A 1 -xF 'file odd/z' out | grep -qxF 'hit 1 1 0 foo .' || failed "names that are not UTF-8: $(cat out)"

usage() {
    expect "wrong arguments: $*" 2 '' "$@"
    [ "$(wc -l < err)" = 1 ] || failed "not one line on standard error: $(cat err)"
}
usage
usage tree
usage tree foo bar
usage --max-file-size tree foo
usage --max-file-size 5
usage --max-file-size 1x tree foo
usage --max-file-size '' tree foo
usage --max-file-size -1 tree foo
usage --max-file-size 9223372036854775808 tree foo
usage --readers 65 tree foo
usage --readers x tree foo
usage --readers tree foo
usage --readers 8 tree
usage --ignore-case tree
usage --skip-folders src tree
usage --skip-folders tree foo
