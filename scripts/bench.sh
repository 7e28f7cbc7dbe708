#!/usr/bin/env bash
# Runs the benches, ours and those of the peer programs that are built, and plots the results (bench-plots.py).
# usage: scripts/bench.sh [FOLDER] [FILTER]     default: bench-out/ and every operation except cancel_*
# DIB_PEERS names the folder of the compared programs (docs/performance.md), DIB_PEERS_BUILD the folder where they are
# built; programs that are not built are left out.
set -euo pipefail
[ $# -eq 0 ] || out="$(realpath -m -- "$1")"
cd "$(dirname "$0")/.."
out="${out:-$PWD/bench-out}"
filter="${2:--^cancel_}"
peers="${DIB_PEERS:-$(sed -n 's/^DIB_PEERS:PATH=//p' build/release/CMakeCache.txt 2>/dev/null || true)}"
peers_build="${DIB_PEERS_BUILD:-$peers/build}"

scripts/install-packages.sh build bench
cmake --preset release ${DIB_PEERS:+-DDIB_PEERS="$DIB_PEERS"} >/dev/null
cmake --build --preset release --target bench_ours >/dev/null

mkdir -p "$out"
export PEER_TMP="${PEER_TMP:-$out/files}"
mkdir -p "$PEER_TMP"
[ ! -x "$peers_build/gen_files" ] || "$peers_build/gen_files" >/dev/null
[ ! -f "$peers/slow.txt" ] || export PEER_SLOW="$peers/slow.txt"

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
measure ours 3 build/release/bench/bench_ours
# Google Benchmark 1.7 reports the memory of a single repetition only.
PEER_SLOW='' DIB_BENCH_MEMORY=1 measure ours-memory 1 build/release/bench/bench_ours
for program in "$peers_build"/bench_*; do
    if [ -f "$program" ] && [ -x "$program" ]; then
        name="${program##*/bench_}"
        OMP_NUM_THREADS=1 VIPS_CONCURRENCY=1 MAGICK_THREAD_LIMIT=1 QT_QPA_PLATFORM=offscreen measure "$name" 3 "$program"
    fi
done

scripts/bench-plots.py "${results[@]}" "$out"
