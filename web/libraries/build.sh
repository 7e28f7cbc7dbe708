#!/usr/bin/env bash
# Builds the libraries of the codecs and of fonts for the web, from Debian's source packages, into build/web/root.
# usage: web/libraries/build.sh
set -euo pipefail
cd "$(dirname "$0")/../.."
source web/environment.sh
top="$PWD/build/web"
root="$top/root"
toolchain="$PWD/cmake/toolchains/web.cmake"
packages=(freetype giflib libdeflate libjpeg-turbo libpng1.6 libwebp tiff zlib)

# An index of source packages of its own: that of the machine may have none, and learns nothing.
download() {
    rm -rf "$top/sources" "$top/apt"
    mkdir -p "$top/sources" "$top"/apt/{state/lists/partial,cache/archives/partial}
    touch "$top/apt/status"
    local place
    place="$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Identifier: Packages' 'Origin: Debian' |
        grep -m 1 ' bookworm main$')"
    echo "deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $place" >"$top/apt/sources.list"
    local apt=(apt-get -qq -o "Dir::Etc::sourcelist=$top/apt/sources.list" -o Dir::Etc::sourceparts=-
        -o "Dir::State=$top/apt/state" -o "Dir::State::status=$top/apt/status" -o "Dir::Cache=$top/apt/cache"
        -o APT::Sandbox::User=root)
    "${apt[@]}" update
    (cd "$top/sources" && "${apt[@]}" source --download-only "${packages[@]}" >/dev/null)
    local description
    for description in "$top"/sources/*.dsc; do
        (cd "$top/sources" && dpkg-source --extract "$description" >/dev/null)
    done
}

# build PACKAGE [OPTION...]: the library of a source package, by its CMake project.
build() {
    local source
    source="$(echo "$top"/sources/"$1"-[0-9]*/)"
    shift
    compile "$source" "$source/build-web" "$@"
}

# compile SOURCE FOLDER [OPTION...]
compile() {
    local source="$1" folder="$2"
    shift 2
    cmake -Wno-dev -G Ninja -S "$source" -B "$folder" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$root" -DBUILD_SHARED_LIBS=OFF "$@" >/dev/null
    cmake --build "$folder" --parallel "$jobs" >/dev/null
    cmake --install "$folder" >/dev/null
}

[ ! -e "$root/complete" ] || exit 0
rm -rf "$root"
[ -e "$top/sources/complete" ] || { download; touch "$top/sources/complete"; }

compile web/libraries "$top/libraries" -DSOURCES="$top/sources"
build libjpeg-turbo -DCMAKE_INSTALL_LIBDIR="$root/lib" -DWITH_SIMD=OFF -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF
build libpng1.6 -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
build tiff -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF -Dcxx=OFF -Dlibdeflate=ON -Djbig=OFF -Dlerc=OFF \
    -Dlzma=OFF -Dwebp=OFF -Dzstd=OFF
build freetype -DFT_DISABLE_BROTLI=ON -DFT_DISABLE_BZIP2=ON -DFT_DISABLE_HARFBUZZ=ON -DFT_DISABLE_PNG=ON
build libwebp -DWEBP_BUILD_{ANIM_UTILS,CWEBP,DWEBP,GIF2WEBP,IMG2WEBP,VWEBP,WEBPINFO,WEBPMUX,EXTRAS}=OFF
touch "$root/complete"
