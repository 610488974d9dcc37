#!/usr/bin/env bash
# usage: run.sh PACKAGE KERNEL DIRECTORY
# Compiles the example into a temporary directory and runs it with the installed library.
set -euo pipefail
(($# == 3)) || { sed -n '2s/^# //p' "$0" >&2; exit 2; }
example=$(realpath "$(dirname "$0")")
jdk=$(realpath "$(command -v javac)")
include=${jdk%/bin/javac}/include
library=$(pkg-config --variable=jnidir kernelpackage)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
javac -d "$work" -sourcepath "$example" "$example/ShowPackage.java"
# shellcheck disable=SC2046
"${CXX:-c++}" -std=c++20 -shared -fPIC -I"$include" -I"$include/linux" "$example/StringIterator.cpp" \
    $(pkg-config --cflags --libs kernelpackage) -o "$work/libstringiterator.so"
java --enable-native-access=ALL-UNNAMED -Djava.library.path="$library:$work" -cp "$work" ShowPackage "$@"
