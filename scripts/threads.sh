#!/usr/bin/env bash
# Runs the test of threads under the thread sanitizer, as every release does.
# usage: scripts/threads.sh
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset tsan
cmake --build --preset tsan --target threads_test
TSAN_OPTIONS=halt_on_error=1:exitcode=66 build/tsan/tests/threads_test
