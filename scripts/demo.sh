#!/usr/bin/env bash
# Builds the program, makes the sample picture and shows what the library does with it.
# usage: scripts/demo.sh [FOLDER]     pictures go to demo-out/ when none is named
set -euo pipefail
invoked_from="$PWD"
cd "$(dirname "$0")/.."
out="demo-out"
[ $# -eq 0 ] || out="$(realpath -m "$invoked_from/$1")"

# quietly COMMAND...: shows what a command said only when it fails.
quietly() {
    local said
    said="$("$@" 2>&1)" || { printf '%s\n' "$said" >&2; exit 1; }
}

scripts/install-packages.sh build
echo "Building"
# Only what is shown is built, and a newer compiler's new warning does not stop the show.
quietly cmake --preset release -B build/demo \
    -DDIB_BUILD_TESTS=OFF -DDIB_BUILD_BENCHES=OFF -DDIB_WARNINGS_AS_ERRORS=OFF
quietly cmake --build build/demo --target dib make_sample_picture
dib=build/demo/tools/dib

mkdir -p "$out"
sample="$out/sample.bmp"
echo "Making the sample picture"
build/demo/tools/make_sample_picture 960 720 "$sample"
build/demo/tools/make_sample_picture 960 720 "$out/sample-with-alpha.bmp" --bits=32

made=("$sample" "$out/sample-with-alpha.bmp")
# show NAME TEXT OPERATION...: takes the sample picture through the operations.
show() {
    local picture="$out/$1.bmp" text="$2"
    shift 2
    printf '%-46s dib run %s\n' "$text" "$sample $* $picture"
    "$dib" run "$sample" "$@" "$picture"
    made+=("$picture")
}

show palette "256 colours of the picture's own" bpp:8,method=median
show palette-16 "16 colours of the picture's own" bpp:4,method=median
show dithered "Ordered dither to a fixed colour cube" bpp:8,method=dither
show grey "256 levels of grey" bpp:8,method=grey
show grey-16 "16 levels of grey" bpp:4,method=grey
show black-and-white "Error diffusion to black and white" bpp:1
show high-color "15 bits, what is cut off carried on" bpp:16,method=dither

echo "As a filter"
"$dib" run - bpp:8,method=median bpp:1 - <"$sample" >"$out/filtered.bmp"
made+=("$out/filtered.bmp")

echo
"$dib" info "${made[@]}"
echo
echo "The pictures are in $out"
