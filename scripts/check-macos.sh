#!/usr/bin/env bash
# Checks the syntax of every source that a Mac builds, for arm64 macOS, by Debian's Clang. The headers of the C and C++
# libraries are those of Debian's cross compiler for arm64, the frameworks are the declarations of tests/fakes. It shows
# that the sources are well-formed for that target, its sizes and its predefined macros; it links and runs nothing.
# usage: scripts/check-macos.sh [--latest N | FILE...]     every source when none is named, or those of the Mac alone and the
#     N others whose last change is youngest; JOBS is the number of compilers that run at once
set -euo pipefail
cd "$(dirname "$0")/.."
libraries=/usr/aarch64-linux-gnu/include
if [ "${1:-}" = --latest ] && ! scripts/install-packages.sh --possible test arm64; then
    # Changes are also tested where nothing can be downloaded.
    echo "check-macos.sh: SKIPPED: packages are missing, and no package index can be reached"
    exit 0
fi
[ -d "$libraries/c++" ] || scripts/install-packages.sh test arm64

latest=0
if [ "${1:-}" = --latest ]; then
    latest="$2"
    shift 2
fi
files=("$@")
if [ ${#files[@]} -eq 0 ]; then
    mapfile -t files < <(git ls-files 'vexlibs/*.cpp' 'c/*.cpp' 'dib/*.cpp' 'geometry/*.cpp' 'effects/*.cpp' 'files/*.cpp' \
        'formats/*.cpp' 'formats/mac/*.mm' 'operations/*.cpp' 'plugins/dds/*.cpp' | grep -vE '/(linux|windows)/|/Freetype.cpp$|/zlib/Inflater.cpp$')
fi
if [ "$latest" -gt 0 ]; then
    # The history names changed files, the youngest change first.
    mapfile -t files < <(printf '%s\n' "${files[@]}" | grep /mac/
        git log --format= --name-only | awk 'NR == FNR { known[$0]; next } $0 in known && !seen[$0]++' \
            <(printf '%s\n' "${files[@]}" | grep -v /mac/) - | head -n "$latest")
fi
flags=(--target=arm64-apple-macos13 -fsyntax-only -std=c++20 -nostdinc++ -Wall -Wextra -Wconversion -Wshadow -Werror
    -U__nonnull    # the target's word for pointers, a macro of the C library's headers
    -D_GNU_SOURCE  # whose functions those of the C++ library call
    "-DDIB_PROJECT_VERSION=\"$(scripts/version.sh)\""
    -isystem "$(echo "$libraries"/c++/*)" -isystem "$(echo "$libraries"/c++/*/aarch64-linux-gnu)" -isystem "$libraries"
    -I. -Iinclude -Ivexlibs/include -Ic/include -isystem tests/fakes)
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "${JOBS:-$(nproc)}" clang++-14 "${flags[@]}"
echo "${#files[@]} sources are well-formed for arm64 macOS"
