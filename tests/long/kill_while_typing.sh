#!/bin/bash
# kill -9 at 500 random moments of typing, with nothing lost: kill_while_typing.sh [TYPING_PROBE [KILLS [SEED]]]
#
# The program runs in its off-screen window, as fast as it can, and writes its lists' files at each change. After each
# kill a new start must find both fields and all saved entries as the last finished action left them, or as the one
# under way would have. The probe's head tells the rest. Takes about half a minute; the seed is printed, and another
# one may be given.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
probe=${1:-$here/build/linux/bin/typing_probe}
[ -x "$probe" ] || { echo "kill_while_typing: no $probe; build it with: cmake --build --preset linux" >&2; exit 2; }
"$probe" kill "${2:-500}" "${3:-20261121}"
