#!/usr/bin/env bash
# Makes the Debian packages, checks them with lintian, unpacks them into a scratch root and uses them there.
# usage: packages.sh SOURCE_DIR WORK_DIR COMPILER CLANG [--release]
#
# --release compiles as for users. Without it the optimiser, which takes half of the time, does little.
set -euo pipefail
source="$1" work="$2" compiler="$3" clang="$4"
for tool in cpack dpkg-buildflags dpkg-deb dpkg-shlibdeps hardening-check lintian pkg-config; do
    command -v "$tool" >/dev/null || { echo "$tool is not installed"; exit 77; }
done

# The build is kept: making the packages again after a small change takes seconds.
mkdir -p "$work"
options=(-DCMAKE_CXX_COMPILER="$compiler")
if [ "${5:-}" != --release ]; then
    options+=(-DCMAKE_BUILD_TYPE=None)
    export DEB_CXXFLAGS_APPEND="-O1 -g0"
fi
(cd "$source" && cmake --preset package -B "$work/build" "${options[@]}") >"$work/configure.log"
cmake --build "$work/build" --parallel 2 | tail -1
rm -rf "$work/packages" "$work/root" "$work/use"
mkdir -p "$work/packages" "$work/use"
cpack --config "$work/build/CPackConfig.cmake" -B "$work/packages" >"$work/cpack.log" 2>&1
packages=("$work"/packages/*.deb)

echo "== names and dependencies"
names="$(for package in "${packages[@]}"; do dpkg-deb -f "$package" Package; done | sort | tr '\n' ' ')"
echo "$names"
expected="dibstream-plugins dibstream-tools libdibstream-dev libdibstream0 "
grep -q '^GIF_LIBRARY[A-Z_]*:FILEPATH=/' "$work/build/CMakeCache.txt" && expected+="dibstream-plugin-gif "
grep -q '^WEBP_FOUND:INTERNAL=1' "$work/build/CMakeCache.txt" && expected+="dibstream-plugin-webp "
grep -q '^pybind11_DIR:PATH=/' "$work/build/CMakeCache.txt" && expected+="python3-dibstream "
[ "$(tr ' ' '\n' <<<"$names" | sort)" = "$(tr ' ' '\n' <<<"$expected" | sort)" ]
field() { dpkg-deb -f "$work/packages/$1"_*.deb "$2"; }
version="$(field libdibstream0 Version)"
libraries=(libc6 libstdc++6 libisal2 libdeflate0 libpng16-16 libjpeg62-turbo libtiff6 zlib1g)
if grep -q '^FREETYPE_LIBRARY[A-Z_]*:FILEPATH=/' "$work/build/CMakeCache.txt"; then libraries+=(libfreetype6); fi
for library in "${libraries[@]}"; do
    field libdibstream0 Depends | grep -F "$library (>= " >/dev/null || { echo "the package does not depend on $library"; exit 1; }
done
for package in dibstream-plugins dibstream-tools libdibstream-dev; do
    field "$package" Depends | grep -F "libdibstream0 (= $version)" >/dev/null
done

if command -v apt-get >/dev/null; then
    apt-get install --simulate --no-install-recommends "${packages[@]}" >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; exit 1; }
fi

echo "== lintian"
lintian --fail-on error,warning "${packages[@]}" 2>"$work/lintian.log" || { cat "$work/lintian.log"; exit 1; }

echo "== in a scratch root"
root="$work/root"
for package in "${packages[@]}"; do dpkg-deb -x "$package" "$root"; done
library="$(dirname "$root"/usr/lib/*/libdibstream.so.0)"
# Debian 12 does not ask for control flow protection. VexLibs and the plug-ins call nothing that can be fortified.
hardening-check --nocfprotection "$root/usr/bin/dib" "$library/libdibstream.so.0"
hardening-check --nocfprotection --nofortify "$library/libVexLibs.so.0" "$library"/dibstream/plugins/*
# Only the loader's own folders lead to the libraries: no file has a search path.
for file in "$root/usr/bin/dib" "$library"/lib*.so "$library"/dibstream/plugins/*; do
    if readelf -d "$file" | grep -E 'RPATH|RUNPATH'; then
        echo "$file searches in a folder of its own"
        exit 1
    fi
    if LD_LIBRARY_PATH="$library" ldd "$file" | grep -F 'not found'; then exit 1; fi
done
LD_LIBRARY_PATH="$library" ldd "$root/usr/bin/dib" | grep -F "$library/libdibstream.so.0" >/dev/null
nm -D --defined-only "$library/dibstream/plugins/vexlibdds.bundle" | grep ' T LoadDDS$' >/dev/null
if grep -q '^OpenEXR_DIR:PATH=/' "$work/build/CMakeCache.txt"; then
    nm -D --defined-only "$library/dibstream/plugins/vexlibexr.bundle" | grep ' T LoadEXR$' >/dev/null
    field dibstream-plugins Depends | grep -F 'libopenexr' >/dev/null
fi

export LD_LIBRARY_PATH="$library"
if [ -d "$root/usr/lib/python3" ]; then
    module=("$root"/usr/lib/python3/dist-packages/dibstream/_core.*.so)
    hardening-check --nocfprotection "${module[0]}"
    if readelf -d "${module[0]}" | grep -E 'RPATH|RUNPATH'; then exit 1; fi
    depends="$(field python3-dibstream Depends)"
    grep -F "libdibstream0 (= $version), " <<<"$depends" >/dev/null
    grep -E 'python3 \(>= 3\.[0-9]+\), python3 \(<< 3\.[0-9]+\), libc6 \(>= ' <<<"$depends" >/dev/null
    PYTHONPATH="$root/usr/lib/python3/dist-packages" PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 - "$version" <<'END'
import sys
import dibstream
assert dibstream.__version__ == sys.argv[1]
assert dibstream.new(4, 4).rotate(90).encode("png")
assert dibstream.plugin_folder().startswith("/usr/lib/") and dibstream.plugin_folder().endswith("/dibstream/plugins")
END
fi
dib() { "$root/usr/bin/dib" "$@"; }
[ "$(dib --version)" = "dib $version" ]
gzip -dc "$root/usr/share/man/man1/dib.1.gz" | cmp - <(dib man)
cmp "$root/usr/share/bash-completion/completions/dib" <(dib completion bash)
cmp "$root/usr/share/zsh/vendor-completions/_dib" <(dib completion zsh)
cmp "$root/usr/share/fish/vendor_completions.d/dib.fish" <(dib completion fish)
for name in $names; do
    gzip -dc "$root/usr/share/doc/$name/changelog.gz" | head -1 | grep -F "($version)" >/dev/null
    [ -s "$root/usr/share/doc/$name/copyright" ]
done

bash "$(dirname "$0")/examples.sh" "$root/usr" "$source" "$work/use" "$compiler"
bash "$(dirname "$0")/outside.sh" "$root/usr" "$work/use/outside" "$compiler" "$clang"
if grep -F rpath "$library/pkgconfig/dibstream.pc"; then
    echo "programs built against the package get a run path"
    exit 1
fi
[ "$(PKG_CONFIG_PATH="$library/pkgconfig" pkg-config --variable=plugindir dibstream)" -ef "$library/dibstream/plugins" ]
dib run "$work/use/picture.bmp" resize:8x6 whirl:0.1rad bpp:8,method=median "$work/use/whirled.bmp"
[ "$(dib info "$work/use/whirled.bmp" | sed 's/.*: //')" = \
    "bmp, 8x6 pixels, 8 bits, 1 channel, bottom-up, palette of 256, compression none" ]
