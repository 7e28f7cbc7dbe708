#!/usr/bin/env bash
# Builds the library for another kind of machine and runs it there under an emulator: the digest of every operation,
# with "suite" the tests that can run under it, with "smoke" the digest and the quick ones of these tests, and for Windows
# with "tool" the program dib beside the one of this machine, with "package" the zip file and a program built against it.
# usage: scripts/elsewhere.sh arm64|i386|windows [digest|suite|smoke|tool|package]
#
# The libraries of the other machine are unpacked into build/elsewhere/<target>/root. The package database of this
# machine learns nothing of them. JOBS is the number of compilers that run at once. PROGRAM is a folder in which the program
# of this machine was built; without it the preset dev builds one.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:?usage: elsewhere.sh arm64|i386|windows [digest|suite|smoke|tool|package]}"
what="${2:-digest}"
libraries=(libdeflate-dev libgtest-dev libjpeg62-turbo-dev libpng-dev libtiff-dev nlohmann-json3-dev zlib1g-dev)
case "$target" in
    arm64) triplet=aarch64-linux-gnu emulator=qemu-aarch64-static libraries+=(libisal-dev) ;;
    i386)
        triplet=i386-linux-gnu emulator=qemu-i386-static
        # One damaged header announces a picture of 1.2 GB, for which 32 bits of addresses may have no room.
        export DIGEST_EXCEPT='load damaged tim 8 '
        ;;
    windows)
        triplet=none
        # Every level of kernels runs under Wine, as it is no emulator. Its C library has a rand() of its own.
        export DIGEST_LEVELS="0 1 2" DIGEST_EXCEPT=' rand '
        ;;
    *) echo "elsewhere.sh: no target is named $target" >&2; exit 2 ;;
esac
top="$PWD/build/elsewhere/$target"
root="$top/root"

jobs="${JOBS:-$(nproc)}"

# Libraries that consist of headers serve every machine.
copyHeaders() {
    mkdir -p "$root/share/cmake" "$root/include"
    cp -r /usr/include/{nlohmann,CLI} "$root/include/"
    cp -r /usr/share/cmake/{nlohmann_json,CLI11} "$root/share/cmake/"
}

# Downloads the packages for the target with everything that they need, the C library included, and unpacks them.
unpackLibraries() {
    rm -rf "$root" "$top/apt"
    mkdir -p "$root" "$top"/apt/{state/lists/partial,cache/archives/partial}
    touch "$top/apt/status"
    local apt=(apt-get -qq -o "APT::Architecture=$target" -o "APT::Architectures::=$target" -o "Dir::State=$top/apt/state"
        -o "Dir::State::status=$top/apt/status" -o "Dir::Cache=$top/apt/cache" -o Debug::NoLocking=1
        -o APT::Sandbox::User=root)
    "${apt[@]}" update || true  # one index that fails is no harm while the packages are found
    "${apt[@]}" install --yes --download-only --no-install-recommends "${libraries[@]}" >/dev/null ||
        return 1
    local package
    for package in "$top"/apt/cache/archives/*.deb; do
        case "${package##*/}" in
            # The cross compiler has headers of the C and C++ libraries that fit it.
            libc6-dev_* | libstdc++-*-dev_* | linux-libc-dev_* | libcrypt-dev_* | libgcc-*-dev_* | gcc-* | cpp-* | g++-*) ;;
            *) dpkg-deb --extract "$package" "$root" || return 1 ;;
        esac
    done
    # Links to the top of the file system lead to the top of the root.
    local link
    find "$root" -type l -lname '/*' | while read -r link; do ln -sfn "$root$(readlink "$link")" "$link"; done
    touch "$root/complete"
}

# Changes are also tested where nothing can be downloaded.
skip() {
    echo "elsewhere.sh: $target SKIPPED: $1, and no package index can be reached"
    exit 0
}
if [ "$what" = smoke ] && ! scripts/install-packages.sh --possible build test arm64 elsewhere; then
    skip "packages are missing"
fi
scripts/install-packages.sh build test arm64 elsewhere
if [ "$target" = windows ]; then
    copyHeaders
elif [ ! -e "$root/complete" ] && ! unpackLibraries; then
    [ "$what" = smoke ] && ! scripts/install-packages.sh --reachable && skip "its libraries are missing"
    echo "elsewhere.sh: the libraries for $target cannot be unpacked into $root" >&2
    exit 1
fi
command -v ccache >/dev/null && export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}"
export PKG_CONFIG_SYSROOT_DIR="$root" PKG_CONFIG_LIBDIR="$root/usr/lib/$triplet/pkgconfig:$root/usr/share/pkgconfig"
cmake --preset "$target"
build() { cmake --build --preset "$target" --parallel "$jobs" "$@"; }
runDigest() {
    # Only x86-64 has kernels above the plain ones.
    export DIGEST_LEVELS="${DIGEST_LEVELS:-0}"
    local run=("${emulator:-}" -L "$root" "$PWD/build/$target/tests/digest")
    [ "$target" != windows ] || run=(scripts/wine.sh "$PWD/build/$target/bin/digest.exe")
    bash tests/system/digest.sh tests/digest/list.txt "${run[@]}"
}

case "$what" in
    digest)
        build --target digest
        runDigest
        ;;
    suite)
        build
        ctest --preset "$target" --parallel "$jobs"
        ;;
    smoke)
        build --target digest vexlibs_tests files_tests dib_tests geometry_tests c_tests threads_test
        runDigest
        ctest --preset "$target" --parallel "$jobs" -R '^(vexlibs|files|dib|geometry|c)_tests$|^system.threads$'
        ;;
    tool | package)
        [ "$target" = windows ] || { echo "elsewhere.sh: $what is for windows" >&2; exit 2; }
        build --target dibstream dib plugin_dds
        # What it writes is compared with what the same sources write here.
        program="$(realpath "${PROGRAM:-build/dev}")"
        if [ -z "${PROGRAM:-}" ]; then
            env -u PKG_CONFIG_SYSROOT_DIR -u PKG_CONFIG_LIBDIR cmake --preset dev
            cmake --build --preset dev --parallel "$jobs" --target dib make_sample_picture
        fi
        bash "tests/system/windows-$what.sh" "$PWD" "$PWD/build/$target" "$program" "$top/$what"
        ;;
    *) echo "elsewhere.sh: $what is not digest, suite, smoke, tool or package" >&2; exit 2 ;;
esac
