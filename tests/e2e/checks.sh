# Sourced by every test script. Makes a folder, $work. When the script ends, stops the processes whose ids are in
# started, calls the functions that are named in at_end, and deletes the folder.

work=$(mktemp -d)
started=()
at_end=()
finish() {
    status=$?
    local pid function
    for pid in "${started[@]}"; do
        kill "$pid" 2> /dev/null || true
    done
    for function in "${at_end[@]}"; do
        "$function" || true
    done
    rm -rf "$work"
    exit "$status"
}
trap finish EXIT

# Called for each process that has ended: its id may soon be another one's.
forget_started() { # PID
    local pid kept=()
    for pid in "${started[@]}"; do
        [ "$pid" = "$1" ] || kept+=("$pid")
    done
    started=("${kept[@]}")
}

print_state() { :; } # a script replaces it to print more about a failed check

# Ends the script, or the subshell that it is called in.
failed() { # MESSAGE
    echo "FAILED in line ${BASH_LINENO[-2]}: $1" >&2
    print_state >&2 || true
    exit 1
}

expect_equal() { # WHAT EXPECTED ACTUAL
    [ "$2" = "$3" ] || failed "$1: $(diff <(echo "$2") <(echo "$3") || true)"
}

# Tries a command until it succeeds, for at least half a minute. Fails after that.
until_true() { # COMMAND...
    for _ in {1..600}; do
        if "$@"; then
            return 0
        fi
        sleep 0.05
    done
    return 1
}
