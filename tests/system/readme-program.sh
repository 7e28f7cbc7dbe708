#!/usr/bin/env bash
# The first program printed in README.md is the file that the install test compiles and runs.
# usage: readme-program.sh SOURCE_DIR
set -euo pipefail
printed="$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$1/README.md")"
[ -n "$printed" ]
diff <(printf '%s\n' "$printed") "$1/examples/first_program/main.cpp"
