#!/usr/bin/env bash
# usage: tools/test.sh [PRESET...]
# Checks the formatting, then configures, builds and tests each preset: release unless others are named.
set -euo pipefail
cd "$(dirname "$0")/.."
(($#)) || set -- release

tools/install-deps.sh
tools/format.sh --check
for preset in "$@"; do
    cmake --preset "$preset"
    cmake --build --preset "$preset"
    ctest --preset "$preset" --no-tests=error
done
