#!/usr/bin/env bash
# The program, a program in C and the Python package, as they are, with a library whose table has one more row: the row must
# be everywhere.
# usage: pretend.sh DIB LIBRARY MAKE_SAMPLE_PICTURE C_PROGRAM WORK_DIR [PYTHON...]
set -euo pipefail
dib="$1" library="$2" make_sample_picture="$3" in_c="$4" work="$5"
shift 5
in_python=("$@")
rm -rf "$work"
mkdir -p "$work"
cd "$work"
"$make_sample_picture" 64 48 in.bmp

with() { LD_PRELOAD="$library" "$dib" "$@"; }
failed=0
# found WHERE TEXT COMMAND...: the output of a command must contain a text.
found() {
    local where="$1" text="$2"
    shift 2
    if "$@" >output.txt && grep -qF -- "$text" output.txt; then
        echo "found in $where"
    else
        echo "missing in $where: $text"
        failed=1
    fi
}

# The library of the build has no such row.
if "$dib" help pretend >/dev/null 2>&1; then
    echo "the plain library has the row"
    exit 1
fi
usage='pretend:AMOUNT[,mode=light|dark]'
found list "$usage" with ops
found help 'how much to pretend (px, 1 to 9)' with help pretend
found "help of run" "$usage" with run --help
found "completion of names" $'pretend:\tPretends to change the picture.' with __complete run in.bmp pret
found "completion of values" $'pretend:3,mode=dark\tas at night' with __complete run in.bmp pretend:3,mode=
found "man page" '.SS pretend:AMOUNT' with man
found JSON '"synopsis": "pretend:AMOUNT[,mode=light|dark]"' with ops --json
with gallery in.bmp gallery --side=240
found gallery 'dib run in.bmp <b>pretend:3,mode=dark</b> out.bmp' cat gallery/index.html
found "gallery's calls" 'pretend(image, 3, kDark);' cat gallery/index.html
found "gallery's pictures" PNG cat gallery/pictures/pretend-2.png
with run in.bmp pretend:3 out.bmp
with run in.bmp invert inverted.bmp
found "what it does" same bash -c 'cmp out.bmp inverted.bmp && echo same'
with run in.bmp pretned:3 out.bmp 2>errors.txt || true
found suggestions "did you mean 'pretend'?" cat errors.txt
with run in.bmp pretend:10 out.bmp 2>errors.txt || true
found "its range" "pretend: amount: '10' is outside 1 to 9" cat errors.txt

if "$in_c" pretend invert 2>/dev/null; then
    echo "the plain library has the row in C"
    exit 1
fi
in_c() { LD_PRELOAD="$library" "$in_c" "$@"; }
found "C: help" 'how much to pretend (px, 1 to 9)' in_c pretend pretend:3
found "C: list" pretend in_c reverse invert
found "C: what it does" 'first byte 255' in_c pretend pretend:3,mode=dark
in_c pretend pretend:10 2>errors.txt || true
found "C: its range" "pretend: amount: '10' is outside 1 to 9" cat errors.txt

if [ ${#in_python[@]} -gt 0 ]; then
    in_python() { "${in_python[@]}" "$@"; }
    if in_python -c 'import dibstream; dibstream.Image.pretend' 2>/dev/null; then
        echo "the plain library has the row in Python"
        exit 1
    fi
    export LD_PRELOAD="$library"
    found "Python: methods" 255 in_python -c 'import dibstream
print(memoryview(dibstream.new(4, 2).pretend(3, mode="dark").apply("flip-storage")).tolist()[0][0][0])'
    found "Python: signatures" "(self, amount, mode='light', *, progress=None)" in_python -c 'import dibstream, inspect
print(inspect.signature(dibstream.Image.pretend))'
    found "Python: texts" 'amount: how much to pretend (px, 1 to 9)' in_python -c 'import dibstream
print(dibstream.Image.pretend.__doc__)'
    found "Python: list" pretend in_python -c 'import dibstream
print([row["name"] for row in dibstream.operations()])'
    found "Python: its range" '1.0, 9.0' in_python -c 'import dibstream
try: dibstream.new(4, 2).pretend(10)
except ValueError as error: print(error.range)'
    found "Python: types" "def pretend(self, amount: int, mode: Literal['light', 'dark'] = 'light', *," in_python -m dibstream._stubs
fi
exit "$failed"
