#!/bin/bash
# Builds the search and runs it: ./run.sh [FOLDER] [QUERY]. Prints every file and line of FOLDER that contains QUERY.
set -euo pipefail
folder=$(realpath -- "${1:-$(dirname "$0")/src}")
query=${2:-search}
cd "$(dirname "$0")"

tools/need_packages cmake ninja-build g++ googletest libbenchmark-dev libstb-dev
[ -f build/linux/build.ninja ] || cmake --preset linux > /dev/null
cmake --build --preset linux --target search_dump > build/linux/build.log || { cat build/linux/build.log; exit 1; }
build/linux/bin/search_dump "$folder" "$query"
