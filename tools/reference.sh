#!/usr/bin/env bash
# Makes pages about the public headers, with the documents, in build/reference/html. Fails when doxygen has a warning.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh reference
cmake --preset release --log-level=WARNING >/dev/null
cmake --build --preset release --target reference
echo "build/reference/html/index.html"
