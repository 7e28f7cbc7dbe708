#!/usr/bin/env bash
# Measures DibStream and other programs, and plots the results (bench-plots.py). A program whose package is missing is left
# out; scripts/install-packages.sh peers installs the packages.
# usage: scripts/bench.sh [FOLDER] [FILTER]     default: bench-out/ and every operation except cancel_*
# DIB_PEERS_BUILD names a folder with more programs bench_NAME that share pictures, files and names (docs/performance.md).
set -euo pipefail
[ $# -eq 0 ] || out="$(realpath -m -- "$1")"
cd "$(dirname "$0")/.."
out="${out:-$PWD/bench-out}"
filter="${2:--^cancel_}"
build=build/release/bench

scripts/install-packages.sh build bench
cmake --preset release >/dev/null
cmake --build --preset release --target bench/all >/dev/null

mkdir -p "$out"
export PEER_TMP="${PEER_TMP:-$out/files}" PEER_SLOW="${PEER_SLOW-bench/peers/slow.txt}"
"$build/bench_files"

# All programs run on one processor, under the same conditions.
pin=()
! command -v taskset >/dev/null || pin=(taskset -c "$(($(nproc) - 1))")
results=()
# measure NAME REPETITIONS PROGRAM: leaves NAME.json; a program that fails has none.
measure() {
    local file="$out/$1.json"
    echo "Measuring $1"
    if "${pin[@]}" "$3" --benchmark_filter="$filter" --benchmark_repetitions="$2" --benchmark_min_time=0.01 \
        --benchmark_out="$file" --benchmark_out_format=json >/dev/null 2>&1 && [ -s "$file" ]; then
        results+=("$file")
    else
        echo "  nothing measured" >&2
        rm -f "$file"
    fi
}
measure ours 3 "$build/bench_ours"
# Google Benchmark 1.7 reports the memory of a single repetition only.
PEER_SLOW='' DIB_BENCH_MEMORY=1 measure ours-memory 1 "$build/bench_ours"
export OMP_NUM_THREADS=1 VIPS_CONCURRENCY=1 MAGICK_THREAD_LIMIT=1 QT_QPA_PLATFORM=offscreen
names=ours
for program in "$build"/peers/bench_* ${DIB_PEERS_BUILD:+"$DIB_PEERS_BUILD"/bench_*}; do
    name="${program##*/bench_}"
    # The programs of the tree come first.
    [ -f "$program" ] && [ -x "$program" ] && [[ " $names " != *" $name "* ]] || continue
    names+=" $name"
    measure "$name" 3 "$program"
done
! /usr/bin/python3 -c 'import PIL' 2>/dev/null || measure pillow 3 bench/peers/pillow.py

scripts/bench-plots.py "${results[@]}" "$out"
