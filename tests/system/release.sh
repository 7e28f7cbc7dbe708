#!/usr/bin/env bash
# The source archive of a release holds the commit and nothing else, and has the same bytes wherever it is made.
# usage: release.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source="$1" work="$2"
git -C "$source" rev-parse --quiet --verify HEAD >/dev/null || { echo "the tree is not a clone"; exit 77; }
rm -rf "$work"
mkdir -p "$work"

# What a working folder holds besides the commit is left out.
git clone --quiet --no-local --depth 1 "file://$source" "$work/clone"
mkdir "$work/clone/build"
touch "$work/clone/build/object.o" "$work/clone/notes.txt" "$work/clone/dib/Untracked.cpp"
echo "// changed" >>"$work/clone/dib/Numbers.h"
(cd "$work/clone" && bash scripts/release.sh --only source --twice "$work/out")

version="$("$source/scripts/version.sh")"
archive="$work/out/dibstream-$version-source.tar.xz"
[ "$(cd "$work/out" && echo *)" = "SHA256SUMS dibstream-$version-source.tar.xz" ]
tar --list --file="$archive" >"$work/list.txt"
for file in CMakeLists.txt README.md include/DibStream.h scripts/release.sh fuzz/seeds/dds/rgb24.dds; do
    grep -Fx "dibstream-$version/$file" "$work/list.txt" >/dev/null
done
if grep -vE "^dibstream-$version/" "$work/list.txt" || grep -E '/build/|/\.git/|Untracked|notes\.txt' "$work/list.txt"; then
    echo "the archive holds what is not of the commit"
    exit 1
fi
tar --extract --to-stdout --file="$archive" "dibstream-$version/dib/Numbers.h" | cmp - <(git -C "$source" show HEAD:dib/Numbers.h)

# A folder that holds other things is not replaced.
mkdir "$work/other"
touch "$work/other/file"
if bash "$work/clone/scripts/release.sh" --only source "$work/other"; then exit 1; fi
[ -e "$work/other/file" ]
