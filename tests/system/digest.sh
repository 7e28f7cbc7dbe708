#!/usr/bin/env bash
# Every operation gives the hash of the list, at every kernel level or those that DIGEST_LEVELS names.
# usage: digest.sh LIST COMMAND...     COMMAND runs the program digest, under an emulator for instance
#
# Formats that other libraries decode are left out: their lines depend on the versions of libpng, libjpeg and libtiff.
# Lines that the regular expression DIGEST_EXCEPT matches are not compared. When a result changes on purpose:
# build/dev/tests/digest --own-formats >tests/digest/list.txt
set -euo pipefail
list="$1"
shift
except="${DIGEST_EXCEPT:-^$}"
folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT

for level in ${DIGEST_LEVELS:-0 1 2}; do
    # Programs for Windows end lines in their own way.
    "$@" --own-formats --level=$level | tr -d '\r' | grep -vE "$except" >"$folder/$level.txt"
    if ! diff <(grep -vE "$except" "$list") "$folder/$level.txt" >"$folder/difference.txt"; then
        echo "kernel level $level differs from $list:"
        head -n 40 "$folder/difference.txt"
        exit 1
    fi
done
