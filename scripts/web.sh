#!/usr/bin/env bash
# Builds the library for browsers and lays out the page build/web/site/index.html, which needs no server.
# usage: scripts/web.sh [build|test]
#   test    also runs tests/web under Node and in a headless browser, beside the program dib of this machine
#
# JOBS is the number of compilers that run at once. PROGRAM is a folder in which the program was built; without it the
# preset dev builds one.
set -euo pipefail
cd "$(dirname "$0")/.."
what="${1:-build}"
case "$what" in build | test) ;; *) echo "usage: web.sh [build|test]" >&2; exit 2 ;; esac

scripts/install-packages.sh build web
source web/environment.sh
web/libraries/build.sh
cmake --preset web >/dev/null
cmake --build --preset web --parallel "$jobs" --target dibstream_web
node web/bundle.mjs build/web/web build/web/site
web/package.sh
echo "The page is build/web/site/index.html"
[ "$what" != build ] || exit 0

# The program of this machine, which pixels and files are compared with. It has libraries of its own.
unset PKG_CONFIG_LIBDIR PKG_CONFIG_SYSROOT_DIR
program="$(realpath "${PROGRAM:-build/dev}")"
if [ -z "${PROGRAM:-}" ]; then
    cmake --preset dev >/dev/null
    cmake --build --preset dev --parallel "$jobs" --target dib make_sample_picture plugin_dds plugin_gif plugin_webp
fi
DIB="$program/tools/dib" MAKE_SAMPLE_PICTURE="$program/scripts/make_sample_picture" PACKAGE="$PWD/build/web/package" \
    node --test tests/web/library.test.mjs
code=0
python3 -B tests/web/page.py "$program/tools/dib" "$program/scripts/make_sample_picture" build/web/site build/web/page || code=$?
[ "$code" = 77 ] || exit "$code"
