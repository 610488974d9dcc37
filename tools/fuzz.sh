#!/usr/bin/env bash
# usage: tools/fuzz.sh SECONDS|--short [PROGRAM...]
# Runs each fuzzing program for some seconds, FUZZ_JOBS (2) at a time, and fails when one found something. What they
# learn stays in build/fuzz/corpus for the next run. --short instead tries the same few thousand inputs every time.
set -euo pipefail
cd "$(dirname "$0")/.."
(($#)) || { echo "usage: tools/fuzz.sh SECONDS|--short [PROGRAM...]" >&2; exit 2; }
duration=$1
shift

# Each program with the largest input that it tries, how many inputs a short run has, and its dictionary.
declare -A settings=(
    [archive]="32768 1000 archive" [edit]="256 150" [explorer]="1024 500 explorer" [words]="128 50000 words"
    [hdl]="4096 20000 hdl" [ip]="30000 5000 component" [kernel]="20000 10000 documents" [manifest]="4096 20000 documents" [profile]="16384 10000 documents" [pieces]="65536 3000"
)
programs=("$@")
(($#)) || programs=(archive edit hdl ip kernel manifest pieces profile explorer words)

tools/install-deps.sh fuzz
cmake --preset fuzz --log-level=WARNING >/dev/null
cmake --build --preset fuzz --target fuzzers
out=$PWD/build/fuzz
fuzz/make-seeds.py "$out/seeds"
mkdir -p "$out/logs" "$out/findings"

# Memory takes what the programs write, where there is such a file system.
memory=/tmp
[[ -w /dev/shm ]] && memory=/dev/shm
TMPDIR=$(mktemp -d "$memory/kp-fuzz-XXXXXX")
export TMPDIR
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$TMPDIR"' EXIT
export ASAN_OPTIONS=quarantine_size_mb=32

fuzz() {
    local name=$1 log=$out/logs/$1 corpus=$out/corpus/$1 status=0 largest short_run dictionary extent
    read -r largest short_run dictionary <<<"${settings[$name]}"
    if [[ $duration == --short ]]; then
        corpus=$(mktemp -d "$TMPDIR/corpus-XXXXXX")
        extent=(-runs="$short_run" -seed=1)
    else
        mkdir -p "$corpus"
        extent=(-max_total_time="$duration" -entropic_scale_per_exec_time=1)
    fi
    "$out/bin/${name}_fuzzer" "${extent[@]}" -timeout=20 -rss_limit_mb=2048 -max_len="$largest" \
        ${dictionary:+-dict="fuzz/$dictionary.dict"} -artifact_prefix="$out/findings/$name-" -print_final_stats=1 \
        "$corpus" "$out/seeds/$name" >"$log" 2>&1 || status=$?
    report "$name" "$log"
    return "$status"
}

# The last figures of a run's log, and where to find the input that ended it.
report() {
    local coverage executions speed found
    coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$2" | tail -n 1 || true)
    executions=$(sed -n 's/^stat::number_of_executed_units: //p' "$2")
    speed=$(sed -n 's/^stat::average_exec_per_sec: //p' "$2")
    found=$(sed -n 's/.*Test unit written to //p' "$2")
    printf '%-9s %9s executions %6s exec/s  %-20s  %s\n' "$1" "${executions:-?}" "${speed:-?}" "${coverage:-cov: ?}" \
        "crashes: ${found:+1 }${found:-0}"
}

failed=0
running=0
for name in "${programs[@]}"; do
    if ((running == ${FUZZ_JOBS:-2})); then
        wait -n || failed=1
        running=$((running - 1))
    fi
    fuzz "$name" &
    running=$((running + 1))
done
for ((; running > 0; --running)); do
    wait -n || failed=1
done
((failed == 0)) || echo "fuzz: something was found; logs are in $out/logs" >&2
exit "$failed"
