#!/usr/bin/env bash
# The program dib for Windows prints, writes and returns what the one of this machine does, and Ctrl-C cancels it.
# usage: windows-tool.sh SOURCE WINDOWS_BUILD NATIVE_BUILD WORK
set -euo pipefail
source="$1" build="$2" native="$3" work="$4"
here="$native/tools/dib"
sample="$(find "$native" -name make_sample_picture -type f | head -n 1)"
there=("$source/scripts/wine.sh" "$build/bin/dib.exe")
rm -rf "$work"
mkdir -p "$work"
cd "$work"
failed=0
jobs=0

# Runs the same command in two folders, each with its own copy of the pictures.
both() {
    jobs=$((jobs + 1))
    (cd here && "$here" "$@" <../input >../out.here 2>../errors.here) && hereCode=0 || hereCode=$?
    (cd there && "${there[@]}" "$@" <../input >../out.there 2>../errors.there) && thereCode=0 || thereCode=$?
    # Paths are written in the system's own way, and seconds are those of the run.
    for text in errors.here errors.there; do tr '\\' '/' <"$text" >"$text.plain"; done
    if [ "$1" = each ]; then
        for text in out.here out.there; do sed -i 's/  *[0-9]*\.[0-9]*  / S /; s/\\/\//g' "$text"; done
    fi
    if [ "$hereCode" = "$thereCode" ] && cmp -s out.here out.there && diff errors.here.plain errors.there.plain >errors.diff &&
        diff -r here there >folders.diff; then
        return 0
    fi
    failed=$((failed + 1))
    echo "dib $*: codes $hereCode and $thereCode"
    head -n 5 errors.diff folders.diff 2>/dev/null || true
    cmp out.here out.there || true
    rm -rf there && cp -r here there
}

mkdir here
"$sample" 120 90 here/photo.bmp
"$here" run here/photo.bmp colors:16 here/few.bmp
mkdir -p "here/in/ä ö" here/in/b
cp here/photo.bmp "here/in/ä ö/a b.bmp"
cp here/few.bmp here/in/b/c.bmp
cp -r here there
: >input

both --version
both ops
both ops --json
both help gaussian
both completion bash
for operation in gaussian:4 rotate:30,grow turn:90 resize:50% colors:8 text:Hallo 'levels:10,200' unsharp; do
    both run photo.bmp "$operation" result.bmp
done
for format in bmp tga ppm pgm pam pfm tim iff hdr psd; do
    both run few.bmp "few.$format"
    both info few.$format --json
done
both run in/../photo.bmp overlay:few.bmp,at=center grey both.tga
both run photo.bmp gaussian:4 --to tga -
both run photo.bmp gaussian:300 no.bmp
both run absent.bmp no.bmp
both run photo.bmp no/such/folder/x.bmp
both run photo.bmp --no-clobber few.bmp
both run photo.bmp nosuchthing no.bmp
both compare photo.bmp result.bmp
both compare photo.bmp photo.bmp
both palette few.bmp few.gpl
both run photo.bmp remap:few.gpl remapped.bmp
both each 'in/**/*.bmp' resize:40x 'out/{folder}/{number}-{name}.tga'
both each 'in/**/*.bmp' resize:40x 'out/{name}.tga' --resume
both each 'in/**/*.bmp' grey 'out/same.tga'
both montage 'in/**/*.bmp' sheet.bmp
both gallery photo.bmp pages --only gaussian
cp here/few.tga input
both run - turn:180 - --to bmp
both info - --json

# A chain that would take minutes is cancelled as on other systems.
longChain() { for _ in $(seq 400); do printf ' bpp:8,method=median bpp:24'; done; }
"$sample" 800 600 long.bmp
x86_64-w64-mingw32-g++-posix -std=c++20 -static -o windows-ctrl-c.exe "$source/tests/system/windows-ctrl-c.cpp"
tool="Z:$(tr / '\\' <<<"$build")\\bin\\dib.exe"
for key in c break; do
    jobs=$((jobs + 1))
    rm -rf cancelled && mkdir cancelled
    echo old >cancelled/out.bmp
    code=0
    (cd cancelled && "$source/scripts/wine.sh" ../windows-ctrl-c.exe "$key" \
        "$tool run --progress=always ../long.bmp$(longChain) out.bmp" 2>../errors.there) || code=$?
    if [ "$code" = 130 ] && grep -q 'dib: cancelled' errors.there && [ "$(ls cancelled)" = out.bmp ] &&
        [ "$(cat cancelled/out.bmp)" = old ]; then
        continue
    fi
    failed=$((failed + 1))
    echo "Ctrl-$key: code $code"
    tail -c 200 errors.there
done
echo "$jobs commands, $failed differ"
[ "$failed" = 0 ]
