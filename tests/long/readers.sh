#!/bin/bash
# Tests readers for longer than the usual run: 500 random trees, each with 1, 2, 8 and 64 readers, and 100,000 requests
# that cancel one another: readers.sh [FOLDER], the folder with the test programs. Takes a minute or two.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
bin=${1:-$here/build/linux/bin}
quiet=(--gtest_brief=1)
"$bin/readers_test" "${quiet[@]}" --gtest_filter='Readers.FindInRandomTreesWhatTheWorkerFindsAlone' --gtest_repeat=5
"$bin/two_threads_test" "${quiet[@]}" --gtest_filter='TwoThreads.AWorkerWithReadersEndsWithTheLastRequestsResults' \
    --gtest_repeat=34
