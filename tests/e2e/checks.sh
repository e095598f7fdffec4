# Sourced by tests that go on after a failed check. Makes a folder, $work, which is deleted at the end.

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Notes a failed check, also in a subshell: failed NAME.
failed() {
    echo "FAILED: $1" | tee -a "$work/failures" >&2 # checks may redirect standard output
}

# Ends the test, with status 1 when a check failed.
end_checks() {
    if [ -s "$work/failures" ]; then
        echo "$(wc -l < "$work/failures") checks failed"
        exit 1
    fi
    echo 'all checks passed'
    exit 0
}
