#!/usr/bin/env bash
# The built library still has the binary interface that C programs were compiled with: abidiff compares it with the
# stored dump, c/interface.abi. Additions pass.
# usage: abi.sh FOLDER LIBRARY     FOLDER holds interface.abi; 77 when the library has no debug information
#
# When the interface grows: c-interface.py CLANG c/include/dibstream.h --definitions >all.c
# gcc -std=c11 -g -shared -fPIC -Ic/include -Wl,-soname,libdibstream.so.0 all.c -o all.so
# abidw --no-corpus-path --no-comp-dir-path --no-show-locs --drop-private-types --out-file c/interface.abi all.so
set -euo pipefail
dump="$1/interface.abi"
library="$2"
here="$(dirname "$0")"
folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT

readelf --section-headers --wide "$library" | grep -q debug_info || exit 77

compare() { abidiff --no-added-syms --suppressions "$here/abi.suppressions" "$1" "$library"; }

compare "$dump"
# The check can fail: a library without one of the functions is refused.
sed "s/'dib_version'/'dib_version_of_old'/" "$dump" >"$folder/other.abi"
if compare "$folder/other.abi" >"$folder/report.txt"; then
    echo "a function that the library lacks was not missed"
    exit 1
fi
grep -q "dib_version_of_old" "$folder/report.txt"
