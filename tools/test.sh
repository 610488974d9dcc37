#!/usr/bin/env bash
# usage: tools/test.sh [--long] [PRESET...]
# Checks the formatting, then configures, builds and tests each preset: release unless others are named. With --long,
# tests that try a part of very many cases try them all.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ ${1-} == --long ]]; then
    export KP_LONG_TESTS=1
    shift
fi
(($#)) || set -- release

tools/install-deps.sh
tools/format.sh --check
for preset in "$@"; do
    cmake --preset "$preset"
    cmake --build --preset "$preset"
    ctest --preset "$preset" --no-tests=error
done
