#!/usr/bin/env bash
# Runs the digest under the memory sanitizer, as every release does: no operation may decide anything by a byte that was
# never written, nor leave one in a picture or a file.
# usage: scripts/memory.sh
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset msan
cmake --build --preset msan --target digest
bash tests/system/digest.sh tests/digest/list.txt build/msan/tests/digest
