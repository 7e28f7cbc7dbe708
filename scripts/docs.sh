#!/usr/bin/env bash
# Builds the API reference into build/docs/html; anything public without documentation is an error.
# usage: scripts/docs.sh [OUTPUT]
set -euo pipefail
cd "$(dirname "$0")/.."
output="${1:-build/docs}"
mkdir -p "$output"
( cat Doxyfile; printf 'OUTPUT_DIRECTORY = %s\n' "$output" ) | doxygen -
echo "The reference is $output/html/index.html"
