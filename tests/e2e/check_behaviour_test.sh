#!/bin/bash
# tools/check_behaviour reports every kind of mistake: check_behaviour_test.sh CHECK.
set -euo pipefail
check=$1
# shellcheck source=tests/e2e/checks.sh
source "$(dirname "$0")/checks.sh"
mkdir -p "$work/docs" "$work/tests/unit" "$work/tests/e2e"
printf 'TEST(Plain, One) {\n}\nTEST_F(Fixed, Two) {\nTEST_P(Many,\n       Three) {\n' > "$work/tests/unit/a_test.cpp"
touch "$work/tests/e2e/a_test.sh"

# expect STATUS OUTPUT ROW...: checks a page that has these rows in its table of rules.
expect() {
    local status=0
    { printf '# Page\n\n| name | meaning |\n|---|---|\n| a | b |\n\n| rule | test |\n|---|---|\n'
        printf '%s\n' "${@:3}"; } > "$work/docs/behaviour.md"
    "$check" "$work" > "$work/out" || status=$?
    sed -i "s|^$work/docs/||" "$work/out"
    expect_equal "${*:3}" "$1 $2" "$status $(cat "$work/out")"
}

# shellcheck disable=SC2016
{
    expect 0 '' '| A rule. | `Plain.One` |' '| With `code`. | `Fixed.Two`, `Many.Three`, `a_test.sh` |'
    expect 1 'behaviour.md:9: no such test: Plain.Two' '| A rule. | `Plain.Two` |'
    expect 1 'behaviour.md:10: no such test: Fixed.One' '| A. | `Plain.One` |' '| B. | `Plain.One`, `Fixed.One` |'
    expect 1 'behaviour.md:9: no such test: b_test.sh' '| A rule. | `b_test.sh` |'
    expect 1 'behaviour.md:9: no such test: One' '| A rule. | `One` |'
    expect 1 'behaviour.md:9: a rule without a test' '| A rule with `Plain.One` elsewhere. | |'
    expect 1 'behaviour.md: no rules found' ''
}
