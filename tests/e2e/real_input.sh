# What the tests that drive a real window share; they source it with $under_wine set, for Windows programs, or else with
# $settings set, x11_settings. Makes the folder $work, which goes
# when the test ends, with every process whose id stands in started.

export LC_ALL=C.UTF-8 # for characters beyond ASCII
work=$(mktemp -d)

# Two keys of the keyboard become é and 你, as on a keyboard that has them.
old_keys=$(xmodmap -pke | grep -E '^keycode +(49|94) =')
xmodmap -e 'keycode 94 = eacute' -e 'keycode 49 = U4F60'

# No press of a test is too late for a double press; what is to be single is elsewhere.
mouse='HKCU\Control Panel\Mouse'
if [ -n "$under_wine" ]; then
    "$under_wine" reg add "$mouse" /v DoubleClickSpeed /t REG_SZ /d 60000 /f > /dev/null < /dev/null
else
    "$settings" 60000 &
    settings_pid=$!
fi

started=()
undo() { :; } # what else a test has to undo
finish() {
    status=$?
    undo
    for pid in "${started[@]}"; do
        kill "$pid" 2> /dev/null || true
    done
    xmodmap - <<< "$old_keys"
    if [ -n "$under_wine" ]; then
        "$under_wine" reg delete "$mouse" /v DoubleClickSpeed /f > /dev/null < /dev/null
    else
        kill "$settings_pid"
    fi
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

# Waits until a command succeeds: half a minute, which no machine needs.
until_true() {
    for _ in {1..300}; do
        if "$@"; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}
