#!/usr/bin/env bash
# Builds and installs the library, makes the sample picture and shows what the library does with it.
# usage: scripts/demo.sh [FOLDER]     pictures go to demo-out/ when none is named
set -euo pipefail
out="demo-out"
[ $# -eq 0 ] || out="$(realpath -m "$1")"  # before the working directory changes
cd "$(dirname "$0")/.."

# quietly COMMAND...: shows the output of a command only when it fails.
quietly() {
    local said
    said="$("$@" 2>&1)" || { printf '%s\n' "$said" >&2; exit 1; }
}

scripts/install-packages.sh build
echo "Building"
# Without tests and benches; warnings of newer compilers are not errors here.
quietly cmake --preset release -B build/demo \
    -DDIB_BUILD_TESTS=OFF -DDIB_BUILD_BENCHES=OFF -DDIB_BUILD_PYTHON=OFF -DDIB_WARNINGS_AS_ERRORS=OFF
quietly cmake --build build/demo
# The examples are built like an application, against the installed library.
quietly cmake --install build/demo --prefix build/demo/prefix
quietly cmake -S examples -B build/demo/examples -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$PWD/build/demo/prefix"
quietly cmake --build build/demo/examples
dib=build/demo/prefix/bin/dib

mkdir -p "$out"
sample="$out/sample.bmp"
echo "Making the sample picture"
build/demo/scripts/make_sample_picture 960 720 "$sample"
build/demo/scripts/make_sample_picture 960 720 "$out/sample-with-alpha.bmp" --bits=32
made=("$sample")

echo "Taking it through the operations"
# show NAME TEXT OPERATION...: takes the sample picture through the operations.
show() {
    local picture="$out/$1.bmp" text="$2"
    shift 2
    "$dib" run "$sample" "$@" "$picture"
    made+=("$picture")
    printf '%3d  %-40s dib run %s\n' ${#made[@]} "$text" "$sample $* $picture"
}
printf '%3d  %-40s %s\n' 1 "The sample picture" "make_sample_picture 960 720 $sample"

show palette "16 colours of the picture's own" bpp:4,method=median
show dithered "Ordered dither to a cube of 216 colours" bpp:8,method=dither
show black-and-white "Error diffusion to black and white" resize:50%,filter=area bpp:1
show rotate "Turned, repeating beyond the edges" rotate:25,wrap=xy
show ripple "Rings about the middle" ripple:60,5deg
show wave "Parallel waves" wave:90,12,direction=30
show whirl "Twisted about a point" whirl:0.3
show gaussian "A Gaussian blur" gaussian:24
show motion-blur "As a moving camera sees it" motion-blur:60,angle=20
show maximum "The brightest pixel around each" max:8
show emboss "A relief" emboss:2,distance=2,angle=45
show edge "Edges, darkened" edge reverse
show mosaic "Blocks of 16 pixels" mosaic:16
show sepia-noise "Pulled towards a colour by chance" color-noise:#c08040,60%,seed=1
show enlarged "A detail, four times as large" crop:420,300,160x120 resize:400%

sheet="$out/contact-sheet.png"
build/demo/examples/contact_sheet "${made[@]}" "$sheet"

echo
echo "As a filter, and a first program against the installed library"
"$dib" run - bpp:8,method=median bpp:1 - <"$sample" >"$out/filtered.bmp"
build/demo/examples/first_program "$sample" "$out/first-program.bmp"
"$dib" info "$out"/{sample,sample-with-alpha,filtered,first-program}.bmp

echo
echo "All pictures on one sheet, in the order above, are $sheet; each one is in $out"
