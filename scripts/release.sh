#!/usr/bin/env bash
# Makes all that a release consists of from the last commit, checks it, and writes it into one folder with its checksums.
# usage: scripts/release.sh [--only PART,...] [--twice] [FOLDER]     FOLDER is build/dibstream-VERSION when none is named
#   source    source archive
#   debian    Debian packages
#   wheel     wheel and source distribution for Python
#   windows   zip file for 64-bit Windows
#   npm       npm package
#   docs      documents and reference as web pages
#   --twice   makes everything again in another folder, and compares every byte
#
# The other parts are built from the source archive, unpacked in FOLDER.work. The same commit gives the same bytes on the same
# system. What is missing for a part ends the run.
set -euo pipefail
all=(source debian wheel windows npm docs)
parts=()
twice=0
folder=
while [ $# -gt 0 ]; do
    case "$1" in
        --only) IFS=, read -r -a parts <<<"${2:?"--only names parts: ${all[*]}"}"; shift 2 ;;
        --twice) twice=1; shift ;;
        -*) sed -n '3,10s/^# //p' "$0" >&2; exit 2 ;;
        *) folder="$(realpath -m "$1")"; shift ;;
    esac
done
[ ${#parts[@]} -gt 0 ] || parts=("${all[@]}")
for part in "${parts[@]}"; do
    [[ " ${all[*]} " == *" $part "* ]] || { echo "release.sh: $part is none of ${all[*]}" >&2; exit 2; }
done
cd "$(dirname "$0")/.."
version="$(scripts/version.sh)"
name="dibstream-$version"
folder="${folder:-$PWD/build/$name}"
if [ -n "$(ls -A "$folder" 2>/dev/null)" ] && [ ! -e "$folder/SHA256SUMS" ]; then
    echo "release.sh: $folder holds something else than a release" >&2
    exit 2
fi
work="$folder.work"
out="$work/out"
tree="$work/$name"

# Neither the hour nor the folder nor settings of the user go into the files.
unset GZIP TAR_OPTIONS XZ_DEFAULTS XZ_OPT
SOURCE_DATE_EPOCH="$(git log -1 --format=%ct)"
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8
umask 022

# pack ARCHIVE FOLDER NAME: the folder below another name, as a tar.xz.
pack() {
    tar --create --directory="$2" --sort=name --mtime="@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner \
        --mode=u+rw,go=rX --format=gnu --transform="s,^\.,$3," . | xz --threads=1 >"$1"
}

makeSource() {
    git -c tar.umask=0022 archive --format=tar --prefix="$name/" HEAD | xz --threads=1 >"$out/$name-source.tar.xz"
    tar --extract --file="$out/$name-source.tar.xz" --directory="$work"
    # Every file of the commit is in it, and no other.
    diff <(git ls-tree -r --name-only -z HEAD | tr '\0' '\n' | LC_ALL=C sort) \
        <(cd "$tree" && find . -type f -printf '%P\n' -o -type l -printf '%P\n' | LC_ALL=C sort)
    [ "$("$tree/scripts/version.sh")" = "$version" ]
}

# Debug information and assertions would name the folder of the build. The builds for Windows and browsers have neither.
unnamed="-ffile-prefix-map=$work=."

makeDebian() {
    CXXFLAGS="$unnamed" bash "$tree/tests/system/packages.sh" "$tree" "$tree/build/debian" g++ clang++-14 --release
    cp "$tree"/build/debian/packages/*.deb "$out"
}

makeWheel() {
    CXXFLAGS="$unnamed" bash "$tree/tests/system/wheel.sh" "$tree" - "$tree/build/python" /usr/bin/python3
    cp "$tree"/build/python/dist/* "$out"
}

makeWindows() {
    "$tree/scripts/elsewhere.sh" windows package
    cp "$tree"/build/elsewhere/windows/package/packages/*.zip "$out"
}

makeNpm() {
    # The sources of libraries that were downloaded already.
    if [ -e build/web/sources/complete ]; then
        mkdir -p "$tree/build/web/sources"
        tar --create --directory=build/web/sources --exclude=build-web . | tar --extract --directory="$tree/build/web/sources"
    fi
    "$tree/scripts/web.sh"
    bash "$tree/tests/system/npm-package.sh" "$tree" "$tree/build/web/$name.tgz" "$tree/build/npm"
    cp "$tree/build/web/$name.tgz" "$out/$name-npm.tgz"
}

makeDocs() {
    "$tree/scripts/site.sh" "$tree/build/site"
    pack "$out/$name-docs.tar.xz" "$tree/build/site" "$name-docs"
}

wants() { [[ " ${parts[*]} " == *" $1 "* ]]; }

python3 scripts/check-versions.py
[ -z "$(git status --porcelain --untracked-files=no)" ] || echo "release.sh: changes that are not committed are left out" >&2
rm -rf "$work"
mkdir -p "$out"
trap '[ $? = 0 ] || echo "release.sh: $part failed; --only leaves parts out" >&2' EXIT
for part in "${all[@]}"; do
    wants "$part" || [ "$part" = source ] || continue
    echo "== $part ($SECONDS s)"
    "make${part^}"
    # The program of the packages is the one that other parts are compared with.
    [ "$part" != debian ] || export PROGRAM="$tree/build/debian/build"
done
wants source || rm "$out/$name-source.tar.xz"
part="the list of checksums"
(cd "$out" && sha256sum -- * >"$work/SHA256SUMS" && mv "$work/SHA256SUMS" . && sha256sum --check --quiet SHA256SUMS)
rm -rf "$folder"
mv "$out" "$folder"

if [ "$twice" = 1 ]; then
    part="the comparison of two runs"
    again="$folder.second/run"
    env -u PROGRAM bash scripts/release.sh --only "$(IFS=,; echo "${parts[*]}")" "$again"
    for file in "$folder"/*; do
        ! cmp "$file" "$again/${file##*/}" || echo "the same bytes twice: ${file##*/}"
    done
    diff --recursive "$folder" "$again"
fi
echo "The release of $version is in $folder:"
cat "$folder/SHA256SUMS"
