#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
# usage: scripts/test.sh [PRESET]     dev when none is named; also asan, clang, release, coverage
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-dev}"

scripts/install-packages.sh build test bench python browser desktop exchange
# Tests that build the tree again, as a package or inside another project, reuse these objects.
command -v ccache >/dev/null &&
    export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}" CCACHE_NOHASHDIR=1

cmake --preset "$preset"
cmake --build --preset "$preset" --parallel "$(nproc)"
ctest --preset "$preset" --parallel "$(nproc)"
