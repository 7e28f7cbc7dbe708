#!/usr/bin/env bash
# The names that the shared libraries export are exactly those listed in the folder.
# usage: exports.sh LIST_FOLDER LIBRARY...
set -euo pipefail
lists="$1"
shift
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Instantiated templates of the C++ library are weak and have its visibility: they are not part of the interface. All
# other names are, whatever their kind.
standard_template='^_Z(N?K?S[tabsiod]|T[ISV]S[tabsiod]|N?K?9__gnu_cxx)'
# Of DLLs, in the words of the lists. Types that are thrown have a name there whatever their marks.
dllNames() {
    x86_64-w64-mingw32-objdump -p "$@" |
        awk '/\[Ordinal\/Name Pointer\]/ { listed = 1; next } NF == 0 { listed = 0 } listed { print $NF }' |
        c++filt | grep -v '^typeinfo ' |
        sed 's/unsigned long long/unsigned long/g; s/_iobuf/_IO_FILE/g; s/tagBITMAPINFOHEADER/BITMAPINFOHEADER/g'
}
libraryNames() {
    nm -D --defined-only "$@" |
        awk -v standard="$standard_template" 'NF == 3 && !($2 ~ /^[WVu]$/ && $3 ~ standard) { print $3 }' |
        c++filt
}
sed '/^#/d; /^$/d' "$lists"/*.txt | LC_ALL=C sort >"$work/all"
case "$1" in
    *.dll)
        dllNames "$@" | LC_ALL=C sort -u >"$work/exported"
        # The C library has two of them, and types have another form.
        grep -vE '^(_w)?fopen_s\(|^type(info|info name) for ' "$work/all" | LC_ALL=C sort -u >"$work/listed"
        ;;
    *)
        libraryNames "$@" | LC_ALL=C sort -u >"$work/exported"
        # size_t has another name on 32-bit systems.
        size_t='unsigned long'
        ! readelf --file-header "$1" | grep -q 'Class: *ELF32' || size_t='unsigned int'
        sed "s/unsigned long/$size_t/g" "$work/all" | LC_ALL=C sort -u >"$work/listed"
        ;;
esac

failed=0
report() {
    [ -s "$2" ] || return 0
    echo "$1"
    sed 's/^/    /' "$2"
    failed=1
}
LC_ALL=C comm -23 "$work/exported" "$work/listed" >"$work/unlisted"
LC_ALL=C comm -13 "$work/exported" "$work/listed" >"$work/absent"
uniq -d "$work/all" >"$work/twice"
report "Exported, but in no list of $lists (hide it, or list it):" "$work/unlisted"
report "Listed in $lists, but not exported:" "$work/absent"
report "Listed twice:" "$work/twice"
echo "$(wc -l <"$work/exported") names exported"
[ -s "$work/exported" ] || failed=1
exit "$failed"
