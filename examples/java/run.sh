#!/usr/bin/env bash
# usage: run.sh BUILD_DIRECTORY PACKAGE KERNEL DIRECTORY
# Compiles the example into a temporary directory and runs it with the library of a build, such as build/release.
set -euo pipefail
(($# == 4)) || { sed -n '2s/^# //p' "$0" >&2; exit 2; }
library=$(realpath "$1")/lib
shift
example=$(realpath "$(dirname "$0")")
root=$example/../..
jdk=$(realpath "$(command -v javac)")
include=${jdk%/bin/javac}/include

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
javac -d "$work" -sourcepath "$example" "$example/ShowPackage.java"
"${CXX:-c++}" -std=c++20 -shared -fPIC -I"$root" -I"$root/shared/common" -I"$include" -I"$include/linux" \
    "$example/StringIterator.cpp" -L"$library" -lkpcontainers -Wl,-rpath-link,"$library" -o "$work/libstringiterator.so"
LD_LIBRARY_PATH=$library${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} \
    java --enable-native-access=ALL-UNNAMED -Djava.library.path="$library:$work" -cp "$work" ShowPackage "$@"
