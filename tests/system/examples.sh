#!/usr/bin/env bash
# Builds and runs the examples as an outside project, through the CMake package and through pkg-config of what is
# installed under a prefix.
# usage: examples.sh PREFIX SOURCE_DIR WORK_DIR COMPILER
set -euo pipefail
prefix="$1" source="$2" work="$3" compiler="$4"

# A copy, so that the examples cannot use other files of the tree.
cp -r "$source/examples" "$work/examples"

# A picture of 4 x 2 pixels and 24 bits.
input="$work/picture.bmp"
printf 'BM\x4e\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\4\0\0\0\2\0\0\0\1\0\x18\0\0\0\0\0\x18\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0' >"$input"
printf '\1\2\3\x20\x30\x40\xff\0\0\0\xff\0\0\0\xff\x80\x80\x80\xff\xff\xff\0\0\0' >>"$input"

# Every example turns the picture named first into the one named second.
run() {
    local output="$2.bmp"
    "$1" "$input" "$output"
    [ "$(head -c 2 "$output")" = BM ]
    if [ "$(basename "$1")" = first_program ]; then
        [ "$(od -An -tu1 -j28 -N1 "$output" | tr -d ' ')" = 8 ]
    fi
}
examples() { ls "$work"/examples/*/main.{c,cpp}; }

echo "== through CMake"
cmake -S "$work/examples" -B "$work/by-cmake" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" -DPICTURE="$input" >"$work/configure.log"
grep "DibStream_DIR:PATH=$prefix/" "$work/by-cmake/CMakeCache.txt"
cmake --build "$work/by-cmake"
ctest --test-dir "$work/by-cmake" --output-on-failure --no-tests=error
for main in $(examples); do
    program="$work/by-cmake/$(basename "$(dirname "$main")")"
    run "$program" "$program-output"
done

echo "== through pkg-config"
PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name dibstream.pc)")"
export PKG_CONFIG_PATH
mkdir -p "$work/by-pkg-config"
for main in $(examples); do
    program="$work/by-pkg-config/$(basename "$(dirname "$main")")"
    case "$main" in
        *.c) compile=(cc -std=c11 -pedantic) ;;
        *) compile=("$compiler" -std=c++17) ;;
    esac
    # shellcheck disable=SC2046
    "${compile[@]}" -Wall -Wextra -Werror "$main" -o "$program" $(pkg-config --cflags --libs dibstream)
    run "$program" "$program-output"
done
