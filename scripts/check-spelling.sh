#!/usr/bin/env bash
# Finds commonly misspelled words. scripts/spelling-words.txt lists the accepted ones: identifiers, and texts that the
# library has always printed.
# usage: scripts/check-spelling.sh [ROOT]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
cd "${1:-$here/..}"
codespell --ignore-words "$here/spelling-words.txt" \
    --skip './.git,./build,./*-out,./fuzz/seeds,./tests/data,./tests/system/wrong-spelling,./tests/system/wrong-prose,*.svg,*.jpg,*.json,expected.txt' |
    LC_ALL=C sort
echo "no misspelled words"
