#!/usr/bin/env bash
# usage: tools/memcheck.sh [TEST...]
# Runs the programs of the tests and, through the tests of the command, kp itself under Memcheck of valgrind: all, or those
# that are named, such as xml_test or kp. Fails when Memcheck finds an access out of place, a value that nobody set, or a
# block that is lost. Left out are cases that fill hundreds of megabytes or measure time.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh memcheck
cmake --preset release --log-level=WARNING >/dev/null
cmake --build --preset release
bin=$PWD/build/release/bin
logs=$PWD/build/memcheck
mkdir -p "$logs"

left_out='-*MoreEntries*:*HugeOnes*:Limits.*:*TooLongForTheMemory*:Shell.*'
memcheck=(valgrind -q --error-exitcode=99 --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite
    "--suppressions=$PWD/tools/memcheck.supp")

check_program() {
    "${memcheck[@]}" "$bin/$1" --gtest_brief=1 --gtest_filter="$left_out"
}

# Another user, or a script that moves the temporary directory, keeps valgrind itself from starting.
run_cases='
import sys, unittest
cases = [case for suite in unittest.defaultTestLoader.loadTestsFromName(sys.argv[1]) for case in suite
         if not any(left_out in case.id() for left_out in ("whoever_packs_them", "change_the_directory"))]
sys.exit(not cases or not unittest.TextTestRunner().run(unittest.TestSuite(cases)).wasSuccessful())'

# The command leaves what Memcheck says in a file, since its standard error belongs to the tests.
check_command() {
    local wrapper=$logs/kp
    printf '#!/bin/sh\nexec %s "%s" "$@"\n' "${memcheck[*]@Q} --log-file='$logs/kp-%p.log'" "$bin/kp" >"$wrapper"
    chmod +x "$wrapper"
    rm -f "$logs"/kp-*.log
    KP=$wrapper KP_EXAMPLES_DIR=$PWD/examples KP_PAGES=$bin/kp_pages KP_HANDBOOK=$PWD/docs/cli.md \
        KP_SANITIZE=memcheck PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=tests/cli:tools python3 -c "$run_cases" "$1_test" || return
    ! grep -h . "$logs"/kp-*.log
}

(($#)) || set -- $(cd "$bin" && ls -- *_test) kp lint show
status=0
for name in "$@"; do
    echo "memcheck: $name"
    if [[ $name == *_test ]]; then check_program "$name"; else check_command "$name"; fi >"$logs/$name.txt" 2>&1 ||
        { cat "$logs/$name.txt"; status=1; }
done
exit "$status"
