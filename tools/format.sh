#!/usr/bin/env bash
# Formats every C++ file that git tracks. With --check, changes nothing and fails when a file is not formatted.
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1-}" in
    "") mode=(-i) ;;
    --check) mode=(--dry-run -Werror) ;;
    *) echo "usage: tools/format.sh [--check]" >&2; exit 2 ;;
esac

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
((${#sources[@]})) || { echo "format: git tracks no C++ file here" >&2; exit 1; }
clang-format "${mode[@]}" "${sources[@]}"
