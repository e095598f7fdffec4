# Sourced by the scripts that drive a real window with real input: real_input.sh RUNNER PROGRAM for Windows, and for a
# native program real_input.sh X11_SETTINGS PROGRAM. Sets program to its full path, and runner to the command that
# programs are started with: Wine's, or empty for native ones.

# shellcheck source=tests/e2e/checks.sh
source "$(dirname "${BASH_SOURCE[0]}")/checks.sh"
export LC_ALL=C.UTF-8 # for characters beyond ASCII
program=$(realpath "$2")
case $program in
    *.exe) runner=("$(realpath "$1")") ;;
    *) runner=() settings=$(realpath "$1") ;;
esac

# Puts é and 你 on two keys of the keyboard.
old_keys=$(xmodmap -pke | grep -E '^keycode +(49|94) =')
undo_keys() { xmodmap - <<< "$old_keys"; }
at_end+=(undo_keys)
xmodmap -e 'keycode 94 = eacute' -e 'keycode 49 = U4F60'

# Under Wine the system's root is a drive. On both systems the time limit for double presses is raised, so that two
# presses at one place are a double press on any machine; tests make single presses at different places.
if [ "${#runner[@]}" -gt 0 ]; then
    drive=Z:
    mouse='HKCU\Control Panel\Mouse'
    "${runner[@]}" reg add "$mouse" /v DoubleClickSpeed /t REG_SZ /d 60000 /f > /dev/null < /dev/null
    undo_double_press() { "${runner[@]}" reg delete "$mouse" /v DoubleClickSpeed /f > /dev/null < /dev/null; }
    at_end+=(undo_double_press)
else
    drive=
    "$settings" 60000 &
    started+=($!)
fi
