#!/bin/bash
# Kills the program with SIGKILL at 500 random moments while it types: kill_while_typing.sh [TYPING_PROBE [KILLS
# [SEED]]]
#
# The program types in its off-screen window as fast as it can and writes its lists' files at each change. After each
# kill a new start must find both fields and all saved entries as the last finished action left them, or as the
# interrupted one would have. More at the top of typing_probe.cpp. Takes about half a minute, and prints its seed.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
probe=${1:-$here/build/linux/bin/typing_probe}
[ -x "$probe" ] || { echo "kill_while_typing: no $probe; build it with: cmake --build --preset linux" >&2; exit 2; }
"$probe" kill "${2:-500}" "${3:-20261121}"
