#!/usr/bin/env bash
# usage: tools/lint.sh [PATH...]
# Lints all sources, or those below the paths, holds every include against the doors of the rooms, and compiles each
# public header alone. Fails when there is a finding.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh lint
cmake --preset release --log-level=WARNING >/dev/null
tools/doors.py
cmake --build --preset release --target all_verify_interface_header_sets
(($#)) || set -- platform shared cli python benchmarks tests
log=build/release/lint.log
run-clang-tidy -quiet -j "$(nproc)" -p build/release "${@/#/^$PWD/}" >"$log" 2>/dev/null ||
    { grep -v '^clang-tidy' "$log" >&2; exit 1; }
echo "lint: $(grep -c '^clang-tidy' "$log") sources without a finding"
