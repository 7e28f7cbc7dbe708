#!/usr/bin/env bash
# Another project that adds this tree as a folder gets the libraries, and nothing else of it. It may ask for static ones,
# and install them.
# usage: subproject.sh SOURCE_DIR WORK_DIR COMPILER CLANG BUILD_TYPE
set -euo pipefail
source="$1" work="$2" compiler="$3" clang="$4" build_type="$5"
here="$(cd "$(dirname "$0")" && pwd)"
rm -rf "$work"
mkdir -p "$work"
python3 "$here/declarations.py" "$clang" "$source/include" "$source/vexlibs/include" \
    "$source/c/include" >"$work/every_declaration.cpp"

# build FOLDER OPTION...: the outside program with the tree inside it. With the options of the build that is tested, a
# compiler cache has the objects.
build() {
    local folder="$work/$1"
    shift
    cmake -S "$here/outside" -B "$folder" -G Ninja -DTREE="$source" -DDECLARATIONS="$work/every_declaration.cpp" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE="$build_type" -DDIB_WARNINGS_AS_ERRORS=ON "$@" >"$folder.log"
    cmake --build "$folder" --parallel 2
    "$folder/outside"
}

echo "== shared"
build shared
cmake --build "$work/shared" --target help >"$work/targets"
grep -q '^libdibstream.so: \|/libdibstream.so: \|^dibstream: ' "$work/targets"
if grep -E '^(dib|dib_tests|test_support|dibstream_internal|bench_ours|[A-Za-z0-9]*Fuzzer): ' "$work/targets"; then
    echo "these targets do not belong in another project"
    exit 1
fi
[ ! -e "$work/shared/CTestTestfile.cmake" ]
if DESTDIR="$work/root" cmake --install "$work/shared" 2>/dev/null && [ -n "$(find "$work/root" -type f)" ]; then
    find "$work/root" -type f
    echo "another project's installation must not carry ours unless it sets DIB_INSTALL"
    exit 1
fi

echo "== static"
build static -DBUILD_SHARED_LIBS=OFF -DDIB_INSTALL=ON
cmake --install "$work/static" --prefix "$work/prefix" >"$work/install.log"
if find "$work/prefix" -name '*.so*' | grep .; then
    echo "a static build installed shared libraries"
    exit 1
fi
bash "$here/outside.sh" "$work/prefix" "$work/outside" "$compiler" "$clang" --static
