#!/bin/bash
# Failing, full and read-only disks, and files of 2 GiB: disk_faults_test.sh SEARCH_DUMP TYPING_PROBE FAILING_READS. None
# of them may lose anything that was saved.
#
# A full disk is simulated by a limit on file sizes, a read-only one by a folder's mode. Where this process may mount, a
# small file system and a read-only one are tested as well; the last line says whether they were.
set -euo pipefail
search_dump=$1 probe=$2 failing_reads=$3
font=$(dirname "$probe")/source_code_pro.otf
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"
cd "$work"

check() { # NAME COMMAND...
    "${@:2}" || failed "$1"
}

# ---- Reading ----

mkdir tree
printf 'foo ....' > tree/whole
printf 'foo ....' > tree/broken
{ printf 'foo ....'; head -c 10000 /dev/zero; } > tree/broken-late
check 'a file that cannot be read is not listed, wherever the error is' test \
    "$(LD_PRELOAD=$failing_reads "$search_dump" tree foo)" = $'files 1\nfile tree/whole\nhit 1 1 0 foo .'
for readers in 1 8; do
    check "$readers readers do not list it either" test \
        "$(LD_PRELOAD=$failing_reads "$search_dump" --readers "$readers" tree foo)" = $'files 1\nfile tree/whole\nhit 1 1 0 foo .'
done
check 'without an error every hit is found' test "$("$search_dump" tree foo | grep -c '^hit ')" = 3

# The matcher counts in signed 32 bits, so from 2^31 bytes on a file is read, but nothing is found in it.
mkdir large
printf 'foo ....' > large/small
printf 'foo ....' > large/large
truncate -s 2G large/large
for readers in 0 8; do
    check "with $readers readers nothing is found in a file of 2 GiB" test "$("$search_dump" --readers "$readers" \
        --max-file-size 0 large foo)" = $'files 2\nfile large/small\nhit 1 1 0 foo .'
done
check 'a file of 2 GiB is left out by a limit' test \
    "$("$search_dump" --max-file-size 2147483647 large foo)" = $'files 1\nfile large/small\nhit 1 1 0 foo .'
truncate -s 2147483647 large/large
check 'one byte less than 2 GiB is searched' test \
    "$("$search_dump" --max-file-size 0 large foo | grep -c '^hit 1 1 0 foo')" = 2
rm large/large

# ---- Writing ----

entries=800
put_program() { # FOLDER; makes it a program's folder whose list of queries has a text and entries
    rm -f "$1"/saved_*
    ln -sf "$font" "$1/source_code_pro.otf"
    { printf 'first'; for i in $(seq -w "$entries"); do printf '\r\nkept-entry-number-%s' "$i"; done; } > "$1/saved_queries.txt"
}

# Whether a start finds a beginning of the typed text there, and every entry in order.
holds_all() { # FOLDER
    "$probe" load "$1/" > loaded
    grep -qxE 'first(abc|ab|a|)x?' <<< "$(sed -n 2p loaded)" &&
        cmp -s <(seq -f "  kept-entry-number-%0${#entries}g" "$entries") <(grep '^  kept' loaded) &&
        [ "$(grep -c '^  ' loaded)" -le $((entries + 2)) ]
}

# Whether what is typed next, once there is room again, is written, and the second file is deleted.
goes_on() { # FOLDER
    "$probe" type "$1/" x > /dev/null
    holds_all "$1" && grep -q 'x$' <<< "$(sed -n 2p loaded)" && [ ! -e "$1/saved_queries.new" ]
}

mkdir disk
put_program disk
for kilobytes in $(seq 0 30); do
    put_program disk
    (trap '' XFSZ; ulimit -f "$kilobytes"; "$probe" type disk/ abc > /dev/null)
    check "files of at most $kilobytes KB" holds_all disk
    check "files of at most $kilobytes KB, later" goes_on disk
done

full_disk() {
    mount -t tmpfs -o size=100k,mode=755 tmpfs disk
    local page most=0
    for page in $(seq 0 12); do
        rm -f disk/filler
        put_program disk
        dd if=/dev/zero of=disk/filler bs=4096 2> /dev/null || true
        truncate -s "-$((page * 4096))" disk/filler
        "$probe" type disk/ abc > /dev/null
        check "a disk with $page free pages" holds_all disk
        grep -q firstabc loaded && most=$page
        rm disk/filler
        check "a disk with $page free pages, later" goes_on disk
    done
    check 'with enough room everything typed is saved' test "$most" = 12
    umount disk
}

read_only() {
    put_program disk
    cp disk/saved_queries.txt before
    "$1"
    check 'typing in a read-only folder' "$probe" type disk/ abc > /dev/null
    check 'no file there changes' cmp before disk/saved_queries.txt
    check 'no file is added' test ! -e disk/saved_queries.new
    check 'a start finds everything' holds_all disk
    "$2"
    check 'typing once it is writable again' goes_on disk
}
mount_read_only() { mount --bind disk disk && mount -o remount,bind,ro disk; }
mount_writable() { umount disk; }
mode_read_only() { chmod 555 disk; }
mode_writable() { chmod 755 disk; }

export -f check failed print_state put_program holds_all goes_on full_disk read_only mount_read_only mount_writable \
    mode_read_only mode_writable
export search_dump probe font entries
checks_in() { # STARTER CHECKS; runs the checks in a shell that the starter starts
    # shellcheck disable=SC2086
    $1 bash -euc "$2"
}
restricted='env'
[ "$(id -u)" != 0 ] || restricted='setpriv --bounding-set -dac_override' # root may write everywhere otherwise
checks_in "$restricted" 'read_only mode_read_only mode_writable'
how='without mounting'
for own in 'unshare -m' 'unshare -rm'; do
    # shellcheck disable=SC2086
    if $own mount -t tmpfs tmpfs disk 2> /dev/null; then
        checks_in "$own" 'full_disk; read_only mount_read_only mount_writable'
        how="with file systems of its own ($own)"
        break
    fi
done
echo "disk_faults: passed, $how"
