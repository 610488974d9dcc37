#!/usr/bin/env bash
# usage: tools/bench.sh [--quick]
# Times kp beside its peers and prints a table; exits 1 when a figure falls short of what is wanted. --quick works on
# smaller inputs: it shows that the comparison works, not how fast kp is, and no figure makes it fail.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh
cmake --preset release --log-level=WARNING >/dev/null
cmake --build --preset release --target kp benchmarks
exec python3 benchmarks/compare.py build/release/bin build/bench "$@"
