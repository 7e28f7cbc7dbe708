#!/usr/bin/env bash
# Fuzzes one target of the asan preset, starting from its seeds and past findings; fails when it finds something.
# usage: scripts/fuzz.sh TARGET SECONDS     for example: scripts/fuzz.sh BmpFuzzer 600
#
# New inputs are kept in build/asan/corpus/TARGET between runs, findings in build/asan/findings/TARGET.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -eq 2 ] || { sed -n '2,5s/^# //p' "$0" >&2; exit 2; }
target="$1"
seconds="$2"
build="${DIB_FUZZ_BUILD:-build/asan}"

if [ -z "${DIB_FUZZ_BUILD:-}" ]; then
    cmake --preset asan >/dev/null
    cmake --build --preset asan --target "$target" --parallel "$(nproc)"
fi

feature="$(tr '[:upper:]' '[:lower:]' <<<"${target%Fuzzer}")"
corpus="$build/corpus/$target"
findings="$build/findings/$target"
mkdir -p "$corpus" "$findings"
inputs=("$corpus")
# The files of every format; any bytes make an image to save.
more=()
case "$feature" in open | save) more=(fuzz/seeds/*/) ;; esac
for folder in "fuzz/seeds/$feature" "tests/data/$feature" "${more[@]}"; do
    [ -d "$folder" ] && inputs+=("$folder")
done

# A few bytes can declare a picture of gigabytes, whose shadow memory alone would take most of the time. Allocations of
# that size fail instead.
export ASAN_OPTIONS="allocator_may_return_null=1:max_allocation_size_mb=32:${ASAN_OPTIONS:-}"

# libFuzzer writes into the first folder only, not into the seeds of the tree.
exec "$build/fuzz/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$findings/" "${inputs[@]}"
