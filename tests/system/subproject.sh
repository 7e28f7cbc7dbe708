#!/usr/bin/env bash
# Another project that adds this tree as a folder gets the libraries, and nothing else of it.
# usage: subproject.sh SOURCE_DIR WORK_DIR COMPILER
set -euo pipefail
source="$1" work="$2" compiler="$3"
rm -rf "$work"
mkdir -p "$work/project"

cat >"$work/project/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.22)
project(Outside LANGUAGES CXX)
add_subdirectory(${TREE} dibstream)
add_executable(outside main.cpp)
target_link_libraries(outside PRIVATE DibStream::dibstream DibStream::VexLibs)
END
cat >"$work/project/main.cpp" <<'END'
#include <DibStream.h>
#include <VexLibs.h>

int main() {
    DibStream dib;
    return dib.Create(3, 2, 8) && VexString(L"wide").size() == 4 ? 0 : 1;
}
END

cmake -S "$work/project" -B "$work/build" -G Ninja -DTREE="$source" -DCMAKE_CXX_COMPILER="$compiler" >"$work/log"
cmake --build "$work/build" --parallel 2
"$work/build/outside"

cmake --build "$work/build" --target help >"$work/targets"
grep -q '^libdibstream.so: \|/libdibstream.so: \|^dibstream: ' "$work/targets"
if grep -E '^(dib|dib_tests|test_support|dibstream_internal|bench_ours|[A-Za-z0-9]*Fuzzer): ' "$work/targets"; then
    echo "these targets do not belong into another project"
    exit 1
fi
[ ! -e "$work/build/CTestTestfile.cmake" ]
if DESTDIR="$work/root" cmake --install "$work/build" 2>/dev/null && [ -n "$(find "$work/root" -type f)" ]; then
    find "$work/root" -type f
    echo "another project's installation must not carry ours unless it sets DIB_INSTALL"
    exit 1
fi
