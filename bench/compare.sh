#!/bin/bash
# Compares the search with ripgrep, ugrep and grep, natively, taking turns on the same tree: warm with one thread each,
# also ignoring case, warm with readers and with rg on all cores, and cold: bench/compare.sh [ROUNDS]. Prints a table of
# medians and ratios and writes it to build/bench/results.md, the source of docs/performance.md.
#
# The tree is the Linux kernel of Debian's linux-source package, without its symbolic links, which the others do not
# follow. All output goes to a pipe with a reader.
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=${1:-11}

tools/need_packages cmake ninja-build g++ googletest libbenchmark-dev libstb-dev ripgrep ugrep linux-source xz-utils \
    time jq libx11-dev libxext-dev libxrandr-dev libxfixes-dev libxcursor-dev libxtst-dev
[ -f build/linux/build.ninja ] || cmake --preset linux > /dev/null
cmake --build --preset linux > /dev/null

work=$PWD/build/bench
mkdir -p "$work"
tree=$(find "$work" -maxdepth 1 -type d -name 'linux-source-*' | head -n 1)
if [ -z "$tree" ]; then
    archive=$(find /usr/src -maxdepth 1 -name 'linux-source-*.tar.xz' | sort | tail -n 1)
    tar -xf "$archive" -C "$work"
    tree=$(find "$work" -maxdepth 1 -type d -name 'linux-source-*' | head -n 1)
fi
find "$tree" -type l -delete

bin=build/linux/bin
store() { "$bin/search_time" "$tree" "$1" | cat > /dev/null; }
dump() { "$bin/search_dump" "$tree" "$1" | cat > /dev/null; }
store_i() { "$bin/search_time" --ignore-case "$tree" "$1" | cat > /dev/null; }
readers_8_i() { "$bin/search_time" --readers 8 --ignore-case "$tree" "$1" | cat > /dev/null; }
readers_2() { "$bin/search_time" --readers 2 "$tree" "$1" | cat > /dev/null; }
readers_8() { "$bin/search_time" --readers 8 "$tree" "$1" | cat > /dev/null; }
bound() { "$bin/search_time" "$tree" | cat > /dev/null; }
rg_threads() { # rg_threads NEEDLE OPTION...
    local needle=$1
    shift
    { rg "$@" -uuu -a -F -n --column --max-filesize 10M -e "$needle" "$tree" || [ $? = 1 ]; } | cat > /dev/null
}
rg_run() { rg_threads "$1" -j1; }
rg_run_i() { rg_threads "$1" -j1 -i; }
rg_all() { rg_threads "$1"; }
rg_16() { rg_threads "$1" -j16; }
ugrep_run() { { ugrep -J1 -r -F -n -k --hidden -a -e "$1" "$tree" || [ $? = 1 ]; } | cat > /dev/null; }
grep_run() { { grep -rnaF -e "$1" "$tree" || [ $? = 1 ]; } | cat > /dev/null; }

# Prints the microseconds that a command takes.
timed() {
    local begun=${EPOCHREALTIME/./} ended
    "$@"
    ended=${EPOCHREALTIME/./}
    echo $((ended - begun))
}

median() { sort -n | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# measure LABEL NEEDLE: prints a row for each program. ugrep and grep are slow, so they run only three times.
measure() {
    local label=$1 needle=$2 round program name base
    rm -f "$work"/time_*
    for program in store dump bound rg_run rg_run_i ugrep_run grep_run; do "$program" "$needle"; done # warm up
    for ((round = 0; round < rounds; round++)); do
        for program in store store_i readers_2 readers_8 readers_8_i dump bound rg_run rg_run_i rg_all; do
            timed "$program" "$needle" >> "$work/time_$program"
        done
        if ((round < 3)); then
            for program in ugrep_run grep_run; do timed "$program" "$needle" >> "$work/time_$program"; done
        fi
    done
    base=$(median < "$work/time_rg_run")
    for program in store store_i readers_2 readers_8 readers_8_i dump bound rg_run rg_run_i rg_all ugrep_run grep_run; do
        case $program in
        store) name='this search' ;;
        store_i) name='this search, ignoring case' ;;
        readers_8_i) name='this search, 8 readers, ignoring case' ;;
        readers_*) name="this search, ${program#readers_} readers" ;;
        dump) name='this search, printed' ;;
        bound) name='lower bound: same walk and reads, no scan' ;;
        rg_run) name='rg -j1' ;;
        rg_run_i) name='rg -j1 -i' ;;
        rg_all) name='rg' ;;
        *) name=${program%_run} ;;
        esac
        median < "$work/time_$program" | awk -v label="$label" -v name="$name" -v base="$base" \
            '{ printf "| %s | %s | %.0f ms | %.2f |\n", label, name, $1 / 1000, $1 / base }'
    done
}

# measure_cold NEEDLE: the same with empty caches before each run, where this process may empty them.
measure_cold() {
    local needle=$1 round program
    rm -f "$work"/time_*
    for ((round = 0; round < rounds; round++)); do
        for program in store readers_2 readers_8 rg_16; do
            sync
            echo 3 > /proc/sys/vm/drop_caches
            timed "$program" "$needle" >> "$work/time_$program"
        done
    done
    for program in store readers_2 readers_8 rg_16; do
        median < "$work/time_$program" | awk -v name="$program" -v base="$(median < "$work/time_rg_16")" \
            '{ printf "| %s | %.0f ms | %.2f |\n", name, $1 / 1000, $1 / base }'
    done
}

{
    echo "Tree: $(basename "$tree"), $(find "$tree" -type f | wc -l) files, $(find "$tree" -type f -printf '%s\n' |
        awk '{ sum += $1 } END { printf "%.2f GB", sum / 1e9 }'), $rounds rounds (ugrep and grep: 3)."
    echo "$(rg --version | sed -n 1p); $(ugrep --version | sed -n '1s/ x86.*//p'); $(grep --version | sed -n 1p)"
    echo
    echo '| needle | program | median | to rg -j1 |'
    echo '|---|---|---|---|'
    measure 'none' zqxwvk_none
    measure 'thousands of hits' spin_lock_irqsave
    measure 'over a million hit lines' int
    echo
    for readers in 0 8 64; do
        /usr/bin/time -f %M "$bin/search_time" --readers "$readers" "$tree" int 2> "$work/peak" > "$work/stored"
        awk -v peak="$(cat "$work/peak")" -v readers="$readers" '{
            printf "Peak memory for int, %d readers: %.1f MB, of which %.1f MB are stored strings and tables (%d files, %d rows): %.1f MB over.\n",
                   readers, peak * 1024 / 1e6, $6 / 1e6, $2, $4, (peak * 1024 - $6) / 1e6
        }' "$work/stored"
    done
    echo
    if [ -w /proc/sys/vm/drop_caches ]; then
        echo '| cold, no hit | median | to rg -j16 |'
        echo '|---|---|---|'
        measure_cold zqxwvk_none
    else
        echo 'Cold: not measured, as this process may not empty the caches.'
    fi
    echo
    echo 'The scan alone, in memory, without a hit (medians of five):'
    echo
    echo '| needle | 16 KB | 256 KB | 64 MB |'
    echo '|---|---|---|---|'
    "$bin/scan_bench" --benchmark_repetitions=5 --benchmark_min_time=0.1 --benchmark_report_aggregates_only=true \
        --benchmark_format=json "$tree" 2> /dev/null |
        jq -r '.benchmarks[] | select(.aggregate_name == "median" and .bytes_per_second) | [.run_name, .bytes_per_second / 1e9] | @tsv' |
        awk -F'\t' '{
            name = $1; sub(/\/[0-9]+$/, "", name)
            size = $1; sub(/.*\//, "", size)
            if (name == "memchr") base[size] = $2
            if (name != last) { printf "%s| %s", (NR > 1 ? " |\n" : ""), name; last = name }
            printf " | %.0f GB/s (%.2f)", $2, $2 / base[size]
        } END { print " |" }'
} | tee "$work/results.md"
