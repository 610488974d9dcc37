#!/usr/bin/env bash
# usage: tools/check-packages.sh
# Builds the Debian packages and tries them on a fresh Debian 12 in a directory: they install, the command, a program
# built on the library and the tutorial's Python work there, and nothing stays behind when they are removed. Needs root and the package mirror
# that this machine uses.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh package
cmake --workflow --preset package
packages=(build/package/*.deb)

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' 'Label: Debian' | head -n 1)
debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" || { cat "$root.log" >&2; exit 1; }
rm "$root.log"
mkdir "$root/packages"
cp "${packages[@]}" "$root/packages"

inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"; }
files() { (cd "$root" && find usr etc -not -path 'usr/share/doc*' -not -path '*/__pycache__*' | sort); }

inside apt-get install -yq --no-install-recommends g++ pkg-config libboost-dev fish man-db >/dev/null
inside sh -c 'apt-get install -yq --no-install-recommends python3 $(dpkg-deb -f /packages/kernelpackage_*.deb Depends |
    sed "s/([^)]*)//g; s/,/ /g")' >/dev/null
files >"$root/before"
inside sh -c 'apt-get install -yq /packages/*.deb'
inside bash -euxc 'cd /tmp; cp -r /usr/share/doc/kernelpackage/examples .
    kp add vadd.kp examples/vadd/kernel.xml --ip examples/vadd/ip
    kp verify vadd.kp
    man -w kp-kernel
    HOME=/tmp fish -c "complete -C \"kp cat vadd.kp vadd/k\"" | grep -x vadd/kernel.xml
    sed -n "/^\`\`\`cpp/,/^\`\`\`/p" /usr/share/doc/kernelpackage/docs/tutorial.md | grep -v "^\`\`\`" >tutorial.cpp
    g++ -std=c++20 tutorial.cpp $(pkg-config --cflags --libs kernelpackage) -o tutorial
    ./tutorial | grep -x "kernel vadd"
    tutorial=/usr/share/doc/kernelpackage/docs/tutorial.md
    awk "/^\`\`\`python/ { on = 1; print \"\"; next } /^\`\`\`/ { on = 0 } on" $tutorial >typed.py
    python3 -i <typed.py >typed.txt
    awk "/^python3 tutorial_python.py/ { next_text = 1 } /^\`\`\`/ { on = 0 } on
         next_text && /^\`\`\`text/ { on = 1; next_text = 0 }" $tutorial | diff - typed.txt'
inside apt-get purge -yq python3-kernelpackage libkernelpackage-dev kernelpackage
files | diff "$root/before" -
echo "The packages install, work, and leave nothing behind."
