#!/usr/bin/env bash
# Prints the version of the project, which CMakeLists.txt sets.
# usage: scripts/version.sh
set -euo pipefail
sed -n 's/^project(DibStream VERSION \([0-9.]*\) .*/\1/p' "$(dirname "$0")/../CMakeLists.txt" | grep .
