#!/usr/bin/env bash
# Measures the benches of this tree beside those of an earlier commit, in turns, and prints what became slower or faster by
# more than the noise. It informs: the exit code is 0 whatever was measured.
# usage: scripts/compare-change.sh [BASE [REGEX [ROUNDS]]]     the commit before HEAD, common operations, 3 rounds
set -euo pipefail
cd "$(dirname "$0")/.."
base="${1:-HEAD~1}"
pattern="${2:-^(clone_deep|load_bmp24|load_psd_rle|resize_bilinear_down|resize_area_037|rotate30|box_blur_r10|gauss_R15|median_r3|gamma_lut|compose_half|cvt_24_to_8grey|dither_1bit)/1920x1080/24/}"
rounds="${3:-3}"
measured=(CMakeLists.txt CMakePresets.json bench cmake dib effects files formats geometry include operations texts vexlibs)

tell() {
    echo "compare-change.sh: $*"
    exit 0
}
git rev-parse --quiet --verify "$base^{commit}" >/dev/null 2>&1 || tell "SKIPPED: there is no commit $base"
git diff --quiet "$base" -- "${measured[@]}" && tell "nothing that is measured changed since $base"
scripts/install-packages.sh build bench

old="$PWD/build/compare-base"
rm -rf "$old"
git worktree prune
git worktree add --quiet --detach "$old" "$base" || tell "SKIPPED: $base cannot be laid out"
trap 'git worktree remove --force "$old"' EXIT
# Each tree is built in the same folder below its root, so that they share the objects that are the same.
command -v ccache >/dev/null &&
    export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}" CCACHE_NOHASHDIR=1
buildBench() {
    (
        cd "$1"
        export CCACHE_BASEDIR="$1"
        cmake --preset release -B build/compare -DDIB_BUILD_TESTS=OFF >/dev/null &&
            cmake --build build/compare --parallel "$(nproc)" --target bench_ours bench_files >/dev/null
    )
}
buildBench "$PWD" || tell "SKIPPED: the benches cannot be built here"
buildBench "$old" || tell "SKIPPED: $base cannot be built here"

export PEER_TMP="$PWD/build/compare/files"
build/compare/bench/bench_files >/dev/null
scripts/compare-builds.py "$old/build/compare" build/compare --filter "$pattern" --rounds "$rounds" ||
    tell "the measurement did not end"
