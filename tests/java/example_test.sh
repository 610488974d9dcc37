#!/usr/bin/env bash
# usage: example_test.sh KP EXAMPLES BUILD_DIRECTORY
# The example in Java prints what kp prints, extracts a kernel, and fails with the operation's own text.
set -euo pipefail
kp=$1 examples=$2 build=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$kp" add "$work/vadd.kp" "$examples/vadd/kernel.xml" --ip "$examples/vadd/ip"
"$examples/java/run.sh" "$build" "$work/vadd.kp" vadd "$work/out" >"$work/printed"
{
    "$kp" info "$work/vadd.kp"
    echo "=== vadd/kernel.xml ==="
    unzip -p "$work/vadd.kp" vadd/kernel.xml
    echo "=== Extracted to $work/out ==="
} | diff - "$work/printed"
diff -r "$examples/vadd/ip" "$work/out/ip_repo/example_kernels_vadd_1_0"

status=0
"$examples/java/run.sh" "$build" "$work/vadd.kp" other "$work/out" >/dev/null 2>"$work/errors" || status=$?
((status == 3))
grep -qxF "Failed to read file other/kernel.xml from $work/vadd.kp" "$work/errors"
