#!/usr/bin/env bash
# Installs into a scratch prefix, builds and runs the examples against it, and links all that is declared there.
# usage: install.sh BUILD_DIR SOURCE_DIR WORK_DIR COMPILER CLANG
set -euo pipefail
build="$1" source="$2" work="$3" compiler="$4" clang="$5"
rm -rf "$work"
mkdir -p "$work"
prefix="$work/build/demo/prefix"
cmake --install "$build" --prefix "$prefix" >"$work/install.log"

bash "$(dirname "$0")/examples.sh" "$prefix" "$source" "$work" "$compiler"
bash "$(dirname "$0")/outside.sh" "$prefix" "$work/outside" "$compiler" "$clang"

echo "== as the README says"
# The scratch folder is laid out as scripts/demo.sh leaves the tree.
grep -F -- '--prefix build/demo/prefix' "$source/scripts/demo.sh" >/dev/null
mkdir -p "$work/demo-out"
cp "$work/picture.bmp" "$work/demo-out/sample.bmp"
awk '/with pkg-config/ { here = 1 } /^```/ { if (inside) exit; inside = here; next } inside' "$source/README.md" \
    >"$work/readme.sh"
grep -F 'pkg-config --cflags --libs dibstream' "$work/readme.sh" >/dev/null
(cd "$work" && env -u LD_LIBRARY_PATH -u PKG_CONFIG_PATH bash -euxo pipefail readme.sh)
[ "$(od -An -tu1 -j28 -N1 "$work/photo8.bmp" | tr -d ' ')" = 8 ]

# The SONAME has the major version only.
PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name dibstream.pc)")"
export PKG_CONFIG_PATH
major="$(pkg-config --modversion dibstream | cut -d. -f1)"
for library in libdibstream libVexLibs; do
    objdump -p "$(pkg-config --variable=libdir dibstream)/$library.so" | grep "SONAME *$library.so.$major\$" >/dev/null
done

# pkg-config and the CMake package name the folder of the plug-ins.
plugins="$(pkg-config --variable=plugindir dibstream)"
cmake -E make_directory "$plugins" "$work/plugin-folder"
cat >"$work/plugin-folder/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.22)
project(PluginFolder LANGUAGES NONE)
find_package(DibStream CONFIG REQUIRED)
file(WRITE ${CMAKE_BINARY_DIR}/folder.txt "${DibStream_PLUGIN_DIR}")
END
cmake -S "$work/plugin-folder" -B "$work/plugin-folder/build" -DCMAKE_PREFIX_PATH="$prefix" >>"$work/configure.log"
[ "$(cat "$work/plugin-folder/build/folder.txt")" -ef "$plugins" ]

# The installed program finds the plug-ins that are installed with it.
if [ -n "$(find "$build" -path '*/dibstream/plugins/vexlibdds.bundle')" ]; then
    echo "== a plug-in"
    "$prefix/bin/dib" run "$source/fuzz/seeds/dds/rgb24.dds" "$work/from-plugin.bmp"
    [ "$(head -c 2 "$work/from-plugin.bmp")" = BM ]
fi
