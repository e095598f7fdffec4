#!/bin/bash
# Checks which folders run.sh accepts: run_test.sh RUN_SH. Nothing is installed or built: the first tool that run.sh
# calls is replaced by one that exits with 9.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/top/tools" "$work/top/src/search"
cp "$1" "$work/top/run.sh"
printf '#!/bin/sh\nexit 9\n' > "$work/top/tools/need_packages"
chmod +x "$work/top/run.sh" "$work/top/tools/need_packages"
touch "$work/top/file"
cd "$work/top"

expect_status() { # STATUS MESSAGE FOLDER...
    local status=0 message
    message=$(./run.sh "${@:3}" 2>&1) || status=$?
    [ "$status" = "$1" ] && [ "$message" = "$2" ] ||
        { echo "FAILED: ./run.sh ${*:3} ends with $status: $message"; exit 1; }
}

# ---- Folders, and prefixes of folder names ----

for path in src src/ src/search/ src/sea srch . / "$work/top/src" "$work/top/src/sea"; do
    expect_status 9 '' "$path"
done
expect_status 9 ''

# ---- Folders that cannot be listed ----

for path in nowhere/ nowhere/sea nowhere/else/ /nowhere/sea file file/ file/sea; do
    expect_status 2 "No such folder: $path" "$path"
done
