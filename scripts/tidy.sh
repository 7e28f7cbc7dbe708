#!/usr/bin/env bash
# Runs clang-tidy over the library, the plug-ins and the tool; warnings are errors (.clang-tidy has the list).
# usage: scripts/tidy.sh [FILE...]     every source when none is named
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/clang
cmake --preset clang >/dev/null

files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    # Each file that the build compiles, once.
    mapfile -t files < <(grep -o '"file": "[^"]*"' "$build/compile_commands.json" | cut -d '"' -f 4 | sort -u |
        grep -E "^$PWD/(vexlibs|dib|geometry|effects|files|formats|operations|c|plugins|tools|scripts|build/clang/python)/")
fi
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy-14 -p "$build" --quiet --warnings-as-errors='*' 2>&1 |
    sed '/^[0-9]* warnings\{0,1\} generated\.$/d'
echo "clang-tidy: ${#files[@]} files are clean"
