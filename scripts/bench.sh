#!/usr/bin/env bash
# Measures DibStream and other programs, and plots the results (bench-plots.py). A program whose package is missing is left
# out; scripts/install-packages.sh peers installs the packages.
# usage: scripts/bench.sh [FOLDER] [FILTER]     default: bench-out/ and every operation except cancel_*
# ROUNDS is how often everything is measured, three times each; 1 when it is not set. Shared machines need several.
# DIB_PEERS_BUILD names a folder with more programs bench_NAME that share pictures, files and names (docs/performance.md);
# its file programs.txt has lines such as "opencv=OpenCV 4.6.0" for programs that do not tell their versions.
set -euo pipefail
[ $# -eq 0 ] || out="$(realpath -m -- "$1")"
cd "$(dirname "$0")/.."
out="${out:-$PWD/bench-out}"
filter="${2:-}"
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
# measure NAME REPETITIONS PROGRAM [OPTION...]: leaves NAME.json; a program that fails or has no such case has none.
measure() {
    local file="$out/$1.json"
    if "${pin[@]}" "${@:3}" --benchmark_repetitions="$2" --benchmark_min_time=0.01 \
        --benchmark_out="$file" --benchmark_out_format=json >/dev/null 2>&1 && [ -s "$file" ]; then
        results+=("$file")
    else
        rm -f "$file"
    fi
}
# measureOurs NAME OPTION...: as the machine is, and as one with less.
measureOurs() {
    measure "$1-ours" 3 "$build/bench_ours" "${@:2}"
    local level
    for level in avx2 baseline; do
        DIB_KERNELS=$level measure "$1-ours-$level" 3 "$build/bench_ours" "${@:2}" --benchmark_context=kernels="$level"
    done
    # Google Benchmark 1.7 reports the memory of a single repetition only.
    PEER_SLOW='' DIB_BENCH_MEMORY=1 measure "$1-ours-memory" 1 "$build/bench_ours" "${@:2}"
}
versions=()
[ ! -f "${DIB_PEERS_BUILD-}/programs.txt" ] ||
    versions=(--benchmark_context="$(sed 's/^/program /' "$DIB_PEERS_BUILD/programs.txt" | paste -sd,)")
# measureOthers NAME OPTION...: the programs of the tree come first.
measureOthers() {
    local program name names=ours
    for program in "$build"/peers/bench_* ${DIB_PEERS_BUILD:+"$DIB_PEERS_BUILD"/bench_*}; do
        name="${program##*/bench_}"
        [ -f "$program" ] && [ -x "$program" ] && [[ " $names " != *" $name "* ]] || continue
        names+=" $name"
        case $program in
        "$build"/*) measure "$1-$name" 3 "$program" "${@:2}" ;;
        *) measure "$1-$name" 3 "$program" "${@:2}" "${versions[@]}" ;;
        esac
    done
    ! /usr/bin/python3 -c 'import PIL' 2>/dev/null || measure "$1-pillow" 3 bench/peers/pillow.py "${@:2}"
}
export OMP_NUM_THREADS=1 VIPS_CONCURRENCY=1 MAGICK_THREAD_LIMIT=1 QT_QPA_PLATFORM=offscreen
if [ -n "$filter" ]; then
    groups=("$filter")
else
    # Programs take turns group by group, so that times that are compared lie close together.
    groups=('^(call_|alu_|memcpy|memset|readsum|xor_|lut_|box_vertical)' '^load_' '^save_'
        '^(box_blur|blur_|sharpen_|gauss_|motion_)' '^(max_|min_|median_)' '^(edge_|emboss|diffuse|noise|color_noise)'
        '^(rotate30|whirl|ripple|wave|implode|mosaic)' '^resize_' '^(gamma|contrast|invert|compose)'
        '^(cvt_|quantize|ordered|dither|flip|crop|clone|scroll)')
    # What no group names.
    all="$(printf '|%s' "${groups[@]}")"
    groups+=("-${all#|}|^cancel_")
fi
for ((round = 1; round <= ${ROUNDS:-1}; round++)); do
    for i in "${!groups[@]}"; do
        echo "Measuring ${groups[i]}"
        measureOurs "$round-$i" --benchmark_filter="${groups[i]}"
        measureOthers "$round-$i" --benchmark_filter="${groups[i]}"
    done
done
# A pattern that fits nothing measures nothing.
[ "${#results[@]}" -gt 0 ] || { echo "bench.sh: nothing is named so" >&2; exit 1; }

scripts/bench-plots.py "${results[@]}" "$out"
