#!/usr/bin/env bash
# Runs clang-tidy over the library, the plug-ins and the tool; warnings are errors (.clang-tidy has the list).
# usage: scripts/tidy.sh [--latest N] [FILE...]     every source when none is named, or the N whose last change is youngest
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/clang
cmake --preset clang >/dev/null

latest=0
if [ "${1:-}" = --latest ]; then
    latest="$2"
    shift 2
fi
files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    # Each file that the build compiles, once.
    mapfile -t files < <(grep -o '"file": "[^"]*"' "$build/compile_commands.json" | cut -d '"' -f 4 | sort -u |
        grep -E "^$PWD/(vexlibs|dib|geometry|effects|files|formats|operations|batch|texts|gallery|c|plugins|tools|scripts|build/clang/python)/")
fi
if [ "$latest" -gt 0 ]; then
    # The history names changed files, the youngest change first; what the build writes itself has none and stays in.
    mapfile -t files < <({ printf '%s\n' "${files[@]}" | grep "^$PWD/build/" || true
        git log --format= --name-only | sed "s|^|$PWD/|" | awk 'NR == FNR { known[$0]; next } $0 in known && !seen[$0]++' \
            <(printf '%s\n' "${files[@]}") -; } | head -n "$latest")
fi
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy-14 -p "$build" --quiet --warnings-as-errors='*' 2>&1 |
    sed '/^[0-9]* warnings\{0,1\} generated\.$/d'
echo "clang-tidy: ${#files[@]} files are clean"
