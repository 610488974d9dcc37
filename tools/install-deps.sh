#!/usr/bin/env bash
# usage: tools/install-deps.sh [fuzz|lint|package|reference|memcheck]...
# Installs the Debian packages that building and testing need, and on demand those for fuzzing, for the linter, for
# trying the Debian packages, for the reference of the library and for Memcheck: those that are missing, and nothing else.
set -euo pipefail

# For the library, the command kp and the Python module.
build=(
    g++ cmake ninja-build pkg-config
    libboost-dev libboost-filesystem-dev libboost-iostreams-dev
    libdeflate-dev zlib1g-dev nettle-dev libexpat1-dev
    libcli11-dev nlohmann-json3-dev tcl8.6-dev default-jdk-headless
    python3-dev pybind11-dev
)
# For the tests, the benchmarks, the format check and the demo.
tests=(
    libgtest-dev libgmock-dev libbenchmark-dev clang-format
    zip unzip 7zip pigz libarchive-tools make openssl python3 python3-jsonschema strace tcl tdom
    python3-pytest python3-mypy python3-tqdm zsh fish
    chromium chromium-driver fonts-dejavu-core
)
declare -A more=(
    [fuzz]="clang libclang-rt-14-dev" [lint]="clang-tidy" [package]="debootstrap dpkg-dev file" [reference]="doxygen"
    [memcheck]="valgrind"
)

packages=("${build[@]}" "${tests[@]}")
for name in "$@"; do
    read -ra named <<<"${more[$name]}"
    packages+=("${named[@]}")
done

fail() {
    echo "install-deps: $*" >&2
    exit 1
}

command -v dpkg-query >/dev/null || fail "needs a Debian system. Install the equivalents of: ${packages[*]}"

# dpkg-query fails when it does not know one of the names; what it knows is still listed.
installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null || true)
missing=()
for package in "${packages[@]}"; do
    grep -qxF "installed $package" <<<"$installed" || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || fail "needs root or sudo to install: ${missing[*]}"
    as_root=(sudo)
fi
echo "install-deps: installing ${missing[*]}" >&2
apt_get() { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=120 "$@" >&2; }
apt_get update || fail "apt-get update failed; see above"
apt_get install -y --no-install-recommends "${missing[@]}" || fail "apt-get could not install: ${missing[*]}"
