#!/usr/bin/env bash
# Builds kp and walks through the life of a package in a temporary directory. Each step shows its command and the
# answer, and ends the demo with an error unless the answer is the right one.
set -euo pipefail
cd "$(dirname "$0")/.."

tools/install-deps.sh
cmake --preset release --log-level=WARNING >/dev/null
cmake --build --preset release --target kp
PATH="$PWD/build/release/bin:$PATH"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ln -s "$PWD/examples" "$work/examples"
cd "$work"

# step STATUS TEXT COMMAND: the command must end with STATUS and its output must hold TEXT.
step() {
    local expected=$1 text=$2 command=$3 output status=0
    printf '\n$ %s\n' "$command"
    output=$(bash -o pipefail -c "$command" 2>&1) || status=$?
    [[ -z $output ]] || printf '%s\n' "$output"
    if ((status != expected)); then
        echo "demo: exit status $status where $expected was expected" >&2
        exit 1
    elif [[ $output != *"$text"* ]]; then
        echo "demo: the output lacks \"$text\"" >&2
        exit 1
    fi
}

step 0 '' 'kp add vadd.kp examples/vadd/kernel.xml --ip examples/vadd/ip \
    --cpu-source examples/vadd/src/vadd.cpp --report examples/vadd/design.xml \
    --ip-instance examples/vadd/vadd.qmr'
step 0 'vadd' 'kp validate vadd.kp --target sw_emu'

printf '\nA second kernel, the same hardware under another name, comes without a source for CPU emulation.\n'
step 0 '' 'cp -r examples/vadd vadd_hw'
step 0 '' 'sed -i "s/name=\"vadd\"/name=\"vadd_hw\"/; s/:vadd:/:vadd_hw:/; s/<ipxact:name>vadd</<ipxact:name>vadd_hw</" \
    vadd_hw/kernel.xml vadd_hw/ip/component.xml'
step 0 '' 'kp add vadd.kp vadd_hw/kernel.xml --ip vadd_hw/ip'

step 0 'vadd_hw' 'kp list vadd.kp'
step 0 'vadd_hw' 'kp validate vadd.kp --target hw'
step 1 "The RTL kernel 'vadd_hw' in 'vadd.kp' is not supported for CPU emulation target" 'kp validate vadd.kp --target sw_emu'
step 0 '' 'kp verify vadd.kp'
step 0 '<InstName>reader_u</InstName>' 'unzip -p vadd.kp vadd/kernel.xml | grep InstName'
step 0 'ip_repo/example_kernels_vadd_hw_1_0/component.xml' 'unzip -l vadd.kp'

printf '\nWhat is in the package, and what comes out of it.\n'
step 0 'example:kernels:vadd_hw:1.0' 'kp info vadd.kp'
step 0 'Most LUT' 'kp show vadd.kp vadd'
step 0 '<!DOCTYPE html>' 'kp page vadd.kp -o vadd.html && head -1 vadd.html'
step 0 'out/vadd' 'kp extract vadd.kp vadd -d out'
step 0 '' 'diff -r examples/vadd/ip out/ip_repo/example_kernels_vadd_1_0 && diff -r vadd_hw/ip out/ip_repo/example_kernels_vadd_hw_1_0'
step 0 'module vadd' 'kp cat vadd.kp ip_repo/example_kernels_vadd_1_0/hdl/vadd.v'

printf '\nThe kernel customized for a board, with a deeper FIFO, through a stand-in for the host tool.\n'
step 0 '' 'kp customize vadd.kp vadd --name vadd_deep -o deep.kp --board heron --param SUM_FIFO_DEPTH=64 \
    --tcl-shell tclsh --host-script examples/host/host.tcl'
step 0 'digest: valid' 'kp verify deep.kp'
step 0 'vadd_deep' 'kp info deep.kp'
step 0 'value="64"' 'kp cat deep.kp vadd_deep/ip.qmr'
