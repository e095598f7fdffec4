# Sourced by the tests that drive a real window, with the array runner set: the command that programs are started with,
# which is Wine's, or empty for native programs, and then with settings set as well: x11_settings. Makes a folder, $work.
# When the test ends, deletes it and stops the processes whose ids are in started.

export LC_ALL=C.UTF-8 # for characters beyond ASCII
work=$(mktemp -d)

# Puts é and 你 on two keys of the keyboard.
old_keys=$(xmodmap -pke | grep -E '^keycode +(49|94) =')
xmodmap -e 'keycode 94 = eacute' -e 'keycode 49 = U4F60'

# What is special about Wine: it has the system's root as a drive. Everywhere the time limit for double presses is raised,
# so that two presses at one place are a double press on any machine; tests make single presses at different places.
if [ "${#runner[@]}" -gt 0 ]; then
    drive=Z:
    mouse='HKCU\Control Panel\Mouse'
    "${runner[@]}" reg add "$mouse" /v DoubleClickSpeed /t REG_SZ /d 60000 /f > /dev/null < /dev/null
    undo_settings() { "${runner[@]}" reg delete "$mouse" /v DoubleClickSpeed /f > /dev/null < /dev/null; }
else
    drive=
    "$settings" 60000 &
    settings_pid=$!
    undo_settings() { kill "$settings_pid"; }
fi

started=()
undo() { :; } # a test replaces it to undo more
finish() {
    status=$?
    undo
    for pid in "${started[@]}"; do
        kill "$pid" 2> /dev/null || true
    done
    xmodmap - <<< "$old_keys"
    undo_settings
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

# Tries a command until it succeeds, for at least half a minute. Fails after that.
until_true() {
    for _ in {1..300}; do
        if "$@"; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}
