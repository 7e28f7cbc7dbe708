#!/usr/bin/env bash
# Builds the program and makes the gallery of the sample picture: every operation, on one page.
# usage: scripts/gallery.sh [FOLDER]     a new folder; gallery-out/ when none is named
#        scripts/gallery.sh --update     also updates docs/gallery.jpg, the contact sheet of the README
set -euo pipefail
folder="$(realpath -m -- "${1:-.}")"
cd "$(dirname "$0")/.."
sheet=""
out="gallery-out"
if [ "${1:-}" = --update ]; then
    sheet="docs/gallery.jpg"
    out="build/gallery"
    rm -rf "$out"
elif [ $# -gt 0 ]; then
    out="$folder"
fi

scripts/install-packages.sh build
cmake --preset release -B build/demo \
    -DDIB_BUILD_TESTS=OFF -DDIB_BUILD_BENCHES=OFF -DDIB_WARNINGS_AS_ERRORS=OFF >/dev/null
cmake --build build/demo --target dib make_sample_picture >/dev/null

build/demo/scripts/make_sample_picture 960 720 build/demo/sample.bmp
build/demo/tools/dib gallery build/demo/sample.bmp "$out"
echo "The gallery is $out/index.html"
if [ -n "$sheet" ]; then
    cp "$out/contact-sheet.jpg" "$sheet"
    echo "The contact sheet is $sheet"
fi
