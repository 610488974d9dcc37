#!/usr/bin/env bash
# usage: tools/mutate.sh N [ROOM [PROGRAM...]]
# Puts N random faults into the sources of the product, or of the room, one at a time: a comparison turned, a sum for a
# difference, a call dropped, a flag inverted. Builds and tests each in a copy of the tree, and prints those that no test
# noticed and how many were. What does not compile, or makes no other code, is passed over and not counted. The programs
# of tests that are named are built and tried first, which is quick. MUTATE_SEED chooses the faults.
set -euo pipefail
cd "$(dirname "$0")/.."
(($#)) || { echo "usage: tools/mutate.sh N [ROOM [PROGRAM...]]" >&2; exit 2; }
number=$1
room=${2:-}
near=("${@:3}")
seed=${MUTATE_SEED:-$RANDOM}
tree=$PWD/build/mutants
slow='^(kp|lint|pages|ProgressLine.*|show|terminal|disaster|power_loss|install|doors|java|page|python.*)$'
jobs=$(nproc)

sources=$(git ls-files 'platform/*.cpp' 'shared/*.cpp' 'cli/*.cpp' 'python/*.cpp' | grep "${room:+/\?\b$room/}" || true)
[[ -n $sources ]] || { echo "mutate: no room '$room'" >&2; exit 2; }

mkdir -p "$tree"
find "$tree" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
git ls-files -z | xargs -0 cp --parents --preserve=timestamps,mode -t "$tree"
out=$tree/build
log=$tree/log
# What a run that was stopped left faulty is to be built again.
[[ ! -e $out/faulty ]] || touch -c "$tree/$(<"$out/faulty")"

build() {
    cmake --build "$out" -j "$jobs" --target "${1:-all}" >"$log" 2>&1
}

# A source that is a room of its own is built one directory above.
object_of() {
    find "$out/$(dirname "$1")" "$out/$(dirname "$(dirname "$1")")" -name "$(basename "$1").o" 2>/dev/null | sed -n 1p
}

# A faulty program may remove, write and kill what it likes: it sees a file system that is read-only but for its own copy
# of the tree and temporary directories, and no process but its own. Endless loops end, and so does greed for memory.
jail() {
    unshare --mount --pid --fork --kill-child --mount-proc $( ((EUID == 0)) || echo --map-root-user) bash -c '
        mount --bind "$0" "$0" && mount -o remount,bind,ro / && mount -t tmpfs none /tmp && mount -t tmpfs none /dev/shm
        cd "$0" && ulimit -t 120 -d 12000000 && "$@"' "$tree" "$@"
}

tests() {
    jail ctest --test-dir "$out" -j "$jobs" --stop-on-failure --timeout 120 "$@" >"$log" 2>&1
}

# What noticed faults before does most often. The sources of the command and of the module are in none of the
# quick programs.
killers=''
tests_notice() {
    { [[ $killers ]] && ! tests -R "^(${killers#|})\$"; } || { [[ ${1:-} != @(cli|python)/* ]] && ! tests -E "$slow"; } ||
        ! tests -R "$slow" -E '^(disaster|install|doors)$'
}

note_killers() {
    local failed
    for failed in $(sed -nE 's/^\s+[0-9]+ - (\S+) .*/\1/p' "$log" | sed 's/[][().*^$+?|\\]/\\&/g'); do
        [[ $killers\| == *"|$failed|"* ]] || killers+="|$failed"
    done
}

# 0 when it is, 1 when not, 2 when there is nothing to notice.
is_noticed() {
    local program object
    object=$(object_of "$1")
    build "${object#"$out/"}" && ! cmp -s "$object" "$tree/objects/$1.o" || return 2
    for program in "${near[@]}"; do
        build "$program" || return 2
        jail timeout 120 "$out/bin/$program" --gtest_fail_fast >"$log" 2>&1 || return 0
    done
    build || return 2
    tests_notice "$1"
}

cmake -S "$tree" -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 \
    -DCMAKE_LINK_DEPENDS_NO_SHARED=ON >"$log" 2>&1 && build || { cat "$log" >&2; exit 1; }
for source in $sources; do
    mkdir -p "$tree/objects/$(dirname "$source")"
    cp "$(object_of "$source")" "$tree/objects/$source.o"
done
! tests_notice || { cat "$log" >&2; echo "mutate: the tests fail without any fault" >&2; exit 1; }

noticed=0
survived=0
while ((noticed + survived < number)) && IFS=$'\t' read -r file line what changed; do
    cp --preserve=timestamps "$tree/$file" "$tree/original"
    CHANGED=$changed awk -v line="$line" 'NR == line { print ENVIRON["CHANGED"]; next } { print }' "$tree/original" >"$tree/$file"
    echo "$file" >"$out/faulty"
    verdict=0
    is_noticed "$file" || verdict=$?
    case $verdict in
        0) noticed=$((noticed + 1)); note_killers ;;
        1) survived=$((survived + 1)); echo "$file:$line: $what" ;;
    esac
    cp "$tree/original" "$tree/$file"
done < <(tools/mutants.py $((3 * number)) "$seed" $sources)
build
echo "${room:-all}: $noticed of $((noticed + survived)) faults noticed (seed $seed)"
