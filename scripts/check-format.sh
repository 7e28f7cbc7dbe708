#!/usr/bin/env bash
# Fails when a source file is not formatted as .clang-format says; with --fix formats them all.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
[ "${1:-}" != --fix ] || mode=(-i)
for folder in include vexlibs dib geometry effects files formats operations batch texts gallery c plugins tools python tests fuzz bench examples scripts; do
    [ ! -d "$folder" ] || find "$folder" \( -name '*.h' -o -name '*.cpp' -o -name '*.c' -o -name '*.mm' \) -print0
done | xargs -0 clang-format-14 "${mode[@]}"
