#!/usr/bin/env bash
# Installs into a scratch prefix, and builds and runs the examples against it.
# usage: install.sh BUILD_DIR SOURCE_DIR WORK_DIR COMPILER
set -euo pipefail
build="$1" source="$2" work="$3" compiler="$4"
rm -rf "$work"
mkdir -p "$work"
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >"$work/install.log"

bash "$(dirname "$0")/examples.sh" "$prefix" "$source" "$work" "$compiler"

# The major version alone names the binary interface.
PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name dibstream.pc)")"
export PKG_CONFIG_PATH
major="$(pkg-config --modversion dibstream | cut -d. -f1)"
for library in libdibstream libVexLibs; do
    objdump -p "$(pkg-config --variable=libdir dibstream)/$library.so" | grep "SONAME *$library.so.$major\$" >/dev/null
done
