#!/usr/bin/env bash
# Links a program of another project with everything that the installed headers declare, through the CMake package and
# through pkg-config, and starts it. A C program calls every function of dibstream.h.
# usage: outside.sh PREFIX WORK_DIR COMPILER CLANG [--static]
set -euo pipefail
prefix="$1" work="$2" compiler="$3" clang="$4" static="${5:-}"
here="$(cd "$(dirname "$0")" && pwd)"
mkdir -p "$work"
python3 "$here/declarations.py" "$clang" "$prefix/include/dibstream" "$prefix/include" >"$work/every_declaration.cpp"
python3 "$here/c-interface.py" "$clang" "$prefix/include/dibstream.h" --calls >"$work/every_call.c"
echo "$(grep -c '^extern const char' "$work/every_declaration.cpp") declarations"

echo "== through CMake"
cmake -S "$here/outside" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DDECLARATIONS="$work/every_declaration.cpp" >"$work/configure.log"
cmake --build "$work/by-cmake"
"$work/by-cmake/outside"

echo "== through pkg-config"
PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name dibstream.pc)")"
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$compiler" -std=c++17 "$here/outside/main.cpp" "$work/every_declaration.cpp" -o "$work/by-pkg-config" \
    $(pkg-config $static --cflags --libs dibstream)
"$work/by-pkg-config"
# shellcheck disable=SC2046
cc -std=c11 -Wall -Wextra -Werror -pedantic "$work/every_call.c" -o "$work/by-c" $(pkg-config $static --cflags --libs dibstream)
"$work/by-c"

for program in "$work/by-cmake/outside" "$work/by-pkg-config"; do
    shared="$(readelf -d "$program" | grep -c -E 'NEEDED.*lib(dibstream|VexLibs)' || true)"
    if [ "$shared" -ne "$([ -n "$static" ] && echo 0 || echo 2)" ]; then
        echo "$program is linked with $shared of the two shared libraries"
        exit 1
    fi
done
