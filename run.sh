#!/bin/bash
# Builds the search and runs it: ./run.sh [FOLDER] [QUERY]. Prints every file and line of FOLDER that contains QUERY.
set -euo pipefail
folder=${1:-$(dirname "$0")/src}
# A slash at the end asks for the sub-folders, so it stays.
case $folder in
*/) folder=$(realpath -- "$folder")/ ;;
*) folder=$(realpath -- "$folder") ;;
esac
query=${2:-search}
cd "$(dirname "$0")"

tools/need_packages cmake ninja-build g++ googletest libbenchmark-dev libstb-dev
[ -f build/linux/build.ninja ] || cmake --preset linux > /dev/null
cmake --build --preset linux --target search_dump > build/linux/build.log || { cat build/linux/build.log; exit 1; }
build/linux/bin/search_dump "$folder" "$query"
